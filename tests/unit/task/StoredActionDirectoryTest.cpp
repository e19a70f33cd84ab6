#include <gtest/gtest.h>

#include "task/TaskLifecycle.h"

namespace {

TEST(StoredActionDirectoryTest, quotedPathGivesItsDirectoryWithoutQuotes) {
  EXPECT_EQ(StoredActionDirectory(L"\"C:\\x\\OrvixVTMEKRecertification.exe\""), L"C:\\x");
}

TEST(StoredActionDirectoryTest, pathWithoutQuotesGivesItsDirectory) {
  EXPECT_EQ(StoredActionDirectory(L"C:\\x\\y.exe"), L"C:\\x");
}

TEST(StoredActionDirectoryTest, blanksInAPathStay) {
  EXPECT_EQ(StoredActionDirectory(L"\"C:\\Program Files\\Orvix \\y.exe\""),
            L"C:\\Program Files\\Orvix ");
}

TEST(StoredActionDirectoryTest, slashSeparatesLikeABackslash) {
  EXPECT_EQ(StoredActionDirectory(L"\"C:/x/y.exe\""), L"C:/x");
}

TEST(StoredActionDirectoryTest, lastOfMixedSeparatorsCounts) {
  EXPECT_EQ(StoredActionDirectory(L"C:\\x/y.exe"), L"C:\\x");
  EXPECT_EQ(StoredActionDirectory(L"C:/x\\y.exe"), L"C:/x");
}

TEST(StoredActionDirectoryTest, trailingSeparatorOfTheDirectoryPartStays) {
  EXPECT_EQ(StoredActionDirectory(L"\"C:\\x\\\\y.exe\""), L"C:\\x\\");
}

TEST(StoredActionDirectoryTest, pathThatEndsInASeparatorLosesOnlyIt) {
  EXPECT_EQ(StoredActionDirectory(L"\"C:\\x\\"), L"C:\\x");
}

TEST(StoredActionDirectoryTest, pathWithoutSeparatorStaysWhole) {
  EXPECT_EQ(StoredActionDirectory(L"y.exe"), L"y.exe");
}

TEST(StoredActionDirectoryTest, quotedPathWithoutSeparatorKeepsItsClosingQuote) {
  EXPECT_EQ(StoredActionDirectory(L"\"y.exe\""), L"y.exe\"");
}

TEST(StoredActionDirectoryTest, emptyPathGivesTheEmptyText) {
  EXPECT_EQ(StoredActionDirectory(L""), L"");
}

TEST(StoredActionDirectoryTest, pathOfOneQuoteGivesTheEmptyText) {
  EXPECT_EQ(StoredActionDirectory(L"\""), L"");
}

TEST(StoredActionDirectoryTest, onlyOneLeadingQuoteIsRemoved) {
  EXPECT_EQ(StoredActionDirectory(L"\"\"C:\\x\\y.exe\"\""), L"\"C:\\x");
}

TEST(StoredActionDirectoryTest, quoteInsideTheDirectoryStays) {
  EXPECT_EQ(StoredActionDirectory(L"C:\\\"x\"\\y.exe"), L"C:\\\"x\"");
}

TEST(StoredActionDirectoryTest, separatorAtTheBeginningLeavesNothing) {
  EXPECT_EQ(StoredActionDirectory(L"\\y.exe"), L"");
  EXPECT_EQ(StoredActionDirectory(L"\"\\y.exe\""), L"");
}

TEST(StoredActionDirectoryTest, charactersBeyondAsciiStay) {
  EXPECT_EQ(StoredActionDirectory(L"\"C:\\\u00DCbung\\\u8A8D\u8A3C\\y.exe\""),
            L"C:\\\u00DCbung\\\u8A8D\u8A3C");
}

TEST(StoredActionDirectoryTest, pathOf32000CharactersGivesItsDirectory) {
  const std::wstring directory = L"C:\\" + std::wstring(31'990, L'x');
  EXPECT_EQ(StoredActionDirectory(L"\"" + directory + L"\\y.exe\""), directory);
}

}  // namespace
