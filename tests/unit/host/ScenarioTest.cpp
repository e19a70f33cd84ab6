#include "platform/host/Scenario.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "platform/host/windows/Services.h"

namespace host {
namespace {

using namespace std::string_literals;

constexpr Nanoseconds kSecond = 1000 * kNanosecondsPerMillisecond;

// The least that a scenario can say; the texts of the tests stand behind it, from line 4 on.
const std::string kLeast = "[scenario]\nabout = A test.\nend = exit 0\n";

Scenario parsed(const std::string& text) {
  auto result = parseScenario("test", text);
  if (const auto* error = std::get_if<ScenarioError>(&result)) {
    ADD_FAILURE() << "line " << error->line << ": " << error->reason;
    return {};
  }
  return std::get<Scenario>(result);
}

Scenario with(const std::string& text) {
  return parsed(kLeast + text);
}

// "<line>: <reason>", or that there is none.
std::string errorIn(const std::string& text) {
  const auto result = parseScenario("test", text);
  const auto* error = std::get_if<ScenarioError>(&result);
  return error == nullptr ? "no error" : std::to_string(error->line) + ": " + error->reason;
}

std::string errorWith(const std::string& text) {
  return errorIn(kLeast + text);
}

struct Row {
  std::string text;
  std::string error;
};

void expectErrors(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(errorWith(row.text), row.error) << row.text;
  }
}

// What a scenario that says the least has.

TEST(ScenarioTest, TheLeastIsASentenceAndAnEnd) {
  const Scenario scenario = parsed(kLeast);
  EXPECT_EQ(scenario.name, "test");
  EXPECT_EQ(scenario.about, "A test.");
  EXPECT_EQ(scenario.end.kind, ExpectedEnd::Kind::kExit);
  EXPECT_EQ(scenario.end.exitCode, 0);
  EXPECT_EQ(scenario.limit, 60 * kSecond);
  EXPECT_FALSE(scenario.end.lastState);
  EXPECT_FALSE(scenario.end.lastExitCode);
  EXPECT_FALSE(scenario.endlessLoopExpected);
  EXPECT_FALSE(scenario.expected);
}

TEST(ScenarioTest, TheMachineIsACurrentOneByDefault) {
  const Scenario scenario = parsed(kLeast);
  EXPECT_EQ(scenario.majorVersion, 10U);
  EXPECT_EQ(scenario.minorVersion, 0U);
  EXPECT_EQ(scenario.buildNumber, 19045U);
  EXPECT_EQ(scenario.language, 0x0409);
  EXPECT_TRUE(scenario.startedByManager);
  EXPECT_TRUE(scenario.administrator);
  EXPECT_TRUE(scenario.debugListener);
  EXPECT_FALSE(scenario.privileges);
  EXPECT_FALSE(scenario.stackDirectory);
  EXPECT_FALSE(scenario.clock);
}

// [scenario]

TEST(ScenarioTest, ExitCodesAreDecimalHexadecimalOrNegative) {
  const auto exitCode = [](const std::string& code) {
    return parsed("[scenario]\nabout = A\nend = exit " + code + "\n").end.exitCode;
  };
  EXPECT_EQ(exitCode("7"), 7);
  EXPECT_EQ(exitCode("0x10"), 16);
  EXPECT_EQ(exitCode("-1"), -1);
  EXPECT_EQ(exitCode("0xFFFFFFFF"), -1);
}

TEST(ScenarioTest, EachOtherEndHasItsWord) {
  const auto end = [](const std::string& word) {
    return parsed("[scenario]\nabout = A\nend = " + word + "\n").end.kind;
  };
  EXPECT_EQ(end("fault"), ExpectedEnd::Kind::kFault);
  EXPECT_EQ(end("terminate"), ExpectedEnd::Kind::kTerminate);
  EXPECT_EQ(end("running"), ExpectedEnd::Kind::kRunning);
  EXPECT_EQ(end("deadlock"), ExpectedEnd::Kind::kDeadlock);
  EXPECT_EQ(end("ended"), ExpectedEnd::Kind::kEnded);
}

TEST(ScenarioTest, StatusIsAStateAndAnExitCode) {
  const Scenario scenario = with("status = STOPPED -1\n");
  EXPECT_EQ(scenario.end.lastState, DWORD{SERVICE_STOPPED});
  EXPECT_EQ(scenario.end.lastExitCode, 0xFFFFFFFFU);
  EXPECT_EQ(with("status = START_PENDING 0\n").end.lastState, DWORD{SERVICE_START_PENDING});
  EXPECT_EQ(with("status = STOP_PENDING 0\n").end.lastState, DWORD{SERVICE_STOP_PENDING});
  EXPECT_EQ(with("status = RUNNING 0\n").end.lastState, DWORD{SERVICE_RUNNING});
}

TEST(ScenarioTest, ATimeIsASumOfNumbersWithUnits) {
  const auto limit = [](const std::string& text) { return with("limit = " + text + "\n").limit; };
  EXPECT_EQ(limit("300 ms"), 300 * kNanosecondsPerMillisecond);
  EXPECT_EQ(limit("20 s"), 20 * kSecond);
  EXPECT_EQ(limit("2 min"), 120 * kSecond);
  EXPECT_EQ(limit("3 h"), 3 * 3600 * kSecond);
  EXPECT_EQ(limit("1 day"), 24 * 3600 * kSecond);
  EXPECT_EQ(limit("365 days"), 365LL * 24 * 3600 * kSecond);
  EXPECT_EQ(limit("1 min 30 s"), 90 * kSecond);
}

TEST(ScenarioTest, AnEndlessLoopCanBeExpected) {
  EXPECT_TRUE(with("endless loop = expected\n").endlessLoopExpected);
}

TEST(ScenarioTest, MalformedValuesOfScenarioKeysAreReported) {
  expectErrors({
      {"limit = 3\n", "4: \"3\" is no time (as in \"300 ms\" or \"1 min 30 s\")"},
      {"limit = x s\n", "4: \"x s\" is no time (as in \"300 ms\" or \"1 min 30 s\")"},
      {"limit =\n", "4: \"\" is no time (as in \"300 ms\" or \"1 min 30 s\")"},
      {"limit = 3 weeks\n", "4: \"weeks\" is no unit of time (ms, s, min, h, days)"},
      {"limit = 100000 days\n", "4: \"100000 days\" is too long a time"},
      {"limit = 0 s\n", "4: a limit of 0 leaves no time to run"},
      {"status = STOPPED\n", "4: there must be a state and an exit code (as in \"STOPPED 0\")"},
      {"status = STOPED 0\n",
       "4: \"STOPED\" is no state of the service (did you mean \"STOPPED\"?)"},
      {"status = STOPPED x\n", "4: \"x\" is no number"},
      {"endless loop = yes\n", "4: \"yes\" is not \"expected\", the one thing that can be said"},
  });
  EXPECT_EQ(errorIn("[scenario]\nabout = A\nend = exit\n"),
            "3: \"exit\" is no end (exit N, fault, terminate, running, deadlock, ended)");
  EXPECT_EQ(errorIn("[scenario]\nabout = A\nend = exit 4294967296\n"),
            "3: \"4294967296\" is greater than 4294967295");
  EXPECT_EQ(errorIn("[scenario]\nabout = A\nend = exit -2147483649\n"),
            "3: \"-2147483649\" is no 32-bit code");
  EXPECT_EQ(errorIn("[scenario]\nabout =\nend = exit 0\n"), "2: there must be a sentence");
}

TEST(ScenarioTest, WhatMustNotBeMissingIsReportedAtItsSection) {
  EXPECT_EQ(errorIn(""), "1: [scenario] must say \"about\"");
  EXPECT_EQ(errorIn("\n[scenario]\nend = exit 0\n"), "2: [scenario] must say \"about\"");
  EXPECT_EQ(errorIn("\n[scenario]\nabout = A\n"), "2: [scenario] must say \"end\"");
  EXPECT_EQ(errorWith("[stack]\nproxy library = none\n"), "4: [stack] must say \"directory\"");
}

// [machine]

TEST(ScenarioTest, TheMachineIsAsItsKeysSay) {
  const Scenario scenario = with(
      "[machine]\nwindows = 6.1.7601\nlanguage = 0x0407\nzone = -5 h\nstarted by = console\n"
      "administrator = no\nlistener = no\n");
  EXPECT_EQ(scenario.majorVersion, 6U);
  EXPECT_EQ(scenario.minorVersion, 1U);
  EXPECT_EQ(scenario.buildNumber, 7601U);
  EXPECT_EQ(scenario.language, 0x0407);
  EXPECT_EQ(scenario.minutesAheadOfUtc, -300);
  EXPECT_FALSE(scenario.startedByManager);
  EXPECT_FALSE(scenario.administrator);
  EXPECT_FALSE(scenario.debugListener);
  EXPECT_TRUE(with("[machine]\nstarted by = service manager\n").startedByManager);
}

TEST(ScenarioTest, TheClockIsALocalDateAndTime) {
  const auto clock = with("[machine]\nclock = 2024-02-29 23:59:58.007\n").clock;
  ASSERT_TRUE(clock);
  EXPECT_EQ(clock->wYear, 2024);
  EXPECT_EQ(clock->wMonth, 2);
  EXPECT_EQ(clock->wDay, 29);
  EXPECT_EQ(clock->wHour, 23);
  EXPECT_EQ(clock->wMinute, 59);
  EXPECT_EQ(clock->wSecond, 58);
  EXPECT_EQ(clock->wMilliseconds, 7);
  EXPECT_EQ(with("[machine]\nclock = 2024-02-29 23:59:58\n").clock->wMilliseconds, 0);
}

TEST(ScenarioTest, ArgumentsAreWordsAndQuotedTexts) {
  const std::vector<std::wstring> expected = {L"-help", L"a b", L""};
  EXPECT_EQ(with("[machine]\narguments = -help  \"a b\" \"\"\n").arguments, expected);
}

TEST(ScenarioTest, PrivilegesAreAllNoneOrAList) {
  EXPECT_FALSE(with("[machine]\nprivileges = all\n").privileges);
  EXPECT_EQ(with("[machine]\nprivileges = none\n").privileges, std::vector<std::wstring>{});
  const std::vector<std::wstring> two = {L"SeTcbPrivilege", L"SeDebugPrivilege"};
  EXPECT_EQ(with("[machine]\nprivileges = SeTcbPrivilege SeDebugPrivilege\n").privileges, two);
}

TEST(ScenarioTest, SomeMachineKeysMayBeRepeated) {
  const Scenario scenario = with(
      "[machine]\nunknown privilege = SeAPrivilege\nunknown privilege = SeBPrivilege\n"
      "event = Global\\A\nevent = Global\\B\nnamespace taken = N\nnamespace taken = M\n");
  EXPECT_EQ(scenario.unknownPrivileges,
            (std::vector<std::wstring>{L"SeAPrivilege", L"SeBPrivilege"}));
  EXPECT_EQ(scenario.publishedEvents, (std::vector<std::wstring>{L"Global\\A", L"Global\\B"}));
  EXPECT_EQ(scenario.takenNamespaces, (std::vector<std::wstring>{L"N", L"M"}));
}

TEST(ScenarioTest, EachVariableOfTheEnvironmentHasALine) {
  const Scenario scenario =
      with("[machine]\nenvironment TALS_CONFDIR_PATH = C:\\conf\nenvironment EMPTY =\n");
  const std::map<std::wstring, std::wstring> expected = {{L"TALS_CONFDIR_PATH", L"C:\\conf"},
                                                         {L"EMPTY", L""}};
  EXPECT_EQ(scenario.environment, expected);
}

TEST(ScenarioTest, MalformedValuesOfMachineKeysAreReported) {
  expectErrors({
      {"[machine]\nwindows = 10\n", "5: \"10\" is no version (as in \"10.0.19045\")"},
      {"[machine]\nwindows = 10.0.x\n", "5: \"10.0.x\" is no version (as in \"10.0.19045\")"},
      {"[machine]\nwindows = 10.0.\n", "5: \"10.0.\" is no version (as in \"10.0.19045\")"},
      {"[machine]\nwindows = 1.2.3.4\n", "5: \"1.2.3.4\" is no version (as in \"10.0.19045\")"},
      {"[machine]\nlanguage = 0x10000\n", "5: \"0x10000\" is greater than 65535"},
      {"[machine]\nlanguage = de\n", "5: \"de\" is no number"},
      {"[machine]\nclock = 2026-01-02\n",
       "5: \"2026-01-02\" is no date and time (as in \"2026-01-02 03:04:05.006\")"},
      {"[machine]\nclock = 2026-01-02 03:04:05.0065\n",
       "5: \"2026-01-02 03:04:05.0065\" is no date and time (as in \"2026-01-02 03:04:05.006\")"},
      {"[machine]\nclock = 2026-13-02 03:04:05.006\n",
       "5: there is no such date and time as \"2026-13-02 03:04:05.006\""},
      {"[machine]\nclock = 2026-02-29 03:04:05\n",
       "5: there is no such date and time as \"2026-02-29 03:04:05\""},
      {"[machine]\nclock = 1900-02-29 03:04:05\n",
       "5: there is no such date and time as \"1900-02-29 03:04:05\""},
      {"[machine]\nclock = 2026-01-02 24:00:00\n",
       "5: there is no such date and time as \"2026-01-02 24:00:00\""},
      {"[machine]\nclock = 1600-01-01 00:00:00\n",
       "5: there is no such date and time as \"1600-01-01 00:00:00\""},
      {"[machine]\nzone = 60 min\n", "5: \"60 min\" is no zone (as in \"+60 min\" or \"-5 h\")"},
      {"[machine]\nzone = +15 h\n", "5: a zone is a number of whole minutes, at most 14 h"},
      {"[machine]\nzone = +30 s\n", "5: a zone is a number of whole minutes, at most 14 h"},
      {"[machine]\nstarted by = hand\n",
       "5: \"hand\" is neither \"service manager\" nor \"console\""},
      {"[machine]\narguments = \"a\n", "5: a double quote is not closed"},
      {"[machine]\nprivileges = Debug\n",
       "5: \"Debug\" is no privilege (as in \"SeDebugPrivilege\")"},
      {"[machine]\nprivileges =\n", "5: there must be all, none or a list of privileges"},
      {"[machine]\nunknown privilege = x\n",
       "5: \"x\" is no privilege (as in \"SeDebugPrivilege\")"},
      {"[machine]\nadministrator = maybe\n", "5: \"maybe\" is neither yes nor no"},
      {"[machine]\nlistener = on\n", "5: \"on\" is neither yes nor no"},
      {"[machine]\nevent =\n", "5: there must be a name"},
      {"[machine]\nnamespace taken =\n", "5: there must be a name"},
      {"[machine]\nenvironment = x\n",
       "5: there must be a variable's name (as in \"environment TALS_CONFDIR_PATH = C:\\conf\")"},
      {"[machine]\nenvironment A = x\nenvironment a = y\n", "6: \"environment a\" stands twice"},
  });
}

// [stack] and [client]

TEST(ScenarioTest, AStackHasTheUsualStandInsByDefault) {
  const Scenario scenario = with("[stack]\ndirectory = C:\\stack\n");
  EXPECT_EQ(scenario.stackDirectory, L"C:\\stack");
  EXPECT_EQ(scenario.clientLibrary, "talsClient");
  EXPECT_EQ(scenario.proxyLibrary, "talsProxy");
  EXPECT_TRUE(scenario.recertificationProgram);
}

TEST(ScenarioTest, TheStandInsOfAStackCanBeChosen) {
  const Scenario scenario = with(
      "[stack]\ndirectory = C:\\stack\nclient library = talsClientNone\nproxy library = none\n"
      "recertification program = no\n");
  EXPECT_EQ(scenario.clientLibrary, "talsClientNone");
  EXPECT_EQ(scenario.proxyLibrary, "");
  EXPECT_FALSE(scenario.recertificationProgram);
}

TEST(ScenarioTest, TheScriptOfTheClientLibraryIsHandedOnAsItStands) {
  EXPECT_EQ(with("[client]\ntalsInitHUB = 8 after 300 ms   # late\n\nanything\n\n").clientScript,
            "talsInitHUB = 8 after 300 ms   # late\n\nanything\n");
}

TEST(ScenarioTest, MalformedValuesOfStackKeysAreReported) {
  expectErrors({
      {"[stack]\ndirectory = stack\n", "5: \"stack\" is no absolute path (as in \"C:\\x\")"},
      {"[stack]\ndirectory = C:stack\n", "5: \"C:stack\" is no absolute path (as in \"C:\\x\")"},
      {"[stack]\ndirectory = C:\\a*b\n", "5: \"C:\\a*b\" has a character that a path cannot have"},
      {"[stack]\nclient library = C:\\x\n",
       "5: \"C:\\x\" is neither none nor the bare name of a stand-in"},
      {"[stack]\nproxy library =\n", "5: \"\" is neither none nor the bare name of a stand-in"},
      {"[stack]\nrecertification program = none\n", "5: \"none\" is neither yes nor no"},
  });
}

// [file], [registry] and [device]

TEST(ScenarioTest, AFileHasTheLinesOfItsSection) {
  const Scenario scenario = with(
      "[file C:\\a\\b.txt]\n# a comment of the scenario\none\n\n  two \n\\# three\n\\[four]\n"
      "\\five\n\n\n[file C:\\empty]\n");
  ASSERT_EQ(scenario.files.size(), 2U);
  EXPECT_EQ(scenario.files[0].path, L"C:\\a\\b.txt");
  EXPECT_EQ(scenario.files[0].bytes, "one\n\n  two \n# three\n[four]\n\\five\n");
  EXPECT_EQ(scenario.files[1].path, L"C:\\empty");
  EXPECT_EQ(scenario.files[1].bytes, "");
}

TEST(ScenarioTest, ARegistryKeyHasTextValues) {
  const Scenario scenario = with("[registry HKLM\\Software\\X]\nName = some text\nOther =\n");
  ASSERT_EQ(scenario.registry.size(), 1U);
  EXPECT_EQ(scenario.registry[0].key, L"HKLM\\Software\\X");
  const std::vector<std::pair<std::wstring, std::wstring>> expected = {{L"Name", L"some text"},
                                                                       {L"Other", L""}};
  EXPECT_EQ(scenario.registry[0].values, expected);
}

TEST(ScenarioTest, ADeviceIsAPresentSoftwareComponentByDefault) {
  const Scenario scenario = with("[device SWD\\A]\n");
  ASSERT_EQ(scenario.devices.size(), 1U);
  EXPECT_EQ(scenario.devices[0].instanceId, L"SWD\\A");
  EXPECT_EQ(scenario.devices[0].classGuid, L"{5c4c3332-344d-483c-8739-259e934c9cc8}");
  EXPECT_TRUE(scenario.devices[0].present);
  EXPECT_TRUE(scenario.devices[0].hardwareIds.empty());
  EXPECT_TRUE(scenario.devices[0].softwareKey.empty());
}

TEST(ScenarioTest, ADeviceIsAsItsKeysSay) {
  const Scenario scenario = with(
      "[device SWD\\A]\nclass = {00000000-0000-0000-0000-000000000001}\nhardware id = SWC\\A\n"
      "hardware id = SWC\\B\nsoftware key = HKLM\\Software\\A\npresent = no\n[device SWD\\B]\n");
  ASSERT_EQ(scenario.devices.size(), 2U);
  const ScenarioDevice& device = scenario.devices[0];
  EXPECT_EQ(device.classGuid, L"{00000000-0000-0000-0000-000000000001}");
  EXPECT_EQ(device.hardwareIds, (std::vector<std::wstring>{L"SWC\\A", L"SWC\\B"}));
  EXPECT_EQ(device.softwareKey, L"HKLM\\Software\\A");
  EXPECT_FALSE(device.present);
}

TEST(ScenarioTest, MalformedFilesKeysAndDevicesAreReported) {
  expectErrors({
      {"[file]\n", "4: in the brackets of \"file\" there must be a path too"},
      {"[file a\\b]\n", "4: \"a\\b\" is no absolute path (as in \"C:\\x\")"},
      {"[registry]\n", "4: in the brackets of \"registry\" there must be a key too"},
      {"[registry Software\\X]\n",
       "4: \"Software\\X\" is no key of the registry (as in \"HKLM\\Software\\X\")"},
      {"[registry HKLM\\]\n",
       "4: \"HKLM\\\" is no key of the registry (as in \"HKLM\\Software\\X\")"},
      {"[registry HKLM\\X]\nName\n", "5: \"Name\" is not of the form \"name = text\""},
      {"[registry HKLM\\X]\nName = a\nNAME = b\n", "6: \"NAME\" stands twice"},
      {"[device]\n", "4: in the brackets of \"device\" there must be an instance id too"},
      {"[device SWD\\A]\nclass = software\n",
       "5: \"software\" is no class (as in \"{5c4c3332-344d-483c-8739-259e934c9cc8}\")"},
      {"[device SWD\\A]\nhardware id =\n", "5: there must be a name"},
      {"[device SWD\\A]\nsoftware key = X\n",
       "5: \"X\" is no key of the registry (as in \"HKLM\\Software\\X\")"},
      {"[device SWD\\A]\npresent = 1\n", "5: \"1\" is neither yes nor no"},
  });
}

// [faults]

TEST(ScenarioTest, AFaultHitsOneCallOrAllFromThereOn) {
  const auto faults =
      with("[faults]\nfail CreateEventW 2 with 5\nfail _dupenv_s from 1 with 0x1F\n").faults;
  ASSERT_EQ(faults.size(), 2U);
  EXPECT_EQ(faults[0].call, "CreateEventW");
  EXPECT_EQ(faults[0].nth, 2U);
  EXPECT_EQ(faults[0].error, 5U);
  EXPECT_FALSE(faults[0].lasting);
  EXPECT_EQ(faults[1].call, "_dupenv_s");
  EXPECT_EQ(faults[1].nth, 1U);
  EXPECT_EQ(faults[1].error, 31U);
  EXPECT_TRUE(faults[1].lasting);
}

TEST(ScenarioTest, MalformedFaultsAreReported) {
  const std::string form =
      " is no fault (as in \"fail CreateEventW 2 with 5\" or "
      "\"fail CreateEventW from 2 with 5\")";
  expectErrors({
      {"[faults]\nfail CreateEventW\n", "5: \"fail CreateEventW\"" + form},
      {"[faults]\nbreak CreateEventW 1 with 5\n", "5: \"break CreateEventW 1 with 5\"" + form},
      {"[faults]\nfail Create-Event 1 with 5\n",
       "5: \"Create-Event\" is no name of a platform call"},
      {"[faults]\nfail CreateEventW 0 with 5\n", "5: counting begins with 1"},
      {"[faults]\nfail CreateEventW x with 5\n", "5: \"x\" is no number"},
      {"[faults]\nfail CreateEventW 1 with denied\n", "5: \"denied\" is no number"},
  });
}

// [script]

Step stepOf(const std::string& line) {
  const Scenario scenario = with("[script]\n" + line + "\n");
  return scenario.script.size() == 1 ? scenario.script[0] : Step{};
}

TEST(ScenarioTest, AStepCanHappenAtATime) {
  const Step step = stepOf("at 1 s 500 ms: stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kAt);
  EXPECT_EQ(step.moment.at, 1500 * kNanosecondsPerMillisecond);
  EXPECT_EQ(step.line, 5);
}

TEST(ScenarioTest, AStepCanHappenBeforeACall) {
  const Step step = stepOf("before CreateEventW 4: stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kBeforeCall);
  EXPECT_EQ(step.moment.name, "CreateEventW");
  EXPECT_EQ(step.moment.nth, 4U);
  EXPECT_EQ(stepOf("before CreateEventW: stop").moment.nth, 1U);
}

TEST(ScenarioTest, AStepCanHappenOnALogLine) {
  const Step step = stepOf("on log 2 \"[Run] x: \"y\" signaled.\": stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kOnLog);
  EXPECT_EQ(step.moment.name, "[Run] x: \"y\" signaled.");
  EXPECT_EQ(step.moment.nth, 2U);
  EXPECT_EQ(step.action.kind, Action::Kind::kControl);
  EXPECT_EQ(stepOf("on log \"x\": stop").moment.nth, 1U);
}

TEST(ScenarioTest, AStepCanHappenOnAStatus) {
  const Step step = stepOf("on status STOP_PENDING 3: stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kOnStatus);
  EXPECT_EQ(step.moment.name, "STOP_PENDING");
  EXPECT_EQ(step.moment.nth, 3U);
  EXPECT_EQ(stepOf("on status RUNNING: stop").moment.nth, 1U);
}

TEST(ScenarioTest, EventsAreSignalledPublishedAndWithdrawn) {
  const auto action = [](const std::string& text) { return stepOf("at 1 s: " + text).action; };
  EXPECT_EQ(action("signal Global\\E").kind, Action::Kind::kSignalEvent);
  EXPECT_EQ(action("signal Global\\E").subject, L"Global\\E");
  EXPECT_EQ(action("publish Global\\E").kind, Action::Kind::kPublishEvent);
  EXPECT_EQ(action("withdraw Global\\E").kind, Action::Kind::kWithdrawEvent);
}

TEST(ScenarioTest, StopIsControl1) {
  EXPECT_EQ(stepOf("at 1 s: stop").action.kind, Action::Kind::kControl);
  EXPECT_EQ(stepOf("at 1 s: stop").action.number, 1U);
  EXPECT_EQ(stepOf("at 1 s: control 4").action.number, 4U);
}

TEST(ScenarioTest, FilesAreWrittenAndDeleted) {
  const Action write = stepOf("at 1 s: write C:\\x\\y: a = \"b\"\\n\\tc:\\\\d\\r").action;
  EXPECT_EQ(write.kind, Action::Kind::kWriteFile);
  EXPECT_EQ(write.subject, L"C:\\x\\y");
  EXPECT_EQ(write.text, "a = \"b\"\n\tc:\\d\r");
  EXPECT_EQ(stepOf("at 1 s: write C:\\x:").action.text, "");
  const Action remove = stepOf("at 1 s: delete C:\\x\\y").action;
  EXPECT_EQ(remove.kind, Action::Kind::kDeleteFile);
  EXPECT_EQ(remove.subject, L"C:\\x\\y");
}

TEST(ScenarioTest, TheProcessCanBeEnded) {
  EXPECT_EQ(stepOf("at 1 s: end process").action.kind, Action::Kind::kEndProcess);
}

TEST(ScenarioTest, MalformedMomentsAreReported) {
  expectErrors({
      {"[script]\nafter 3 s: stop\n",
       "5: \"after 3 s: stop\" does not begin with a moment (at, before, on log, on status)"},
      {"[script]\nbefor X: stop\n",
       "5: \"befor X: stop\" does not begin with a moment (at, before, on log, on status) "
       "(did you mean \"before\"?)"},
      {"[script]\nat 3 s\n", "5: a moment ends in : and is followed by an action"},
      {"[script]\nat soon: stop\n", "5: \"soon\" is no time (as in \"300 ms\" or \"1 min 30 s\")"},
      {"[script]\nbefore: stop\n",
       "5: \"before: stop\" does not begin with a moment (at, before, on log, on status) "
       "(did you mean \"before\"?)"},
      {"[script]\nbefore X 1 2: stop\n",
       "5: there must be a platform call's name, and at most a number behind it"},
      {"[script]\nbefore X 0: stop\n", "5: counting begins with 1"},
      {"[script]\nbefore Create-Event 1: stop\n",
       "5: \"Create-Event\" is no name of a platform call"},
      {"[script]\non log x: stop\n", "5: a moment ends in \": and is followed by an action"},
      {"[script]\non log x\": stop\n", "5: \"x\" is no number"},
      {"[script]\non log \": stop\n", "5: the text of the log line must stand in double quotes"},
      {"[script]\non log \"\": stop\n", "5: the text of the log line is empty"},
      {"[script]\non log two \"x\": stop\n", "5: \"two\" is no number"},
      {"[script]\non status RUNING: stop\n",
       "5: \"RUNING\" is no state of the service (did you mean \"RUNNING\"?)"},
      {"[script]\non status: stop\n",
       "5: \"on status: stop\" does not begin with a moment (at, before, on log, on status)"},
  });
}

TEST(ScenarioTest, MalformedActionsAreReported) {
  expectErrors({
      {"[script]\nat 1 s: sign X\n", "5: \"sign X\" is no action (did you mean \"signal\"?)"},
      {"[script]\nat 1 s:\n", "5: \"\" is no action"},
      {"[script]\nat 1 s: signal\n", "5: there must be a name"},
      {"[script]\nat 1 s: stop now\n", "5: nothing may follow the action"},
      {"[script]\nat 1 s: end process now\n", "5: nothing may follow the action"},
      {"[script]\nat 1 s: control\n", "5: \"\" is no number"},
      {"[script]\nat 1 s: control 256\n", "5: \"256\" is greater than 255"},
      {"[script]\nat 1 s: write C:\\x\n",
       "5: the path must be followed by a colon and the file's text"},
      {"[script]\nat 1 s: write x\\y: text\n", "5: \"x\\y\" is no absolute path (as in \"C:\\x\")"},
      {"[script]\nat 1 s: write C:\\x: a\\b\n",
       "5: a backslash in a file's text must be followed by n, r, t or another backslash"},
      {"[script]\nat 1 s: delete x\n", "5: \"x\" is no absolute path (as in \"C:\\x\")"},
  });
}

TEST(ScenarioTest, AMomentAtOrPastTheLimitIsReported) {
  EXPECT_EQ(errorWith("[script]\nat 59 s: stop\nat 60 s: stop\n"),
            "6: the run is over by then: its limit comes first");
  EXPECT_EQ(errorIn("[script]\nat 5 s: stop\n" + kLeast + "limit = 4 s\n"),
            "2: the run is over by then: its limit comes first");
}

// [expected]

TEST(ScenarioTest, ExpectedLinesMayBeginWithABracket) {
  const std::vector<std::string> expected = {"[INF] [TPM] one", "-- two", "[0x] three"};
  EXPECT_EQ(with("[expected]\n# not this\n[INF] [TPM] one\n\n-- two  \n[0x] three\n").expected,
            expected);
}

TEST(ScenarioTest, AnEmptyExpectedSectionExpectsNothing) {
  EXPECT_EQ(with("[expected]\n").expected, std::vector<std::string>{});
}

TEST(ScenarioTest, AKnownSectionEndsTheExpectedOne) {
  const Scenario scenario = with("[expected]\nline\n[machine]\nlistener = no\n");
  EXPECT_EQ(scenario.expected, std::vector<std::string>{"line"});
  EXPECT_FALSE(scenario.debugListener);
}

TEST(ScenarioTest, ExpectedLinesCanBeRepeated) {
  const std::vector<std::string> expected = {"a", "b", "c", "c", "b", "c", "c", "d"};
  EXPECT_EQ(with("[expected]\na\nrepeat 2:\nb\nrepeat 2:\nc\nend repeat\nend repeat\nd\n").expected,
            expected);
  EXPECT_EQ(with("[expected]\nrepeat 1:\na\nend repeat\n").expected, std::vector<std::string>{"a"});
}

TEST(ScenarioTest, MalformedRepetitionsAreReported) {
  expectErrors({
      {"[expected]\nrepeat 2:\na\n", "5: this \"repeat\" has no \"end repeat\""},
      {"[expected]\nend repeat\n", "5: there is no \"repeat\" that could end here"},
      {"[expected]\nrepeat 2:\nend repeat\n", "6: there is nothing to repeat"},
      {"[expected]\nrepeat 0:\na\nend repeat\n", "5: counting begins with 1"},
      {"[expected]\nrepeat x:\na\nend repeat\n", "5: \"x\" is no number"},
      {"[expected]\nrepeat 4000000000:\na\nend repeat\n", "7: that makes more than 1000000 lines"},
  });
}

// The frame.

TEST(ScenarioTest, MalformedFramesAreReported) {
  expectErrors({
      {"[machin]\n", "4: there is no section \"machin\" (did you mean \"machine\"?)"},
      {"[weather]\n", "4: there is no section \"weather\""},
      {"[expected]\n[scrpt]\n", "5: there is no section \"scrpt\" (did you mean \"script\"?)"},
      {"[file C:\\x]\n[y]\n", "5: there is no section \"y\""},
      {"[machine x]\n", "4: in the brackets of \"machine\" there must be nothing else"},
      {"[machine]\n[machine]\n", "5: the section [machine] stands twice"},
      {"[file C:\\x]\n[file c:\\X]\n", "5: the section [file c:\\X] stands twice"},
      {"about = Again.\n", "4: \"about\" stands twice"},
      {"limt = 3 s\n", "4: [scenario] has no key \"limt\" (did you mean \"limit\"?)"},
      {"[machine]\nweather = fine\n", "5: [machine] has no key \"weather\""},
      {"limit\n", "4: \"limit\" is not of the form \"key = value\""},
      {"[machine]\nevent = a\0b\n"s, "5: the line holds a zero byte"},
      {"[machine]\nevent = \xFF\n", "5: the line is not UTF-8"},
  });
  EXPECT_EQ(errorIn("\n# comment\nabout = x\n"), "3: \"about = x\" stands outside a section");
}

TEST(ScenarioTest, LineEndsOfWindowsAndAByteOrderMarkAreTaken) {
  const Scenario scenario = parsed(
      "\xEF\xBB\xBF[scenario]\r\nabout = A test.\r\nend = exit 0\r\n[file C:\\x]\r\none\r\n");
  EXPECT_EQ(scenario.about, "A test.");
  EXPECT_EQ(scenario.files.at(0).bytes, "one\n");
}

TEST(ScenarioTest, TheLastLineNeedsNoLineEnd) {
  EXPECT_EQ(parsed("[scenario]\nend = exit 0\nabout = A test.").about, "A test.");
}

TEST(ScenarioTest, ValuesMayBeLongAndHoldAnyCharacter) {
  const std::string sentence = std::string(100'000, 'x') + " \xC3\xBC = [y]";
  EXPECT_EQ(parsed("[scenario]\nend = exit 0\nabout = " + sentence + "\n").about, sentence);
}

// The page for those who write scenarios.

std::string exampleOfThePage() {
  std::ifstream page(std::string(SOURCE_ROOT) + "/docs/scenarios.md");
  const std::string text{std::istreambuf_iterator<char>(page), std::istreambuf_iterator<char>()};
  const std::string opening = "```scenario\n";
  const std::size_t begin = text.find(opening);
  if (begin == std::string::npos) {
    return "";
  }
  const std::size_t first = begin + opening.size();
  return text.substr(first, text.find("```", first) - first);
}

TEST(ScenarioTest, TheExampleOfThePageIsWellFormed) {
  const Scenario scenario = parsed(exampleOfThePage());
  EXPECT_EQ(scenario.about, "The event is signalled and all goals are met.");
  EXPECT_EQ(scenario.publishedEvents, std::vector<std::wstring>{L"Global\\TpmEnrollmentEvent"});
  EXPECT_EQ(scenario.script.size(), 1U);
  ASSERT_TRUE(scenario.expected);
  EXPECT_EQ(scenario.expected->size(), 5U);
}

}  // namespace
}  // namespace host
