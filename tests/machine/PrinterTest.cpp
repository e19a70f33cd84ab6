#include "tools/runner/Printer.h"

#include <gtest/gtest.h>

#include <sstream>

namespace runner {
namespace {

RunResult stoppedWell() {
  RunResult result;
  result.end = End::kExit;
  result.lastStatus = Status{1, 0, 0, 1, 5000};
  result.machineTime = 12'345'000'000;
  return result;
}

std::string summaryOf(const RunResult& result, const std::vector<Difference>& differences = {}) {
  std::ostringstream out;
  EXPECT_TRUE(Printer(out, false).summarize("first-boot", result, differences));
  return out.str();
}

TEST(PrinterTest, SummaryNamesScenarioStateEndAndTime) {
  EXPECT_EQ(summaryOf(stoppedWell()),
            "-- first-boot: STOPPED, exit code 0, 12.345 s (as expected)\n");
}

TEST(PrinterTest, SummaryNamesTheServicesExitCodeIfThereIsOne) {
  RunResult result = stoppedWell();
  result.lastStatus->exitCode = 1060;
  EXPECT_EQ(summaryOf(result),
            "-- first-boot: STOPPED with exit code 1060, exit code 0, 12.345 s (as expected)\n");
}

TEST(PrinterTest, SummarySaysIfNoStatusWasReported) {
  RunResult result = stoppedWell();
  result.lastStatus.reset();
  EXPECT_EQ(summaryOf(result),
            "-- first-boot: no status reported, exit code 0, 12.345 s (as expected)\n");
}

TEST(PrinterTest, SummarySaysWhatWasExpected) {
  EXPECT_EQ(summaryOf(stoppedWell(), {{"fault was expected", {}}, {"the ledger has x", {}}}),
            "-- first-boot: STOPPED, exit code 0, 12.345 s (not as expected: fault was expected; "
            "the ledger has x)\n");
}

TEST(PrinterTest, DetailsComeAheadOfTheSummary) {
  EXPECT_EQ(summaryOf(stoppedWell(), {{"line 1 differs", {"  expected: a", "  printed:  b"}}}),
            "-- line 1 differs:\n"
            "--   expected: a\n"
            "--   printed:  b\n"
            "-- first-boot: STOPPED, exit code 0, 12.345 s (not as expected: line 1 differs)\n");
}

TEST(PrinterTest, RecordsArePrintedLineByLine) {
  std::ostringstream out;
  Printer printer(out, false);
  EXPECT_TRUE(printer.print({host::ReportKind::kDebugLine, 0, "a\r\nb\r\n"}));
  EXPECT_TRUE(printer.print({host::ReportKind::kHash, 0, "0x1"}));
  EXPECT_TRUE(printer.say("c"));
  EXPECT_EQ(out.str(), "a\nb\n-- c\n");
}

TEST(PrinterTest, VerbosePrinterPrintsMore) {
  std::ostringstream out;
  EXPECT_TRUE(Printer(out, true).print({host::ReportKind::kHash, 0, "0x1"}));
  EXPECT_EQ(out.str(), "-- hash of all steps: 0x1\n");
}

TEST(PrinterTest, StreamThatTakesNoMoreIsNoticed) {
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  Printer printer(out, false);
  EXPECT_FALSE(printer.print({host::ReportKind::kNote, 0, "a"}));
  EXPECT_FALSE(printer.say("b"));
  EXPECT_FALSE(printer.summarize("first-boot", stoppedWell(), {}));
}

}  // namespace
}  // namespace runner
