#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <variant>
#include <vector>

#include "platform/host/Text.h"
#include "tests/machine/CheckerProcess.h"
#include "tests/machine/MachineRun.h"
#include "tests/machine/TemporaryFolder.h"
#include "tools/runner/ScenarioRun.h"

// The checker explains the configuration files of the scenarios, and what it says is what the runs
// show.

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr wchar_t kVariable[] = L"TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH";
constexpr wchar_t kConfName[] = L"\\TPMEnrollmentService.conf";

host::Scenario scenarioOf(const std::string& name) {
  const auto loaded =
      runner::loadScenario(*runner::ScenarioCatalog(runner::scenarioFolder()).find(name));
  return std::get<runner::LoadedScenario>(loaded).scenario;
}

// The scenario's files, put where the checker finds them, under "log.conf" and, if the variable
// moves one of them, "moved.conf".
class ScenarioFiles {
 public:
  explicit ScenarioFiles(const host::Scenario& scenario) {
    const auto moved = scenario.environment.find(kVariable);
    isMoved_ = moved != scenario.environment.end();
    for (const host::ScenarioFile& file : scenario.files) {
      if (isMoved_ && file.path == moved->second) {
        std::ofstream(folder_.path() / "moved.conf") << file.bytes;
      } else if (file.path.ends_with(kConfName)) {
        std::ofstream(folder_.path() / "log.conf") << file.bytes;
        hasFile_ = true;
      }
    }
  }

  bool hasFile() const { return hasFile_; }
  CheckerRun check() const {
    return runCheckerScript(folder_.path(), isMoved_ ? "config-check log.conf --moved moved.conf"
                                                     : "config-check log.conf");
  }

 private:
  TemporaryFolder folder_;
  bool isMoved_ = false;
  bool hasFile_ = false;
};

CheckerRun checkScenario(const std::string& name) {
  return ScenarioFiles(scenarioOf(name)).check();
}

// The scenarios with a file for the checker.
std::vector<std::string> namesWithFile() {
  std::vector<std::string> names;
  for (const std::string& name : scenarioNames()) {
    if (ScenarioFiles(scenarioOf(name)).hasFile()) {
      names.push_back(name);
    }
  }
  return names;
}

std::string linesOf(const host::Scenario& scenario) {
  std::string lines;
  for (const std::string& line : scenario.expected.value_or(std::vector<std::string>())) {
    lines += line + "\n";
  }
  return lines;
}

class ConfigCheckScenarioTest : public ::testing::TestWithParam<std::string> {};

TEST_P(ConfigCheckScenarioTest, CheckerSaysWhatTheRunShows) {
  const host::Scenario scenario = scenarioOf(GetParam());
  const CheckerRun checked = ScenarioFiles(scenario).check();
  const std::string lines = linesOf(scenario);
  if (checked.status == 2) {
    EXPECT_THAT(lines, HasSubstr("Corrupted config. Default values will be used."));
  } else if (scenario.deniedPaths.empty()) {
    EXPECT_THAT(lines, Not(HasSubstr("Corrupted config.")));
  }
  if (checked.out.find("(silent)") != std::string::npos) {
    EXPECT_FALSE(std::regex_search(lines, std::regex("(^|\n)\\[(DBG|INF|ERR|FTL)\\]"))) << lines;
  }
  std::smatch wait;
  if (std::regex_search(lines, wait, std::regex("with timeout = (-?[0-9]+) seconds"))) {
    EXPECT_THAT(checked.out, HasSubstr("\n  TCBRepeaterTime   " + wait[1].str() + " s "));
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ConfigCheckScenarioTest, ::testing::ValuesIn(namesWithFile()),
                         testName);

TEST(ConfigCheckScenariosTest, FirstBootReadsItsWaitFromTheFile) {
  const CheckerRun checked = checkScenario("first-boot");
  EXPECT_EQ(checked.status, 0);
  EXPECT_EQ(checked.out,
            "log.conf\n"
            "  1  (comment)\n"
            "  2  LogLevel = \"DEBUG\"\n"
            "  3  TCBRepeaterTime = \"2\"\n"
            "\n"
            "In force:\n"
            "  TCBRepeaterTime   2 s         line 3\n"
            "  LogLevel          DEBUG       line 2\n"
            "  MaxFileSize       4194304     default; read and not used\n"
            "  MaxArchiveNumber  10          default; read and not used\n"
            "\n"
            "No warnings.\n");
  EXPECT_THAT(linesOf(scenarioOf("first-boot")), HasSubstr("with timeout = 2 seconds"));
}

TEST(ConfigCheckScenariosTest, CorruptFileLeavesTheDefaults) {
  const CheckerRun checked = checkScenario("corrupt-config");
  EXPECT_EQ(checked.status, 2);
  EXPECT_EQ(checked.out,
            "log.conf\n"
            "  1  LogLevel = \"DEBUG\"\n"
            "  2  \"this is no setting\"\n"
            "     error: there is no \"=\" in this line, so the service calls the whole file "
            "corrupted\n"
            "\n"
            "In force:\n"
            "  TCBRepeaterTime   3600 s      default\n"
            "  LogLevel          INFO        default\n"
            "  MaxFileSize       4194304     default; read and not used\n"
            "  MaxArchiveNumber  10          default; read and not used\n"
            "\n"
            "Corrupted: the service uses the defaults in its place. No warnings.\n");
}

TEST(ConfigCheckScenariosTest, UnknownLevelSilencesTheLog) {
  const CheckerRun checked = checkScenario("unknown-log-level-silent");
  EXPECT_EQ(checked.status, 1);
  EXPECT_EQ(checked.out,
            "log.conf\n"
            "  1  LogLevel = \"VERBOSE\"\n"
            "     warning: the value is no level and makes THE LOG SILENT; the levels are DEBUG, "
            "ERROR, FATAL, INFO, NONE\n"
            "\n"
            "In force:\n"
            "  TCBRepeaterTime   3600 s      default\n"
            "  LogLevel          (silent)    line 1\n"
            "  MaxFileSize       4194304     default; read and not used\n"
            "  MaxArchiveNumber  10          default; read and not used\n"
            "\n"
            "1 warning.\n");
}

TEST(ConfigCheckScenariosTest, NegativeWaitIsRefused) {
  const CheckerRun checked = checkScenario("bad-wait-setting");
  EXPECT_EQ(checked.status, 1);
  EXPECT_THAT(checked.out,
              HasSubstr("  2  TCBRepeaterTime = \"-5\"\n"
                        "     warning: a negative wait is refused, so the service waits 3600 s\n"));
}

TEST(ConfigCheckScenariosTest, TwoReadersReadTwoFiles) {
  const CheckerRun checked = checkScenario("config-two-files");
  EXPECT_EQ(checked.status, 1);
  EXPECT_EQ(checked.out,
            "File 1, read for the log: log.conf\n"
            "  1  LogLevel = \"DEBUG\"\n"
            "  2  TCBRepeaterTime = \"7\"\n"
            "     warning: the service reads this key from the other file\n"
            "\n"
            "File 2, read for the wait: moved.conf\n"
            "  1  LogLevel = \"NONE\"\n"
            "     warning: the service reads this key from the other file\n"
            "  2  TCBRepeaterTime = \"4\"\n"
            "\n"
            "In force:\n"
            "  TCBRepeaterTime   4 s         file 2, line 2\n"
            "  LogLevel          DEBUG       file 1, line 1\n"
            "  MaxFileSize       4194304     default; read and not used\n"
            "  MaxArchiveNumber  10          default; read and not used\n"
            "\n"
            "2 warnings.\n");
}

}  // namespace
