#include "tools/sweep/Outcome.h"

#include <gtest/gtest.h>

#include "platform/host/windows/windows.h"

namespace sweep {
namespace {

using runner::End;
using runner::Status;

Sight stopped(DWORD exitCode, std::vector<std::string> lines = {"[DBG] [TPM] a"}) {
  Sight sight;
  sight.end = End::kExit;
  sight.statuses = {{SERVICE_RUNNING, 0, 0, 1, 5000}, {SERVICE_STOPPED, 0, exitCode, 1, 5000}};
  sight.lines = std::move(lines);
  return sight;
}

Sight ending(End end, std::int32_t exitCode = 0) {
  Sight sight;
  sight.end = end;
  sight.exitCode = exitCode;
  return sight;
}

TEST(OutcomeTest, TheSameRunIsUnnoticed) {
  EXPECT_EQ(outcomeOf(stopped(0), stopped(0)), Outcome::kUnnoticed);
  EXPECT_EQ(outcomeOf(ending(End::kFault), ending(End::kFault)), Outcome::kUnnoticed);
}

TEST(OutcomeTest, OtherLinesAreTold) {
  EXPECT_EQ(outcomeOf(stopped(0), stopped(0, {"[DBG] [TPM] b"})), Outcome::kTold);
}

TEST(OutcomeTest, AnExitCodeOfTheServiceIsAnErrorCode) {
  EXPECT_EQ(outcomeOf(stopped(0), stopped(5)), Outcome::kErrorCode);
  EXPECT_EQ(outcomeOf(ending(End::kRunning), stopped(5)), Outcome::kErrorCode);
}

TEST(OutcomeTest, AnErrorCodeInPlaceOfAnotherIsAnotherErrorCode) {
  EXPECT_EQ(outcomeOf(stopped(5), stopped(6)), Outcome::kOtherCode);
}

TEST(OutcomeTest, AServiceThatStopsWellForOnceEndsSooner) {
  EXPECT_EQ(outcomeOf(stopped(5), stopped(0)), Outcome::kEndsSooner);
  EXPECT_EQ(outcomeOf(ending(End::kFault), stopped(0)), Outcome::kEndsSooner);
}

TEST(OutcomeTest, AnEndWithoutItsReportIsNotStopped) {
  Sight unstopped = stopped(0);
  unstopped.statuses.pop_back();
  EXPECT_EQ(outcomeOf(stopped(0), unstopped), Outcome::kNotStopped);
  EXPECT_EQ(outcomeOf(stopped(0), ending(End::kExit)), Outcome::kNotStopped);
}

TEST(OutcomeTest, TheUsageTextInPlaceOfReportsIsUsage) {
  Sight usage = ending(End::kExit);
  usage.lines = {"-- console: Usage: C:\\x.exe parameter"};
  EXPECT_EQ(outcomeOf(stopped(0), usage), Outcome::kUsage);
}

TEST(OutcomeTest, TheProcesssExitCodeTellsOfARefusal) {
  EXPECT_EQ(outcomeOf(stopped(0), ending(End::kExit, -1)), Outcome::kRefused);
  EXPECT_EQ(outcomeOf(stopped(0), ending(End::kExit, 3)), Outcome::kBroken);
}

TEST(OutcomeTest, TellsALongerLifeFromAShorterOne) {
  EXPECT_EQ(outcomeOf(stopped(0), ending(End::kRunning)), Outcome::kRunsOn);
  EXPECT_EQ(outcomeOf(stopped(0), ending(End::kDeadlock)), Outcome::kRunsOn);
  EXPECT_EQ(outcomeOf(ending(End::kRunning), stopped(0)), Outcome::kEndsSooner);
  EXPECT_EQ(outcomeOf(stopped(0), ending(End::kEndless)), Outcome::kEndless);
}

TEST(OutcomeTest, NamesTheAbnormalEnds) {
  EXPECT_EQ(outcomeOf(stopped(0), ending(End::kFault)), Outcome::kFault);
  EXPECT_EQ(outcomeOf(stopped(0), ending(End::kTerminate)), Outcome::kTerminate);
  for (const End end : {End::kKilled, End::kLost, End::kSanitizer}) {
    EXPECT_EQ(outcomeOf(stopped(0), ending(end)), Outcome::kBroken);
  }
}

TEST(OutcomeTest, TheSameAbnormalEndWithOtherLinesIsTold) {
  Sight fault = ending(End::kFault);
  fault.lines = {"[DBG] [TPM] a"};
  EXPECT_EQ(outcomeOf(ending(End::kFault), fault), Outcome::kTold);
  EXPECT_EQ(outcomeOf(ending(End::kTerminate), fault), Outcome::kFault);
}

TEST(OutcomeTest, AWaitThatNobodyCanEndIsAWait) {
  EXPECT_EQ(outcomeOf(ending(End::kRunning), ending(End::kDeadlock)), Outcome::kUnnoticed);
}

TEST(OutcomeTest, BeyondLeavesWhatIsThereOftener) {
  EXPECT_EQ(beyond({"a", "b", "a"}, {"a", "c"}), (std::vector<std::string>{"b", "a"}));
  EXPECT_EQ(beyond({"a"}, {"a", "a"}), std::vector<std::string>{});
}

TEST(OutcomeTest, SeesTheErrorsOfTheLogAndNotTheMarksOfFaults) {
  runner::RunResult result;
  for (const char* line : {"[ERR] [TPM] a", "[DBG] [TPM] b", "[FTL] [TPM] c"}) {
    addRecord(result, {host::ReportKind::kDebugLine, 0, line});
  }
  addRecord(result, {host::ReportKind::kNote, 0, "fault: CreateEventW 1 fails with 5"});
  addRecord(result, {host::ReportKind::kLedger, 0, "named: x (y)"});
  addRecord(result, {host::ReportKind::kLedger, 0, "unnamed: z"});
  const Sight sight = sightOf(result);
  EXPECT_EQ(sight.lines,
            (std::vector<std::string>{"[ERR] [TPM] a", "[DBG] [TPM] b", "[FTL] [TPM] c"}));
  EXPECT_EQ(sight.errors, (std::vector<std::string>{"[ERR] [TPM] a", "[FTL] [TPM] c"}));
  EXPECT_EQ(sight.ledger, (std::vector<std::string>{"z"}));
}

TEST(OutcomeTest, TheLastErrorAheadOfAStatusIsNotCompared) {
  runner::RunResult result;
  addRecord(result, {host::ReportKind::kDebugLine, 0,
                     "[ERR] [TPM] CM_Open_DevNode_Key failed with status = 122 for a 46"});
  EXPECT_EQ(sightOf(result).lines,
            std::vector<std::string>{"[ERR] [TPM] CM_Open_DevNode_Key failed with status = # for a "
                                     "46"});
}

TEST(ReportOrderTest, AWholeLifeIsLegal) {
  EXPECT_EQ(illegalReport({{SERVICE_START_PENDING, 1, 0, 0, 0},
                           {SERVICE_RUNNING, 0, 0, 1, 0},
                           {SERVICE_STOP_PENDING, 2, 0, 1, 0},
                           {SERVICE_STOP_PENDING, 3, 0, 1, 0},
                           {SERVICE_STOPPED, 0, 0, 1, 0}}),
            "");
}

TEST(ReportOrderTest, NothingComesAfterStopped) {
  EXPECT_EQ(illegalReport({{SERVICE_STOPPED, 0, 0, 1, 0}, {SERVICE_STOP_PENDING, 2, 0, 1, 0}}),
            "STOP_PENDING was reported after STOPPED");
  EXPECT_EQ(illegalReport({{SERVICE_STOPPED, 0, 0, 1, 0}, {SERVICE_STOPPED, 0, 0, 1, 0}}),
            "STOPPED was reported after STOPPED");
}

TEST(ReportOrderTest, StoppedMayBeTakenTwiceWhereThatIsKnown) {
  const std::vector<runner::Status> twice(2, {SERVICE_STOPPED, 0, 0, 1, 0});
  EXPECT_EQ(illegalReport(twice, true), "");
  const std::vector<runner::Status> thrice(3, {SERVICE_STOPPED, 0, 0, 1, 0});
  EXPECT_EQ(illegalReport(thrice, true), "STOPPED was reported after STOPPED");
}

TEST(ReportOrderTest, RunningComesAfterStartPending) {
  EXPECT_EQ(illegalReport({{SERVICE_RUNNING, 0, 0, 1, 0}}), "RUNNING was reported after nothing");
}

TEST(ReportOrderTest, CheckPointsRise) {
  EXPECT_EQ(illegalReport({{SERVICE_START_PENDING, 2, 0, 0, 0},
                           {SERVICE_RUNNING, 0, 0, 1, 0},
                           {SERVICE_STOP_PENDING, 2, 0, 1, 0}}),
            "the check-point did not rise: 2 after 2");
}

}  // namespace
}  // namespace sweep
