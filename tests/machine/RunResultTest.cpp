#include "tools/runner/RunResult.h"

#include <gtest/gtest.h>

namespace runner {
namespace {

RunResult ended(End end, const std::string& detail = "") {
  RunResult result;
  result.end = end;
  result.detail = detail;
  return result;
}

TEST(RunResultTest, StatusHasStateCheckPointExitCodeAcceptedAndWaitHint) {
  const auto status = parseStatus("2 1 7 0 5000");
  ASSERT_TRUE(status);
  EXPECT_EQ(status->state, 2U);
  EXPECT_EQ(status->checkPoint, 1U);
  EXPECT_EQ(status->exitCode, 7U);
  EXPECT_EQ(status->controlsAccepted, 0U);
  EXPECT_EQ(status->waitHintMs, 5000U);
}

TEST(RunResultTest, StatusThatIsNoneIsRefused) {
  for (const char* text : {"", "2", "2 1 0 0", "2 1 0 0 5000 1", "2 1 0 0 ", "2 1 0 0 x",
                           "-1 1 0 0 5000", "2  1 0 0 5000", "4294967296 1 0 0 5000"}) {
    EXPECT_FALSE(parseStatus(text)) << text;
  }
}

TEST(RunResultTest, LastStatusAndLastTimeAreKept) {
  RunResult result;
  addRecord(result, {host::ReportKind::kStatus, 10, "2 1 0 0 5000"});
  addRecord(result, {host::ReportKind::kStatus, 20, "1 0 1060 1 5000"});
  addRecord(result, {host::ReportKind::kMemory, 30, "4321"});
  addRecord(result, {host::ReportKind::kHash, 30, "0xabc"});
  addRecord(result, {host::ReportKind::kLedger, 30, "named: a (b)"});
  ASSERT_TRUE(result.lastStatus);
  EXPECT_EQ(result.lastStatus->state, 1U);
  EXPECT_EQ(result.lastStatus->exitCode, 1060U);
  EXPECT_EQ(result.machineTime, 30);
  EXPECT_EQ(result.memoryKiB, 4321);
  EXPECT_EQ(result.hash, "0xabc");
  EXPECT_EQ(result.ledger, std::vector<std::string>{"named: a (b)"});
  EXPECT_EQ(result.records.size(), 5U);
}

TEST(RunResultTest, EndsInWords) {
  RunResult exited = ended(End::kExit);
  exited.exitCode = -1;
  EXPECT_EQ(endText(exited), "exit code -1");
  EXPECT_EQ(endText(ended(End::kFault, "SIGSEGV")), "fault (SIGSEGV)");
  EXPECT_EQ(endText(ended(End::kTerminate, "SIGABRT")), "terminate (SIGABRT)");
  EXPECT_EQ(endText(ended(End::kRunning)), "running");
  EXPECT_EQ(endText(ended(End::kDeadlock)), "deadlock");
  EXPECT_EQ(endText(ended(End::kEnded)), "ended");
  EXPECT_EQ(endText(ended(End::kEndless)), "endless");
  EXPECT_EQ(endText(ended(End::kSanitizer)), "sanitizer report");
  EXPECT_EQ(endText(ended(End::kKilled, "it took more than 60 s")),
            "killed (it took more than 60 s)");
  EXPECT_EQ(endText(ended(End::kInterrupted)), "interrupted");
  EXPECT_EQ(endText(ended(End::kLost, "why")), "lost (why)");
}

TEST(RunResultTest, ExpectedEndsInTheSameWords) {
  using Kind = host::ExpectedEnd::Kind;
  host::ExpectedEnd expected;
  expected.exitCode = -1;
  EXPECT_EQ(endText(expected), "exit code -1");
  expected.kind = Kind::kFault;
  EXPECT_EQ(endText(expected), "fault");
  expected.kind = Kind::kTerminate;
  EXPECT_EQ(endText(expected), "terminate");
  expected.kind = Kind::kRunning;
  EXPECT_EQ(endText(expected), "running");
  expected.kind = Kind::kDeadlock;
  EXPECT_EQ(endText(expected), "deadlock");
  expected.kind = Kind::kEnded;
  EXPECT_EQ(endText(expected), "ended");
}

}  // namespace
}  // namespace runner
