// Files by handle: opening, reading, writing, positions.

#include <string>

#include "tests/contract/Contract.h"

namespace {

constexpr DWORD kShareBoth = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD kReadWriteAppend = GENERIC_READ | GENERIC_WRITE | FILE_APPEND_DATA;

HANDLE open(const std::wstring& name, DWORD access, DWORD disposition, DWORD share = kShareBoth) {
  SetLastError(contract::kUntouched);
  return CreateFileW(contract::pathOf(name).c_str(), access, share, nullptr, disposition,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE openNew(const std::wstring& name) {
  return open(name, kReadWriteAppend, OPEN_ALWAYS);
}

BOOL write(HANDLE file, const std::string& text) {
  DWORD written = 0;
  const BOOL result =
      WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  EXPECT_TRUE(result == FALSE || written == text.size());
  return result;
}

std::string read(HANDLE file, DWORD size) {
  std::string text(size, '\0');
  DWORD got = 0;
  EXPECT_TRUE(ReadFile(file, text.data(), size, &got, nullptr));
  text.resize(got);
  return text;
}

void expectRefused(HANDLE file, DWORD error) {
  EXPECT_EQ(GetLastError(), error);
  EXPECT_EQ(file, INVALID_HANDLE_VALUE);
}

TEST(CreateFileW, OfAMissingFileFailsWith2) {
  expectRefused(open(L"none", GENERIC_READ, OPEN_EXISTING), 2);
}

TEST(CreateFileW, InAMissingFolderFailsWith3) {
  expectRefused(open(L"none\\file", GENERIC_READ, OPEN_EXISTING), 3);
  expectRefused(open(L"none\\file", GENERIC_READ, OPEN_ALWAYS), 3);
}

TEST(CreateFileW, OpensAlwaysAnExistingFileAndLeaves183) {
  contract::putFile(L"old", "text");
  const HANDLE file = open(L"old", GENERIC_READ, OPEN_ALWAYS);
  EXPECT_EQ(GetLastError(), 183U);
  EXPECT_EQ(read(file, 10), "text");
  EXPECT_TRUE(CloseHandle(file));
}

TEST(CreateFileW, OpensAlwaysAMissingFileAndLeaves0) {
  const HANDLE file = open(L"new", GENERIC_READ, OPEN_ALWAYS);
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_NE(file, INVALID_HANDLE_VALUE);
  EXPECT_EQ(contract::contentOf(L"new"), "");
  EXPECT_TRUE(CloseHandle(file));
}

TEST(CreateFileW, CreatingAlwaysEmptiesAnExistingFile) {
  contract::putFile(L"old", "text");
  const HANDLE file = open(L"old", GENERIC_WRITE, CREATE_ALWAYS);
  EXPECT_EQ(GetLastError(), 183U);
  EXPECT_EQ(contract::contentOf(L"old"), "");
  CloseHandle(file);
}

TEST(CreateFileW, OfANewFileThatExistsFailsWith80) {
  contract::putFile(L"old", "text");
  expectRefused(open(L"old", GENERIC_WRITE, CREATE_NEW), 80);
}

TEST(CreateFileW, OfAFolderFailsWith5) {
  contract::putFolder(L"folder");
  expectRefused(open(L"folder", GENERIC_READ, OPEN_ALWAYS), 5);
}

TEST(CreateFileW, OfANameWithATrailingSeparatorFailsWith123) {
  const HANDLE file = open(L"file\\", GENERIC_READ, OPEN_ALWAYS);
  expectRefused(file, 123);
  EXPECT_EQ(contract::contentOf(L"file"), std::nullopt);
}

TEST(CreateFileW, OfAnUnknownDispositionFailsWith87) {
  expectRefused(open(L"file", GENERIC_READ, 9), 87);
}

TEST(CreateFileW, IgnoresTheCaseOfANameAndKeepsIt) {
  contract::putFile(L"Name", "text");
  const HANDLE file = open(L"nAME", GENERIC_READ, OPEN_EXISTING);
  EXPECT_EQ(read(file, 10), "text");
  CloseHandle(file);
}

TEST(CreateFileW, OpensASharedFileTwice) {
  const HANDLE first = openNew(L"file");
  const HANDLE second = openNew(L"file");
  EXPECT_NE(second, INVALID_HANDLE_VALUE);
  CloseHandle(first);
  CloseHandle(second);
}

TEST(CreateFileW, OfAFileThatIsNotSharedFailsWith32) {
  const HANDLE first = open(L"file", GENERIC_WRITE, OPEN_ALWAYS, FILE_SHARE_READ);
  expectRefused(openNew(L"file"), 32);
  CloseHandle(first);
}

TEST(CloseHandle, OfAClosedOrNullHandleFailsWith6) {
  const HANDLE file = openNew(L"file");
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_FALSE(CloseHandle(file));
  EXPECT_EQ(GetLastError(), 6U);
  SetLastError(contract::kUntouched);
  EXPECT_FALSE(CloseHandle(nullptr));
  EXPECT_EQ(GetLastError(), 6U);
}

TEST(CloseHandle, LeavesTheLastErrorAloneWhenItSucceeds) {
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  SetLastError(contract::kUntouched);
  EXPECT_TRUE(CloseHandle(event));
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(WriteFile, FollowsWhatWasWrittenBefore) {
  const HANDLE file = openNew(L"file");
  EXPECT_TRUE(write(file, "one"));
  EXPECT_TRUE(write(file, "two"));
  EXPECT_TRUE(write(file, ""));
  EXPECT_EQ(contract::contentOf(L"file"), "onetwo");
  CloseHandle(file);
}

TEST(WriteFile, KeepsBytesAsTheyAre) {
  const HANDLE file = openNew(L"file");
  const std::string bytes("a\r\n\0\x1A\xFF", 6);
  write(file, bytes);
  EXPECT_EQ(contract::contentOf(L"file"), bytes);
  CloseHandle(file);
}

TEST(WriteFile, WithoutTheAccessFailsWith5) {
  const HANDLE file = open(L"file", GENERIC_READ, OPEN_ALWAYS);
  EXPECT_FALSE(write(file, "text"));
  EXPECT_EQ(GetLastError(), 5U);
  CloseHandle(file);
}

TEST(WriteFile, WithAppendAccessAloneWritesAtTheEnd) {
  contract::putFile(L"file", "old ");
  const HANDLE file = open(L"file", FILE_APPEND_DATA, OPEN_ALWAYS);
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  write(file, "new");
  EXPECT_EQ(contract::contentOf(L"file"), "old new");
  CloseHandle(file);
}

TEST(WriteFile, WithWriteAccessWritesAtThePointerEvenWithAppend) {
  contract::putFile(L"file", "abcd");
  const HANDLE file = open(L"file", kReadWriteAppend, OPEN_ALWAYS);
  write(file, "X");
  EXPECT_EQ(contract::contentOf(L"file"), "Xbcd");
  CloseHandle(file);
}

TEST(WriteFile, ToWhatIsNoFileFailsWith6) {
  DWORD written = 0;
  EXPECT_FALSE(WriteFile(nullptr, "x", 1, &written, nullptr));
  EXPECT_EQ(GetLastError(), 6U);
}

TEST(ReadFile, StopsAtTheEndWithoutAnError) {
  contract::putFile(L"file", "text");
  const HANDLE file = openNew(L"file");
  SetFilePointer(file, 2, nullptr, FILE_BEGIN);
  EXPECT_EQ(read(file, 10), "xt");
  EXPECT_EQ(read(file, 10), "");
  CloseHandle(file);
}

TEST(ReadFile, WithoutTheAccessFailsWith5) {
  const HANDLE file = open(L"file", GENERIC_WRITE, OPEN_ALWAYS);
  char byte = 0;
  DWORD got = 0;
  EXPECT_FALSE(ReadFile(file, &byte, 1, &got, nullptr));
  EXPECT_EQ(GetLastError(), 5U);
  CloseHandle(file);
}

TEST(ReadFile, OfWhatIsNoFileFailsWith6) {
  char byte = 0;
  DWORD got = 0;
  EXPECT_FALSE(ReadFile(INVALID_HANDLE_VALUE, &byte, 1, &got, nullptr));
  EXPECT_EQ(GetLastError(), 6U);
}

TEST(SetFilePointer, MovesFromStartCurrentAndEnd) {
  contract::putFile(L"file", "0123456789");
  const HANDLE file = openNew(L"file");
  EXPECT_EQ(SetFilePointer(file, 4, nullptr, FILE_BEGIN), 4U);
  EXPECT_EQ(SetFilePointer(file, 2, nullptr, FILE_CURRENT), 6U);
  EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_END), 9U);
  EXPECT_EQ(read(file, 5), "9");
  CloseHandle(file);
}

TEST(SetFilePointer, DoesNotMoveBeforeTheStart) {
  const HANDLE file = openNew(L"file");
  SetFilePointer(file, 3, nullptr, FILE_BEGIN);
  EXPECT_EQ(SetFilePointer(file, -4, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), 131U);
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), 3U);
  CloseHandle(file);
}

TEST(SetFilePointer, OfAnUnknownMethodFailsWith87) {
  const HANDLE file = openNew(L"file");
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, 3), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), 87U);
  CloseHandle(file);
}

TEST(SetFilePointer, MovesBeyondFourGiBWithAHighWord) {
  const HANDLE file = openNew(L"file");
  LONG high = 1;
  EXPECT_EQ(SetFilePointer(file, 5, &high, FILE_BEGIN), 5U);
  EXPECT_EQ(high, 1);
  high = 0;
  EXPECT_EQ(SetFilePointer(file, 0, &high, FILE_CURRENT), 5U);
  EXPECT_EQ(high, 1);
  CloseHandle(file);
}

TEST(SetFilePointer, BeyondFourGiBWithoutAHighWordFails) {
  constexpr char kReason[] = "Wine gives the position's low word and moves";
  const HANDLE file = openNew(L"file");
  LONG high = 1;
  SetFilePointer(file, 5, &high, FILE_BEGIN);
  EXPECT_EQ(SetFilePointer(file, 1, nullptr, FILE_CURRENT),
            contract::butUnderWine<DWORD>(INVALID_SET_FILE_POINTER, 6, kReason));
  high = 0;
  EXPECT_EQ(SetFilePointer(file, 0, &high, FILE_CURRENT),
            contract::butUnderWine<DWORD>(5, 6, kReason));
  CloseHandle(file);
}

TEST(SetFilePointer, WithAHighWordTakesTheLowOneWithoutASign) {
  const HANDLE file = openNew(L"file");
  LONG high = 0;
  EXPECT_EQ(SetFilePointer(file, -2, &high, FILE_BEGIN), 0xFFFFFFFEU);
  EXPECT_EQ(high, 0);
  CloseHandle(file);
}

TEST(SetFilePointer, LeavesLastError0AtAPositionThatLooksLikeAFailure) {
  const HANDLE file = openNew(L"file");
  LONG high = 0;
  SetLastError(contract::kUntouched);
  EXPECT_EQ(SetFilePointer(file, -1, &high, FILE_BEGIN), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), 0U);
  CloseHandle(file);
}

TEST(SetFilePointer, OfWhatIsNoFileFailsWith6) {
  EXPECT_EQ(SetFilePointer(nullptr, 0, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), 6U);
}

}  // namespace
