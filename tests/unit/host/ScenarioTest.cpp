#include "platform/host/Scenario.h"

#include <fstream>
#include <iterator>

#include "platform/host/windows/Services.h"
#include "tests/unit/host/ScenarioTexts.h"

namespace host {
namespace {

using namespace std::string_literals;

constexpr Nanoseconds kSecond = 1000 * kNanosecondsPerMillisecond;

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

TEST(ScenarioTest, ALifeCanComeAfterAnother) {
  EXPECT_EQ(with("").after, "");
  EXPECT_EQ(with("after = first-boot\n").after, "first-boot");
}

TEST(ScenarioTest, TheDriveAtTheEndCanBeDescribed) {
  const Scenario scenario = with(
      "unchanged = C:\\a\nunchanged = C:\\b c\nnot there = C:\\d\n"
      "[left C:\\e f]\none\n\n\\[two]\n\n[left C:\\g]\n");
  EXPECT_EQ(scenario.unchangedFiles, (std::vector<std::wstring>{L"C:\\a", L"C:\\b c"}));
  EXPECT_EQ(scenario.absentFiles, std::vector<std::wstring>{L"C:\\d"});
  ASSERT_EQ(scenario.leftFiles.size(), 2U);
  EXPECT_EQ(scenario.leftFiles[0].path, L"C:\\e f");
  EXPECT_EQ(scenario.leftFiles[0].bytes, "one\n\n[two]\n");
  EXPECT_EQ(scenario.leftFiles[1].path, L"C:\\g");
  EXPECT_EQ(scenario.leftFiles[1].bytes, "");
}

TEST(ScenarioTest, MalformedValuesOfScenarioKeysAreReported) {
  expectErrors({
      {"after =\n", "4: \"\" is not the bare name of a scenario"},
      {"after = a/b\n", "4: \"a/b\" is not the bare name of a scenario"},
      {"after = a\nafter = b\n", "5: \"after\" stands twice"},
      {"unchanged = x\n", "4: \"x\" is no absolute path (as in \"C:\\x\")"},
      {"not there = C:\\x\\\n", "4: \"C:\\x\\\" names no file"},
      {"[left]\n", "4: in the brackets of \"left\" there must be a path too"},
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

TEST(ScenarioTest, TheRecertificationProgramCanBeThereAndCrash) {
  EXPECT_FALSE(with("[stack]\ndirectory = C:\\stack\n").recertificationCrashes);
  const Scenario scenario =
      with("[stack]\ndirectory = C:\\stack\nrecertification program = crashes\n");
  EXPECT_TRUE(scenario.recertificationProgram);
  EXPECT_TRUE(scenario.recertificationCrashes);
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
  EXPECT_EQ(scenario.devices[0].locateResult, 0U);
}

TEST(ScenarioTest, ADeviceIsAsItsKeysSay) {
  const Scenario scenario = with(
      "[device SWD\\A]\nclass = {00000000-0000-0000-0000-000000000001}\nhardware id = SWC\\A\n"
      "hardware id = SWC\\B\nsoftware key = HKLM\\Software\\A\npresent = no\n"
      "locate result = 0x0D\n[device SWD\\B]\n");
  ASSERT_EQ(scenario.devices.size(), 2U);
  const ScenarioDevice& device = scenario.devices[0];
  EXPECT_EQ(device.classGuid, L"{00000000-0000-0000-0000-000000000001}");
  EXPECT_EQ(device.hardwareIds, (std::vector<std::wstring>{L"SWC\\A", L"SWC\\B"}));
  EXPECT_EQ(device.softwareKey, L"HKLM\\Software\\A");
  EXPECT_FALSE(device.present);
  EXPECT_EQ(device.locateResult, 13U);
}

TEST(ScenarioTest, MalformedFilesKeysAndDevicesAreReported) {
  expectErrors({
      {"[file]\n", "4: in the brackets of \"file\" there must be a path too"},
      {"[file a\\b]\n", "4: \"a\\b\" is no absolute path (as in \"C:\\x\")"},
      {"[file C:\\x\\]\n", "4: \"C:\\x\\\" names no file"},
      {"[file C:\\" + std::string(257, 'x') + "]\n", "4: a path has at most 259 characters"},
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
      {"[device SWD\\A]\nlocate result = gone\n", "5: \"gone\" is no number"},
  });
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
