#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/machine/MachineRun.h"
#include "tools/runner/PrintedLines.h"

namespace {

using host::ReportKind;

// What the first boot promises to whoever watches it.
class FirstBootTest : public ::testing::Test {
 protected:
  // The run is the same for all tests, whichever process they share.
  static const MachineRun& run() {
    static const MachineRun theRun = runNamed("first-boot");
    return theRun;
  }

  static std::vector<std::string> logLines() {
    std::vector<std::string> lines;
    for (const std::string& text : run().textsOf(ReportKind::kDebugLine)) {
      for (const std::string& line :
           runner::printedLines({ReportKind::kDebugLine, 0, text}, false)) {
        lines.push_back(line);
      }
    }
    return lines;
  }

  // The position of a printed line that contains the text; the end if there is none.
  static std::size_t positionOf(const std::string& text) {
    const auto lines = runner::comparableLines(run().result.records);
    const auto found = std::ranges::find_if(
        lines, [&](const std::string& line) { return line.find(text) != std::string::npos; });
    EXPECT_NE(found, lines.end()) << text;
    return static_cast<std::size_t>(found - lines.begin());
  }
};

TEST_F(FirstBootTest, EndsStoppedWithExitCodeZero) {
  EXPECT_TRUE(run().differences.empty()) << run().complaint();
  EXPECT_EQ(run().result.end, runner::End::kExit);
  EXPECT_EQ(run().result.exitCode, 0);
  ASSERT_TRUE(run().result.lastStatus);
  EXPECT_EQ(run().result.lastStatus->state, 1U);
  EXPECT_EQ(run().result.lastStatus->exitCode, 0U);
}

TEST_F(FirstBootTest, EveryLogLineHasTheFullForm) {
  const auto form = ::testing::MatchesRegex(
      "2026-01-02 03:04:[0-9]{2}:[0-9]{3} [0-9a-f]{16} TPMEnrollmentService: "
      "\\[(DBG|INF|ERR|FTL)\\] \\[TPM\\] [^ ].*");
  ASSERT_GT(logLines().size(), 50U);
  for (const std::string& line : logLines()) {
    EXPECT_THAT(line, form);
  }
}

TEST_F(FirstBootTest, FirstLinesCarryTimeAndMainThreadOfTheMachine) {
  const auto lines = logLines();
  ASSERT_GT(lines.size(), 1U);
  EXPECT_THAT(lines[1], ::testing::MatchesRegex(
                            "2026-01-02 03:04:05:0[0-9]{2} 0000000000001a2c TPMEnrollmentService: "
                            "\\[INF\\] \\[TPM\\] Starting the service control dispatcher\\."));
}

TEST_F(FirstBootTest, EveryDebugLineEndsWithALineEnd) {
  for (const std::string& text : run().textsOf(ReportKind::kDebugLine)) {
    EXPECT_TRUE(text.ends_with('\n')) << text;
  }
}

TEST_F(FirstBootTest, StampsNeverGoBack) {
  constexpr std::size_t kStampLength = 23;
  std::string last;
  for (const std::string& line : logLines()) {
    EXPECT_GE(line.substr(0, kStampLength), last) << line;
    last = line.substr(0, kStampLength);
  }
}

TEST_F(FirstBootTest, ServiceRunsOnAThreadOfItsOwn) {
  constexpr std::size_t kThreadAt = 24;
  constexpr std::size_t kThreadLength = 16;
  std::set<std::string> threads;
  for (const std::string& line : logLines()) {
    threads.insert(line.substr(kThreadAt, kThreadLength));
  }
  EXPECT_EQ(threads.size(), 2U);
}

TEST_F(FirstBootTest, StatusReportsAreInOrderWithTheirCheckPoints) {
  // State, check-point, exit code, accepted controls, wait hint.
  EXPECT_EQ(run().textsOf(ReportKind::kStatus),
            (std::vector<std::string>{"2 1 0 0 5000", "4 0 0 1 5000", "1 0 0 1 5000"}));
}

TEST_F(FirstBootTest, TokenLosesThirtyFivePrivilegesAndKeepsOne) {
  EXPECT_EQ(std::ranges::count_if(logLines(),
                                  [](const std::string& line) {
                                    return line.find(" Try to drop Se") != std::string::npos;
                                  }),
            35);
  std::vector<std::string> tokenNotes;
  for (const std::string& note : run().textsOf(ReportKind::kNote)) {
    if (note.starts_with("token: ")) {
      tokenNotes.push_back(note);
    }
  }
  EXPECT_EQ(tokenNotes,
            std::vector<std::string>{"token: 35 privileges removed, kept SeChangeNotifyPrivilege"});
}

TEST_F(FirstBootTest, PrivilegesAreGoneBeforeTheServiceStarts) {
  EXPECT_LT(positionOf("Dropping Privileges: Success"), positionOf("START_PENDING"));
}

TEST_F(FirstBootTest, LateNetworkIsTriedAgain) {
  EXPECT_LT(positionOf("tALS init status: 0x08 [STATUS_CONNECTION_ERROR]"),
            positionOf("Waiting for event timed out"));
  EXPECT_LT(positionOf("Waiting for event timed out"), positionOf("Registering to TPM Event..."));
}

TEST_F(FirstBootTest, SignalStartsTheProgramAndThenTheServiceStops) {
  EXPECT_LT(positionOf("-- event Global\\TpmEnrollmentEvent signalled"),
            positionOf("Tpm event signaled."));
  EXPECT_LT(positionOf("Tpm event signaled."), positionOf("-- program started: "));
  EXPECT_LT(positionOf("-- program started: "), positionOf("Service stopped successfully"));
}

TEST_F(FirstBootTest, StoppedIsReportedTwoSecondsAfterTheRun) {
  host::Nanoseconds stopped = 0;
  host::Nanoseconds runOver = 0;
  for (const runner::Record& record : run().result.records) {
    if (record.kind == ReportKind::kStatus) {
      stopped = record.at;
    }
    if (record.text.find("Service stopped successfully") != std::string::npos) {
      runOver = record.at;
    }
  }
  constexpr host::Nanoseconds kPause = 2000 * host::kNanosecondsPerMillisecond;
  EXPECT_GE(stopped - runOver, kPause);
  EXPECT_LT(stopped - runOver, kPause + kPause / 10);
}

TEST(SecondSignalTest, StartsTheProgramAgain) {
  const MachineRun run = runNamed("second-signal");
  const auto notes = run.textsOf(ReportKind::kNote);
  EXPECT_EQ(
      std::ranges::count_if(
          notes, [](const std::string& note) { return note.starts_with("program started: "); }),
      2);
  EXPECT_TRUE(run.differences.empty()) << run.complaint();
}

}  // namespace
