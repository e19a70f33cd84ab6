#include "platform/host/ScenarioSections.h"

#include <algorithm>
#include <array>

#include "platform/host/CallNames.h"
#include "platform/host/Imbalances.h"
#include "platform/host/OutsideCalls.h"
#include "platform/host/Text.h"

namespace host::scenario {
namespace {

constexpr std::string_view kNone = "none";
// The class of software components, which the stack's own device has.
constexpr wchar_t kSoftwareComponents[] = L"{5c4c3332-344d-483c-8739-259e934c9cc8}";

using Value = std::string_view;

// [scenario]

Reason readAbout(Value value, Value /*name*/, Scenario& scenario) {
  if (value.empty()) {
    return "there must be a sentence";
  }
  scenario.about = value;
  return std::nullopt;
}

Reason readLimit(Value value, Value /*name*/, Scenario& scenario) {
  if (Reason reason = readDuration(value, scenario.limit)) {
    return reason;
  }
  return scenario.limit > 0 ? std::nullopt : Reason("a limit of 0 leaves no time to run");
}

Reason readEnd(Value value, Value /*name*/, Scenario& scenario) {
  struct Ending {
    std::string_view name;
    ExpectedEnd::Kind kind;
  };
  constexpr std::array kEndings = {
      Ending{"fault", ExpectedEnd::Kind::kFault},
      Ending{"terminate", ExpectedEnd::Kind::kTerminate},
      Ending{"running", ExpectedEnd::Kind::kRunning},
      Ending{"deadlock", ExpectedEnd::Kind::kDeadlock},
      Ending{"ended", ExpectedEnd::Kind::kEnded},
  };
  const std::vector<Value> words = wordsOf(value);
  if (words.size() == 2 && words[0] == "exit") {
    std::uint32_t code = 0;
    const Reason reason = readCode(words[1], code);
    scenario.end.kind = ExpectedEnd::Kind::kExit;
    scenario.end.exitCode = static_cast<std::int32_t>(code);
    return reason;
  }
  for (const Ending& ending : kEndings) {
    if (ending.name == value) {
      scenario.end.kind = ending.kind;
      return std::nullopt;
    }
  }
  return inQuotes(value) + " is no end (exit N, fault, terminate, running, deadlock, ended)";
}

Reason readStatus(Value value, Value /*name*/, Scenario& scenario) {
  const std::vector<Value> words = wordsOf(value);
  if (words.size() != 2) {
    return "there must be a state and an exit code (as in \"STOPPED 0\")";
  }
  DWORD state = 0;
  std::uint32_t code = 0;
  if (Reason reason = readState(words[0], state)) {
    return reason;
  }
  if (Reason reason = readCode(words[1], code)) {
    return reason;
  }
  scenario.end.lastState = state;
  scenario.end.lastExitCode = code;
  return std::nullopt;
}

Reason readEndlessLoop(Value value, Value /*name*/, Scenario& scenario) {
  if (value != "expected") {
    return inQuotes(value) + " is not \"expected\", the one thing that can be said";
  }
  scenario.endlessLoopExpected = true;
  return std::nullopt;
}

Reason readAfter(Value value, Value /*name*/, Scenario& scenario) {
  if (value.empty() || value.find_first_of("\\/") != Value::npos) {
    return inQuotes(value) + " is not the bare name of a scenario";
  }
  scenario.after = value;
  return std::nullopt;
}

Reason readUnchanged(Value value, Value /*name*/, Scenario& scenario) {
  return readFilePath(value, scenario.unchangedFiles.emplace_back());
}

Reason readNotThere(Value value, Value /*name*/, Scenario& scenario) {
  return readFilePath(value, scenario.absentFiles.emplace_back());
}

Reason readWine(Value value, Value /*name*/, Scenario& scenario) {
  constexpr Value kNo = "no:";
  constexpr Value kYes = "yes";
  const bool isNo = value.starts_with(kNo);
  const Value reason = isNo ? trimmed(value.substr(kNo.size())) : Value();
  if (isNo ? reason.empty() : value != kYes) {
    return inQuotes(value) + " is neither yes nor no with a reason: \"no: it takes a day\"";
  }
  scenario.wineReason = reason;
  return std::nullopt;
}

constexpr std::array kScenarioKeys = {
    Key{"about", false, false, readAbout},
    Key{"limit", false, false, readLimit},
    Key{"end", false, false, readEnd},
    Key{"status", false, false, readStatus},
    Key{"endless loop", false, false, readEndlessLoop},
    Key{"after", false, false, readAfter},
    Key{"unchanged", true, false, readUnchanged},
    Key{"not there", true, false, readNotThere},
    Key{"wine", false, false, readWine},
};

// [stack]

Reason readDirectory(Value value, Value /*name*/, Scenario& scenario) {
  std::wstring path;
  if (Reason reason = readPath(value, path)) {
    return reason;
  }
  scenario.stackDirectory = path;
  return std::nullopt;
}

Reason readLibrary(Value value, std::string& library) {
  if (value.empty() || value.find_first_of("\\/:.") != Value::npos) {
    return inQuotes(value) + " is neither none nor the bare name of a stand-in";
  }
  library = value == kNone ? "" : value;
  return std::nullopt;
}

Reason readClientLibrary(Value value, Value /*name*/, Scenario& scenario) {
  return readLibrary(value, scenario.clientLibrary);
}

Reason readProxyLibrary(Value value, Value /*name*/, Scenario& scenario) {
  return readLibrary(value, scenario.proxyLibrary);
}

Reason readRecertification(Value value, Value /*name*/, Scenario& scenario) {
  scenario.recertificationCrashes = value == "crashes";
  if (scenario.recertificationCrashes) {
    scenario.recertificationProgram = true;
    return std::nullopt;
  }
  return readYesNo(value, scenario.recertificationProgram);
}

constexpr std::array kStackKeys = {
    Key{"directory", false, false, readDirectory},
    Key{"client library", false, false, readClientLibrary},
    Key{"proxy library", false, false, readProxyLibrary},
    Key{"recertification program", false, false, readRecertification},
};

// [device <instance id>]

Reason openDevice(Value argument, Scenario& scenario) {
  ScenarioDevice device;
  device.classGuid = kSoftwareComponents;
  scenario.devices.push_back(device);
  return readName(argument, scenario.devices.back().instanceId);
}

Reason readClass(Value value, Value /*name*/, Scenario& scenario) {
  constexpr std::size_t kGuidLength = 38;
  if (value.size() != kGuidLength || value.front() != '{' || value.back() != '}') {
    return inQuotes(value) + " is no class (as in \"{5c4c3332-344d-483c-8739-259e934c9cc8}\")";
  }
  scenario.devices.back().classGuid = toWide(value);
  return std::nullopt;
}

Reason readHardwareId(Value value, Value /*name*/, Scenario& scenario) {
  return readName(value, scenario.devices.back().hardwareIds.emplace_back());
}

Reason readRegistryKey(Value value, std::wstring& key) {
  constexpr std::array<Value, 3> kRoots = {"HKLM\\", "HKCU\\", "HKU\\"};
  const auto isRootOf = [&](Value root) {
    return value.starts_with(root) && value.size() > root.size();
  };
  if (std::none_of(kRoots.begin(), kRoots.end(), isRootOf)) {
    return inQuotes(value) + " is no key of the registry (as in \"HKLM\\Software\\X\")";
  }
  key = toWide(value);
  return std::nullopt;
}

Reason readSoftwareKey(Value value, Value /*name*/, Scenario& scenario) {
  return readRegistryKey(value, scenario.devices.back().softwareKey);
}

Reason readPresent(Value value, Value /*name*/, Scenario& scenario) {
  return readYesNo(value, scenario.devices.back().present);
}

Reason readLocateResult(Value value, Value /*name*/, Scenario& scenario) {
  return readNumber(value, UINT32_MAX, scenario.devices.back().locateResult);
}

constexpr std::array kDeviceKeys = {
    Key{"class", false, false, readClass},
    Key{"hardware id", true, false, readHardwareId},
    Key{"software key", false, false, readSoftwareKey},
    Key{"present", false, false, readPresent},
    Key{"locate result", false, false, readLocateResult},
};

// [registry <key>]

Reason openRegistry(Value argument, Scenario& scenario) {
  scenario.registry.emplace_back();
  return readRegistryKey(argument, scenario.registry.back().key);
}

Reason readRegistryLine(Value line, Scenario& scenario, int /*lineNumber*/) {
  const std::size_t equals = line.find('=');
  if (equals == Value::npos) {
    return inQuotes(line) + " is not of the form \"name = text\"";
  }
  const std::wstring name = toWide(trimmed(line.substr(0, equals)));
  auto& values = scenario.registry.back().values;
  const auto isSame = [&](const auto& value) { return equalIgnoringCase(value.first, name); };
  if (std::any_of(values.begin(), values.end(), isSame)) {
    return inQuotes(toUtf8(name)) + " stands twice";
  }
  values.emplace_back(name, toWide(trimmed(line.substr(equals + 1))));
  return std::nullopt;
}

// [file <path>], [left <path>] and [client]

Reason openFile(Value argument, Scenario& scenario) {
  scenario.files.emplace_back();
  return readFilePath(argument, scenario.files.back().path);
}

Reason readFileLine(Value line, Scenario& scenario, int /*lineNumber*/) {
  scenario.files.back().bytes.append(line).append("\n");
  return std::nullopt;
}

Reason openLeft(Value argument, Scenario& scenario) {
  scenario.leftFiles.emplace_back();
  return readFilePath(argument, scenario.leftFiles.back().path);
}

Reason readLeftLine(Value line, Scenario& scenario, int /*lineNumber*/) {
  scenario.leftFiles.back().bytes.append(line).append("\n");
  return std::nullopt;
}

Reason readClientLine(Value line, Scenario& scenario, int lineNumber) {
  scenario.clientScript.append(line).append("\n");
  scenario.clientScriptLines.push_back(lineNumber);
  return std::nullopt;
}

// [faults] and [script]

Reason readFaultLine(Value line, Scenario& scenario, int /*lineNumber*/) {
  return readFault(line, scenario.faults.emplace_back());
}

Reason readScriptLine(Value line, Scenario& scenario, int lineNumber) {
  Step& step = scenario.script.emplace_back();
  step.line = lineNumber;
  return readStep(line, step);
}

// [imbalances]

Reason readImbalanceLine(Value line, Scenario& scenario, int /*lineNumber*/) {
  const std::size_t equals = std::min(line.find('='), line.size());
  const Value name = trimmed(line.substr(0, equals));
  if (equals == line.size()) {
    return inQuotes(line) + " is not of the form \"name = how often\"";
  }
  const std::vector<Value> known = imbalanceNames();
  if (std::find(known.begin(), known.end(), name) == known.end()) {
    return inQuotes(name) + " is none of the imbalances that required behaviour brings" +
           hintFor(name, known);
  }
  unsigned count = 0;
  if (Reason reason = readCount(trimmed(line.substr(equals + 1)), count)) {
    return reason;
  }
  return scenario.imbalances.emplace(name, count).second ? std::nullopt
                                                         : Reason(inQuotes(name) + " stands twice");
}

// [expected]: the parser takes the repetitions out and keeps the lines.

Reason openExpected(Value /*argument*/, Scenario& scenario) {
  scenario.expected.emplace();
  return std::nullopt;
}

Reason readExpectedLine(Value /*line*/, Scenario& /*scenario*/, int /*lineNumber*/) {
  return std::nullopt;
}

// [calls <thread>]: the same

Reason openCalls(Value argument, Scenario& scenario) {
  constexpr std::array<Value, 2> kThreads = {"main", "service"};
  if (std::find(kThreads.begin(), kThreads.end(), argument) == kThreads.end()) {
    return inQuotes(argument) + " is no thread whose calls are told (main, service)";
  }
  scenario.calls[std::string(argument)];
  return std::nullopt;
}

Reason readCallLine(Value line, Scenario& /*scenario*/, int /*lineNumber*/) {
  const Value name = line.substr(0, line.find(' '));
  const auto known = platformCalls();
  if (std::find(known.begin(), known.end(), name) == known.end()) {
    return inQuotes(name) + " is no platform call" + hintFor(name, known);
  }
  return isOutsideCall(name) ? std::nullopt
                             : Reason(inQuotes(name) + " is not among the calls that are told: " +
                                      "it does not reach beyond the process");
}

}  // namespace

std::span<const Section> sections() {
  // Made when it is first asked for: a life reads its scenario ahead of all static objects.
  static const std::array kSections = {
      Section{"scenario", "", false, kScenarioKeys, nullptr, nullptr},
      Section{"machine", "", false, machineKeys(), nullptr, nullptr},
      Section{"stack", "", false, kStackKeys, nullptr, nullptr},
      Section{"client", "", true, {}, readClientLine, nullptr},
      Section{"file", "a path", true, {}, readFileLine, openFile},
      Section{"left", "a path", true, {}, readLeftLine, openLeft},
      Section{"registry", "a key", false, {}, readRegistryLine, openRegistry},
      Section{"device", "an instance id", false, kDeviceKeys, nullptr, openDevice},
      Section{"trace", "a session's name", false, traceKeys(), nullptr, openTrace},
      Section{"faults", "", false, {}, readFaultLine, nullptr},
      Section{"script", "", false, {}, readScriptLine, nullptr},
      Section{"imbalances", "", false, {}, readImbalanceLine, nullptr},
      Section{kCallsSection, "a thread", false, {}, readCallLine, openCalls},
      Section{kExpectedSection, "", false, {}, readExpectedLine, openExpected},
  };
  return kSections;
}

}  // namespace host::scenario
