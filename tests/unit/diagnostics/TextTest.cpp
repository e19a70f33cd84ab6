#include "VUSL/Support/Text.h"

#include "tests/support/MachineTest.h"

namespace {

using TextTest = host::MachineTest;

TEST_F(TextTest, widensUtf8) {
  EXPECT_EQ(vusl::Widen("a\xC3\xA4\xE2\x82\xAC"), L"a\u00E4\u20AC");
}

TEST_F(TextTest, widensWhatIsNotAsciiThroughThePlatformsUtf8) {
  vusl::Widen("ab\xC3\xA4");
  const auto calls = journal().calls("MultiByteToWideChar");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0].args, "65001, 0, text, 4, 0");
  EXPECT_EQ(calls[1].args, "65001, 0, text, 4, 3");
}

TEST_F(TextTest, widensEveryCharacterOfAsciiToItselfWithoutAskingThePlatform) {
  for (wchar_t character = 0; character < 0x80; ++character) {
    EXPECT_EQ(vusl::Widen(std::string(1, static_cast<char>(character))),
              std::wstring(1, character));
  }
  EXPECT_TRUE(journal().calls("MultiByteToWideChar").empty());
}

TEST_F(TextTest, findsWhatIsNotAsciiAnywhereInALongText) {
  for (size_t place = 0; place < 70; ++place) {
    std::string text(72, 'a');
    text.replace(place, 2, "\xC3\xA4");
    std::wstring wide(71, L'a');
    wide[place] = L'\u00E4';
    EXPECT_EQ(vusl::Widen(text), wide) << place;
  }
}

TEST_F(TextTest, appendsBehindWhatIsThere) {
  std::wstring text = L"1";
  vusl::AppendWidened(text, "a");
  vusl::AppendWidened(text, "");
  vusl::AppendWidened(text, "\xC3\xA4");
  EXPECT_EQ(text, L"1a\u00E4");
}

TEST_F(TextTest, appendsNothingWhenThePlatformCannotWiden) {
  std::wstring text = L"1";
  faults().failOnce("MultiByteToWideChar", 1113);
  vusl::AppendWidened(text, "\xC3\xA4");
  faults().failOnce("MultiByteToWideChar", 1113, 2);
  vusl::AppendWidened(text, "\xC3\xA4");
  EXPECT_EQ(text, L"1");
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
  EXPECT_EQ(vusl::Widen("abc\xC3\xA4"), L"");
}

TEST_F(TextTest, isEmptyWhenThePlatformFailsHalfWay) {
  faults().failOnce("MultiByteToWideChar", 1113, 2);
  EXPECT_EQ(vusl::Widen("abc\xC3\xA4"), L"");
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

TEST_F(TextTest, keepsTheLastCharacterOfEachLengthInUtf16) {
  EXPECT_EQ(vusl::Utf16(L"\uFFFF"), u"\uFFFF");
  EXPECT_EQ(vusl::Utf16(L"\U00010000"), u"\xD800\xDC00");
  EXPECT_EQ(vusl::Utf16(L"\U000103FF"), u"\xD800\xDFFF");
  EXPECT_EQ(vusl::Utf16(L"\U0010FFFF"), u"\xDBFF\xDFFF");
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
