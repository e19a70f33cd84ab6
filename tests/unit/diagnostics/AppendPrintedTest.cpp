#include "VUSL/Support/AppendPrinted.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>

#include "VUSL/Support/InvalidInputError.h"

namespace {

struct Pair {
  int first;
  int second;
};

std::ostream& operator<<(std::ostream& stream, const Pair& pair) {
  return stream << pair.first << "/" << pair.second;
}

enum Colour { kRed = 3 };

template <class Value>
std::string printed(const Value& value) {
  std::string text = "<";
  AppendPrinted(text, value);
  return text + ">";
}

TEST(AppendPrintedTest, appendsTexts) {
  const char* constant = "c";
  char variable[] = "v";
  EXPECT_EQ(printed("l"), "<l>");
  EXPECT_EQ(printed(constant), "<c>");
  EXPECT_EQ(printed(variable), "<v>");
  EXPECT_EQ(printed(std::string("s")), "<s>");
  EXPECT_EQ(printed(std::string_view("w")), "<w>");
  EXPECT_EQ(printed(""), "<>");
}

TEST(AppendPrintedTest, keepsZeroCharactersOfAStringAndEndsALiteralAtOne) {
  EXPECT_EQ(printed(std::string("a\0b", 3)), std::string("<a\0b>", 5));
  EXPECT_EQ(printed("a\0b"), "<a>");
}

TEST(AppendPrintedTest, appendsNothingForANullPointerToCharacters) {
  const char* nothing = nullptr;
  EXPECT_EQ(printed(nothing), "<>");
}

TEST(AppendPrintedTest, printsIntegersOfEveryWidthInDecimal) {
  EXPECT_EQ(printed(0), "<0>");
  EXPECT_EQ(printed(short{-7}), "<-7>");
  EXPECT_EQ(printed(std::numeric_limits<int>::min()), "<-2147483648>");
  EXPECT_EQ(printed(std::numeric_limits<unsigned int>::max()), "<4294967295>");
  EXPECT_EQ(printed(std::numeric_limits<int64_t>::min()), "<-9223372036854775808>");
  EXPECT_EQ(printed(std::numeric_limits<uint64_t>::max()), "<18446744073709551615>");
}

TEST(AppendPrintedTest, printsCharactersAndTruthValuesAsAStreamDoes) {
  EXPECT_EQ(printed('c'), "<c>");
  EXPECT_EQ(printed(static_cast<unsigned char>('u')), "<u>");
  EXPECT_EQ(printed(static_cast<signed char>('s')), "<s>");
  EXPECT_EQ(printed(true), "<1>");
}

TEST(AppendPrintedTest, printsEverythingElseThroughAStream) {
  EXPECT_EQ(printed(1.5), "<1.5>");
  EXPECT_EQ(printed(kRed), "<3>");
  EXPECT_EQ(printed(Pair{1, 2}), "<1/2>");
  EXPECT_EQ(printed(reinterpret_cast<const void*>(uintptr_t{0x1F})), "<0x1f>");
}

TEST(AppendPrintedTest, makesTheParametersOfAResourceException) {
  vusl::InvalidInputError error(225);
  error << std::string("p") << ',' << 5;
  EXPECT_EQ(error.joinedParams("|"), "p|,|5");
}

}  // namespace
