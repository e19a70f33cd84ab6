#include "tools/runner/WinePlan.h"

#include <algorithm>
#include <array>

#include "platform/host/Text.h"

namespace runner {
namespace {

using host::toUtf8;

constexpr wchar_t kUsualProgram[] =
    L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\TPMEnrollmentService.exe";
constexpr host::Nanoseconds kLongestLimit = 600'000 * host::kNanosecondsPerMillisecond;

struct Demand {
  bool isMade;
  const char* what;
};

// The action's name in a plan; null for one that Wine has no means for.
const char* actionName(host::Action::Kind kind) {
  using Kind = host::Action::Kind;
  switch (kind) {
    case Kind::kSignalEvent:
      return "signal";
    case Kind::kPublishEvent:
      return "publish";
    case Kind::kControl:
      return "control";
    case Kind::kWriteFile:
      return "write";
    case Kind::kDeleteFile:
      return "delete";
    case Kind::kEndProcess:
      return "end process";
    default:
      return nullptr;
  }
}

std::string escaped(std::string_view text) {
  std::string field;
  for (const char c : text) {
    switch (c) {
      case '\n':
        field += "\\n";
        break;
      case '\r':
        field += "\\r";
        break;
      case '\t':
        field += "\\t";
        break;
      case '\\':
        field += "\\\\";
        break;
      default:
        field += c;
    }
  }
  return field;
}

void addLine(std::string& plan, const std::vector<std::string>& fields) {
  for (const std::string& field : fields) {
    plan += (&field == &fields.front() ? "" : "\t") + escaped(field);
  }
  plan += '\n';
}

std::vector<std::string> fieldsOf(const host::Step& step) {
  using Kind = host::Moment::Kind;
  const host::Moment& moment = step.moment;
  const host::Action& action = step.action;
  const bool isTimed = moment.kind == Kind::kAt;
  const std::string when = isTimed ? "at" : moment.kind == Kind::kOnLog ? "log" : "status";
  const std::string what =
      isTimed ? std::to_string(moment.at / host::kNanosecondsPerMillisecond) : moment.name;
  const bool isControl = action.kind == host::Action::Kind::kControl;
  return {"step",
          when,
          what,
          std::to_string(moment.nth),
          actionName(action.kind),
          toUtf8(action.subject),
          isControl ? std::to_string(action.number) : action.text};
}

// As the platform's own rules for command lines want it; the scenario's arguments hold no quotes.
std::string commandLine(const host::Scenario& scenario) {
  std::string line = "\"" + toUtf8(serviceProgramOf(scenario)) + "\"";
  for (const std::wstring& argument : scenario.arguments) {
    const std::string text = toUtf8(argument);
    const bool needsQuotes = text.empty() || text.find_first_of(" \t") != std::string::npos;
    line += needsQuotes ? " \"" + text + "\"" : " " + text;
  }
  return line;
}

bool isForWine(const host::Step& step) {
  return step.moment.kind != host::Moment::Kind::kBeforeCall &&
         step.moment.kind != host::Moment::Kind::kInsideCall &&
         actionName(step.action.kind) != nullptr;
}

}  // namespace

std::optional<std::string> whatOnlyTheModelHas(const host::Scenario& scenario) {
  const host::Scenario usual;
  const std::array demands = {
      Demand{!scenario.faults.empty(), "platform calls that fail"},
      Demand{!scenario.traces.empty(), "trace sessions"},
      Demand{!std::ranges::all_of(scenario.script, isForWine), "a step of its script"},
      Demand{scenario.limit > kLongestLimit, "more time than anybody waits"},
      Demand{!scenario.after.empty(), "a life before"},
      Demand{scenario.majorVersion != usual.majorVersion, "another version of Windows"},
      Demand{scenario.language != usual.language, "another language of the user"},
      Demand{scenario.clock.has_value() || scenario.minutesAheadOfUtc != 0, "a time of its own"},
      Demand{scenario.privileges.has_value() || !scenario.unknownPrivileges.empty(),
             "a token of its own"},
      Demand{!scenario.debugListener, "nobody who listens to the debug output"},
      Demand{!scenario.network || scenario.onBatteries, "power and network that change"},
      Demand{scenario.schedulerRefuses, "a Task Scheduler that refuses"},
      Demand{scenario.freeBytes.has_value() || !scenario.deniedPaths.empty() ||
                 !scenario.readOnlyFiles.empty(),
             "a drive that refuses"},
  };
  for (const Demand& demand : demands) {
    if (demand.isMade) {
      return std::string("only the model has ") + demand.what;
    }
  }
  return std::nullopt;
}

std::optional<std::string> whyNotUnderWine(const host::Scenario& scenario) {
  if (!scenario.wineReason) {
    return "it does not say whether it can be run under Wine";
  }
  if (!scenario.wineReason->empty()) {
    return *scenario.wineReason;
  }
  return whatOnlyTheModelHas(scenario);
}

std::wstring serviceProgramOf(const host::Scenario& scenario) {
  return scenario.serviceProgram.value_or(kUsualProgram);
}

std::wstring fileBesideProgram(const host::Scenario& scenario, const std::wstring& name) {
  const std::wstring program = serviceProgramOf(scenario);
  return program.substr(0, program.rfind(L'\\') + 1) + name;
}

std::string winePlan(const host::Scenario& scenario) {
  std::string plan;
  addLine(plan, {"program", toUtf8(serviceProgramOf(scenario))});
  addLine(plan, {"command line", commandLine(scenario)});
  addLine(plan, {"started by", scenario.startedByManager ? "service manager" : "console"});
  addLine(plan, {"listener", scenario.debugListener ? "yes" : "no"});
  addLine(plan, {"limit", std::to_string(scenario.limit / host::kNanosecondsPerMillisecond)});
  for (const std::wstring& event : scenario.publishedEvents) {
    addLine(plan, {"event", toUtf8(event)});
  }
  for (const std::wstring& alias : scenario.takenNamespaces) {
    addLine(plan, {"namespace", toUtf8(alias)});
  }
  for (const host::Step& step : scenario.script) {
    addLine(plan, fieldsOf(step));
  }
  return plan;
}

}  // namespace runner
