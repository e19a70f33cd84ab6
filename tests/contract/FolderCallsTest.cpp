// Files by name: deleting, moving, searching; the times of files.

#include <string>
#include <utility>

#include "tests/contract/Contract.h"

namespace {

using contract::pathOf;

std::pair<BOOL, DWORD> withLastError(BOOL result) {
  return {result, GetLastError()};
}

// The names that a search gives, separated by blanks; with the last error if it fails.
std::wstring names(const std::wstring& pattern) {
  WIN32_FIND_DATAW data;
  const HANDLE search = FindFirstFileW(pathOf(pattern).c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) {
    return L"error " + std::to_wstring(GetLastError());
  }
  std::wstring all = data.cFileName;
  while (FindNextFileW(search, &data)) {
    all += std::wstring(L" ") + data.cFileName;
  }
  EXPECT_EQ(GetLastError(), 18U);
  EXPECT_TRUE(FindClose(search));
  return all;
}

TEST(DeleteFileW, TakesAFileWhateverTheCaseOfItsName) {
  contract::putFile(L"File", "text");
  EXPECT_TRUE(DeleteFileW(pathOf(L"FILE").c_str()));
  EXPECT_EQ(contract::contentOf(L"File"), std::nullopt);
}

TEST(DeleteFileW, OfAMissingFileFailsWith2AndInAMissingFolderWith3) {
  EXPECT_EQ(withLastError(DeleteFileW(pathOf(L"none").c_str())), std::pair(FALSE, DWORD{2}));
  EXPECT_EQ(withLastError(DeleteFileW(pathOf(L"none\\none").c_str())), std::pair(FALSE, DWORD{3}));
}

TEST(DeleteFileW, OfAFolderFailsWith5) {
  contract::putFolder(L"folder");
  EXPECT_EQ(withLastError(DeleteFileW(pathOf(L"folder").c_str())), std::pair(FALSE, DWORD{5}));
}

TEST(DeleteFileW, OfAnOpenFileFailsWith32) {
  contract::putFile(L"file", "text");
  const HANDLE file = CreateFileW(pathOf(L"file").c_str(), GENERIC_READ, 3, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_EQ(withLastError(DeleteFileW(pathOf(L"file").c_str())), std::pair(FALSE, DWORD{32}));
  CloseHandle(file);
}

BOOL move(const std::wstring& from, const std::wstring& to) {
  return MoveFileW(pathOf(from).c_str(), pathOf(to).c_str());
}

TEST(MoveFileW, GivesAFileAnotherName) {
  contract::putFile(L"a", "a");
  EXPECT_TRUE(move(L"a", L"b"));
  EXPECT_EQ(contract::contentOf(L"b"), "a");
  EXPECT_EQ(contract::contentOf(L"a"), std::nullopt);
}

TEST(MoveFileW, OntoAnExistingFileFailsWith183) {
  contract::putFile(L"a", "a");
  contract::putFile(L"b", "b");
  EXPECT_EQ(withLastError(move(L"a", L"B")), std::pair(FALSE, DWORD{183}));
  EXPECT_EQ(contract::contentOf(L"b"), "b");
}

TEST(MoveFileW, OfAMissingFileFailsWith2) {
  EXPECT_EQ(withLastError(move(L"none", L"b")), std::pair(FALSE, DWORD{2}));
}

TEST(MoveFileW, IntoAMissingFolderFailsWith3) {
  contract::putFile(L"a", "a");
  EXPECT_EQ(withLastError(move(L"a", L"none\\a")), std::pair(FALSE, DWORD{3}));
  EXPECT_EQ(contract::contentOf(L"a"), "a");
}

TEST(MoveFileW, CanChangeTheCaseOfAName) {
  contract::putFile(L"name", "a");
  EXPECT_TRUE(move(L"name", L"NAME"));
  EXPECT_EQ(names(L"name"),
            contract::butUnderWine<std::wstring>(L"NAME", L"name",
                                                 "Wine leaves a file alone that would only change "
                                                 "its case"));
}

TEST(MoveFileW, OfAnOpenFileFailsWith32) {
  contract::putFile(L"a", "a");
  const HANDLE file = CreateFileW(pathOf(L"a").c_str(), GENERIC_READ, 3, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_EQ(withLastError(move(L"a", L"b")), std::pair(FALSE, DWORD{32}));
  CloseHandle(file);
}

TEST(FindFirstFileW, FindsANameWhateverItsCase) {
  contract::putFile(L"Note.txt", "text");
  EXPECT_EQ(names(L"nOTE.TXT"), L"Note.txt");
}

TEST(FindFirstFileW, FailsWith2WhereNothingFits) {
  EXPECT_EQ(names(L"none"), L"error 2");
  EXPECT_EQ(names(L"none*"), L"error 2");
}

TEST(FindFirstFileW, FailsWith3InAMissingFolder) {
  EXPECT_EQ(names(L"none\\*"), L"error 3");
}

TEST(FindFirstFileW, FailsWith2OfATrailingSeparator) {
  contract::putFolder(L"folder");
  EXPECT_EQ(names(L"folder\\"), L"error 2");
}

TEST(FindFirstFileW, TellsAFolder) {
  contract::putFolder(L"folder");
  WIN32_FIND_DATAW data;
  FindClose(FindFirstFileW(pathOf(L"FOLDER").c_str(), &data));
  EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_STREQ(data.cFileName, L"folder");
}

TEST(FindFirstFileW, TellsSizeAndAttributesOfAFile) {
  contract::putFile(L"file", "12345");
  WIN32_FIND_DATAW data;
  FindClose(FindFirstFileW(pathOf(L"file").c_str(), &data));
  EXPECT_EQ(data.nFileSizeHigh, 0U);
  EXPECT_EQ(data.nFileSizeLow, 5U);
  EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_ARCHIVE);
}

TEST(FindNextFileW, GivesTheTwoDotsFirstAndThenNamesInOrder) {
  for (const wchar_t* name : {L"b", L"A", L"c"}) {
    contract::putFile(name, "");
  }
  EXPECT_EQ(names(L"*"), L". .. A b c");
  EXPECT_EQ(names(L"*.*"), L". .. A b c");
}

TEST(FindNextFileW, TakesAStarForAnyEnd) {
  for (const wchar_t* name : {L"x.log", L"x.log.20260102030405", L"x.logbook", L"y.log"}) {
    contract::putFile(name, "");
  }
  EXPECT_EQ(names(L"X.LOG*"), L"x.log x.log.20260102030405 x.logbook");
}

TEST(FindNextFileW, TakesAQuestionMarkForOneCharacterAndForNoneAtTheEnd) {
  for (const wchar_t* name : {L"a", L"ab", L"abc"}) {
    contract::putFile(name, "");
  }
  EXPECT_EQ(names(L"a?"), contract::butUnderWine<std::wstring>(
                              L"a ab", L"ab", "Wine takes it for one character everywhere"));
}

TEST(FindNextFileW, TakesADotBeforeAStarForTheEndToo) {
  for (const wchar_t* name : {L"x", L"x.log", L"xy"}) {
    contract::putFile(name, "");
  }
  EXPECT_EQ(names(L"x.*"), L"x x.log");
}

TEST(FindNextFileW, OfWhatIsNoSearchFailsWith6) {
  WIN32_FIND_DATAW data;
  EXPECT_EQ(withLastError(FindNextFileW(INVALID_HANDLE_VALUE, &data)), std::pair(FALSE, DWORD{6}));
}

TEST(FindClose, OfWhatIsNoSearchFailsWith6) {
  EXPECT_EQ(withLastError(FindClose(INVALID_HANDLE_VALUE)), std::pair(FALSE, DWORD{6}));
}

TEST(GetFileTime, GivesThreeTimesThatAreNotLaterThanNow) {
  contract::putFile(L"file", "text");
  const HANDLE file = CreateFileW(pathOf(L"file").c_str(), GENERIC_READ, 3, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  FILETIME made;
  FILETIME read;
  FILETIME written;
  ASSERT_TRUE(GetFileTime(file, &made, &read, &written));
  SYSTEMTIME universal;
  ASSERT_TRUE(FileTimeToSystemTime(&written, &universal));
  SYSTEMTIME now;
  GetLocalTime(&now);
  EXPECT_GE(universal.wYear, now.wYear - 1);
  EXPECT_LE(universal.wYear, now.wYear + 1);
  CloseHandle(file);
}

TEST(GetFileTime, OfWhatIsNoFileFailsWith6) {
  FILETIME time;
  EXPECT_EQ(withLastError(GetFileTime(nullptr, nullptr, nullptr, &time)),
            std::pair(FALSE, DWORD{6}));
}

TEST(FileTimeToSystemTime, BeginsWithTheYear1601) {
  const FILETIME first{0, 0};
  SYSTEMTIME time;
  ASSERT_TRUE(FileTimeToSystemTime(&first, &time));
  EXPECT_EQ(time.wYear, 1601);
  EXPECT_EQ(time.wMonth, 1);
  EXPECT_EQ(time.wDay, 1);
  EXPECT_EQ(time.wDayOfWeek, 1);
}

TEST(FileTimeToSystemTime, CountsTenMillionthsOfASecond) {
  // 2026-02-28 23:59:58.007
  const FILETIME stored{0x57B02470, 0x01DCA90E};
  SYSTEMTIME time;
  ASSERT_TRUE(FileTimeToSystemTime(&stored, &time));
  EXPECT_EQ(time.wYear, 2026);
  EXPECT_EQ(time.wMonth, 2);
  EXPECT_EQ(time.wDay, 28);
  EXPECT_EQ(time.wHour, 23);
  EXPECT_EQ(time.wMinute, 59);
  EXPECT_EQ(time.wSecond, 58);
  EXPECT_EQ(time.wMilliseconds, 7);
}

TEST(FileTimeToSystemTime, BeyondTheCalendarFailsWith87) {
  const FILETIME beyond{0, 0x80000000};
  SYSTEMTIME time;
  EXPECT_EQ(withLastError(FileTimeToSystemTime(&beyond, &time)), std::pair(FALSE, DWORD{87}));
}

TEST(SystemTimeToTzSpecificLocalTime, IsTheSameTimeWhereTheZoneIsThatOfUtc) {
  SYSTEMTIME universal{};
  universal.wYear = 2026;
  universal.wMonth = 2;
  universal.wDay = 28;
  universal.wHour = 23;
  universal.wMinute = 59;
  SYSTEMTIME local{};
  ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local));
  EXPECT_EQ(local.wDay, 28);
  EXPECT_EQ(local.wHour, 23);
  EXPECT_EQ(local.wMinute, 59);
}

}  // namespace
