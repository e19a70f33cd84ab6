#include "tools/sweep/SweepReport.h"

#include <string>

#include "platform/host/CallNames.h"
#include "tools/runner/ScenarioRun.h"
#include "tools/sweep/ProductCalls.h"

namespace sweep {
namespace {

constexpr std::size_t kMostShown = 40;

void row(std::ostream& out, const std::string& what, std::size_t number) {
  out << "| " << what << " | " << number << " |\n";
}

// A method counts as reached if any interface has one of that name that is.
std::set<std::string_view> neverReached(const SweepResult& result) {
  const auto ownName = [](std::string_view call) { return call.substr(call.rfind(':') + 1); };
  std::set<std::string_view> reached;
  for (const std::string_view call : result.reached) {
    reached.insert(ownName(call));
  }
  std::set<std::string_view> never;
  for (const std::string_view call :
       productCalls(runner::scenarioFolder().parent_path(), host::callsThatCanFail())) {
    if (!reached.contains(ownName(call))) {
      never.insert(call);
    }
  }
  return never;
}

std::string phasesText(Phases phases) {
  std::string text;
  for (std::size_t i = 0; i < host::kPhases; ++i) {
    const auto phase = static_cast<host::Phase>(i);
    if ((phases & in(phase)) != 0) {
      text += (text.empty() ? "" : " ") + std::string(phaseText(phase));
    }
  }
  return text;
}

void printUntried(std::ostream& out, const Untried& untried) {
  for (const auto& [why, calls] : untried.byReason) {
    out << "\nNot tried in " << untried.cells.at(why) << " ways, because " << why << ":\n";
    for (const auto& [call, phases] : calls) {
      out << "  " << call << ": " << phasesText(phases) << '\n';
    }
  }
}

}  // namespace

void printGroups(std::ostream& out, const SweepResult& result) {
  for (const auto& [key, group] : result.groups) {
    const auto& [call, phase, outcome] = key;
    out << call << ", " << phaseText(phase) << ": " << outcomeText(outcome) << ", " << group.lives
        << " lives, such as " << group.example << '\n';
    for (const std::string& line : group.errors) {
      out << "    " << line << '\n';
    }
    for (const std::string& line : group.ledger) {
      out << "    ledger: " << line << '\n';
    }
  }
}

void printObjections(std::ostream& out, const SweepResult& result) {
  std::size_t shown = 0;
  for (const Objection& objection : result.objections) {
    if (++shown > kMostShown) {
      out << "... and " << result.objections.size() - kMostShown << " more\n";
      return;
    }
    out << objection.where << '\n';
    for (const std::string& reason : objection.reasons) {
      out << "    " << reason << '\n';
    }
  }
}

void printFigures(std::ostream& out, const SweepResult& result, std::chrono::seconds took) {
  std::set<std::string_view> failed;
  for (const auto& fault : result.tried) {
    failed.insert(fault.call);
  }
  out << "\n| fault sweep | |\n|---|---|\n";
  row(out, "scenarios", result.scenarios);
  row(out, "calls of their plain runs that can fail", result.calls);
  row(out, "of those made to fail, turns of one loop left out", result.places);
  row(out, "names of calls made to fail", failed.size());
  row(out, "different faults: call, error, phase of the service, once or from then on",
      result.cells);
  row(out, "of those tried", result.tried.size());
  row(out, "lives with a fault", result.lives);
  row(out, "\"from then on\" that could not differ from \"once\"", result.same);
  for (std::size_t i = 0; i < kOutcomes; ++i) {
    row(out, "outcome: " + std::string(outcomeText(static_cast<Outcome>(i))), result.outcomes[i]);
  }
  row(out, "runs that are not as they may be", result.objections.size());
  row(out, "seconds", static_cast<std::size_t>(took.count()));
  out << "\nCalls of the product that no scenario of these comes to:";
  const std::set<std::string_view> never = neverReached(result);
  for (const std::string_view call : never) {
    out << ' ' << call;
  }
  out << (never.empty() ? " none\n" : "\n");
  printUntried(out, result.untried);
}

std::vector<runner::Figure> figuresOf(const SweepResult& result) {
  std::string outcomes;
  for (std::size_t i = 0; i < kOutcomes; ++i) {
    if (result.outcomes[i] > 0) {
      outcomes += (outcomes.empty() ? "" : ", ") +
                  std::string(outcomeText(static_cast<Outcome>(i))) + " " +
                  runner::inThrees(result.outcomes[i]);
    }
  }
  return {{"faults injected", runner::inThrees(result.lives)},
          {"their outcomes", outcomes},
          {"outcomes that are not permitted", runner::inThrees(result.objections.size())}};
}

}  // namespace sweep
