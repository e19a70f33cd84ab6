// The calls on files: results and last errors as the platform gives them.

#include "tests/support/MachineTest.h"

namespace {

constexpr DWORD kShareBoth = 3;
constexpr DWORD kReadWriteAppend = 0xC0000004;

class FilesTest : public host::MachineTest {
 protected:
  FilesTest() { host::machine().drive.createFolder(L"C:\\data"); }

  static HANDLE open(const wchar_t* name, DWORD access, DWORD disposition,
                     DWORD share = kShareBoth) {
    host::setLastError(77);
    return CreateFileW(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  static HANDLE openNew(const wchar_t* name) { return open(name, kReadWriteAppend, OPEN_ALWAYS); }

  static BOOL write(HANDLE file, const std::string& text) {
    DWORD written = 0;
    const BOOL result =
        WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    EXPECT_TRUE(result == FALSE || written == text.size());
    return result;
  }

  static std::string read(HANDLE file, DWORD size) {
    std::string text(size, '\0');
    DWORD got = 0;
    EXPECT_TRUE(ReadFile(file, text.data(), size, &got, nullptr));
    text.resize(got);
    return text;
  }

  static std::optional<std::string> content(const wchar_t* name) {
    return host::machine().drive.read(name);
  }
};

TEST_F(FilesTest, OpeningAMissingFileFailsWith2) {
  EXPECT_EQ(open(L"C:\\data\\none", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 2U);
}

TEST_F(FilesTest, OpeningInAMissingFolderFailsWith3) {
  EXPECT_EQ(open(L"C:\\none\\file", GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 3U);
  EXPECT_EQ(open(L"C:\\none\\file", GENERIC_READ, OPEN_ALWAYS), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 3U);
}

TEST_F(FilesTest, OpenAlwaysOnAnExistingFileGivesAHandleAnd183) {
  host::machine().drive.write(L"C:\\data\\old", "text");
  const HANDLE file = open(L"C:\\data\\old", GENERIC_READ, OPEN_ALWAYS);
  EXPECT_NE(file, INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 183U);
  EXPECT_EQ(read(file, 10), "text");
  EXPECT_TRUE(CloseHandle(file));
}

TEST_F(FilesTest, OpenAlwaysMakesAMissingFileAndLeavesLastError0) {
  const HANDLE file = open(L"C:\\data\\new", GENERIC_READ, OPEN_ALWAYS);
  EXPECT_NE(file, INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 0U);
  EXPECT_EQ(content(L"C:\\data\\new"), "");
  EXPECT_TRUE(CloseHandle(file));
}

TEST_F(FilesTest, CreateAlwaysEmptiesAnExistingFile) {
  host::machine().drive.write(L"C:\\data\\old", "text");
  const HANDLE file = open(L"C:\\data\\old", GENERIC_WRITE, CREATE_ALWAYS);
  EXPECT_EQ(host::lastError(), 183U);
  EXPECT_EQ(content(L"C:\\data\\old"), "");
  CloseHandle(file);
}

TEST_F(FilesTest, CreateNewRefusesAnExistingFileWith80) {
  host::machine().drive.write(L"C:\\data\\old", "text");
  EXPECT_EQ(open(L"C:\\data\\old", GENERIC_WRITE, CREATE_NEW), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 80U);
}

TEST_F(FilesTest, AFolderIsNotOpenedAsAFile) {
  EXPECT_EQ(open(L"C:\\data", GENERIC_READ, OPEN_ALWAYS), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 5U);
}

TEST_F(FilesTest, ANameWithATrailingSeparatorIsNoFile) {
  EXPECT_EQ(open(L"C:\\data\\file\\", GENERIC_READ, OPEN_ALWAYS), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 123U);
  EXPECT_EQ(content(L"C:\\data\\file"), std::nullopt);
}

TEST_F(FilesTest, AnUnknownDispositionFailsWith87) {
  EXPECT_EQ(open(L"C:\\data\\file", GENERIC_READ, 9), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 87U);
}

TEST_F(FilesTest, WritesFollowEachOther) {
  const HANDLE file = openNew(L"C:\\data\\file");
  EXPECT_TRUE(write(file, "one"));
  EXPECT_TRUE(write(file, "two"));
  EXPECT_TRUE(write(file, ""));
  EXPECT_EQ(content(L"C:\\data\\file"), "onetwo");
  CloseHandle(file);
}

TEST_F(FilesTest, ReadingStopsAtTheEndWithoutAnError) {
  const HANDLE file = openNew(L"C:\\data\\file");
  write(file, "text");
  SetFilePointer(file, 2, nullptr, FILE_BEGIN);
  EXPECT_EQ(read(file, 10), "xt");
  EXPECT_EQ(read(file, 10), "");
  CloseHandle(file);
}

TEST_F(FilesTest, BytesAreKeptAsTheyAre) {
  const HANDLE file = openNew(L"C:\\data\\file");
  const std::string bytes("a\r\n\0\x1A\xFF", 6);
  write(file, bytes);
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  EXPECT_EQ(read(file, 10), bytes);
  CloseHandle(file);
}

TEST_F(FilesTest, AccessThatWasNotAskedForIsDenied) {
  const HANDLE readOnly = open(L"C:\\data\\file", GENERIC_READ, OPEN_ALWAYS);
  EXPECT_FALSE(write(readOnly, "text"));
  EXPECT_EQ(host::lastError(), 5U);
  CloseHandle(readOnly);
  const HANDLE writeOnly = open(L"C:\\data\\file", GENERIC_WRITE, OPEN_ALWAYS);
  char byte = 0;
  DWORD got = 0;
  EXPECT_FALSE(ReadFile(writeOnly, &byte, 1, &got, nullptr));
  EXPECT_EQ(host::lastError(), 5U);
  CloseHandle(writeOnly);
}

TEST_F(FilesTest, AppendAccessAloneWritesAtTheEnd) {
  host::machine().drive.write(L"C:\\data\\file", "old ");
  const HANDLE file = open(L"C:\\data\\file", FILE_APPEND_DATA, OPEN_ALWAYS);
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  write(file, "new");
  EXPECT_EQ(content(L"C:\\data\\file"), "old new");
  CloseHandle(file);
}

TEST_F(FilesTest, WriteAccessWritesAtThePointerEvenWithAppend) {
  host::machine().drive.write(L"C:\\data\\file", "abcd");
  const HANDLE file = open(L"C:\\data\\file", kReadWriteAppend, OPEN_ALWAYS);
  write(file, "X");
  EXPECT_EQ(content(L"C:\\data\\file"), "Xbcd");
  CloseHandle(file);
}

TEST_F(FilesTest, ThePointerMovesFromStartCurrentAndEnd) {
  const HANDLE file = openNew(L"C:\\data\\file");
  write(file, "0123456789");
  EXPECT_EQ(SetFilePointer(file, 4, nullptr, FILE_BEGIN), 4U);
  EXPECT_EQ(SetFilePointer(file, 2, nullptr, FILE_CURRENT), 6U);
  EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_END), 9U);
  EXPECT_EQ(read(file, 5), "9");
  CloseHandle(file);
}

TEST_F(FilesTest, ThePointerDoesNotMoveBeforeTheStart) {
  const HANDLE file = openNew(L"C:\\data\\file");
  SetFilePointer(file, 3, nullptr, FILE_BEGIN);
  EXPECT_EQ(SetFilePointer(file, -4, nullptr, FILE_CURRENT), 0xFFFFFFFFU);
  EXPECT_EQ(host::lastError(), 131U);
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), 3U);
  CloseHandle(file);
}

TEST_F(FilesTest, AnUnknownMoveMethodFailsWith87) {
  const HANDLE file = openNew(L"C:\\data\\file");
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, 3), 0xFFFFFFFFU);
  EXPECT_EQ(host::lastError(), 87U);
  CloseHandle(file);
}

TEST_F(FilesTest, BeyondFourGiBWithoutAHighWordTheMoveFails) {
  const HANDLE file = openNew(L"C:\\data\\file");
  LONG high = 1;
  EXPECT_EQ(SetFilePointer(file, 5, &high, FILE_BEGIN), 5U);
  EXPECT_EQ(high, 1);
  write(file, "x");
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_END), 0xFFFFFFFFU);
  EXPECT_EQ(host::lastError(), 87U);
  high = 0;
  EXPECT_EQ(SetFilePointer(file, 0, &high, FILE_CURRENT), 6U);
  EXPECT_EQ(high, 1);
  CloseHandle(file);
}

TEST_F(FilesTest, WithAHighWordTheLowOneHasNoSign) {
  const HANDLE file = openNew(L"C:\\data\\file");
  LONG high = 0;
  EXPECT_EQ(SetFilePointer(file, -2, &high, FILE_BEGIN), 0xFFFFFFFEU);
  EXPECT_EQ(high, 0);
  CloseHandle(file);
}

TEST_F(FilesTest, APositionThatLooksLikeAFailureHasLastError0) {
  const HANDLE file = openNew(L"C:\\data\\file");
  LONG high = 0;
  host::setLastError(77);
  EXPECT_EQ(SetFilePointer(file, -1, &high, FILE_BEGIN), 0xFFFFFFFFU);
  EXPECT_EQ(host::lastError(), 0U);
  CloseHandle(file);
}

TEST_F(FilesTest, DeletingAMissingFileFailsWith2AndInAMissingFolderWith3) {
  EXPECT_FALSE(DeleteFileW(L"C:\\data\\none"));
  EXPECT_EQ(host::lastError(), 2U);
  EXPECT_FALSE(DeleteFileW(L"C:\\none\\none"));
  EXPECT_EQ(host::lastError(), 3U);
}

TEST_F(FilesTest, AFolderIsNotDeletedAsAFile) {
  EXPECT_FALSE(DeleteFileW(L"C:\\data"));
  EXPECT_EQ(host::lastError(), 5U);
}

TEST_F(FilesTest, ADeletedFileIsGone) {
  host::machine().drive.write(L"C:\\data\\File", "text");
  EXPECT_TRUE(DeleteFileW(L"C:\\DATA\\file"));
  EXPECT_EQ(content(L"C:\\data\\File"), std::nullopt);
}

TEST_F(FilesTest, AnOpenFileIsNeitherDeletedNorMoved) {
  const HANDLE file = openNew(L"C:\\data\\file");
  EXPECT_FALSE(DeleteFileW(L"C:\\data\\file"));
  EXPECT_EQ(host::lastError(), 32U);
  EXPECT_FALSE(MoveFileW(L"C:\\data\\file", L"C:\\data\\other"));
  EXPECT_EQ(host::lastError(), 32U);
  CloseHandle(file);
  EXPECT_TRUE(MoveFileW(L"C:\\data\\file", L"C:\\data\\other"));
}

TEST_F(FilesTest, ASharedFileIsOpenedTwice) {
  const HANDLE first = openNew(L"C:\\data\\file");
  const HANDLE second = openNew(L"C:\\data\\file");
  EXPECT_NE(second, INVALID_HANDLE_VALUE);
  CloseHandle(first);
  CloseHandle(second);
}

TEST_F(FilesTest, AFileThatIsNotSharedIsNotOpenedTwice) {
  const HANDLE first = open(L"C:\\data\\file", GENERIC_WRITE, OPEN_ALWAYS, FILE_SHARE_READ);
  EXPECT_EQ(openNew(L"C:\\data\\file"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 32U);
  CloseHandle(first);
}

TEST_F(FilesTest, MovingOntoAnExistingFileFailsWith183) {
  host::machine().drive.write(L"C:\\data\\a", "a");
  host::machine().drive.write(L"C:\\data\\b", "b");
  EXPECT_FALSE(MoveFileW(L"C:\\data\\a", L"C:\\data\\B"));
  EXPECT_EQ(host::lastError(), 183U);
  EXPECT_EQ(content(L"C:\\data\\b"), "b");
}

TEST_F(FilesTest, MovingAMissingFileFailsWith2) {
  EXPECT_FALSE(MoveFileW(L"C:\\data\\none", L"C:\\data\\b"));
  EXPECT_EQ(host::lastError(), 2U);
}

TEST_F(FilesTest, MovingIntoAMissingFolderFailsWith3) {
  host::machine().drive.write(L"C:\\data\\a", "a");
  EXPECT_FALSE(MoveFileW(L"C:\\data\\a", L"C:\\none\\a"));
  EXPECT_EQ(host::lastError(), 3U);
  EXPECT_EQ(content(L"C:\\data\\a"), "a");
}

TEST_F(FilesTest, AMoveCanChangeTheCaseOfAName) {
  host::machine().drive.write(L"C:\\data\\name", "a");
  EXPECT_TRUE(MoveFileW(L"C:\\data\\name", L"C:\\data\\NAME"));
  EXPECT_EQ(host::machine().drive.locate(L"C:\\data\\name")->filename(), "NAME");
}

TEST_F(FilesTest, AClosedFileIsNotUsedAnyMore) {
  const HANDLE file = openNew(L"C:\\data\\file");
  EXPECT_EQ(ledger().open("file"), 1U);
  CloseHandle(file);
  EXPECT_EQ(ledger().open("file"), 0U);
  EXPECT_FALSE(write(file, "text"));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(FilesTest, ASecondCloseIsAViolationAndFailsWith6) {
  const HANDLE file = openNew(L"C:\\data\\file");
  CloseHandle(file);
  EXPECT_FALSE(CloseHandle(file));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_GE(ledger().violations().size(), 1U);
}

TEST_F(FilesTest, TheFileCallsRefuseOtherHandles) {
  DWORD count = 0;
  char byte = 0;
  EXPECT_FALSE(ReadFile(INVALID_HANDLE_VALUE, &byte, 1, &count, nullptr));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_FALSE(WriteFile(nullptr, &byte, 1, &count, nullptr));
  EXPECT_EQ(host::lastError(), 6U);
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  EXPECT_EQ(SetFilePointer(event, 0, nullptr, FILE_BEGIN), 0xFFFFFFFFU);
  EXPECT_EQ(host::lastError(), 6U);
  CloseHandle(event);
}

TEST_F(FilesTest, AFailureThatWasToldOpensNothing) {
  faults().failOnce("CreateFileW", 112);
  EXPECT_EQ(openNew(L"C:\\data\\file"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 112U);
  EXPECT_EQ(content(L"C:\\data\\file"), std::nullopt);
}

}  // namespace
