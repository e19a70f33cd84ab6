#include "tools/runner/Judge.h"

#include <gtest/gtest.h>

#include "tests/machine/FakeLife.h"

namespace runner {
namespace {

using Kind = host::ExpectedEnd::Kind;

host::Scenario scenarioEnding(Kind kind, std::int32_t exitCode = 0) {
  host::Scenario scenario;
  scenario.end.kind = kind;
  scenario.end.exitCode = exitCode;
  return scenario;
}

RunResult resultEnding(End end, std::int32_t exitCode = 0) {
  RunResult result;
  result.end = end;
  result.exitCode = exitCode;
  return result;
}

RunResult resultPrinting(const std::vector<std::string>& lines) {
  RunResult result = resultEnding(End::kExit);
  for (const std::string& line : lines) {
    addRecord(result, {host::ReportKind::kDebugLine, 0, line});
  }
  return result;
}

std::vector<Difference> judgeLines(const std::vector<std::string>& expected,
                                   const std::vector<std::string>& printed) {
  host::Scenario scenario;
  scenario.expected = expected;
  return judge(scenario, resultPrinting(printed), Lines::kCompared);
}

std::string onlySummary(const std::vector<Difference>& differences) {
  return differences.size() == 1 ? differences[0].summary
                                 : std::to_string(differences.size()) + " differences";
}

TEST(JudgeTest, LogAloneIsComparedWithTheLogAlone) {
  host::Scenario scenario;
  scenario.expected = {"-- event E signalled", "[DBG] [TPM] one", "-- console: two"};
  const std::string line = "2026-01-02 03:04:05:006 0000000000000007 TPMEnrollmentService: ";
  EXPECT_TRUE(judge(scenario, resultPrinting({line + "[DBG] [TPM] one"}), Lines::kLogOnly).empty());
  EXPECT_EQ(
      onlySummary(judge(scenario, resultPrinting({line + "[DBG] [TPM] two"}), Lines::kLogOnly)),
      "line 1 of [expected] differs");
}

TEST(JudgeTest, ExpectedEndsAreAsExpected) {
  const std::pair<Kind, End> kPairs[] = {
      {Kind::kExit, End::kExit},           {Kind::kFault, End::kFault},
      {Kind::kTerminate, End::kTerminate}, {Kind::kRunning, End::kRunning},
      {Kind::kDeadlock, End::kDeadlock},   {Kind::kEnded, End::kEnded}};
  for (const auto& [expected, end] : kPairs) {
    EXPECT_TRUE(judge(scenarioEnding(expected), resultEnding(end), Lines::kIgnored).empty());
  }
}

TEST(JudgeTest, AnyOtherEndIsNotAsExpected) {
  for (const End end :
       {End::kFault, End::kTerminate, End::kRunning, End::kDeadlock, End::kEnded, End::kEndless,
        End::kSanitizer, End::kKilled, End::kInterrupted, End::kLost}) {
    EXPECT_EQ(onlySummary(judge(scenarioEnding(Kind::kExit), resultEnding(end), Lines::kIgnored)),
              "exit code 0 was expected");
  }
  EXPECT_EQ(
      onlySummary(judge(scenarioEnding(Kind::kFault), resultEnding(End::kExit), Lines::kIgnored)),
      "fault was expected");
}

TEST(JudgeTest, AnotherExitCodeIsNotAsExpected) {
  EXPECT_EQ(onlySummary(judge(scenarioEnding(Kind::kExit, -1), resultEnding(End::kExit, 255),
                              Lines::kIgnored)),
            "exit code -1 was expected");
}

TEST(JudgeTest, LastStatusIsComparedIfTheScenarioNamesIt) {
  host::Scenario scenario;
  scenario.end.lastState = 1;
  scenario.end.lastExitCode = 5;
  RunResult result = resultEnding(End::kExit);
  EXPECT_EQ(onlySummary(judge(scenario, result, Lines::kIgnored)),
            "STOPPED with exit code 5 was expected to be reported last");
  result.lastStatus = Status{1, 0, 5, 1, 5000};
  EXPECT_TRUE(judge(scenario, result, Lines::kIgnored).empty());
  result.lastStatus = Status{1, 0, 0, 1, 5000};
  EXPECT_FALSE(judge(scenario, result, Lines::kIgnored).empty());
  result.lastStatus = Status{4, 0, 5, 1, 5000};
  EXPECT_FALSE(judge(scenario, result, Lines::kIgnored).empty());
}

TEST(JudgeTest, LastStatusIsFreeIfTheScenarioDoesNotNameIt) {
  RunResult result = resultEnding(End::kExit);
  result.lastStatus = Status{1, 0, 5, 1, 5000};
  EXPECT_TRUE(judge(host::Scenario(), result, Lines::kIgnored).empty());
}

TEST(JudgeTest, NamedImbalancesAreNoDifference) {
  RunResult result = resultEnding(End::kExit);
  result.ledger = {"named: a (why)", "named: b (why)"};
  EXPECT_TRUE(judge(host::Scenario(), result, Lines::kIgnored).empty());
}

TEST(JudgeTest, ImbalancesThatAreNotNamedOrDoNotComeFailTheRunAndAreShown) {
  RunResult result = resultEnding(End::kExit);
  result.ledger = {"named: a (why)", "unnamed: b", "missing: c (d)"};
  const auto differences = judge(host::Scenario(), result, Lines::kIgnored);
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0].summary, "the ledger differs from [imbalances]");
  EXPECT_EQ(differences[0].details, (std::vector<std::string>{"unnamed: b", "missing: c (d)"}));
}

TEST(JudgeTest, LedgerLineOfAnUnknownKindFailsTheRun) {
  RunResult result = resultEnding(End::kExit);
  result.ledger = {"a line of no kind"};
  EXPECT_FALSE(judge(host::Scenario(), result, Lines::kIgnored).empty());
}

TEST(JudgeTest, WhatTheDriveLacksFailsTheRun) {
  RunResult result = resultEnding(End::kExit);
  result.drive = {{"a file is not there", {"more"}}};
  const auto differences = judge(host::Scenario(), result, Lines::kIgnored);
  EXPECT_EQ(onlySummary(differences), "a file is not there");
  EXPECT_EQ(differences.at(0).details, std::vector<std::string>{"more"});
}

TEST(JudgeTest, SameLinesAreNoDifference) {
  EXPECT_TRUE(judgeLines({"[INF] a", "[DBG] [0x] b"}, {"[INF] a", "[DBG] [0x12ab] b"}).empty());
}

TEST(JudgeTest, AddressesInTheScenarioAreNotCompared) {
  EXPECT_TRUE(judgeLines({"[DBG] [0x99] b"}, {"[DBG] [0x12ab] b"}).empty());
}

TEST(JudgeTest, LinesAreIgnoredWhereTheyDependOnMore) {
  host::Scenario scenario;
  scenario.expected = std::vector<std::string>{"a"};
  EXPECT_TRUE(judge(scenario, resultPrinting({"b"}), Lines::kIgnored).empty());
}

TEST(JudgeTest, ScenarioWithoutExpectedLinesIsFree) {
  EXPECT_TRUE(judge(host::Scenario(), resultPrinting({"b"}), Lines::kCompared).empty());
}

TEST(JudgeTest, ScenarioThatExpectsNoLinesAllowsNone) {
  EXPECT_FALSE(judgeLines({}, {"b"}).empty());
}

TEST(JudgeTest, FirstDifferentLineIsShownWithItsContext) {
  const auto differences = judgeLines({"1", "2", "3", "4", "five", "6", "7", "8"},
                                      {"1", "2", "3", "4", "FIVE", "6", "7", "8"});
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0].summary, "line 5 of [expected] differs");
  EXPECT_EQ(differences[0].details,
            (std::vector<std::string>{"  both:     2", "  both:     3", "  both:     4",
                                      "  expected: five", "  expected: 6", "  expected: 7",
                                      "  printed:  FIVE", "  printed:  6", "  printed:  7"}));
}

TEST(JudgeTest, MissingLastLineIsShown) {
  const auto differences = judgeLines({"1", "2"}, {"1"});
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0].details, (std::vector<std::string>{"  both:     1", "  expected: 2",
                                                              "  nothing more was printed"}));
}

TEST(JudgeTest, LineTooManyIsShown) {
  const auto differences = judgeLines({"1"}, {"1", "2"});
  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(
      differences[0].details,
      (std::vector<std::string>{"  both:     1", "  nothing more was expected", "  printed:  2"}));
}

TEST(JudgeTest, AllDifferencesAreNamed) {
  host::Scenario scenario;
  scenario.end.lastState = 1;
  scenario.expected = std::vector<std::string>{"a"};
  RunResult result = resultPrinting({"b"});
  result.end = End::kDeadlock;
  result.ledger = {"unnamed: b"};
  EXPECT_EQ(judge(scenario, result, Lines::kCompared).size(), 4U);
}

TEST(JudgeTest, CrashOfALifeThatHadToExitIsNotAsExpected) {
  const RunResult result = FakeLife("kill -SEGV $$").run();
  EXPECT_EQ(onlySummary(judge(host::Scenario(), result, Lines::kIgnored)),
            "exit code 0 was expected");
}

TEST(JudgeTest, CrashOfALifeThatHadToCrashIsAsExpected) {
  const RunResult result = FakeLife("kill -SEGV $$").run();
  EXPECT_TRUE(judge(scenarioEnding(Kind::kFault), result, Lines::kIgnored).empty());
}

}  // namespace
}  // namespace runner
