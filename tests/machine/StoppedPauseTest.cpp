#include "tools/runner/StoppedPause.h"

#include <gtest/gtest.h>

#include "tools/runner/Judge.h"

namespace runner {
namespace {

using host::ReportKind;

constexpr host::Nanoseconds kMs = host::kNanosecondsPerMillisecond;

// A line of the log with its stamp, told so long after the run began.
Record logged(host::Nanoseconds toldMs, const std::string& timeOfDay, const std::string& text) {
  return {ReportKind::kDebugLine, toldMs * kMs,
          "2026-01-02 " + timeOfDay + " 0000000000000007 TPMEnrollmentService: [DBG] [TPM] " +
              text + "\r\n"};
}

Record stopped(host::Nanoseconds toldMs) {
  return {ReportKind::kStatus, toldMs * kMs, "1 0 0 1 5000"};
}

std::int64_t pauseMs(const std::vector<Record>& records) {
  const auto pause = shortestPauseAheadOfStopped(records);
  return pause ? *pause / kMs : -1;
}

TEST(StoppedPauseTest, IsFromTheLastWordsToTheReport) {
  for (const char* words :
       {"Service stopped successfully", "Service stopped with error: Access is denied.",
        "Unable to initialize service. Error message: ",
        "Exception occured in ServiceMain function Event::Event:Create event failed"}) {
    EXPECT_EQ(pauseMs({logged(100, "10:00:00:000", "Service started."),
                       logged(1100, "10:00:01:000", words), stopped(3103)}),
              2003)
        << words;
  }
}

TEST(StoppedPauseTest, LineThatWasToldLateCountsFromItsStamp) {
  EXPECT_EQ(pauseMs({logged(100, "10:00:00:000", "Service started."),
                     logged(1600, "10:00:01:000", "Service stopped successfully"), stopped(3103)}),
            2003);
}

TEST(StoppedPauseTest, MidnightIsNoPause) {
  EXPECT_EQ(pauseMs({logged(100, "23:59:59:000", "Service started."),
                     logged(1100, "00:00:00:000", "Service stopped successfully"), stopped(3103)}),
            2003);
}

TEST(StoppedPauseTest, ShortestCounts) {
  EXPECT_EQ(pauseMs({logged(0, "10:00:00:000", "Service stopped successfully"), stopped(2500),
                     logged(2600, "10:00:02:600", "Exception occured in ServiceMain function x"),
                     stopped(2700)}),
            100);
}

TEST(StoppedPauseTest, ThereIsNoneWithoutLastWordsOrWithoutStopped) {
  EXPECT_EQ(pauseMs({logged(0, "10:00:00:000", "Service started."), stopped(10)}), -1);
  EXPECT_EQ(pauseMs({logged(0, "10:00:00:000", "Service stopped successfully"),
                     {ReportKind::kStatus, kMs, "3 2 0 1 5000"}}),
            -1);
  EXPECT_EQ(pauseMs({{ReportKind::kDebugLine, 0, "Service stopped successfully"}, stopped(1)}), -1);
}

TEST(StoppedPauseTest, RunUnderWineThatStopsTooEarlyIsNotAsExpected) {
  const auto summaryOf = [](host::Nanoseconds stoppedMs, Lines lines) {
    RunResult result;
    result.end = End::kExit;
    addRecord(result, logged(0, "10:00:00:000", "Service stopped successfully"));
    addRecord(result, stopped(stoppedMs));
    const auto differences = judge({}, result, lines);
    return differences.empty() ? "" : differences[0].summary;
  };
  EXPECT_EQ(summaryOf(1900, Lines::kLogOnly), "");
  EXPECT_EQ(summaryOf(1899, Lines::kLogOnly),
            "STOPPED was reported 1.899 s after the service was done, too early");
  EXPECT_EQ(summaryOf(0, Lines::kIgnored), "");
}

}  // namespace
}  // namespace runner
