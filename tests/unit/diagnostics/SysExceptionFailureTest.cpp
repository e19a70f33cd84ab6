// What the text of a system error becomes when calls fail on its way.

#include <string>
#include <vector>

#include "VUSL/Support/ResourceLoader.h"
#include "VUSL/Support/ResourceMissingException.h"
#include "VUSL/Support/SysException.h"
#include "platform/win32.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/support/ResourceLibrary.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

class SysExceptionFailureTest : public host::MachineTest {
 protected:
  SysExceptionFailureTest() { ResourceLoader::resourceLibraries.clear(); }
  ~SysExceptionFailureTest() override { ResourceLoader::resourceLibraries.clear(); }

  static void install(const std::u16string& unknownErrorText) {
    host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\VUSL_en-US.dll",
                                host::resourceLibrary({{101, unknownErrorText}}));
  }

  // The text of the error 5 when the system does not tell it.
  static std::string unknownErrorText() {
    faults().failOnce("FormatMessageW", 8);
    SetLastError(5);
    SysException exception;
    return exception.errorText();
  }
};

TEST_F(SysExceptionFailureTest, fallsBackOnTheResourceWhenTheSystemDoesNotAnswer) {
  install(u"Unknown error ");
  EXPECT_EQ(unknownErrorText(), "Unknown error 0x5");
}

TEST_F(SysExceptionFailureTest, releasesTheSystemsBufferAlsoWhenThereIsNone) {
  install(u"Unknown error ");
  unknownErrorText();
  const auto calls = journal().calls("LocalFree");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "null");
}

TEST_F(SysExceptionFailureTest, releasesTheSystemsBufferLast) {
  install(u"Unknown error ");
  unknownErrorText();
  EXPECT_EQ(journal().names().back(), "LocalFree");
}

TEST_F(SysExceptionFailureTest, hasItsTextAlsoWhenTheBufferIsNotReleased) {
  faults().failOnce("LocalFree", 6);
  SetLastError(5);
  SysException exception;
  EXPECT_EQ(exception.errorText(), "Access is denied.\r\n");
}

TEST_F(SysExceptionFailureTest, throwsWhenTheResourceIsNotReadEither) {
  install(u"Unknown error ");
  faults().failFrom("LoadStringW", 8);
  EXPECT_EQ(thrownBy<ResourceMissingException>([] { unknownErrorText(); }),
            "Error during loading a string resource. Following string resource id could not be "
            "found: 101.");
}

TEST_F(SysExceptionFailureTest, throwsWhenNoLanguageLibraryIsLoaded) {
  install(u"Unknown error ");
  faults().failFrom("LoadLibraryExW", 8);
  EXPECT_THROW(unknownErrorText(), ResourceMissingException);
}

TEST_F(SysExceptionFailureTest, beginsWithTheNumberWhenTheResourceIsNotCopied) {
  install(u"Unknown error ");
  faults().failOnce("strcpy_s", 22);
  EXPECT_EQ(unknownErrorText(), "0x5");
}

TEST_F(SysExceptionFailureTest, lacksTheSignOfHexadecimalWhenItIsNotAppended) {
  install(u"Unknown error ");
  faults().failOnce("strcat_s", 22);
  EXPECT_EQ(unknownErrorText(), "Unknown error 5");
}

TEST_F(SysExceptionFailureTest, lacksTheDigitsWhenTheyAreNotPrinted) {
  install(u"Unknown error ");
  faults().failOnce("_itoa_s", 22);
  EXPECT_EQ(unknownErrorText(), "Unknown error 0x");
}

TEST_F(SysExceptionFailureTest, writesTheDigitsIntoTheBufferOfTheText) {
  // A second appending would be a second chance to fail.
  install(u"Unknown error ");
  faults().failOnce("strcat_s", 22, 2);
  EXPECT_EQ(unknownErrorText(), "Unknown error 0x5");
}

TEST_F(SysExceptionFailureTest, hasRoomForThirtyOneCharactersAndEightDigits) {
  install(u"1234567890123456789012345678901");
  host::machine().errorTexts[0xFEDCBA98] = L"";
  SetLastError(0xFEDCBA98);
  SysException exception;
  EXPECT_EQ(exception.errorText(), "12345678901234567890123456789010xfedcba98");
}

TEST_F(SysExceptionFailureTest, printsNoDigitsBehindTheEndOfTheBuffer) {
  install(u"123456789012345678901234567890123456789");
  EXPECT_EQ(unknownErrorText(), "1234567890123456789012345678901234567890x");
}

TEST_F(SysExceptionFailureTest, dropsAResourceThatDoesNotFit) {
  install(u"123456789012345678901234567890123456789012");
  EXPECT_EQ(unknownErrorText(), "0x5");
}

TEST_F(SysExceptionFailureTest, staysWithinTheBufferWhenTheResourceFillsIt) {
  install(u"12345678901234567890123456789012345678901");
  // There is no room for the sign, and so the whole text is given up.
  EXPECT_EQ(unknownErrorText(), "5");
}

TEST_F(SysExceptionFailureTest, tellsWhenTheSecondNarrowingFails) {
  SetLastError(5);
  SysException exception;
  faults().failOnce("wcstombs_s", 22, 2);
  const LogRecorder log;
  EXPECT_EQ(thrownBy<Exception>([&] { exception.errorText(); }), "Function returned error: %s:22");
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"[DBG] [TPM] What error: 22"}));
}

TEST_F(SysExceptionFailureTest, leavesTheFormerTextWhenItFails) {
  SetLastError(5);
  SysException exception;
  const std::string* const text = &exception.errorText();
  faults().failOnce("wcstombs_s", 22);
  EXPECT_THROW(exception.errorText(), Exception);
  EXPECT_EQ(*text, "Access is denied.\r\n");
}

TEST_F(SysExceptionFailureTest, takesTheTextInTheUsersLanguage) {
  host::machine().userLanguage = 0x0407;
  SetLastError(2);
  SysException exception;
  EXPECT_EQ(exception.errorText(), "Das System kann die angegebene Datei nicht finden.\r\n");
}

TEST_F(SysExceptionFailureTest, endsTheSystemsTextAtAZeroCharacter) {
  host::machine().errorTexts[5] = std::wstring(L"one\0two\r\n", 9);
  SetLastError(5);
  SysException exception;
  EXPECT_EQ(exception.errorText(), "one");
}

TEST_F(SysExceptionFailureTest, throwsAtALoneSurrogateInTheSystemsText) {
  host::machine().errorTexts[5] = std::wstring{L'a', wchar_t{0xD83D}, L'b'};
  SetLastError(5);
  SysException exception;
  EXPECT_EQ(thrownBy<Exception>([&] { exception.errorText(); }), "Function returned error: %s:42");
}

}  // namespace
