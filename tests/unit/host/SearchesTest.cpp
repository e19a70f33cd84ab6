// Searches for files, and the times of files.

#include "tests/support/MachineTest.h"

namespace {

class SearchesTest : public host::MachineTest {
 protected:
  SearchesTest() { host::machine().drive.createFolder(L"C:\\data"); }

  static void make(const std::wstring& name) {
    host::machine().drive.write(L"C:\\data\\" + name, "text");
  }

  // The names that a search gives, separated by blanks; with the last error in front if it fails.
  static std::wstring names(const wchar_t* pattern) {
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(pattern, &data);
    if (search == INVALID_HANDLE_VALUE) {
      return L"error " + std::to_wstring(host::lastError());
    }
    std::wstring all = data.cFileName;
    while (FindNextFileW(search, &data)) {
      all += std::wstring(L" ") + data.cFileName;
    }
    EXPECT_EQ(host::lastError(), 18U);
    EXPECT_TRUE(FindClose(search));
    return all;
  }
};

TEST_F(SearchesTest, AnExactNameIsFoundWithoutRegardToCase) {
  make(L"Note.txt");
  EXPECT_EQ(names(L"C:\\DATA\\nOTE.TXT"), L"Note.txt");
}

TEST_F(SearchesTest, NothingFoundFailsWith2) {
  EXPECT_EQ(names(L"C:\\data\\none"), L"error 2");
  EXPECT_EQ(names(L"C:\\data\\none*"), L"error 2");
}

TEST_F(SearchesTest, AMissingFolderFailsWith3) {
  EXPECT_EQ(names(L"C:\\none\\*"), L"error 3");
  EXPECT_EQ(names(L""), L"error 3");
}

TEST_F(SearchesTest, ATrailingSeparatorFailsWith2) {
  EXPECT_EQ(names(L"C:\\data\\"), L"error 2");
  EXPECT_EQ(names(L"C:\\"), L"error 2");
}

TEST_F(SearchesTest, AStarFindsEverythingInOrderAndTheTwoDotsFirst) {
  make(L"b");
  make(L"A");
  make(L"c");
  EXPECT_EQ(names(L"C:\\data\\*"), L". .. A b c");
  EXPECT_EQ(names(L"C:\\data\\*.*"), L". .. A b c");
}

TEST_F(SearchesTest, TheRootHasNoDots) {
  EXPECT_EQ(names(L"C:\\*"), L"data Program Files Windows");
}

TEST_F(SearchesTest, AStarStandsForAnyEnd) {
  make(L"x.log");
  make(L"x.log.20260102030405");
  make(L"x.logbook");
  make(L"y.log");
  EXPECT_EQ(names(L"C:\\data\\X.LOG*"), L"x.log x.log.20260102030405 x.logbook");
}

TEST_F(SearchesTest, AQuestionMarkStandsForOneCharacterAndForNoneAtTheEnd) {
  make(L"a");
  make(L"ab");
  make(L"abc");
  EXPECT_EQ(names(L"C:\\data\\a?"), L"a ab");
  EXPECT_EQ(names(L"C:\\data\\?b?"), L"ab abc");
}

TEST_F(SearchesTest, ADotBeforeAStarStandsForTheEndToo) {
  make(L"x");
  make(L"x.log");
  make(L"xy");
  EXPECT_EQ(names(L"C:\\data\\x.*"), L"x x.log");
}

TEST_F(SearchesTest, ARelativePatternSearchesTheCurrentDirectory) {
  make(L"note.txt");
  host::machine().currentDirectory = L"C:\\data";
  EXPECT_EQ(names(L"note*"), L"note.txt");
}

TEST_F(SearchesTest, AFolderIsFoundAsAFolder) {
  WIN32_FIND_DATAW data;
  const HANDLE search = FindFirstFileW(L"C:\\DATA", &data);
  EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_STREQ(data.cFileName, L"data");
  FindClose(search);
}

TEST_F(SearchesTest, TheSizeHasTwoWords) {
  make(L"big");
  std::filesystem::resize_file(*host::machine().drive.locate(L"C:\\data\\big"), 0x100000002);
  WIN32_FIND_DATAW data;
  const HANDLE search = FindFirstFileW(L"C:\\data\\big", &data);
  EXPECT_EQ(data.nFileSizeHigh, 1U);
  EXPECT_EQ(data.nFileSizeLow, 2U);
  EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_ARCHIVE);
  FindClose(search);
}

TEST_F(SearchesTest, ASearchIsEndedByFindCloseAlone) {
  WIN32_FIND_DATAW data;
  const HANDLE search = FindFirstFileW(L"C:\\data", &data);
  EXPECT_EQ(ledger().open("find"), 1U);
  EXPECT_FALSE(CloseHandle(search));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(ledger().open("find"), 1U);
  EXPECT_EQ(ledger().violations().size(), 1U);
  EXPECT_TRUE(FindClose(search));
  EXPECT_EQ(ledger().open("find"), 0U);
}

TEST_F(SearchesTest, AnEndedSearchIsNotUsedAnyMore) {
  WIN32_FIND_DATAW data;
  const HANDLE search = FindFirstFileW(L"C:\\data", &data);
  FindClose(search);
  EXPECT_FALSE(FindNextFileW(search, &data));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_FALSE(FindClose(search));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_GE(ledger().violations().size(), 2U);
}

TEST_F(SearchesTest, FindCloseRefusesOtherHandles) {
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  EXPECT_FALSE(FindClose(event));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_TRUE(CloseHandle(event));
}

TEST_F(SearchesTest, FileTimesFollowTheMachinesClock) {
  host::machine().setLocalTime(2026, 2, 3, 4, 5, 6, 0);
  host::machine().minutesAheadOfUtc = 60;
  make(L"note.txt");
  const HANDLE file = CreateFileW(L"C:\\data\\note.txt", GENERIC_READ, 3, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  FILETIME written;
  ASSERT_TRUE(GetFileTime(file, nullptr, nullptr, &written));
  SYSTEMTIME universal;
  ASSERT_TRUE(FileTimeToSystemTime(&written, &universal));
  EXPECT_EQ(universal.wYear, 2026);
  EXPECT_EQ(universal.wMonth, 2);
  EXPECT_EQ(universal.wDay, 3);
  EXPECT_EQ(universal.wHour, 3);
  EXPECT_EQ(universal.wMinute, 5);
  EXPECT_EQ(universal.wSecond, 6);
  SYSTEMTIME local;
  ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local));
  EXPECT_EQ(local.wHour, 4);
  CloseHandle(file);
}

TEST_F(SearchesTest, AWriteMovesTheLastWriteTime) {
  make(L"note.txt");
  const HANDLE file = CreateFileW(L"C:\\data\\note.txt", GENERIC_WRITE, 3, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  FILETIME before;
  GetFileTime(file, nullptr, nullptr, &before);
  Sleep(5000);
  DWORD written = 0;
  WriteFile(file, "x", 1, &written, nullptr);
  FILETIME after;
  GetFileTime(file, nullptr, nullptr, &after);
  const DWORD steps = after.dwLowDateTime - before.dwLowDateTime;
  EXPECT_GE(steps, 50'000'000U);
  EXPECT_LT(steps, 51'000'000U);
  CloseHandle(file);
}

TEST_F(SearchesTest, TimesCanBeSet) {
  make(L"note.txt");
  host::machine().drive.setTimes(L"C:\\data\\note.txt", 12'000'000'000'001);
  WIN32_FIND_DATAW data;
  FindClose(FindFirstFileW(L"C:\\data\\note.txt", &data));
  const std::uint64_t steps = std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32U |
                              data.ftLastWriteTime.dwLowDateTime;
  EXPECT_EQ(steps, 120'000'000'000'010'000U);
}

TEST_F(SearchesTest, TheFirstFileTimeIsTheStartOf1601) {
  const FILETIME first{0, 0};
  SYSTEMTIME time;
  ASSERT_TRUE(FileTimeToSystemTime(&first, &time));
  EXPECT_EQ(time.wYear, 1601);
  EXPECT_EQ(time.wMonth, 1);
  EXPECT_EQ(time.wDay, 1);
  EXPECT_EQ(time.wDayOfWeek, 1);
}

TEST_F(SearchesTest, ATimeBeyondTheCalendarFailsWith87) {
  const FILETIME beyond{0, 0x80000000};
  SYSTEMTIME time;
  EXPECT_FALSE(FileTimeToSystemTime(&beyond, &time));
  EXPECT_EQ(host::lastError(), 87U);
}

TEST_F(SearchesTest, GetFileTimeRefusesWhatIsNoFile) {
  FILETIME time;
  EXPECT_FALSE(GetFileTime(nullptr, nullptr, nullptr, &time));
  EXPECT_EQ(host::lastError(), 6U);
}

}  // namespace
