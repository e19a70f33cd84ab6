#include "tools/runner/PrintedLines.h"

#include <gtest/gtest.h>

namespace runner {
namespace {

using host::ReportKind;
using PrintedTexts = std::vector<std::string>;

PrintedTexts linesOf(ReportKind kind, const std::string& text, bool verbose = false) {
  return printedLines({kind, 0, text}, verbose);
}

TEST(PrintedLinesTest, DebugLineIsPrintedWithoutItsLineEnd) {
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, "a line\r\n"), PrintedTexts{"a line"});
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, "a line\n"), PrintedTexts{"a line"});
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, "a line"), PrintedTexts{"a line"});
}

TEST(PrintedLinesTest, LineEndsWithinADebugLineAreLinesOfTheirOwn) {
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, "one\ntwo\r\n\r\nfour\r\n"),
            (PrintedTexts{"one", "two", "", "four"}));
}

TEST(PrintedLinesTest, EmptyDebugLineIsAnEmptyLine) {
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, ""), PrintedTexts{""});
}

TEST(PrintedLinesTest, StatusNamesStateCheckPointWaitHintAndExitCode) {
  EXPECT_EQ(
      linesOf(ReportKind::kStatus, "2 1 0 0 5000"),
      PrintedTexts{"-- service manager: START_PENDING, check-point 1, wait hint 5000 ms, exit code "
                   "0"});
  EXPECT_EQ(
      linesOf(ReportKind::kStatus, "4 0 0 1 5000"),
      PrintedTexts{"-- service manager: RUNNING, check-point 0, wait hint 5000 ms, exit code 0"});
  EXPECT_EQ(linesOf(ReportKind::kStatus, "3 2 0 1 5000"),
            PrintedTexts{
                "-- service manager: STOP_PENDING, check-point 2, wait hint 5000 ms, exit code 0"});
  EXPECT_EQ(
      linesOf(ReportKind::kStatus, "1 0 4294967295 1 5000"),
      PrintedTexts{
          "-- service manager: STOPPED, check-point 0, wait hint 5000 ms, exit code 4294967295"});
}

TEST(PrintedLinesTest, StatusSaysWhichControlsItAcceptsIfMoreIsWanted) {
  EXPECT_EQ(
      linesOf(ReportKind::kStatus, "2 1 0 0 5000", true),
      PrintedTexts{"-- service manager: START_PENDING, check-point 1, wait hint 5000 ms, exit code "
                   "0, controls accepted 0"});
  EXPECT_EQ(
      linesOf(ReportKind::kStatus, "4 0 0 1 5000", true),
      PrintedTexts{"-- service manager: RUNNING, check-point 0, wait hint 5000 ms, exit code 0, "
                   "controls accepted 1"});
}

TEST(PrintedLinesTest, NotesConsoleLinesAndWaitsAreMarked) {
  EXPECT_EQ(linesOf(ReportKind::kNote, "a program was started"),
            PrintedTexts{"-- a program was started"});
  EXPECT_EQ(linesOf(ReportKind::kConsole, "Usage: x"), PrintedTexts{"-- console: Usage: x"});
  EXPECT_EQ(linesOf(ReportKind::kConsole, ""), PrintedTexts{"-- console:"});
  EXPECT_EQ(linesOf(ReportKind::kThreads, "main: Sleep\nservice: an event\n"),
            (PrintedTexts{"-- waiting: main: Sleep", "-- waiting: service: an event"}));
}

TEST(PrintedLinesTest, NamedImbalancesArePrintedOnlyIfMoreIsWanted) {
  EXPECT_EQ(linesOf(ReportKind::kLedger, "named: x (why)"), PrintedTexts{});
  EXPECT_EQ(linesOf(ReportKind::kLedger, "named: x (why)", true),
            PrintedTexts{"-- ledger: named: x (why)"});
  EXPECT_EQ(linesOf(ReportKind::kLedger, "unnamed: y"), PrintedTexts{"-- ledger: unnamed: y"});
  EXPECT_EQ(linesOf(ReportKind::kLedger, "missing: z (name)"),
            PrintedTexts{"-- ledger: missing: z (name)"});
}

TEST(PrintedLinesTest, HashAndMemoryArePrintedOnlyIfMoreIsWanted) {
  EXPECT_EQ(linesOf(ReportKind::kHash, "0xabc"), PrintedTexts{});
  EXPECT_EQ(linesOf(ReportKind::kMemory, "4321"), PrintedTexts{});
  EXPECT_EQ(linesOf(ReportKind::kHash, "0xabc", true), PrintedTexts{"-- hash of all steps: 0xabc"});
  EXPECT_EQ(linesOf(ReportKind::kMemory, "4321", true),
            PrintedTexts{"-- peak memory in KiB: 4321"});
}

TEST(PrintedLinesTest, EndIsNoLineOfItsOwn) {
  EXPECT_EQ(linesOf(ReportKind::kEnd, "exit 0", true), PrintedTexts{});
}

TEST(PrintedLinesTest, ComparableLineBeginsAtTheLevel) {
  EXPECT_EQ(comparableLine("2026-01-02 03:04:05:006 0000000000001a2c TPMEnrollmentService: [INF] "
                           "[TPM] Starting."),
            "[INF] [TPM] Starting.");
}

TEST(PrintedLinesTest, ComparableLineKeepsAStampOfAnotherForm) {
  const std::string shortThread =
      "2026-01-02 03:04:05:006 1a2c TPMEnrollmentService: [INF] [TPM] Starting.";
  EXPECT_EQ(comparableLine(shortThread), shortThread);
  const std::string upperCase =
      "2026-01-02 03:04:05:006 0000000000001A2C TPMEnrollmentService: [INF] [TPM] Starting.";
  EXPECT_EQ(comparableLine(upperCase), upperCase);
}

TEST(PrintedLinesTest, ComparableLineHasNoAddresses) {
  EXPECT_EQ(comparableLine("[DBG] [0x7ffff7a0] [Run] and [0x1]"), "[DBG] [0x] [Run] and [0x]");
  EXPECT_EQ(comparableLine("Unlock failed for: 7ffff7a0"), "Unlock failed for: 0x");
  EXPECT_EQ(comparableLine("ScopedLock:Lock failed for 7ffff7a0"), "ScopedLock:Lock failed for 0x");
  EXPECT_EQ(comparableLine("Lock failed for me"), "Lock failed for me");
  EXPECT_EQ(comparableLine("[0x12"), "[0x12");
  EXPECT_EQ(comparableLine("[0xG]"), "[0xG]");
}

TEST(PrintedLinesTest, ComparableLineHasNoBlanksAtItsEnd) {
  EXPECT_EQ(comparableLine("[ERR] message: "), "[ERR] message:");
}

TEST(PrintedLinesTest, ComparableLinesAreLogNotesStatusesAndConsole) {
  EXPECT_EQ(
      comparableLines({{ReportKind::kDebugLine, 0, "a\r\n"},
                       {ReportKind::kNote, 0, "b"},
                       {ReportKind::kStatus, 0, "4 0 0 1 5000"},
                       {ReportKind::kConsole, 0, "c"},
                       {ReportKind::kLedger, 0, "unnamed: d"},
                       {ReportKind::kThreads, 0, "e"},
                       {ReportKind::kHash, 0, "f"},
                       {ReportKind::kMemory, 0, "1"},
                       {ReportKind::kEnd, 0, "exit 0"}}),
      (PrintedTexts{"a", "-- b",
                    "-- service manager: RUNNING, check-point 0, wait hint 5000 ms, exit code 0",
                    "-- console: c"}));
}

TEST(PrintedLinesTest, ComparableLinesAreNeverEmpty) {
  EXPECT_EQ(comparableLines({{ReportKind::kDebugLine, 0, "a\n\nb\n"}}), (PrintedTexts{"a", "b"}));
}

TEST(PrintedLinesTest, SecondsHaveThreeDigits) {
  EXPECT_EQ(secondsText(0), "0.000 s");
  EXPECT_EQ(secondsText(12'345'678'901), "12.345 s");
  EXPECT_EQ(secondsText(31'536'000'000'000'000), "31536000.000 s");
}

}  // namespace
}  // namespace runner
