#include "tools/runner/CallOrder.h"

#include <gtest/gtest.h>

#include "tools/runner/Judge.h"

namespace runner {
namespace {

host::Scenario scenarioCalling(std::map<std::string, std::vector<std::string>> calls) {
  host::Scenario scenario;
  scenario.calls = std::move(calls);
  return scenario;
}

RunResult resultCalling(const std::vector<std::string>& calls) {
  RunResult result;
  result.end = End::kExit;
  for (const std::string& call : calls) {
    addRecord(result, {host::ReportKind::kCall, 0, call});
  }
  return result;
}

TEST(CallOrderTest, LineNamesACallByItsNameAndByTheArgumentsThatItGives) {
  EXPECT_TRUE(isCallOf("SetEvent 0x12", "SetEvent"));
  EXPECT_TRUE(isCallOf("SetEvent 0x12", "SetEvent *"));
  EXPECT_TRUE(isCallOf("OpenEventW 1, 0, Global\\X", "OpenEventW *, 0, Global\\X"));
  EXPECT_FALSE(isCallOf("OpenEventW 1, 0, Global\\X", "OpenEventW *, 1, Global\\X"));
  EXPECT_FALSE(isCallOf("OpenEventW 1, 0, Global\\X", "OpenEventW *, 0"));
  EXPECT_FALSE(isCallOf("OpenEventW 1, 0", "OpenEventW *, 0, *"));
  EXPECT_FALSE(isCallOf("OpenEventW", "OpenEventW *"));
  EXPECT_FALSE(isCallOf("CreateEventW null", "OpenEventW null"));
}

TEST(CallOrderTest, EachThreadsCallsAreComparedInTheirOrder) {
  const host::Scenario scenario =
      scenarioCalling({{"main", {"SetEvent"}}, {"service", {"ResetEvent", "FreeLibrary 1"}}});
  const auto summary = [&](const std::vector<std::string>& made) {
    return callsDifference(scenario, resultCalling(made), Calls::kAll).summary;
  };
  EXPECT_EQ(summary({"service ResetEvent 5", "main SetEvent 7", "service FreeLibrary 1"}), "");
  EXPECT_EQ(summary({"service ResetEvent 5", "service FreeLibrary 1", "main SetEvent 7"}), "");
  EXPECT_EQ(summary({"service FreeLibrary 1", "service ResetEvent 5", "main SetEvent 7"}),
            "call 1 of [calls service] differs");
  EXPECT_EQ(summary({"main SetEvent 7", "service ResetEvent 5"}),
            "call 2 of [calls service] differs");
  EXPECT_EQ(summary({"service ResetEvent 5", "service FreeLibrary 1", "main SetEvent 7",
                     "main SetEvent 7"}),
            "call 2 of [calls main] differs");
}

TEST(CallOrderTest, ThreadThatTheScenarioDoesNotNameMustMakeNone) {
  EXPECT_EQ(callsDifference(scenarioCalling({{"main", {}}}), resultCalling({"service SetEvent 1"}),
                            Calls::kAll)
                .summary,
            "call 1 of [calls service] differs");
}

TEST(CallOrderTest, BeginningIsEnoughForALifeThatWasEnded) {
  const host::Scenario scenario = scenarioCalling({{"main", {"SetEvent", "ResetEvent"}}});
  EXPECT_EQ(
      callsDifference(scenario, resultCalling({"main SetEvent 1"}), Calls::kBeginning).summary, "");
  EXPECT_EQ(
      callsDifference(scenario, resultCalling({"main ResetEvent 1"}), Calls::kBeginning).summary,
      "call 1 of [calls main] differs");
}

TEST(CallOrderTest, DifferenceShowsWhatWasExpectedAndWhatWasMade) {
  const Difference difference =
      callsDifference(scenarioCalling({{"main", {"SetEvent", "ResetEvent"}}}),
                      resultCalling({"main SetEvent 1"}), Calls::kAll);
  EXPECT_EQ(difference.details,
            (std::vector<std::string>{"  both:     SetEvent 1", "  expected: ResetEvent",
                                      "  made:     nothing more"}));
}

TEST(CallOrderTest, RunIsJudgedByItsCallsWhereItsLinesAreCompared) {
  const host::Scenario scenario = scenarioCalling({{"main", {"SetEvent"}}});
  EXPECT_EQ(judge(scenario, resultCalling({}), Lines::kCompared).size(), 1U);
  EXPECT_TRUE(judge(scenario, resultCalling({}), Lines::kIgnored).empty());
  EXPECT_TRUE(judge(scenario, resultCalling({"main SetEvent 1"}), Lines::kCompared).empty());
  EXPECT_TRUE(
      judge(host::Scenario(), resultCalling({"main SetEvent 1"}), Lines::kCompared).empty());
}

}  // namespace
}  // namespace runner
