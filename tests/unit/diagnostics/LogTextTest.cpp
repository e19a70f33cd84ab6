// Odd texts in log items: none of them fails, and each comes out as far as it can.

#include <string>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogSink.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/diagnostics/RecordingOutlet.h"

namespace {

class LogTextTest : public host::MachineTest {
 protected:
  // The text of the last item, as both channels had it.
  std::wstring text() const {
    if (outlet.messages.empty()) return L"nothing";
    EXPECT_EQ(outlet.messages.size(), console.messages.size());
    EXPECT_EQ(outlet.messages.back().text, console.messages.back().text);
    return outlet.messages.back().text;
  }

 private:
  RecordingOutlet outlet;
  RecordingOutlet console;
  AttachedOutlet onOutletChannel{outlet, LogSink::kOutletChannel};
  AttachedOutlet onConsoleChannel{console, LogSink::kConsoleChannel};
};

TEST_F(LogTextTest, addsNothingForEmptyTexts) {
  LogItem() << "" << L"" << std::string() << std::wstring();
  EXPECT_EQ(text(), L"[TPM] ");
}

TEST_F(LogTextTest, hasOneBlankForAnEmptyLocation) {
  LogItem("") << "text";
  EXPECT_EQ(text(), L"[TPM]  text");
}

TEST_F(LogTextTest, showsNullForALocationThatIsNull) {
  LogItem(nullptr) << "text";
  EXPECT_EQ(text(), L"[TPM] NULL text");
}

TEST_F(LogTextTest, isCutAtAZeroCharacterOfNarrowText) {
  LogItem() << std::string("a\0b", 3) << "c";
  EXPECT_EQ(text(), L"[TPM] a");
}

TEST_F(LogTextTest, isTheUseCaseAloneWhenTheTextBeginsWithAZeroCharacter) {
  LogItem() << std::wstring(1, L'\0') << "text";
  EXPECT_EQ(text(), L"[TPM] ");
}

TEST_F(LogTextTest, hasTheReplacementCharacterForBytesThatAreNoUtf8) {
  LogItem() << "a\xFF"
            << "b\xE2\x82"
            << std::string(
                   "\x80"
                   "c");
  EXPECT_EQ(text(),
            L"[TPM] a\xFFFD"
            L"b\xFFFD\xFFFD"
            L"c");
}

TEST_F(LogTextTest, hasTheReplacementCharacterForSurrogatesInUtf8) {
  LogItem() << "\xED\xA0\x80";
  const std::wstring shown = text().substr(6);
  EXPECT_FALSE(shown.empty());
  EXPECT_EQ(shown.find_first_not_of(L'\xFFFD'), std::wstring::npos);
}

TEST_F(LogTextTest, keepsALoneSurrogateOfWideTextAsItStands) {
  const std::wstring lone{L'a', static_cast<wchar_t>(0xDC00), L'b'};
  LogItem() << lone << lone.c_str();
  EXPECT_EQ(text(), L"[TPM] " + lone + lone);
}

TEST_F(LogTextTest, takesAMillionCharacters) {
  LogItem() << std::string(1'000'000, 'x') << std::wstring(1'000'000, L'y');
  EXPECT_EQ(text(), L"[TPM] " + std::wstring(1'000'000, L'x') + std::wstring(1'000'000, L'y'));
}

TEST_F(LogTextTest, showsTextThatLooksLikeAFormatAsItStands) {
  LogItem() << "%s%n%d" << L"%ls";
  EXPECT_EQ(text(), L"[TPM] %s%n%d%ls");
}

TEST_F(LogTextTest, keepsLineEndsAsTheyStand) {
  LogItem() << "a\r\nb\n";
  EXPECT_EQ(text(), L"[TPM] a\r\nb\n");
}

TEST_F(LogTextTest, losesNarrowTextThatThePlatformDoesNotWidenAndNothingElse) {
  {
    LogItem item;
    faults().failFrom("MultiByteToWideChar", 8);
    item << L"a" << "\xC3\xA4" << L"b";
    faults().clear();
  }
  EXPECT_EQ(text(), L"[TPM] ab");
}

TEST_F(LogTextTest, printsTheSmallestAndTheGreatestNumbers) {
  LogItem() << INT32_MIN << " " << INT32_MAX << " " << UINT32_MAX << " " << INT64_MIN << " "
            << INT64_MAX;
  EXPECT_EQ(text(),
            L"[TPM] -2147483648 2147483647 4294967295 -9223372036854775808 "
            L"9223372036854775807");
}

TEST_F(LogTextTest, printsZeroInBothBases) {
  LogItem() << 0 << 0U << int64_t{0} << LogBase::kHexadecimal << 0 << 0U << int64_t{0};
  EXPECT_EQ(text(), L"[TPM] 000000");
}

}  // namespace
