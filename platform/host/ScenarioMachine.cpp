// What a scenario says of its computer: the keys of [machine].

#include <array>

#include "platform/host/ScenarioSections.h"
#include "platform/host/Text.h"

namespace host::scenario {
namespace {

using Value = std::string_view;

Reason readWindows(Value value, Value /*name*/, Scenario& scenario) {
  return readVersion(value, scenario);
}

Reason readLanguage(Value value, Value /*name*/, Scenario& scenario) {
  std::uint32_t number = 0;
  if (Reason reason = readNumber(value, UINT16_MAX, number)) {
    return reason;
  }
  scenario.language = static_cast<LANGID>(number);
  return std::nullopt;
}

Reason readClockKey(Value value, Value /*name*/, Scenario& scenario) {
  SYSTEMTIME time{};
  if (Reason reason = readClock(value, time)) {
    return reason;
  }
  scenario.clock = time;
  return std::nullopt;
}

Reason readZoneKey(Value value, Value /*name*/, Scenario& scenario) {
  return readZone(value, scenario.minutesAheadOfUtc);
}

Reason readStartedBy(Value value, Value /*name*/, Scenario& scenario) {
  if (value != "service manager" && value != "console") {
    return inQuotes(value) + " is neither \"service manager\" nor \"console\"";
  }
  scenario.startedByManager = value == "service manager";
  return std::nullopt;
}

Reason readArgumentsKey(Value value, Value /*name*/, Scenario& scenario) {
  return readArguments(value, scenario.arguments);
}

Reason readPrivilege(Value word, std::vector<std::wstring>& names) {
  if (!word.starts_with("Se") || !word.ends_with("Privilege")) {
    return inQuotes(word) + " is no privilege (as in \"SeDebugPrivilege\")";
  }
  names.push_back(toWide(word));
  return std::nullopt;
}

Reason readPrivileges(Value value, Value /*name*/, Scenario& scenario) {
  if (value == "all") {
    return std::nullopt;
  }
  if (value.empty()) {
    return "there must be all, none or a list of privileges";
  }
  std::vector<std::wstring> names;
  if (value != "none") {
    for (const Value word : wordsOf(value)) {
      if (Reason reason = readPrivilege(word, names)) {
        return reason;
      }
    }
  }
  scenario.privileges = names;
  return std::nullopt;
}

Reason readUnknownPrivilege(Value value, Value /*name*/, Scenario& scenario) {
  return readPrivilege(value, scenario.unknownPrivileges);
}

Reason readAdministrator(Value value, Value /*name*/, Scenario& scenario) {
  return readYesNo(value, scenario.administrator);
}

Reason readListener(Value value, Value /*name*/, Scenario& scenario) {
  return readYesNo(value, scenario.debugListener);
}

Reason readServiceProgram(Value value, Value /*name*/, Scenario& scenario) {
  return readFilePath(value, scenario.serviceProgram.emplace());
}

Reason readEvent(Value value, Value /*name*/, Scenario& scenario) {
  return readName(value, scenario.publishedEvents.emplace_back());
}

Reason readNamespace(Value value, Value /*name*/, Scenario& scenario) {
  return readName(value, scenario.takenNamespaces.emplace_back());
}

Reason readEnvironment(Value value, Value name, Scenario& scenario) {
  if (name.empty()) {
    return "there must be a variable's name (as in \"environment TALS_CONFDIR_PATH = C:\\conf\")";
  }
  scenario.environment[toWide(name)] = toWide(value);
  return std::nullopt;
}

Reason readNetwork(Value value, Value /*name*/, Scenario& scenario) {
  return readYesNo(value, scenario.network);
}

Reason readBatteries(Value value, Value /*name*/, Scenario& scenario) {
  return readYesNo(value, scenario.onBatteries);
}

Reason readScheduler(Value value, Value /*name*/, Scenario& scenario) {
  if (value != "ready" && value != "refused") {
    return inQuotes(value) + " is neither \"ready\" nor \"refused\"";
  }
  scenario.schedulerRefuses = value == "refused";
  return std::nullopt;
}

Reason readProgramRuns(Value value, Value /*name*/, Scenario& scenario) {
  Nanoseconds duration = 0;
  const Reason reason = readDuration(value, duration);
  scenario.taskProgramRuns = duration;
  return reason;
}

Reason readExitCodes(Value value, Value /*name*/, Scenario& scenario) {
  for (const Value word : wordsOf(value)) {
    if (Reason reason = readCode(word, scenario.taskProgramExitCodes.emplace_back())) {
      return reason;
    }
  }
  return value.empty() ? Reason("there must be at least one exit code") : std::nullopt;
}

Reason readComSecurity(Value value, Value /*name*/, Scenario& scenario) {
  constexpr Value kEnds = "until COM ends";
  constexpr Value kStays = "for ever";
  if (value != kEnds && value != kStays) {
    return inQuotes(value) + " is neither " + inQuotes(kEnds) + " nor " + inQuotes(kStays);
  }
  scenario.comSecurityEnds = value == kEnds;
  return std::nullopt;
}

Reason readClearsLastError(Value value, Value /*name*/, Scenario& scenario) {
  return readYesNo(value, scenario.moduleFileNameClearsLastError);
}

Reason readFreeSpace(Value value, Value /*name*/, Scenario& scenario) {
  std::uint32_t bytes = 0;
  const Reason reason = readNumber(value, UINT32_MAX, bytes);
  scenario.freeBytes = bytes;
  return reason;
}

Reason readShortWrites(Value value, Value /*name*/, Scenario& scenario) {
  return readYesNo(value, scenario.shortWrites);
}

Reason readDenied(Value value, Value /*name*/, Scenario& scenario) {
  return readPath(value, scenario.deniedPaths.emplace_back());
}

Reason readReadOnly(Value value, Value /*name*/, Scenario& scenario) {
  return readPath(value, scenario.readOnlyFiles.emplace_back());
}

constexpr std::array kMachineKeys = {
    Key{"windows", false, false, readWindows},
    Key{"language", false, false, readLanguage},
    Key{"clock", false, false, readClockKey},
    Key{"zone", false, false, readZoneKey},
    Key{"started by", false, false, readStartedBy},
    Key{"arguments", false, false, readArgumentsKey},
    Key{"privileges", false, false, readPrivileges},
    Key{"unknown privilege", true, false, readUnknownPrivilege},
    Key{"administrator", false, false, readAdministrator},
    Key{"listener", false, false, readListener},
    Key{"service program", false, false, readServiceProgram},
    Key{"event", true, false, readEvent},
    Key{"namespace taken", true, false, readNamespace},
    Key{"environment", false, true, readEnvironment},
    Key{"network", false, false, readNetwork},
    Key{"on batteries", false, false, readBatteries},
    Key{"scheduler", false, false, readScheduler},
    Key{"task program runs", false, false, readProgramRuns},
    Key{"free space", false, false, readFreeSpace},
    Key{"short writes", false, false, readShortWrites},
    Key{"denied", true, false, readDenied},
    Key{"read only", true, false, readReadOnly},
    Key{"task program exit codes", false, false, readExitCodes},
    Key{"COM security lasts", false, false, readComSecurity},
    Key{"module file name clears last error", false, false, readClearsLastError},
};

}  // namespace

std::span<const Key> machineKeys() {
  return kMachineKeys;
}

}  // namespace host::scenario
