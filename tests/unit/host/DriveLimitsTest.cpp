// What the machine's drive refuses: a full disk, denied access, files that are read-only; and the
// times of its files.

#include "platform/host/DriveLimits.h"

#include <string>

#include "platform/host/Drive.h"
#include "tests/support/MachineTest.h"

namespace {

constexpr DWORD kShareBoth = 3;
constexpr DWORD kAnyWriting = 0xC0000004;
constexpr wchar_t kNote[] = L"C:\\data\\note.txt";

std::uint64_t stepsOf(const FILETIME& time) {
  return std::uint64_t{time.dwHighDateTime} << 32U | time.dwLowDateTime;
}

class DriveLimitsTest : public host::MachineTest {
 protected:
  DriveLimitsTest() { host::machine().drive.createFolder(L"C:\\data"); }

  static HANDLE open(const wchar_t* name, DWORD access = kAnyWriting,
                     DWORD disposition = OPEN_ALWAYS) {
    return CreateFileW(name, access, kShareBoth, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
  }

  // What a write answers and how much it wrote: "1 4", or "0 0 error 112".
  static std::string write(HANDLE file, const std::string& text) {
    DWORD written = 77;
    const BOOL result =
        WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    return std::to_string(result) + " " + std::to_string(written) +
           (result == FALSE ? " error " + std::to_string(host::lastError()) : "");
  }

  static std::optional<std::string> content(const wchar_t* name = kNote) {
    return host::machine().drive.read(name);
  }
  static void make(const std::string& bytes) { host::machine().drive.write(kNote, bytes); }

  static WIN32_FIND_DATAW found(const wchar_t* name = kNote) {
    WIN32_FIND_DATAW data{};
    FindClose(FindFirstFileW(name, &data));
    return data;
  }
};

TEST_F(DriveLimitsTest, AWriteThatDoesNotFitFailsWith112AndWritesNothing) {
  const HANDLE file = open(kNote);
  host::driveLimits().freeBytes = 4;
  EXPECT_EQ(write(file, "12345"), "0 0 error 112");
  EXPECT_EQ(content(), "");
  EXPECT_EQ(write(file, "1234"), "1 4");
  EXPECT_EQ(write(file, "5"), "0 0 error 112");
  EXPECT_EQ(content(), "1234");
  CloseHandle(file);
}

TEST_F(DriveLimitsTest, AShortWriteSucceedsWithWhatFitsAndFailsWhenNothingDoes) {
  const HANDLE file = open(kNote);
  host::driveLimits().freeBytes = 4;
  host::driveLimits().shortWrites = true;
  EXPECT_EQ(write(file, "123456"), "1 4");
  EXPECT_EQ(write(file, "7"), "0 0 error 112");
  EXPECT_EQ(content(), "1234");
  CloseHandle(file);
}

TEST_F(DriveLimitsTest, OverwritingNeedsNoRoom) {
  make("abc");
  const HANDLE file = open(kNote);
  host::driveLimits().freeBytes = 1;
  EXPECT_EQ(write(file, "1234"), "1 4");
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  EXPECT_EQ(write(file, "5678"), "1 4");
  EXPECT_EQ(content(), "5678");
  CloseHandle(file);
}

TEST_F(DriveLimitsTest, WritingNothingNeedsNoRoom) {
  const HANDLE file = open(kNote);
  host::driveLimits().freeBytes = 0;
  EXPECT_EQ(write(file, ""), "1 0");
  CloseHandle(file);
}

TEST_F(DriveLimitsTest, DeletedAndEmptiedFilesGiveTheirRoomBack) {
  make("abc");
  host::machine().drive.write(L"C:\\data\\other.txt", "12345");
  host::driveLimits().freeBytes = 0;
  CloseHandle(open(kNote, kAnyWriting, CREATE_ALWAYS));
  EXPECT_EQ(host::driveLimits().freeBytes, 3U);
  EXPECT_TRUE(DeleteFileW(L"C:\\data\\other.txt"));
  EXPECT_EQ(host::driveLimits().freeBytes, 8U);
}

TEST_F(DriveLimitsTest, AFreshMachineHasRoomAndDeniesNothing) {
  host::driveLimits().freeBytes = 0;
  host::driveLimits().deny(L"C:\\data");
  host::resetMachine();
  host::machine().drive.createFolder(L"C:\\data");
  const HANDLE file = open(kNote);
  EXPECT_EQ(write(file, "1234"), "1 4");
  CloseHandle(file);
}

TEST_F(DriveLimitsTest, ADeniedFileIsNeitherOpenedDeletedNorMoved) {
  make("abc");
  host::driveLimits().deny(L"c:\\DATA\\Note.txt");
  EXPECT_EQ(open(kNote, GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 5U);
  EXPECT_FALSE(DeleteFileW(kNote));
  EXPECT_EQ(host::lastError(), 5U);
  EXPECT_FALSE(MoveFileW(kNote, L"C:\\data\\other.txt"));
  EXPECT_EQ(host::lastError(), 5U);
  EXPECT_EQ(found().nFileSizeLow, 3U);
  host::driveLimits().allow(kNote);
  EXPECT_TRUE(DeleteFileW(kNote));
}

TEST_F(DriveLimitsTest, ADeniedFolderIsNeitherSearchedNorFilled) {
  make("abc");
  host::driveLimits().deny(L"C:\\data");
  WIN32_FIND_DATAW data;
  EXPECT_EQ(FindFirstFileW(kNote, &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 5U);
  EXPECT_EQ(FindFirstFileW(L"C:\\data\\*", &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 5U);
  EXPECT_EQ(open(L"C:\\data\\new.txt"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 5U);
  EXPECT_FALSE(host::machine().drive.exists(L"C:\\data\\new.txt"));
}

TEST_F(DriveLimitsTest, AFolderOfALongerNameIsNotDeniedWithIt) {
  host::machine().drive.createFolder(L"C:\\data2");
  host::driveLimits().deny(L"C:\\data");
  const HANDLE file = open(L"C:\\data2\\x");
  EXPECT_NE(file, INVALID_HANDLE_VALUE);
  CloseHandle(file);
}

TEST_F(DriveLimitsTest, WhatHasNoPlaceIsNotDenied) {
  EXPECT_THROW(host::driveLimits().deny(L"C:\\none\\x"), host::DriveError);
}

TEST_F(DriveLimitsTest, AReadOnlyFileIsReadAndMovedAndNeitherWrittenNorDeleted) {
  make("abc");
  host::setReadOnly(host::machine().drive, kNote, true);
  EXPECT_EQ(open(kNote), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 5U);
  EXPECT_EQ(open(kNote, GENERIC_READ, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 5U);
  EXPECT_FALSE(DeleteFileW(kNote));
  EXPECT_EQ(host::lastError(), 5U);
  const HANDLE file = open(kNote, GENERIC_READ, OPEN_EXISTING);
  EXPECT_NE(file, INVALID_HANDLE_VALUE);
  CloseHandle(file);
  EXPECT_TRUE(MoveFileW(kNote, L"C:\\data\\moved.txt"));
  EXPECT_EQ(found(L"C:\\data\\moved.txt").dwFileAttributes, 0x21U);
  host::setReadOnly(host::machine().drive, L"C:\\data\\moved.txt", false);
  EXPECT_EQ(found(L"C:\\data\\moved.txt").dwFileAttributes, 0x20U);
  EXPECT_TRUE(DeleteFileW(L"C:\\data\\moved.txt"));
}

TEST_F(DriveLimitsTest, AFileThatIsMissingTakesNoAttribute) {
  EXPECT_THROW(host::setReadOnly(host::machine().drive, kNote, true), host::DriveError);
}

TEST_F(DriveLimitsTest, AWriteMovesTheTimeOfTheLastWriteAlone) {
  const HANDLE file = open(kNote);
  const WIN32_FIND_DATAW fresh = found();
  EXPECT_EQ(stepsOf(fresh.ftCreationTime), stepsOf(fresh.ftLastWriteTime));
  EXPECT_EQ(stepsOf(fresh.ftCreationTime), stepsOf(fresh.ftLastAccessTime));
  Sleep(5000);
  write(file, "text");
  const WIN32_FIND_DATAW written = found();
  EXPECT_EQ(stepsOf(written.ftCreationTime), stepsOf(fresh.ftCreationTime));
  EXPECT_GE(stepsOf(written.ftLastWriteTime), stepsOf(fresh.ftLastWriteTime) + 50'000'000U);
  FILETIME creation{};
  FILETIME access{};
  FILETIME write{};
  EXPECT_TRUE(GetFileTime(file, &creation, &access, &write));
  EXPECT_EQ(stepsOf(creation), stepsOf(written.ftCreationTime));
  EXPECT_EQ(stepsOf(access), stepsOf(written.ftLastAccessTime));
  EXPECT_EQ(stepsOf(write), stepsOf(written.ftLastWriteTime));
  CloseHandle(file);
}

TEST_F(DriveLimitsTest, ReadingAndMovingMoveNoTime) {
  make("abc");
  const WIN32_FIND_DATAW before = found();
  Sleep(5000);
  const HANDLE file = open(kNote, GENERIC_READ, OPEN_EXISTING);
  char byte = 0;
  DWORD got = 0;
  EXPECT_TRUE(ReadFile(file, &byte, 1, &got, nullptr));
  CloseHandle(file);
  EXPECT_EQ(content(), "abc");
  EXPECT_TRUE(MoveFileW(kNote, L"C:\\data\\moved.txt"));
  const WIN32_FIND_DATAW after = found(L"C:\\data\\moved.txt");
  EXPECT_EQ(stepsOf(after.ftCreationTime), stepsOf(before.ftCreationTime));
  EXPECT_EQ(stepsOf(after.ftLastAccessTime), stepsOf(before.ftLastAccessTime));
  EXPECT_EQ(stepsOf(after.ftLastWriteTime), stepsOf(before.ftLastWriteTime));
}

TEST_F(DriveLimitsTest, AnEmptiedFileKeepsTheTimeOfItsCreation) {
  make("abc");
  const WIN32_FIND_DATAW before = found();
  Sleep(5000);
  CloseHandle(open(kNote, kAnyWriting, CREATE_ALWAYS));
  EXPECT_EQ(stepsOf(found().ftCreationTime), stepsOf(before.ftCreationTime));
  EXPECT_GT(stepsOf(found().ftLastWriteTime), stepsOf(before.ftLastWriteTime));
}

}  // namespace
