#include <gtest/gtest.h>

#include <algorithm>

#include "tests/machine/MachineRun.h"

namespace {

// Each scenario of the source tree, with the plain order of threads in virtual time.
class ScenarioRunsTest : public ::testing::TestWithParam<std::string> {};

TEST_P(ScenarioRunsTest, RunIsWhatTheScenarioSays) {
  const MachineRun run = runNamed(GetParam());
  EXPECT_TRUE(run.scenario.expected.has_value()) << "the scenario has no [expected] section";
  EXPECT_FALSE(run.scenario.about.empty()) << "the scenario has no sentence about it";
  EXPECT_TRUE(run.differences.empty()) << run.complaint();
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ScenarioRunsTest, ::testing::ValuesIn(scenarioNames()),
                         testName);

TEST(ScenariosTest, FirstBootIsAmongThem) {
  EXPECT_EQ(std::ranges::count(scenarioNames(), "first-boot"), 1);
}

}  // namespace
