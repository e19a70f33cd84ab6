#include "tools/threads/RaceReports.h"

#include <gtest/gtest.h>

namespace threads {
namespace {

constexpr char kTwoReports[] =
    "what the program prints\n"
    "==================\n"
    "WARNING: ThreadSanitizer: data race (pid=7)\n"
    "  Write of size 4 at 0x7b20 by thread T2:\n"
    "\n"
    "SUMMARY: ThreadSanitizer: data race Host.cpp:3 in Report(int)\n"
    "==================\n"
    "==================\n"
    "WARNING: ThreadSanitizer: data race (pid=7)\n"
    "  Read of size 1 at 0x7b24 by main thread:\n"
    "\n"
    "SUMMARY: ThreadSanitizer: data race Loop.cpp:9 in Run()\n"
    "==================\n"
    "ThreadSanitizer: reported 2 warnings\n";

TEST(RaceReportsTest, EachReportIsTakenWithItsSummaryAndWithoutItsFrame) {
  const auto reports = raceReports(kTwoReports);
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(reports[0].summary, "data race Host.cpp:3 in Report(int)");
  EXPECT_EQ(reports[0].text,
            "WARNING: ThreadSanitizer: data race (pid=7)\n"
            "  Write of size 4 at 0x7b20 by thread T2:\n"
            "\n"
            "SUMMARY: ThreadSanitizer: data race Host.cpp:3 in Report(int)\n");
  EXPECT_EQ(reports[1].summary, "data race Loop.cpp:9 in Run()");
}

TEST(RaceReportsTest, WhatTheProgramPrintsIsNoReport) {
  EXPECT_TRUE(raceReports("").empty());
  EXPECT_TRUE(raceReports("a line\n==================\nanother\n").empty());
}

TEST(RaceReportsTest, WordsOfTheSanitizerThatAreNoWholeReportAreOne) {
  const auto cutShort =
      raceReports("==================\nWARNING: ThreadSanitizer: data race (pid=7)");
  ASSERT_EQ(cutShort.size(), 1U);
  EXPECT_EQ(cutShort[0].summary, "data race (pid=7)");
  const auto refused = raceReports("FATAL: ThreadSanitizer: unexpected memory mapping\n");
  ASSERT_EQ(refused.size(), 1U);
  EXPECT_EQ(refused[0].summary, "unexpected memory mapping");
}

}  // namespace
}  // namespace threads
