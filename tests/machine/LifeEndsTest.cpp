#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "tests/machine/MachineRun.h"
#include "tests/machine/TemporaryFolder.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Lives of the real program that do not end as a service should.
class LifeEndsTest : public ::testing::Test {
 protected:
  // The stack is installed, and there is no event; `more` follows.
  MachineRun run(const std::string& limit, const std::string& end, const std::string& more,
                 const MachineRunOptions& options = {}) const {
    const auto file = folder_.path() / "life.scenario";
    std::ofstream(file) << "[scenario]\nabout = A test.\nlimit = " << limit << "\nend = " << end
                        << "\n[stack]\ndirectory = C:\\Program Files\\Orvix\\tALS Client\n"
                        << more;
    return runFile(file, options);
  }

  static std::vector<std::string> summaries(const MachineRun& run) {
    std::vector<std::string> texts;
    for (const runner::Difference& difference : run.differences) {
      texts.push_back(difference.summary);
    }
    return texts;
  }

  TemporaryFolder folder_;
};

const char kNeverReturns[] =
    "[machine]\nevent = Global\\TpmEnrollmentEvent\n[client]\ntalsInitQX1 = never\n";

TEST_F(LifeEndsTest, ServiceThatCanNeverGoOnIsADeadlock) {
  const MachineRun life = run("10 s", "deadlock", kNeverReturns);
  EXPECT_TRUE(life.differences.empty()) << life.complaint();
  EXPECT_EQ(life.result.end, runner::End::kDeadlock);
}

TEST_F(LifeEndsTest, DeadlockIsSeenInRealTimeToo) {
  const MachineRun life = run("1 s", "deadlock", kNeverReturns, {.realTime = true});
  EXPECT_TRUE(life.differences.empty()) << life.complaint();
}

TEST_F(LifeEndsTest, DeadlockIsReportedWithEachThreadsWait) {
  const MachineRun life = run("10 s", "deadlock", kNeverReturns);
  EXPECT_THAT(life.textsOf(host::ReportKind::kThreads),
              ElementsAre(testing::AllOf(
                  HasSubstr("thread 1a2c (main): waits for the service manager, last call "
                            "StartServiceCtrlDispatcherW\n"),
                  HasSubstr("thread 1a34 (service): waits for the client library, last call "))));
}

TEST_F(LifeEndsTest, DeadlockFailsARunThatHadToExit) {
  const MachineRun life = run("10 s", "exit 0", kNeverReturns);
  EXPECT_THAT(summaries(life), ElementsAre("exit code 0 was expected"));
}

TEST_F(LifeEndsTest, ServiceThatStillWaitsAtTheLimitIsRunning) {
  EXPECT_THAT(summaries(run("10 s", "running", "")), ElementsAre());
  EXPECT_THAT(summaries(run("10 s", "deadlock", "")), ElementsAre("deadlock was expected"));
}

// A wait of 0 seconds returns at once, and a goal stays open.
const std::string kSpins =
    "[client]\ntalsInitQX1 = 8\n[file C:\\Program Files\\Orvix\\conf\\TPMEnrollmentService.conf]\n"
    "TCBRepeaterTime = \"0\"\n[machine]\nevent = Global\\TpmEnrollmentEvent\n";

TEST_F(LifeEndsTest, LoopThatNeverWaitsIsEndedAsEndless) {
  const MachineRun life = run("1 min", "running", kSpins);
  EXPECT_EQ(life.result.end, runner::End::kEndless);
  EXPECT_THAT(summaries(life), ElementsAre("running was expected"));
  EXPECT_LT(life.result.machineTime, host::Nanoseconds{1'000'000'000});
}

TEST_F(LifeEndsTest, LoopThatIsExpectedGoesOnToTheLimit) {
  const MachineRun life = run("100 ms", "running\nendless loop = expected", kSpins);
  EXPECT_TRUE(life.differences.empty()) << life.complaint();
}

// The second handle that is closed is the stop event's; a close that fails leaves it open.
const std::string kHandleLeftOpen = "[faults]\nfail CloseHandle 2 with 6\n";
// What every life without the event and with a stack comes to.
const std::string kImbalances = "[imbalances]\nnull handle closed = 1\nboundary kept = 1\n";
constexpr char kLedgerDiffers[] = "the ledger differs from [imbalances]";

TEST_F(LifeEndsTest, ImbalanceThatNoListHasFailsTheRun) {
  const MachineRun life = run("5 min", "exit 0", kHandleLeftOpen + kImbalances);
  EXPECT_EQ(life.result.end, runner::End::kExit);
  EXPECT_THAT(summaries(life), ElementsAre(kLedgerDiffers));
  EXPECT_THAT(life.result.ledger, Contains("unnamed: event from CreateEventW is still open"));
}

TEST_F(LifeEndsTest, WithoutTheFaultTheSameRunIsBalanced) {
  const MachineRun life = run("5 min", "exit 0", kImbalances);
  EXPECT_TRUE(life.differences.empty()) << life.complaint();
}

TEST_F(LifeEndsTest, ImbalanceThatTheScenarioDoesNotNameFailsTheRun) {
  const MachineRun life = run("5 min", "exit 0", "[imbalances]\nboundary kept = 1\n");
  EXPECT_THAT(summaries(life), ElementsAre(kLedgerDiffers));
  EXPECT_THAT(life.result.ledger, Contains("unnamed: CloseHandle: null is no handle"));
}

TEST_F(LifeEndsTest, ImbalanceThatDoesNotComeFailsTheRun) {
  const MachineRun life = run("5 min", "exit 0", kImbalances + "COM ended too often = 1\n");
  EXPECT_THAT(summaries(life), ElementsAre(kLedgerDiffers));
  EXPECT_THAT(
      life.result.ledger,
      Contains("missing: CoUninitialize: the thread has not begun COM (COM ended too often)"));
}

TEST_F(LifeEndsTest, ImbalanceThatComesLessOftenThanNamedFailsTheRun) {
  const MachineRun life =
      run("5 min", "exit 0", "[imbalances]\nnull handle closed = 2\nboundary kept = 1\n");
  EXPECT_THAT(summaries(life), ElementsAre(kLedgerDiffers));
  EXPECT_THAT(life.result.ledger,
              Contains("missing: CloseHandle: null is no handle (null handle closed)"));
}

// The save of the task fails, so that COM is ended once more than it was begun, and then the
// service waits on: method 2 stays open.
const std::string kComEndedTooOften =
    "[client]\ntalsInitQX1 = 8\n[faults]\nfail ITaskFolder::RegisterTaskDefinition 1 with "
    "0x80070005\n";

TEST_F(LifeEndsTest, RunThatIsGivenUpIsHeldAgainstWhatItReleasedTooOften) {
  const MachineRun silent = run("5 min", "running", kComEndedTooOften);
  EXPECT_THAT(summaries(silent), ElementsAre(kLedgerDiffers));
  EXPECT_THAT(silent.result.ledger,
              ElementsAre("unnamed: CoUninitialize: the thread has not begun COM"));
  const MachineRun named =
      run("5 min", "running", kComEndedTooOften + "[imbalances]\nCOM ended too often = 1\n");
  EXPECT_TRUE(named.differences.empty()) << named.complaint();
}

TEST_F(LifeEndsTest, RunThatItsScriptEndsIsHeldAgainstWhatItReleasedTooOften) {
  const MachineRun life =
      run("5 min", "ended", kComEndedTooOften + "[script]\nat 4 min: end process\n");
  EXPECT_THAT(summaries(life), ElementsAre(kLedgerDiffers));
}

TEST_F(LifeEndsTest, FaultLeavesAMarkAmongTheLinesOfTheRun) {
  const MachineRun life = run("5 min", "exit 0", kHandleLeftOpen);
  EXPECT_THAT(life.textsOf(host::ReportKind::kNote), Contains("fault: CloseHandle 2 fails with 6"));
}

TEST_F(LifeEndsTest, FileThatTheScriptCannotWriteIsSaidAndTheRunGoesOn) {
  const MachineRun life =
      run("5 min", "exit 0", kImbalances + "[script]\nat 1 s: write C:\\Windows: text\n");
  EXPECT_TRUE(life.differences.empty()) << life.complaint();
  EXPECT_THAT(life.textsOf(host::ReportKind::kNote),
              Contains("file not written: C:\\Windows: cannot be written"));
}

}  // namespace
