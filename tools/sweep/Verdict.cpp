#include "tools/sweep/Verdict.h"

#include <algorithm>

#include "platform/host/FaultTable.h"
#include "platform/host/Imbalances.h"
#include "tools/sweep/Permitted.h"

namespace sweep {
namespace {

bool isListed(const std::string& line) {
  const auto rows = host::imbalances();
  return std::any_of(rows.begin(), rows.end(),
                     [&](const host::Imbalance& row) { return row.text == line; });
}

// Whether nobody can tell, because the log of this scenario is not heard, or has no line of level
// DEBUG: most failures are told there.
bool isQuiet(const Sight& plain) {
  constexpr std::string_view kDebug = "[DBG] ";
  return !plain.isHeard ||
         std::none_of(plain.lines.begin(), plain.lines.end(),
                      [](const std::string& line) { return line.starts_with(kDebug); });
}

bool isPermittedAnytime(std::string_view call, Outcome outcome) {
  const auto rows = permissions();
  return std::any_of(rows.begin(), rows.end(), [&](const Permission& row) {
    bool isNamed = false;
    for (std::size_t i = 0; i < host::kPhases; ++i) {
      isNamed = isNamed || isAbout(row, call, static_cast<host::Phase>(i));
    }
    return isNamed && permits(row, outcome);
  });
}

bool hasLine(const std::vector<std::string>& lines, std::string_view text) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

bool isOn(const Sight& plain, Only machines) {
  switch (machines) {
    case Only::kEverywhere:
      return true;
    case Only::kWithDevices:
      return plain.hasOtherDevices;
    case Only::kWithVariables:
      return plain.hasVariables;
    case Only::kWithTraces:
      return plain.hasTraces;
    case Only::kWithATask:
      return isQuiet(plain) || plain.end == runner::End::kFault ||
             hasLine(plain.lines, "Compare: ");
    case Only::kWithATaskToMend:
      return hasLine(plain.lines, "Task has beed updated to new OVER location, Ending");
    case Only::kFailingAnyway:
      return hasLine(plain.errors, "Exception occured in ServiceMain function");
  }
  return false;
}

bool isCode(const Sight& faulted, Code code, Outcome outcome, DWORD error) {
  if (code == Code::kAny || (outcome != Outcome::kErrorCode && outcome != Outcome::kOtherCode)) {
    return true;
  }
  return !faulted.statuses.empty() &&
         faulted.statuses.back().exitCode == (code == Code::kMinusOne ? DWORD(-1) : error);
}

// What must be told stands among these lines.
bool isPermitted(const Sight& plain, const Sight& faulted, const std::vector<std::string>& lines,
                 const Strike& strike, Outcome outcome) {
  const auto isTold = [&](const Permission& row) {
    return row.told.empty() || outcome == Outcome::kUnnoticed || isQuiet(plain) ||
           hasLine(lines, row.told);
  };
  const auto rows = permissions();
  return std::any_of(rows.begin(), rows.end(), [&](const Permission& row) {
    return isAbout(row, strike.call, strike.phase) && permits(row, outcome) &&
           (row.times == Times::kAny || (row.times == Times::kFromThenOn) == strike.lasting) &&
           row.error.value_or(strike.error) == strike.error && isOn(plain, row.only) &&
           isCode(faulted, row.code, outcome, strike.error) && isTold(row);
  });
}

bool isAbnormal(const Sight& sight) {
  return sight.end == runner::End::kFault || sight.end == runner::End::kTerminate;
}

// A method that does its work and answers with a number that is no failure.
bool isSuccess(const Strike& strike) {
  const host::FaultRow* const row = host::faultRowOf(strike.call);
  constexpr DWORD kFalse = 1;
  return row != nullptr && row->kind == host::FaultKind::kHresult && strike.error == kFalse;
}

bool mayBe(const Sight& plain, const Sight& faulted, const Strike& strike, Outcome outcome) {
  if (isSuccess(strike)) {
    return outcome == Outcome::kUnnoticed;
  }
  const std::vector<std::string> newLines = beyond(faulted.lines, plain.lines);
  const auto isAmong = [&](const std::vector<std::string>& lines, Outcome permitted) {
    return isPermitted(plain, faulted, lines, strike, permitted) ||
           std::any_of(
               strike.alsoFailing.begin(), strike.alsoFailing.end(),
               [&](const std::string& call) { return isPermittedAnytime(call, permitted); });
  };
  const auto isIn = [&](Outcome permitted) { return isAmong(newLines, permitted); };
  // The plain run comes to what is permitted here and tells it, and so does this one.
  const bool failsAnyway = isToldAnyway(strike.call, strike.phase, plain.lines);
  const bool isTheSame =
      isAmong(faulted.lines, endOf(faulted)) && (endOf(faulted) != Outcome::kTold || failsAnyway);
  // Nobody heard why it came to its end.
  const bool mayHaveFailed = isQuiet(plain) && isIn(Outcome::kErrorAsZero);
  switch (outcome) {
    case Outcome::kUnnoticed:
      return isIn(outcome) || isTheSame || failsAnyway || mayHaveFailed ||
             (isQuiet(plain) && isIn(Outcome::kTold));
    case Outcome::kTold:
      return isIn(outcome) || isTheSame || mayHaveFailed;
    case Outcome::kEndsSooner:
      // It did not come to the plain run's abnormal end.
      return isIn(outcome) || mayHaveFailed || (isAbnormal(plain) && isIn(Outcome::kTold));
    case Outcome::kNotStopped:
      // STOPPED is overtaken, which is what the scenario is about.
      return !illegalReport(plain.statuses).empty();
    default:
      return isIn(outcome);
  }
}

// Whether a call of the client library has not come back; it may never do so.
bool isInClient(const Sight& sight) {
  const auto count = [&](std::string_view text) {
    return std::count_if(sight.lines.begin(), sight.lines.end(), [&](const std::string& line) {
      return line.find(text) != std::string::npos;
    });
  };
  return count("Executing command synchronously") > count("tALS init status: ");
}

// A service that says that it has stopped well, with the reason for it not among what it told: a
// stop that it saw, or the goal of the recertification.
bool isEndWithoutAReason(const Sight& plain, const Sight& faulted) {
  const auto has = [&](std::string_view text) { return hasLine(faulted.lines, text); };
  return faulted.end == runner::End::kExit && endOf(faulted) == Outcome::kTold && !isQuiet(plain) &&
         !isQuiet(faulted) && has("Starting talsInit...") &&
         !has("Exception occured in ServiceMain function") &&
         !has("Stop service event signaled.") && !has("-- program started: ") &&
         !has("Scheduling VTM Task ...");
}

// A scenario may be about reports that overtake each other: the fault did not cause those, and
// exactly so many are passed over. Which report is overtaken may differ.
std::vector<std::string> newIllegalReports(const Sight& plain, const Sight& faulted) {
  std::vector<IllegalReport> known = illegalReports(plain.statuses);
  std::vector<std::string> illegal;
  for (const IllegalReport& report : illegalReports(faulted.statuses)) {
    const auto same = std::find_if(known.begin(), known.end(), [&](const IllegalReport& one) {
      return one.text == report.text || (one.isToldTwice && report.isToldTwice);
    });
    if (same == known.end()) {
      illegal.push_back(report.text);
    } else {
      known.erase(same);
    }
  }
  return illegal;
}

}  // namespace

Verdict judgeFault(const Sight& plain, const Sight& faulted, const Strike& strike) {
  Verdict verdict;
  verdict.outcome = outcomeOf(plain, faulted);
  verdict.errors = beyond(faulted.errors, plain.errors);
  verdict.ledger = beyond(faulted.ledger, plain.ledger);
  if (!strike.struck) {
    verdict.reasons.emplace_back("the fault never struck");
    return verdict;
  }
  if (!mayBe(plain, faulted, strike, verdict.outcome)) {
    verdict.reasons.push_back("it must not come to \"" + std::string(outcomeText(verdict.outcome)) +
                              "\": " + faulted.endText);
  }
  if (isEndWithoutAReason(plain, faulted)) {
    verdict.reasons.emplace_back("it ended by itself with a goal open");
  }
  // A lock that the handler could not give back keeps the service from beginning its run.
  if (faulted.end == runner::End::kDeadlock && strike.call != "ReleaseMutex" &&
      plain.end != runner::End::kDeadlock && !isQuiet(plain) && !isQuiet(faulted) &&
      !isInClient(faulted)) {
    verdict.reasons.emplace_back("somebody waits for ever");
  }
  for (std::string& illegal : newIllegalReports(plain, faulted)) {
    verdict.reasons.push_back(std::move(illegal));
  }
  for (const std::string& line : verdict.errors) {
    if (!isExplained(strike.call, line, verdict.errors) &&
        std::none_of(
            strike.alsoFailing.begin(), strike.alsoFailing.end(),
            [&](const std::string& call) { return isExplained(call, line, verdict.errors); })) {
      verdict.reasons.push_back("not explained: " + line);
    }
  }
  for (const std::string& line : verdict.ledger) {
    if (!isListed(line) && !isBalanced(strike.call, line)) {
      verdict.reasons.push_back("ledger: " + line);
    }
  }
  return verdict;
}

}  // namespace sweep
