// The system's message table.

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

}  // namespace
