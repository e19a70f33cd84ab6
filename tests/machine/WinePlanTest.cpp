#include "tools/runner/WinePlan.h"

#include <gtest/gtest.h>

#include "tools/runner/ScenarioCatalog.h"
#include "tools/runner/ScenarioRun.h"

namespace runner {
namespace {

host::Scenario scenarioOf(const std::string& text) {
  const auto parsed =
      host::parseScenario("x", "[scenario]\nabout = A test.\nend = exit 0\n" + text);
  if (const auto* error = std::get_if<host::ScenarioError>(&parsed)) {
    ADD_FAILURE() << error->line << ": " << error->reason;
    return {};
  }
  return std::get<host::Scenario>(parsed);
}

std::string whyNot(const std::string& text) {
  return whyNotUnderWine(scenarioOf(text)).value_or("it can");
}

TEST(WinePlanTest, ScenarioThatSaysYesCanBeRun) {
  EXPECT_EQ(whyNot("wine = yes\n"), "it can");
}

TEST(WinePlanTest, ScenarioThatSaysNothingIsNotRun) {
  EXPECT_EQ(whyNot(""), "it does not say whether it can be run under Wine");
}

TEST(WinePlanTest, ReasonOfAScenarioIsGiven) {
  EXPECT_EQ(whyNot("wine = no:  it takes a day \n"), "it takes a day");
}

TEST(WinePlanTest, WhatIsNeitherYesNorAReasonIsReported) {
  for (const std::string value : {"", "no", "no:", "no: ", "maybe", "yes: always"}) {
    const auto parsed = host::parseScenario(
        "x", "[scenario]\nabout = A test.\nend = exit 0\nwine = " + value + "\n");
    const auto* error = std::get_if<host::ScenarioError>(&parsed);
    ASSERT_NE(error, nullptr) << value;
    EXPECT_EQ(error->line, 4);
    EXPECT_NE(error->reason.find("neither yes nor no with a reason"), std::string::npos) << value;
  }
}

TEST(WinePlanTest, YesDoesNotHelpWhereOnlyTheModelHasWhatIsAskedFor) {
  const std::pair<const char*, const char*> kRows[] = {
      {"[faults]\nfail CreateEventW 1 with 5\n", "only the model has platform calls that fail"},
      {"[script]\nbefore CreateEventW 1: stop\n", "only the model has a step of its script"},
      {"[script]\nat 1 s: power mains\n", "only the model has a step of its script"},
      {"limit = 11 min\n", "only the model has more time than anybody waits"},
      {"after = y\n", "only the model has a life before"},
      {"[machine]\nwindows = 6.1.7601\n", "only the model has another version of Windows"},
      {"[machine]\nlanguage = 0x0407\n", "only the model has another language of the user"},
      {"[machine]\nzone = +60 min\n", "only the model has a time of its own"},
      {"[machine]\nprivileges = none\n", "only the model has a token of its own"},
      {"[machine]\nlistener = no\n", "only the model has nobody who listens to the debug output"},
      {"[machine]\nnetwork = no\n", "only the model has power and network that change"},
      {"[machine]\nscheduler = refused\n", "only the model has a Task Scheduler that refuses"},
      {"[machine]\nfree space = 0\n", "only the model has a drive that refuses"},
  };
  for (const auto& [text, reason] : kRows) {
    EXPECT_EQ(whyNot(std::string("wine = yes\n") + text), reason) << text;
  }
}

TEST(WinePlanTest, PlanHasAllThatHappensInsideThePlatform) {
  const host::Scenario scenario = scenarioOf(
      "limit = 20 s\n"
      "[machine]\nstarted by = console\narguments = -help \"a b\"\n"
      "event = Global\\A\nnamespace taken = B\n"
      "[script]\n"
      "at 1 s: stop\n"
      "on log 2 \"x\": signal Global\\A\n"
      "on status RUNNING: write C:\\f: k = \"v\"\\n\n");
  EXPECT_EQ(winePlan(scenario),
            "program\tC:\\\\Program Files\\\\Orvix\\\\TPMEnrollmentService\\\\"
            "TPMEnrollmentService.exe\n"
            "command line\t\"C:\\\\Program Files\\\\Orvix\\\\TPMEnrollmentService\\\\"
            "TPMEnrollmentService.exe\" -help \"a b\"\n"
            "started by\tconsole\n"
            "listener\tyes\n"
            "limit\t20000\n"
            "event\tGlobal\\\\A\n"
            "namespace\tB\n"
            "step\tat\t1000\t1\tcontrol\t\t1\n"
            "step\tlog\tx\t2\tsignal\tGlobal\\\\A\t\n"
            "step\tstatus\tRUNNING\t1\twrite\tC:\\\\f\tk = \"v\"\\n\n");
}

TEST(WinePlanTest, RegistryHasStackDevicesKeysAndEnvironment) {
  const host::Scenario scenario = scenarioOf(
      "[machine]\nenvironment TALS_LOGDIR_PATH = C:\\l\xC3\xB6g\n"
      "[stack]\ndirectory = C:\\S\n"
      "[registry HKLM\\Software\\X]\nname = \"text\"\n"
      "[device SWD\\A]\nclass = {11111111-2222-3333-4444-555555555555}\nhardware id = h1\nhardware "
      "id = h2\npresent = no\n");
  EXPECT_EQ(wineRegistry(scenario),
            "\n[Software\\\\X] 1700000000\n"
            "\"name\"=\"\\\"text\\\"\"\n"
            "\n[Software\\\\Wine\\\\TPMEnrollmentService\\\\Devices\\\\0] 1700000000\n"
            "\"Id\"=\"SWD\\\\A\"\n\"Class\"=\"{11111111-2222-3333-4444-555555555555}\"\n"
            "\"HardwareId0\"=\"h1\"\n\"HardwareId1\"=\"h2\"\n"
            "\"SoftwareKey\"=\"\"\n\"Present\"=\"no\"\n"
            "\n[Software\\\\Wine\\\\TPMEnrollmentService\\\\Devices\\\\1] 1700000000\n"
            "\"Id\"=\"SWC\\\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT\\\\7&1A2B3C4D&0&0\"\n"
            "\"Class\"=\"{5c4c3332-344d-483c-8739-259e934c9cc8}\"\n"
            "\"HardwareId0\"=\"SWC\\\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT\"\n"
            "\"SoftwareKey\"=\"System\\\\CurrentControlSet\\\\Control\\\\Class\\\\"
            "{5c4c3332-344d-483c-8739-259e934c9cc8}\\\\0000\"\n\"Present\"=\"yes\"\n"
            "\n[System\\\\CurrentControlSet\\\\Control\\\\Class\\\\"
            "{5c4c3332-344d-483c-8739-259e934c9cc8}\\\\0000\\\\tALS Client] 1700000000\n"
            "\"InstallDir64\"=\"C:\\\\S\"\n"
            "\n[Software\\\\Classes\\\\CLSID\\\\{0f87369f-a4e5-4cfc-bd3e-73e6154572dd}"
            "\\\\InprocServer32] 1700000000\n"
            "@=\"C:\\\\Program Files\\\\Orvix\\\\TPMEnrollmentService\\\\tasks.dll\"\n"
            "\n[System\\\\CurrentControlSet\\\\Control\\\\Session Manager\\\\Environment] "
            "1700000000\n"
            "\"TALS_LOGDIR_PATH\"=\"C:\\\\l\\x00f6g\"\n");
}

TEST(WinePlanTest, WhoIsNoAdministratorIsRefusedTheNamespace) {
  EXPECT_EQ(wineRegistry(scenarioOf("[machine]\nadministrator = no\n")),
            "\n[Software\\\\Wine\\\\TPMEnrollmentService] 1700000000\n"
            "\"NamespaceRefused\"=\"yes\"\n"
            "\n[Software\\\\Classes\\\\CLSID\\\\{0f87369f-a4e5-4cfc-bd3e-73e6154572dd}"
            "\\\\InprocServer32] 1700000000\n"
            "@=\"C:\\\\Program Files\\\\Orvix\\\\TPMEnrollmentService\\\\tasks.dll\"\n"
            "\n[System\\\\CurrentControlSet\\\\Control\\\\Session Manager\\\\Environment] "
            "1700000000\n");
}

TEST(WinePlanTest, EveryScenarioSaysWhetherItCanBeRunUnderWine) {
  const ScenarioCatalog catalog(scenarioFolder());
  for (const std::string& name : catalog.names()) {
    const auto loaded = loadScenario(*catalog.find(name));
    const auto* found = std::get_if<LoadedScenario>(&loaded);
    ASSERT_NE(found, nullptr) << name;
    const auto& reason = found->scenario.wineReason;
    ASSERT_TRUE(reason.has_value()) << name;
    if (reason->empty()) {
      EXPECT_EQ(whatOnlyTheModelHas(found->scenario).value_or("nothing"), "nothing") << name;
    }
  }
}

}  // namespace
}  // namespace runner
