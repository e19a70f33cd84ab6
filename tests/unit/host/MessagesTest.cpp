// The system's message table.

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/MachineTest.h"

namespace {

constexpr DWORD kAllocateFromSystem = 0x1300;

class MessagesTest : public host::MachineTest {
 protected:
  static std::wstring message(DWORD id, DWORD language = 0x400) {
    LPWSTR text = nullptr;
    const DWORD length = FormatMessageW(kAllocateFromSystem, nullptr, id, language,
                                        reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    const std::wstring result(text == nullptr ? L"" : text);
    EXPECT_EQ(result.size(), length);
    LocalFree(text);
    return result;
  }
};

TEST_F(MessagesTest, TheTextsOfTheSystem) {
  EXPECT_EQ(message(2), L"The system cannot find the file specified.\r\n");
  EXPECT_EQ(message(3), L"The system cannot find the path specified.\r\n");
  EXPECT_EQ(message(5), L"Access is denied.\r\n");
  EXPECT_EQ(message(6), L"The handle is invalid.\r\n");
  EXPECT_EQ(message(126), L"The specified module could not be found.\r\n");
  EXPECT_EQ(message(127), L"The specified procedure could not be found.\r\n");
  EXPECT_EQ(message(183), L"Cannot create a file when that file already exists.\r\n");
  EXPECT_EQ(message(234), L"More data is available.\r\n");
  EXPECT_EQ(message(1060), L"The specified service does not exist as an installed service.\r\n");
  EXPECT_EQ(message(1063), L"The service process could not connect to the service controller.\r\n");
  EXPECT_EQ(message(1300),
            L"Not all privileges or groups referenced are assigned to the caller.\r\n");
  EXPECT_EQ(message(1313), L"A specified privilege does not exist.\r\n");
}

TEST_F(MessagesTest, TheNeutralAndTheUsersLanguageGiveTheSameText) {
  EXPECT_EQ(message(5, 0), L"Access is denied.\r\n");
  EXPECT_EQ(message(5, 0x409), L"Access is denied.\r\n");
}

TEST_F(MessagesTest, ALanguageThatIsNotInstalledFailsWith1815) {
  EXPECT_EQ(message(5, 0x407), L"");
  EXPECT_EQ(journal().calls("FormatMessageW").at(0).lastError, 1815U);
}

TEST_F(MessagesTest, AnUnknownCodeGivesNothingAnd317) {
  EXPECT_EQ(message(12345), L"");
  EXPECT_EQ(journal().calls("FormatMessageW").at(0).lastError, 317U);
}

TEST_F(MessagesTest, AWrappedErrorHasTheErrorsText) {
  EXPECT_EQ(message(0x80070005), L"Access is denied.\r\n");
}

TEST_F(MessagesTest, AFaultGivesANullBuffer) {
  faults().failOnce("FormatMessageW", 8);
  auto* text = const_cast<LPWSTR>(L"before");
  EXPECT_EQ(FormatMessageW(kAllocateFromSystem, nullptr, 5, 0, reinterpret_cast<LPWSTR>(&text), 0,
                           nullptr),
            0U);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(host::lastError(), 8U);
}

TEST_F(MessagesTest, TheBufferIsFreedWithEitherCall) {
  for (const bool local : {true, false}) {
    LPWSTR text = nullptr;
    FormatMessageW(kAllocateFromSystem, nullptr, 5, 0, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    EXPECT_EQ(ledger().open("allocation"), 1U);
    if (local) {
      EXPECT_EQ(LocalFree(text), nullptr);
    } else {
      EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, text));
    }
    EXPECT_EQ(ledger().open("allocation"), 0U);
  }
}

TEST_F(MessagesTest, ACallersBufferMustHaveRoomForTheTerminator) {
  wchar_t buffer[20];
  EXPECT_EQ(FormatMessageW(0x1200, nullptr, 5, 0, buffer, 19, nullptr), 0U);
  EXPECT_EQ(host::lastError(), 122U);
  EXPECT_EQ(FormatMessageW(0x1200, nullptr, 5, 0, buffer, 20, nullptr), 19U);
  EXPECT_STREQ(buffer, L"Access is denied.\r\n");
}

TEST_F(MessagesTest, ATextOfTheMachineStandsAsItIsAndBeforeTheTable) {
  host::machine().errorTexts = {{5, L"own"}, {0x80070006, L"wrapped\r\n"}};
  EXPECT_EQ(message(5), L"own");
  EXPECT_EQ(message(0x80070006), L"wrapped\r\n");
  EXPECT_EQ(message(6), L"The handle is invalid.\r\n");
}

TEST_F(MessagesTest, SpeaksTheLanguageOfTheUser) {
  const std::map<LANGID, std::wstring> expected = {
      {0x0409, L"The system cannot find the file specified.\r\n"},
      {0x0C0A, L"El sistema no puede encontrar el archivo especificado.\r\n"},
      {0x0416, L"O sistema não pode encontrar o arquivo especificado.\r\n"},
      {0x080A, L"El sistema no puede encontrar el archivo especificado.\r\n"},
      {0x0407, L"Das System kann die angegebene Datei nicht finden.\r\n"},
      {0x0415, L"Nie można odnaleźć określonego pliku.\r\n"},
  };
  for (const auto& [user, text] : expected) {
    host::machine().userLanguage = user;
    EXPECT_EQ(message(2), text) << user;
    EXPECT_EQ(message(2, 0), text) << user;
    EXPECT_EQ(message(2, user), text) << user;
  }
}

TEST_F(MessagesTest, HasEachTextInEachLanguage) {
  const std::vector<LANGID> users = {0x0409, 0x0C0A, 0x0416, 0x080A, 0x0407, 0x0415};
  for (const DWORD id : {2U, 3U, 5U, 6U, 126U, 127U, 183U, 234U, 1060U, 1063U, 1300U, 1313U}) {
    std::set<std::wstring> texts;
    for (const LANGID user : users) {
      host::machine().userLanguage = user;
      const std::wstring text = message(id);
      ASSERT_GT(text.size(), 2U) << id;
      EXPECT_EQ(text.substr(text.size() - 2), L"\r\n") << id;
      texts.insert(text);
    }
    // Both Spanish editions have the same texts.
    EXPECT_EQ(texts.size(), 5U) << id;
  }
}

TEST_F(MessagesTest, SpeaksARelatedLanguageOrEnglishToOtherUsers) {
  host::machine().userLanguage = 0x0C07;
  EXPECT_EQ(message(5), L"Zugriff verweigert\r\n");
  host::machine().userLanguage = 0x0816;
  EXPECT_EQ(message(5), L"Acesso negado.\r\n");
  host::machine().userLanguage = 0x0410;
  EXPECT_EQ(message(5), L"Access is denied.\r\n");
}

TEST_F(MessagesTest, TheSystemItselfIsEnglish) {
  host::machine().userLanguage = 0x0407;
  EXPECT_EQ(message(5, 0x800), L"Access is denied.\r\n");
  EXPECT_EQ(message(5, 0x409), L"Access is denied.\r\n");
  EXPECT_EQ(message(5, 0x415), L"");
  EXPECT_EQ(journal().calls("FormatMessageW").back().lastError, 1815U);
}

TEST_F(MessagesTest, AnInsertThatIsNotIgnoredNeedsAnArgument) {
  wchar_t buffer[80];
  EXPECT_EQ(FormatMessageW(0x1000, nullptr, 193, 0, buffer, 80, nullptr), 0U);
  EXPECT_EQ(host::lastError(), 87U);
  EXPECT_EQ(FormatMessageW(0x1000, nullptr, 5, 0, buffer, 80, nullptr), 19U);
  EXPECT_EQ(message(193), L"%1 is not a valid Win32 application.\r\n");
}

TEST_F(MessagesTest, TheWidestLineHasABlankForALineEnd) {
  wchar_t buffer[80];
  EXPECT_EQ(FormatMessageW(0x12FF, nullptr, 5, 0, buffer, 80, nullptr), 18U);
  EXPECT_STREQ(buffer, L"Access is denied. ");
}

TEST_F(MessagesTest, FlagsThatTheModelDoesNotKnowAreRefused) {
  wchar_t buffer[80];
  for (const DWORD flags : {0x0U, 0x400U, 0x800U, 0x1400U, 0x3000U}) {
    EXPECT_EQ(FormatMessageW(flags, L"x", 5, 0, buffer, 80, nullptr), 0U) << flags;
    EXPECT_EQ(host::lastError(), 87U) << flags;
  }
}

TEST_F(MessagesTest, ANullBufferIsRefused) {
  EXPECT_EQ(FormatMessageW(kAllocateFromSystem, nullptr, 5, 0, nullptr, 0, nullptr), 0U);
  EXPECT_EQ(host::lastError(), 87U);
}

TEST_F(MessagesTest, WithNoMemoryThereIsNoBuffer) {
  LPWSTR text = nullptr;
  faults().failOnce("calloc", 12);
  EXPECT_EQ(FormatMessageW(kAllocateFromSystem, nullptr, 5, 0, reinterpret_cast<LPWSTR>(&text), 0,
                           nullptr),
            0U);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(host::lastError(), 8U);
}

TEST_F(MessagesTest, ABufferThatIsFreedTwiceIsAViolation) {
  LPWSTR text = nullptr;
  FormatMessageW(kAllocateFromSystem, nullptr, 5, 0, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
  EXPECT_EQ(LocalFree(text), nullptr);
  EXPECT_EQ(LocalFree(text), text);
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_FALSE(HeapFree(GetProcessHeap(), 0, text));
  EXPECT_EQ(ledger().violations().size(), 2U);
}

}  // namespace
