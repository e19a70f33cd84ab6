#include "tools/config-check/LineCheck.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using config_check::LineCheck;
using config_check::Reader;

class LineCheckTest : public ::testing::Test {
 protected:
  std::string explain(const std::string& content) {
    check.explain(content);
    return out.str();
  }

  std::ostringstream out;
  LineCheck check{out, {Reader::kLogSetup, Reader::kService}};
};

TEST_F(LineCheckTest, EachLineIsExplained) {
  EXPECT_EQ(explain("# a comment\n\n \tLogLevel=DEBUG\r\nTCBRepeaterTime = \"60\""),
            "  1  (comment)\n"
            "  2  (blank)\n"
            "  3  LogLevel = \"DEBUG\"\n"
            "  4  TCBRepeaterTime = \"60\"\n");
  EXPECT_EQ(check.warnings(), 0U);
  EXPECT_EQ(check.errors(), 0U);
}

TEST_F(LineCheckTest, LineOfAKeyIsItsFirst) {
  explain("a = 1\nb = 2\na = 3\n");
  EXPECT_EQ(check.lineOf("a"), 1U);
  EXPECT_EQ(check.lineOf("b"), 2U);
  EXPECT_EQ(check.lineOf("c"), 0U);
}

TEST_F(LineCheckTest, NumbersAreAligned) {
  const std::string text = explain(std::string(9, '\n') + "LogLevel = INFO\n");
  EXPECT_TRUE(text.starts_with("   1  (blank)\n   2  (blank)\n")) << text;
  EXPECT_TRUE(text.ends_with("\n  10  LogLevel = \"INFO\"\n")) << text;
}

TEST_F(LineCheckTest, UnknownKeyIsAWarningWithTheNearestKnownOne) {
  EXPECT_EQ(explain("TCBRepeaterTim = 5\nOther = 5\n"),
            "  1  TCBRepeaterTim = \"5\"\n"
            "     warning: the service does not read this key; did you mean TCBRepeaterTime?\n"
            "  2  Other = \"5\"\n"
            "     warning: the service does not read this key\n");
  EXPECT_EQ(check.warnings(), 2U);
}

TEST_F(LineCheckTest, LineWithoutEqualsIsAnErrorAndShowsItsBeginning) {
  EXPECT_EQ(explain("  this is no setting at all\n"),
            "  1  \"this is no setting a\"\n"
            "     error: there is no \"=\" in this line, so the service calls the whole file "
            "corrupted\n");
  EXPECT_EQ(check.errors(), 1U);
  EXPECT_EQ(check.warnings(), 0U);
}

TEST_F(LineCheckTest, RepeatedKeyIsAnErrorAlsoWithTheSameValue) {
  EXPECT_EQ(explain("LogLevel = INFO\nLogLevel = INFO\n"),
            "  1  LogLevel = \"INFO\"\n"
            "  2  LogLevel = \"INFO\"\n"
            "     error: the key stands in line 1 already, so the service calls the whole file "
            "corrupted\n");
  EXPECT_EQ(check.errors(), 1U);
}

TEST_F(LineCheckTest, LineWithoutAKeyIsPassedOver) {
  EXPECT_EQ(explain("= 5\n"),
            "  1  (no key)\n"
            "     warning: nothing stands before \"=\", so the service passes the line over\n");
}

TEST_F(LineCheckTest, QuotesAreLookedAt) {
  EXPECT_EQ(explain("LogLevel = \"INFO\" # loud\n"
                    "TCBRepeaterTime = \"5\n"
                    "MaxFileSize = 7\"8\n"
                    "MaxArchiveNumber = 9\"\n"),
            "  1  LogLevel = \"INFO\"\n"
            "     warning: the value ends at the quote; what follows is not read: \"# loud\"\n"
            "  2  TCBRepeaterTime = \"5\"\n"
            "     warning: there is no closing quote; the value reaches to the line's end\n"
            "  3  MaxFileSize = \"7\"\n"
            "     warning: the value ends at the quote; what follows is not read: \"8\"\n"
            "  4  MaxArchiveNumber = \"9\"\n"
            "     warning: the value ends at the quote, and there is none at its beginning\n");
}

TEST_F(LineCheckTest, QuotesOfEmptyValuesAreLookedAtToo) {
  EXPECT_EQ(explain("MaxFileSize = \"\"\n").find("quote"), std::string::npos);
  EXPECT_NE(explain("MaxArchiveNumber = \"\n").find("there is no closing quote"),
            std::string::npos);
}

TEST_F(LineCheckTest, ValueIsJudgedInItsLine) {
  EXPECT_EQ(explain("TCBRepeaterTime = -5\n"),
            "  1  TCBRepeaterTime = \"-5\"\n"
            "     warning: a negative wait is refused, so the service waits 3600 s\n");
}

TEST_F(LineCheckTest, KeyOfTheOtherReaderIsAWarning) {
  LineCheck ofTheLog(out, {Reader::kLogSetup});
  ofTheLog.explain("LogLevel = INFO\nTCBRepeaterTime = x\n");
  EXPECT_EQ(out.str(),
            "  1  LogLevel = \"INFO\"\n"
            "  2  TCBRepeaterTime = \"x\"\n"
            "     warning: the service reads this key from the other file\n");
}

TEST_F(LineCheckTest, ByteOrderMarkBelongsToTheFirstLine) {
  EXPECT_EQ(explain("\xEF\xBB\xBFLogLevel = INFO\n"),
            "  1  <0xEF><0xBB><0xBF>LogLevel = \"INFO\"\n"
            "     warning: the service does not read this key; did you mean LogLevel?\n"
            "     warning: the file begins with a byte order mark, which belongs to this line for "
            "the service\n");
}

TEST_F(LineCheckTest, TextOfTwoBytesACharacterIsNoPlainText) {
  const std::string text = explain(std::string("\xFF\xFEL\0=\0 \0", 8));
  EXPECT_NE(text.find("\n     warning: this looks like no plain text (UTF-16?); save the file as "
                      "ASCII or UTF-8\n"),
            std::string::npos)
      << text;
}

TEST_F(LineCheckTest, LongTextsAreCutAndOtherBytesAreShownAsNumbers) {
  EXPECT_EQ(explain("k\x01 = " + std::string(1 << 20, 'x') + "\n"),
            "  1  k<0x01> = \"" + std::string(60, 'x') +
                "... (1048576 bytes)\"\n"
                "     warning: the service does not read this key\n");
}

}  // namespace
