// The heap, versions, texts of errors, the clock, languages, code pages, standard handles, debug
// output.

#include <cstring>
#include <string>
#include <vector>

#include "tests/contract/Contract.h"

namespace {

TEST(GetProcessHeap, IsTheSameEachTime) {
  EXPECT_NE(GetProcessHeap(), nullptr);
  EXPECT_EQ(GetProcessHeap(), GetProcessHeap());
}

TEST(HeapAlloc, GivesZerosWhenItIsToldTo) {
  void* const block = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, 16);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(static_cast<char*>(block), 16), std::string(16, '\0'));
  EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, block));
}

TEST(HeapFree, TakesNull) {
  EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, nullptr));
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(LocalFree, GivesNullWhenItSucceedsAndTakesNull) {
  EXPECT_EQ(LocalFree(nullptr), nullptr);
  LPWSTR text = nullptr;
  FormatMessageW(0x1300, nullptr, 5, 0, reinterpret_cast<LPWSTR>(&text), 0, nullptr);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(LocalFree(text), nullptr);
}

TEST(VerSetConditionMask, HasThreeBitsForEachPart) {
  EXPECT_EQ(VerSetConditionMask(0, VER_MINORVERSION, VER_GREATER_EQUAL) & 0xFFFF, 3U);
  EXPECT_EQ(VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL) & 0xFFFF, 3U << 3U);
  EXPECT_EQ(VerSetConditionMask(1, VER_BUILDNUMBER, VER_GREATER) & 0xFFFF, (2U << 6U) + 1U);
}

bool isAtLeast(DWORD major, DWORD minor, DWORD build) {
  OSVERSIONINFOEXW version{};
  version.dwOSVersionInfoSize = sizeof version;
  version.dwMajorVersion = major;
  version.dwMinorVersion = minor;
  version.dwBuildNumber = build;
  ULONGLONG mask = 0;
  for (const DWORD type :
       {DWORD{VER_MAJORVERSION}, DWORD{VER_MINORVERSION}, DWORD{VER_BUILDNUMBER}}) {
    mask = VerSetConditionMask(mask, type, VER_GREATER_EQUAL);
  }
  return VerifyVersionInfoW(&version, VER_MAJORVERSION | VER_MINORVERSION | VER_BUILDNUMBER,
                            mask) != FALSE;
}

TEST(VerifyVersionInfoW, ComparesTheMajorNumberFirst) {
  EXPECT_TRUE(isAtLeast(10, 0, 0));
  EXPECT_TRUE(isAtLeast(6, 3, 0)) << "a greater major number outweighs the minor one";
  EXPECT_FALSE(isAtLeast(10, 1, 0));
  EXPECT_EQ(GetLastError(), 1150U);
  SetLastError(contract::kUntouched);
  EXPECT_FALSE(isAtLeast(11, 0, 0));
  EXPECT_EQ(GetLastError(), 1150U);
}

TEST(VerifyVersionInfoW, ComparesTheBuildForItself) {
  EXPECT_FALSE(isAtLeast(6, 3, 99999)) << "a greater major number does not outweigh the build";
}

TEST(VerifyVersionInfoW, OfNothingOrWithoutConditionsFailsWith160) {
  OSVERSIONINFOEXW version{};
  version.dwOSVersionInfoSize = sizeof version;
  EXPECT_FALSE(VerifyVersionInfoW(&version, 0, 3));
  EXPECT_EQ(GetLastError(), 160U);
  SetLastError(contract::kUntouched);
  EXPECT_FALSE(VerifyVersionInfoW(&version, VER_MAJORVERSION, 0));
  EXPECT_EQ(GetLastError(), 160U);
}

constexpr DWORD kOfSystem = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
constexpr DWORD kOfSystemAllocated = kOfSystem | FORMAT_MESSAGE_ALLOCATE_BUFFER;

std::wstring messageOf(DWORD id, DWORD language = 0x400) {
  LPWSTR text = nullptr;
  const DWORD length = FormatMessageW(kOfSystemAllocated, nullptr, id, language,
                                      reinterpret_cast<LPWSTR>(&text), 0, nullptr);
  const std::wstring result(text == nullptr ? L"" : text);
  EXPECT_EQ(result.size(), length);
  if (text != nullptr) {
    LocalFree(text);
  }
  return result;
}

TEST(FormatMessageW, EndsEachTextWithALineEnd) {
  for (const DWORD id : {2U, 3U, 5U, 6U, 126U, 127U, 183U, 234U, 1060U, 1063U, 1300U, 1313U}) {
    const std::wstring text = messageOf(id);
    ASSERT_GT(text.size(), 2U) << id;
    EXPECT_EQ(text.substr(text.size() - 2), L"\r\n") << id;
  }
}

TEST(FormatMessageW, GivesTheSystemsWords) {
  constexpr char kReason[] = "Wine has words of its own";
  EXPECT_EQ(messageOf(5), contract::butUnderWine<std::wstring>(L"Access is denied.\r\n",
                                                               L"Access denied.\r\n", kReason));
  EXPECT_EQ(messageOf(2),
            contract::butUnderWine<std::wstring>(L"The system cannot find the file specified.\r\n",
                                                 L"File not found.\r\n", kReason));
}

TEST(FormatMessageW, GivesTheSameInTheNeutralLanguageAndTheUsers) {
  EXPECT_EQ(messageOf(6, 0), messageOf(6, 0x400));
  EXPECT_EQ(messageOf(6, 0x409), messageOf(6));
}

TEST(FormatMessageW, OfAnUnknownCodeGivesNothingAnd317) {
  LPWSTR text = nullptr;
  EXPECT_EQ(FormatMessageW(kOfSystemAllocated, nullptr, 12345678, 0,
                           reinterpret_cast<LPWSTR>(&text), 0, nullptr),
            0U);
  EXPECT_EQ(GetLastError(), 317U);
  EXPECT_EQ(text, nullptr);
}

TEST(FormatMessageW, OfAWrappedErrorGivesTheErrorsText) {
  EXPECT_EQ(messageOf(0x80070005), messageOf(5));
}

TEST(FormatMessageW, NeedsRoomForTheTerminatorInACallersBuffer) {
  wchar_t buffer[80];
  const DWORD length = FormatMessageW(kOfSystem, nullptr, 5, 0, buffer, 80, nullptr);
  ASSERT_GT(length, 2U);
  EXPECT_EQ(buffer[length], L'\0');
  EXPECT_EQ(FormatMessageW(kOfSystem, nullptr, 5, 0, buffer, length, nullptr), 0U);
  EXPECT_EQ(GetLastError(), 122U);
  EXPECT_EQ(FormatMessageW(kOfSystem, nullptr, 5, 0, buffer, length + 1, nullptr), length);
}

TEST(GetLocalTime, GivesADayOfTheCalendar) {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  EXPECT_GE(now.wYear, 2024);
  EXPECT_GE(now.wMonth, 1);
  EXPECT_LE(now.wMonth, 12);
  EXPECT_GE(now.wDay, 1);
  EXPECT_LE(now.wDay, 31);
  EXPECT_LE(now.wDayOfWeek, 6);
  EXPECT_LE(now.wHour, 23);
  EXPECT_LE(now.wMilliseconds, 999);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(GetUserDefaultLangID, IsEnglishForAnEnglishUser) {
  EXPECT_EQ(GetUserDefaultLangID(), 0x0409);
}

std::wstring widened(const char* text, int length, int size) {
  std::wstring buffer(static_cast<std::size_t>(size), L'-');
  const int written = MultiByteToWideChar(CP_UTF8, 0, text, length, buffer.data(), size);
  return buffer.substr(0, static_cast<std::size_t>(written));
}

TEST(MultiByteToWideChar, WidensUtf8) {
  EXPECT_EQ(widened("a\xC5\x82z", 4, 10), L"a\u0142z");
  EXPECT_EQ(widened("ab", -1, 10), std::wstring(L"ab\0", 3));
}

TEST(MultiByteToWideChar, TellsTheSizeWhenThereIsNoBuffer) {
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "a\xC5\x82z", -1, nullptr, 0), 4);
}

TEST(MultiByteToWideChar, IntoABufferTooSmallFailsWith122) {
  wchar_t buffer[2];
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", 3, buffer, 2), 0);
  EXPECT_EQ(GetLastError(), 122U);
}

TEST(MultiByteToWideChar, OfNothingFailsWith87) {
  wchar_t buffer[2];
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "", 0, buffer, 2), 0);
  EXPECT_EQ(GetLastError(), 87U);
}

TEST(MultiByteToWideChar, ReplacesIllFormedBytesOrRefusesThem) {
  constexpr DWORD kRefuse = 8;
  EXPECT_EQ(widened("a\xFF", 2, 10), L"a\uFFFD");
  wchar_t buffer[4];
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, kRefuse, "a\xFF", 2, buffer, 4), 0);
  EXPECT_EQ(GetLastError(), 1113U);
}

TEST(GetStdHandle, OfAnUnknownNumberIsInvalidAnd6) {
  EXPECT_EQ(GetStdHandle(7), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 6U);
}

TEST(GetStdHandle, OfARedirectedOutputGivesAHandle) {
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  EXPECT_NE(output, nullptr);
  EXPECT_NE(output, INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(GetConsoleMode, OfWhatIsNoConsoleFailsWith6AndLeavesTheMode) {
  const HANDLE file = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 5;
  EXPECT_FALSE(GetConsoleMode(file, &mode));
  EXPECT_EQ(GetLastError(), 6U);
  EXPECT_EQ(mode, 5U);
  SetLastError(contract::kUntouched);
  EXPECT_FALSE(GetConsoleMode(nullptr, &mode));
  EXPECT_EQ(GetLastError(), 6U);
}

TEST(SetConsoleMode, OfWhatIsNoConsoleFailsWith6) {
  EXPECT_FALSE(SetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), 0));
  EXPECT_EQ(GetLastError(), 6U);
}

using Lines = std::vector<std::wstring>;

TEST(OutputDebugStringW, ReachesTheListenerAndLeavesTheLastErrorAlone) {
  // Under Wine a process's first line leaves traces of its preparations.
  OutputDebugStringW(L"first");
  contract::setDebugListener(true);
  SetLastError(contract::kUntouched);
  OutputDebugStringW(L"line\r\n");
  EXPECT_EQ(GetLastError(), contract::kUntouched);
  contract::setDebugListener(false);
  EXPECT_EQ(contract::debugLinesHeard(), Lines{L"line\r\n"});
}

TEST(OutputDebugStringW, WithoutAListenerIsLostAndLeavesLastError2) {
  OutputDebugStringW(L"line");
  EXPECT_EQ(GetLastError(), 2U);
  EXPECT_EQ(contract::debugLinesHeard(), Lines{});
}

TEST(OutputDebugStringW, IsCutToTheListenersBuffer) {
  contract::setDebugListener(true);
  OutputDebugStringW(std::wstring(5000, L'x').c_str());
  contract::setDebugListener(false);
  EXPECT_EQ(contract::debugLinesHeard(), Lines{std::wstring(4091, L'x')});
}

}  // namespace
