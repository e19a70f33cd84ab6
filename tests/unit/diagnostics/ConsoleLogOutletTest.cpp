#include "VUSL/Support/ConsoleLogOutlet.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

namespace {

// Takes what is written to the wide standard output.
class ConsoleLogOutletTest : public ::testing::Test {
 protected:
  ConsoleLogOutletTest() : original(std::wcout.rdbuf(&console)) {}
  ~ConsoleLogOutletTest() override { std::wcout.rdbuf(original); }

  struct Console : std::wstringbuf {
    int sync() override {
      ++flushes;
      return 0;
    }
    int flushes = 0;
  };

  Console console;

 private:
  std::wstreambuf* original;
};

int strip(std::wstring& text) {
  return ConsoleLogOutlet::stripColourTag(text);
}

TEST_F(ConsoleLogOutletTest, writesALineWithoutStampAndTagWhereNoPrefixIsWanted) {
  ConsoleLogOutlet outlet(false);
  outlet.Log(L"stamp ", L"tag: ", L"[TPM] Started.", 2);
  EXPECT_EQ(console.str(), L"[INF] [TPM] Started.\n");
}

TEST_F(ConsoleLogOutletTest, writesStampAndTagWhereThePrefixIsWanted) {
  ConsoleLogOutlet outlet(true);
  outlet.Log(L"stamp ", L"tag: ", L"[TPM] Started.", 2);
  EXPECT_EQ(console.str(), L"stamp tag: [INF] [TPM] Started.\n");
}

TEST_F(ConsoleLogOutletTest, flushesEachLine) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"a");
  EXPECT_EQ(console.flushes, 1);
}

TEST_F(ConsoleLogOutletTest, neverShowsTheTagNorColours) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"a[RED]b");
  outlet.Dump(L"[GREEN]c");
  EXPECT_EQ(console.str(), L"ab\nc\n");
}

TEST_F(ConsoleLogOutletTest, losesTheRedTagAndKeepsTheGreenOne) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"[GREEN]a[RED]b");
  EXPECT_EQ(console.str(), L"[GREEN]ab\n");
}

TEST_F(ConsoleLogOutletTest, losesTheFirstOfTwoRedTagsOnly) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"[RED]a[RED]b");
  EXPECT_EQ(console.str(), L"a[RED]b\n");
}

TEST_F(ConsoleLogOutletTest, tellsWhichTagItTook) {
  std::wstring red = L"x[RED]";
  std::wstring green = L"x[GREEN]";
  std::wstring none = L"x[BLUE]";
  EXPECT_EQ(strip(red), 2);
  EXPECT_EQ(red, L"x");
  EXPECT_EQ(strip(green), 1);
  EXPECT_EQ(green, L"x");
  EXPECT_EQ(strip(none), 0);
  EXPECT_EQ(none, L"x[BLUE]");
}

TEST_F(ConsoleLogOutletTest, looksAtTheCaseOfATag) {
  std::wstring text = L"[red]";
  EXPECT_EQ(strip(text), 0);
}

TEST_F(ConsoleLogOutletTest, writesNothingWhenReopened) {
  ConsoleLogOutlet outlet(true);
  outlet.reopen();
  EXPECT_EQ(console.str(), L"");
}

}  // namespace
