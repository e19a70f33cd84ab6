#include "tools/runner/PrintedLines.h"

#include <gtest/gtest.h>

namespace runner {
namespace {

using host::ReportKind;
using Lines = std::vector<std::string>;

Lines linesOf(ReportKind kind, const std::string& text, bool verbose = false) {
  return printedLines({kind, 0, text}, verbose);
}

TEST(PrintedLinesTest, DebugLineIsPrintedWithoutItsLineEnd) {
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, "a line\r\n"), Lines{"a line"});
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, "a line\n"), Lines{"a line"});
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, "a line"), Lines{"a line"});
}

TEST(PrintedLinesTest, LineEndsWithinADebugLineAreLinesOfTheirOwn) {
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, "one\ntwo\r\n\r\nfour\r\n"),
            (Lines{"one", "two", "", "four"}));
}

TEST(PrintedLinesTest, EmptyDebugLineIsAnEmptyLine) {
  EXPECT_EQ(linesOf(ReportKind::kDebugLine, ""), Lines{""});
}

TEST(PrintedLinesTest, StatusNamesStateCheckPointWaitHintAndExitCode) {
  EXPECT_EQ(linesOf(ReportKind::kStatus, "2 1 0 0 5000"),
            Lines{"-- service manager: START_PENDING, check-point 1, wait hint 5000 ms, exit code "
                  "0"});
  EXPECT_EQ(linesOf(ReportKind::kStatus, "4 0 0 1 5000"),
            Lines{"-- service manager: RUNNING, check-point 0, wait hint 5000 ms, exit code 0"});
  EXPECT_EQ(
      linesOf(ReportKind::kStatus, "3 2 0 1 5000"),
      Lines{"-- service manager: STOP_PENDING, check-point 2, wait hint 5000 ms, exit code 0"});
  EXPECT_EQ(
      linesOf(ReportKind::kStatus, "1 0 4294967295 1 5000"),
      Lines{"-- service manager: STOPPED, check-point 0, wait hint 5000 ms, exit code 4294967295"});
}

TEST(PrintedLinesTest, NotesConsoleLinesAndWaitsAreMarked) {
  EXPECT_EQ(linesOf(ReportKind::kNote, "a program was started"), Lines{"-- a program was started"});
  EXPECT_EQ(linesOf(ReportKind::kConsole, "Usage: x"), Lines{"-- console: Usage: x"});
  EXPECT_EQ(linesOf(ReportKind::kConsole, ""), Lines{"-- console:"});
  EXPECT_EQ(linesOf(ReportKind::kThreads, "main: Sleep\nservice: an event\n"),
            (Lines{"-- waiting: main: Sleep", "-- waiting: service: an event"}));
}

TEST(PrintedLinesTest, NamedImbalancesArePrintedOnlyIfMoreIsWanted) {
  EXPECT_EQ(linesOf(ReportKind::kLedger, "named: x (why)"), Lines{});
  EXPECT_EQ(linesOf(ReportKind::kLedger, "named: x (why)", true),
            Lines{"-- ledger: named: x (why)"});
  EXPECT_EQ(linesOf(ReportKind::kLedger, "unnamed: y"), Lines{"-- ledger: unnamed: y"});
  EXPECT_EQ(linesOf(ReportKind::kLedger, "missing: z (name)"),
            Lines{"-- ledger: missing: z (name)"});
}

TEST(PrintedLinesTest, HashAndMemoryArePrintedOnlyIfMoreIsWanted) {
  EXPECT_EQ(linesOf(ReportKind::kHash, "0xabc"), Lines{});
  EXPECT_EQ(linesOf(ReportKind::kMemory, "4321"), Lines{});
  EXPECT_EQ(linesOf(ReportKind::kHash, "0xabc", true), Lines{"-- hash of all steps: 0xabc"});
  EXPECT_EQ(linesOf(ReportKind::kMemory, "4321", true), Lines{"-- peak memory in KiB: 4321"});
}

TEST(PrintedLinesTest, EndIsNoLineOfItsOwn) {
  EXPECT_EQ(linesOf(ReportKind::kEnd, "exit 0", true), Lines{});
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
  EXPECT_EQ(comparableLines({{ReportKind::kDebugLine, 0, "a\r\n"},
                             {ReportKind::kNote, 0, "b"},
                             {ReportKind::kStatus, 0, "4 0 0 1 5000"},
                             {ReportKind::kConsole, 0, "c"},
                             {ReportKind::kLedger, 0, "unnamed: d"},
                             {ReportKind::kThreads, 0, "e"},
                             {ReportKind::kHash, 0, "f"},
                             {ReportKind::kMemory, 0, "1"},
                             {ReportKind::kEnd, 0, "exit 0"}}),
            (Lines{"a", "-- b",
                   "-- service manager: RUNNING, check-point 0, wait hint 5000 ms, exit code 0",
                   "-- console: c"}));
}

TEST(PrintedLinesTest, ComparableLinesAreNeverEmpty) {
  EXPECT_EQ(comparableLines({{ReportKind::kDebugLine, 0, "a\n\nb\n"}}), (Lines{"a", "b"}));
}

TEST(PrintedLinesTest, SecondsHaveThreeDigits) {
  EXPECT_EQ(secondsText(0), "0.000 s");
  EXPECT_EQ(secondsText(12'345'678'901), "12.345 s");
  EXPECT_EQ(secondsText(31'536'000'000'000'000), "31536000.000 s");
}

}  // namespace
}  // namespace runner
