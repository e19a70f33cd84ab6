// Last errors, the heap, versions, clocks, code pages and debug output.

#include <cstring>

#include "tests/support/MachineTest.h"

namespace {

class SystemTest : public host::MachineTest {
 protected:
  static bool atLeast(DWORD major, DWORD minor, DWORD build, BYTE condition = VER_GREATER_EQUAL) {
    OSVERSIONINFOEXW version{};
    version.dwOSVersionInfoSize = sizeof version;
    version.dwMajorVersion = major;
    version.dwMinorVersion = minor;
    version.dwBuildNumber = build;
    ULONGLONG mask = 0;
    for (const DWORD type : {VER_MAJORVERSION, VER_MINORVERSION, VER_BUILDNUMBER}) {
      mask = VerSetConditionMask(mask, type, condition);
    }
    return VerifyVersionInfoW(&version, VER_MAJORVERSION | VER_MINORVERSION | VER_BUILDNUMBER,
                              mask) != FALSE;
  }

  static std::wstring widened(const char* text, int length, int size) {
    std::wstring buffer(static_cast<std::size_t>(size), L'-');
    const int written = MultiByteToWideChar(CP_UTF8, 0, text, length, buffer.data(), size);
    return buffer.substr(0, static_cast<std::size_t>(written));
  }
};

TEST_F(SystemTest, TheLastErrorIsKept) {
  SetLastError(1234);
  EXPECT_EQ(GetLastError(), 1234U);
  EXPECT_EQ(journal().calls("GetLastError").at(0).result, "1234");
}

TEST_F(SystemTest, EachThreadHasItsOwnLastError) {
  SetLastError(1234);
  DWORD other = 99;
  host::TestThread thread([&] {
    other = GetLastError();
    SetLastError(5);
  });
  thread.join();
  EXPECT_EQ(other, 0U);
  EXPECT_EQ(GetLastError(), 1234U);
}

TEST_F(SystemTest, ABlockIsAccountedUntilItIsFreed) {
  void* block = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, 16);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(static_cast<char*>(block), 16), std::string(16, '\0'));
  EXPECT_EQ(ledger().open("allocation"), 1U);
  EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, block));
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(SystemTest, WithoutTheFlagABlockIsNotZero) {
  auto* block = static_cast<BYTE*>(HeapAlloc(GetProcessHeap(), 0, 4));
  EXPECT_NE(block[0], 0);
  HeapFree(GetProcessHeap(), 0, block);
}

TEST_F(SystemTest, ASecondFreeFailsWith87AndSurvives) {
  void* block = HeapAlloc(GetProcessHeap(), 0, 16);
  HeapFree(GetProcessHeap(), 0, block);
  EXPECT_FALSE(HeapFree(GetProcessHeap(), 0, block));
  EXPECT_EQ(host::lastError(), 87U);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(SystemTest, FreeingNullDoesNothing) {
  EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, nullptr));
  EXPECT_EQ(LocalFree(nullptr), nullptr);
  EXPECT_TRUE(ledger().violations().empty());
}

TEST_F(SystemTest, LocalFreeGivesBackABlockOfTheHeap) {
  void* block = HeapAlloc(GetProcessHeap(), 0, 16);
  EXPECT_EQ(LocalFree(block), nullptr);
  EXPECT_EQ(LocalFree(block), block) << "the second time it fails and returns the block";
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(SystemTest, AnotherHeapIsRefused) {
  EXPECT_EQ(HeapAlloc(nullptr, 0, 16), nullptr);
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(SystemTest, TheVersionIsComparedMajorFirst) {
  host::machine().version = {10, 0, 19045};
  EXPECT_TRUE(atLeast(10, 0, 0));
  EXPECT_TRUE(atLeast(6, 3, 0)) << "a greater major number outweighs the minor one";
  EXPECT_FALSE(atLeast(10, 1, 0));
  EXPECT_EQ(host::lastError(), 1150U);
  EXPECT_FALSE(atLeast(11, 0, 0));
  EXPECT_EQ(host::lastError(), 1150U);
}

TEST_F(SystemTest, TheBuildStandsForItself) {
  host::machine().version = {10, 0, 19045};
  EXPECT_TRUE(atLeast(10, 0, 19045));
  EXPECT_FALSE(atLeast(10, 0, 19046));
  EXPECT_FALSE(atLeast(6, 3, 99999)) << "a greater major number does not outweigh the build";
}

TEST_F(SystemTest, AnOlderSystemIsNotAtLeastTen) {
  host::machine().version = {6, 3, 9600};
  EXPECT_FALSE(atLeast(10, 0, 0));
  EXPECT_EQ(host::lastError(), 1150U);
}

TEST_F(SystemTest, VersionsCanBeComparedForEquality) {
  host::machine().version = {10, 0, 19045};
  EXPECT_TRUE(atLeast(10, 0, 19045, VER_EQUAL));
  EXPECT_FALSE(atLeast(10, 1, 19045, VER_EQUAL));
  EXPECT_FALSE(atLeast(10, 0, 19045, VER_GREATER));
}

TEST_F(SystemTest, ConditionsHaveThreeBitsEach) {
  EXPECT_EQ(VerSetConditionMask(0, VER_MINORVERSION, VER_GREATER_EQUAL), 3U);
  EXPECT_EQ(VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL), 3U << 3U);
  EXPECT_EQ(VerSetConditionMask(1, VER_BUILDNUMBER, VER_GREATER), (2U << 6U) + 1U);
}

TEST_F(SystemTest, AVersionWithoutTypesOrConditionsFailsWith160) {
  OSVERSIONINFOEXW version{};
  EXPECT_FALSE(VerifyVersionInfoW(&version, 0, 3));
  EXPECT_EQ(host::lastError(), 160U);
  host::setLastError(0);
  EXPECT_FALSE(VerifyVersionInfoW(&version, VER_MAJORVERSION, 0));
  EXPECT_EQ(host::lastError(), 160U);
}

TEST_F(SystemTest, Utf8IsWidened) {
  EXPECT_EQ(widened("a\xC5\x82z", 4, 10), L"a\u0142z");
  EXPECT_EQ(widened("ab", -1, 10), std::wstring(L"ab\0", 3));
}

TEST_F(SystemTest, TheSizeCanBeAskedForFirst) {
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "a\xC5\x82z", -1, nullptr, 0), 4);
}

TEST_F(SystemTest, ABufferTooSmallFailsWith122) {
  wchar_t buffer[2];
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", 3, buffer, 2), 0);
  EXPECT_EQ(host::lastError(), 122U);
}

TEST_F(SystemTest, NothingToWidenFailsWith87) {
  wchar_t buffer[2];
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "", 0, buffer, 2), 0);
  EXPECT_EQ(host::lastError(), 87U);
}

TEST_F(SystemTest, IllFormedBytesAreReplacedOrRefused) {
  EXPECT_EQ(widened("a\xFF", 2, 10), L"a\uFFFD");
  wchar_t buffer[4];
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 8, "a\xFF", 2, buffer, 4), 0);
  EXPECT_EQ(host::lastError(), 1113U);
}

TEST_F(SystemTest, TheUsersLanguageIsTheMachines) {
  EXPECT_EQ(GetUserDefaultLangID(), 0x0409);
  host::machine().userLanguage = 0x0407;
  EXPECT_EQ(GetUserDefaultLangID(), 0x0407);
}

}  // namespace
