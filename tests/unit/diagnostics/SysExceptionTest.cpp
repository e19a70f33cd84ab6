#include "VUSL/Support/SysException.h"

#include <string>
#include <vector>

#include "VUSL/Support/ResourceLoader.h"
#include "VUSL/Support/ResourceMissingException.h"
#include "platform/win32.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/support/ResourceLibrary.h"
#include "tests/unit/runtime/SlotOrder.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

constexpr DWORD kUnknownError = 0xE0000001;

class SysExceptionTest : public host::MachineTest {
 protected:
  SysExceptionTest() {
    ResourceLoader::resourceLibraries.clear();
    ResourceLoader::libraryBaseName.clear();
  }
  ~SysExceptionTest() override { ResourceLoader::resourceLibraries.clear(); }

  // A language library beside the program, with a text for errors that the system does not know.
  static void installLibrary(const std::wstring& fileName, const std::u16string& unknownErrorText) {
    host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\" + fileName,
                                host::resourceLibrary({{101, unknownErrorText}}));
  }
};

SysException withLastError(DWORD error) {
  SetLastError(error);
  return SysException();
}

TEST_F(SysExceptionTest, isEmptyWithNothingStreamed) {
  EXPECT_STREQ(withLastError(5).what(), "");
}

TEST_F(SysExceptionTest, hasTheSystemsTextAsItComes) {
  SysException exception = withLastError(5);
  EXPECT_EQ(exception.errorText(), "Access is denied.\r\n");
}

TEST_F(SysExceptionTest, putsTheStreamedTextBeforeTheSystemsWithNothingBetween) {
  SetLastError(2);
  SysException exception("X");
  exception << "a";
  EXPECT_EQ(exception.errorText(), "X:aThe system cannot find the file specified.\r\n");
}

TEST_F(SysExceptionTest, neverHasTheSystemsTextInItsOwn) {
  SetLastError(5);
  SysException exception("X");
  exception << "a";
  exception.errorText();
  EXPECT_STREQ(exception.what(), "X:a");
}

TEST_F(SysExceptionTest, keepsTheLastErrorOfItsConstruction) {
  SysException exception = withLastError(5);
  SetLastError(2);
  EXPECT_EQ(exception.errorText(), "Access is denied.\r\n");
}

TEST_F(SysExceptionTest, keepsTheErrorInACopy) {
  const SysException exception = withLastError(6);
  SysException copy(exception);
  EXPECT_EQ(copy.errorText(), "The handle is invalid.\r\n");
}

TEST_F(SysExceptionTest, givesTheSameTextAsACString) {
  SysException exception = withLastError(5);
  EXPECT_STREQ(exception.errorTextCStr(), "Access is denied.\r\n");
}

TEST_F(SysExceptionTest, throwsItselfWhenStreamedInTheThrow) {
  EXPECT_EQ(thrownBy<SysException>([] { throw SysException("X") << "a" << 1; }), "X:a1");
}

TEST_F(SysExceptionTest, resetsTheBaseNameOfTheLanguageLibraries) {
  ResourceLoader::libraryBaseName = L"X";
  SysException exception = withLastError(5);
  exception.errorText();
  EXPECT_EQ(ResourceLoader::libraryBaseName, L"");
}

TEST_F(SysExceptionTest, resetsTheBaseNameBeforeItFillsTheLanguageLibraries) {
  ResourceLoader::libraryBaseName = L"X";
  SysException exception = withLastError(5);
  exception.errorText();
  EXPECT_EQ(ResourceLoader::resourceLibraries[0],
            (std::vector<std::wstring>{L"en-US.dll", L"VUSL_en-US.dll"}));
}

TEST_F(SysExceptionTest, fillsTheLanguageLibrariesOnce) {
  SysException exception = withLastError(5);
  exception.errorText();
  ASSERT_EQ(ResourceLoader::resourceLibraries.size(), 6U);
  exception.errorText();
  EXPECT_EQ(ResourceLoader::resourceLibraries[0].size(), 2U);
}

TEST_F(SysExceptionTest, leavesFilledLanguageLibrariesAlone) {
  ResourceLoader::resourceLibraries[0] = {L"mine.dll"};
  SysException exception = withLastError(5);
  exception.errorText();
  EXPECT_EQ(ResourceLoader::resourceLibraries.size(), 1U);
}

TEST_F(SysExceptionTest, asksTheSystemForTheTextInTheNeutralLanguage) {
  SysException exception = withLastError(5);
  exception.errorText();
  const auto calls = journal().calls("FormatMessageW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "4864, null, 5, 1024, 0, null");
}

TEST_F(SysExceptionTest, releasesTheSystemsBuffer) {
  SysException exception = withLastError(5);
  exception.errorText();
  EXPECT_EQ(journal().calls("LocalFree").size(), 1U);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(SysExceptionTest, needsTheResourceWhenTheSystemHasNoText) {
  SysException exception = withLastError(kUnknownError);
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { exception.errorText(); }),
            "Error during loading a string resource. Following string resource id could not be "
            "found: 101.");
}

TEST_F(SysExceptionTest, looksForTheResourceInTheUsersLanguage) {
  host::machine().userLanguage = 0x0407;
  SysException exception = withLastError(kUnknownError);
  EXPECT_THROW(exception.errorText(), ResourceMissingException);
  std::vector<std::string> libraries;
  for (const auto& call : journal().calls("LoadLibraryExW")) libraries.push_back(call.args);
  EXPECT_EQ(libraries, (std::vector<std::string>{"de-DE.dll, null, 2", "VUSL_de-DE.dll, null, 2",
                                                 "en-US.dll, null, 2", "VUSL_en-US.dll, null, 2"}));
}

TEST_F(SysExceptionTest, throwsWhenTheSystemsTextCannotBeNarrowed) {
  SysException exception = withLastError(5);
  faults().failOnce("wcstombs_s", 42);
  const LogRecorder log;
  EXPECT_EQ(thrownBy<Exception>([&] { exception.errorText(); }), "Function returned error: %s:42");
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"[DBG] [TPM] What error: 42"}));
}

TEST_F(SysExceptionTest, throwsWhenTheSecondNarrowingFails) {
  SysException exception = withLastError(5);
  faults().failOnce("wcstombs_s", 22, 2);
  EXPECT_EQ(thrownBy<Exception>([&] { exception.errorText(); }), "Function returned error: %s:22");
}

TEST_F(SysExceptionTest, hasItsTextsBehindWhat) {
  EXPECT_EQ(slotOf(&SysException::what), 2U);
  EXPECT_EQ(slotOf(&SysException::errorText), 3U);
  EXPECT_EQ(slotOf(&SysException::errorTextCStr), 4U);
}

TEST_F(SysExceptionTest, givesTheSameTextAtEachCall) {
  SetLastError(5);
  SysException exception("X");
  const std::string* const first = &exception.errorText();
  EXPECT_EQ(&exception.errorText(), first);
  EXPECT_EQ(*first, "X:Access is denied.\r\n");
}

TEST_F(SysExceptionTest, asksForTheCStringThroughTheSlotOfTheText) {
  struct Told : SysException {
    const std::string& errorText() override { return text; }
    std::string text = "told";
  } exception;
  EXPECT_STREQ(exception.errorTextCStr(), "told");
}

TEST_F(SysExceptionTest, keepsItsTextInACopy) {
  SysException exception("X");
  exception << "a";
  EXPECT_STREQ(SysException(exception).what(), "X:a");
}

TEST_F(SysExceptionTest, endsInTheHexadecimalErrorWhenTheSystemHasNoText) {
  installLibrary(L"VUSL_en-US.dll", u"Unknown error ");
  host::machine().errorTexts[0x80070005] = L"";
  SysException exception = withLastError(0x80070005);
  EXPECT_EQ(exception.errorText(), "Unknown error 0x80070005");
}

TEST_F(SysExceptionTest, hasNoLeadingZerosInTheHexadecimalError) {
  installLibrary(L"en-US.dll", u"Unknown error ");
  SetLastError(0xABC);
  SysException exception("X");
  EXPECT_EQ(exception.errorText(), "X:Unknown error 0xabc");
}

TEST_F(SysExceptionTest, readsTheResourceIntoABufferOf2048Characters) {
  installLibrary(L"en-US.dll", u"Unknown error ");
  SysException exception = withLastError(kUnknownError);
  exception.errorText();
  const auto calls = journal().calls("LoadStringW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_NE(calls[0].args.find(", 101, 2048"), std::string::npos) << calls[0].args;
}

TEST_F(SysExceptionTest, takesTheResourceInTheUsersLanguageInItsNarrowForm) {
  installLibrary(L"en-US.dll", u"Unknown error ");
  installLibrary(L"VUSL_pl-PL.dll", u"Nieznany b\u0142\u0105d ");
  host::machine().userLanguage = 0x0415;
  SysException exception = withLastError(kUnknownError);
  EXPECT_EQ(exception.errorText(), "Nieznany b??d 0xe0000001");
}

TEST_F(SysExceptionTest, throwsAtASystemTextWithACharacterThatTheRuntimeCannotNarrow) {
  host::machine().errorTexts[5] = L"Odmowa dost\u0119pu.\r\n";
  SysException exception = withLastError(5);
  EXPECT_EQ(thrownBy<Exception>([&] { exception.errorText(); }), "Function returned error: %s:42");
}

TEST_F(SysExceptionTest, releasesTheSystemsBufferAlsoWhenItsTextCannotBeNarrowed) {
  SysException exception = withLastError(5);
  faults().failOnce("wcstombs_s", 42);
  EXPECT_THROW(exception.errorText(), Exception);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

}  // namespace
