#include "VUSL/Support/Text.h"

#include "tests/support/MachineTest.h"

namespace {

using TextTest = host::MachineTest;

TEST_F(TextTest, widensUtf8) {
  EXPECT_EQ(vusl::Widen("a\xC3\xA4\xE2\x82\xAC"), L"a\u00E4\u20AC");
}

TEST_F(TextTest, widensThroughThePlatformsUtf8) {
  vusl::Widen("abc");
  const auto calls = journal().calls("MultiByteToWideChar");
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls[0].args.substr(0, 8), "65001, 0");
}

TEST_F(TextTest, keepsZeroCharactersWhenWidening) {
  EXPECT_EQ(vusl::Widen(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST_F(TextTest, widensNothingToNothingWithoutAskingThePlatform) {
  EXPECT_EQ(vusl::Widen(""), L"");
  EXPECT_TRUE(journal().calls("MultiByteToWideChar").empty());
}

TEST_F(TextTest, isEmptyWhenThePlatformCannotWiden) {
  faults().failOnce("MultiByteToWideChar", 1113);
  EXPECT_EQ(vusl::Widen("abc"), L"");
}

TEST_F(TextTest, isEmptyWhenThePlatformFailsHalfWay) {
  faults().failOnce("MultiByteToWideChar", 1113, 2);
  EXPECT_EQ(vusl::Widen("abc"), L"");
}

TEST_F(TextTest, narrowsAsciiAsItIs) {
  EXPECT_EQ(vusl::Narrow(L"a Z~\x7F\r\n"), "a Z~\x7F\r\n");
}

TEST_F(TextTest, narrowsAnythingElseToAQuestionMark) {
  EXPECT_EQ(vusl::Narrow(L"a\u0080b\u00E4c\u20ACd"), "a?b?c?d");
}

TEST_F(TextTest, knowsWhichCharactersHaveANarrowForm) {
  EXPECT_TRUE(vusl::HasNarrowForm(L'\0'));
  EXPECT_TRUE(vusl::HasNarrowForm(L'\x7F'));
  EXPECT_FALSE(vusl::HasNarrowForm(L'\u0080'));
}

TEST_F(TextTest, keepsCharactersOfOneUnitInUtf16) {
  EXPECT_EQ(vusl::Utf16(L"a\u20AC"), u"a\u20AC");
}

TEST_F(TextTest, splitsACharacterBeyondTheFirstPlaneIntoTwoUnits) {
  EXPECT_EQ(vusl::Utf16(L"\U0001F600"), u"\U0001F600");
}

TEST_F(TextTest, replacesWhatIsNoCharacterInUtf16) {
  if constexpr (sizeof(wchar_t) < 4) GTEST_SKIP() << "every unit is a character here";
  EXPECT_EQ(vusl::Utf16(std::wstring(1, static_cast<wchar_t>(0x110000))), u"\uFFFD");
}

TEST_F(TextTest, widensBytesThatAreNoUtf8ToTheReplacementCharacter) {
  EXPECT_EQ(vusl::Widen("a\xFF"
                        "b"),
            L"a\uFFFDb");
}

TEST_F(TextTest, narrowsEveryCharacterOfAsciiToItself) {
  for (wchar_t character = 0; character < 0x80; ++character) {
    EXPECT_EQ(vusl::Narrow(std::wstring(1, character)),
              std::string(1, static_cast<char>(character)));
  }
}

TEST_F(TextTest, narrowsTheHighestCharacterOfTheFirstPlaneToAQuestionMark) {
  EXPECT_EQ(vusl::Narrow(L"\uFF5E\uFFFD"), "??");
}

}  // namespace
