#include "VUSL/SupportCore/File.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/SupportCore/Buffer.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Texts = std::vector<std::string>;
using vusl::File;

constexpr wchar_t kFilePath[] = L"C:\\data\\a.txt";

static_assert(std::is_base_of_v<vusl::FileBase, File>);
static_assert(!std::is_copy_constructible_v<File>);
static_assert(!std::is_copy_assignable_v<File>);

class FileTest : public host::MachineTest {
 protected:
  FileTest() { host::machine().drive.createFolder(L"C:\\data"); }

  static void put(const std::string& content) { host::machine().drive.write(kFilePath, content); }
  static std::optional<std::string> content() { return host::machine().drive.read(kFilePath); }
};

TEST_F(FileTest, constructionOpensNothing) {
  const File file(kFilePath);
  EXPECT_EQ(journal().names(), Texts{});
  EXPECT_FALSE(file.isOpen());
}

// Size and existence.

TEST_F(FileTest, sizeIsThatOfTheFile) {
  put("12345");
  EXPECT_EQ(File(kFilePath).getSize(), 5U);
  EXPECT_EQ(File::getSize(kFilePath), 5U);
  EXPECT_EQ(ledger().open("find"), 0U);
}

TEST_F(FileTest, sizeOfAMissingFileIs0) {
  EXPECT_EQ(File(kFilePath).getSize(), 0U);
  EXPECT_EQ(File::getSize(L"C:\\nowhere\\a.txt"), 0U);
}

TEST_F(FileTest, sizeAbove4GiBIsItsLow32Bits) {
  put("");
  const auto path = host::machine().drive.locate(kFilePath);
  ASSERT_TRUE(path.has_value());
  std::filesystem::resize_file(*path, 4'294'967'296U + 7U);
  EXPECT_EQ(File::getSize(kFilePath), 7U);
}

TEST_F(FileTest, existsTellsWhetherTheFileIsThere) {
  const File file(kFilePath);
  EXPECT_FALSE(file.exists());
  put("");
  EXPECT_TRUE(file.exists());
  EXPECT_EQ(ledger().open("find"), 0U);
}

// Opening.

TEST_F(FileTest, openSharesReadsAndWritesAndCreatesWhatIsMissing) {
  File file(kFilePath);
  file.open(0x80000000, 0);
  EXPECT_TRUE(file.isOpen());
  EXPECT_EQ(journal().calls("CreateFileW").at(0).args,
            "C:\\data\\a.txt, 2147483648, 3, null, 4, 128, null");
  EXPECT_EQ(content(), "");
}

TEST_F(FileTest, openFileIsNotOpenedAgain) {
  File file(kFilePath);
  file.open(0x80000000, 0);
  file.open(0xC0000004, 2);
  EXPECT_EQ(journal().calls("CreateFileW").size(), 1U);
  EXPECT_EQ(journal().calls("SetFilePointer").size(), 1U);
}

TEST_F(FileTest, openAfterAFailureTriesAgain) {
  File file(kFilePath);
  faults().failOnce("CreateFileW", 32);
  EXPECT_ANY_THROW(file.open(0x80000000, 0));
  EXPECT_FALSE(file.isOpen());
  file.open(0x80000000, 0);
  EXPECT_TRUE(file.isOpen());
}

// Writing.

TEST_F(FileTest, writeOpensAtTheEndForReadingWritingAndAppending) {
  File file(kFilePath);
  file.write("abc", 3);
  const std::string arguments = journal().calls("CreateFileW").at(0).args;
  EXPECT_NE(arguments.find(", 3221225476, "), std::string::npos) << arguments;
  const std::string moved = journal().calls("SetFilePointer").at(0).args;
  EXPECT_TRUE(moved.ends_with(", 0, null, 2")) << moved;
}

TEST_F(FileTest, writeAppendsToWhatIsThere) {
  put("old");
  File file(kFilePath);
  file.write("new", 3);
  EXPECT_EQ(content(), "oldnew");
}

TEST_F(FileTest, twoWritesAppendInOrderWithNoSeekBetween) {
  File file(kFilePath);
  file.write("one", 3);
  file.write("two", 3);
  EXPECT_EQ(content(), "onetwo");
  EXPECT_EQ(journal().namesOf({"CreateFileW", "SetFilePointer", "WriteFile", "CloseHandle"}),
            (Texts{"CreateFileW", "SetFilePointer", "WriteFile", "WriteFile"}));
  EXPECT_TRUE(file.isOpen());
}

TEST_F(FileTest, writeOfNothingOpensTheFileAndWritesNothing) {
  File file(kFilePath);
  file.write("", 0);
  EXPECT_EQ(content(), "");
  EXPECT_TRUE(file.isOpen());
}

TEST_F(FileTest, writeOfNullIsAnAssertion) {
  File file(kFilePath);
  EXPECT_EQ(thrownBy<AssertException>([&] { file.write(nullptr, 1); }), "Invalid data passed");
  EXPECT_EQ(thrownBy<AssertException>([&] { file.write(nullptr, 0); }), "Invalid data passed");
  EXPECT_FALSE(file.isOpen());
}

// Reading.

TEST_F(FileTest, readFillsFromTheStart) {
  put("abcdef");
  File file(kFilePath);
  char data[4] = {};
  file.read(data, 3);
  EXPECT_STREQ(data, "abc");
  file.read(data, 3);
  EXPECT_STREQ(data, "abc");
}

TEST_F(FileTest, readOpensForReadingAtTheStart) {
  put("abc");
  File file(kFilePath);
  char data[3];
  file.read(data, 3);
  const std::string arguments = journal().calls("CreateFileW").at(0).args;
  EXPECT_NE(arguments.find(", 2147483648, "), std::string::npos) << arguments;
  const std::string moved = journal().calls("SetFilePointer").at(0).args;
  EXPECT_TRUE(moved.ends_with(", 0, null, 0")) << moved;
}

TEST_F(FileTest, readAfterWriteReadsFromTheStart) {
  File file(kFilePath);
  file.write("abc", 3);
  char data[4] = {};
  file.read(data, 3);
  EXPECT_STREQ(data, "abc");
  EXPECT_EQ(journal().calls("CreateFileW").size(), 2U);
}

TEST_F(FileTest, readOfTheWholeSizeIsAllowedAndOfMoreIsAnAssertion) {
  put("abc");
  File file(kFilePath);
  char data[4] = {};
  EXPECT_EQ(thrownBy<AssertException>([&] { file.read(data, 4); }), "Invalid size passed");
  file.read(data, 3);
  EXPECT_STREQ(data, "abc");
}

TEST_F(FileTest, readOfMoreThanTheFileHoldsLeavesAnOpenFileOpen) {
  File file(kFilePath);
  file.write("abc", 3);
  char data[4];
  EXPECT_EQ(thrownBy<AssertException>([&] { file.read(data, 4); }), "Invalid size passed");
  EXPECT_TRUE(file.isOpen());
}

TEST_F(FileTest, readOfNullIsAnAssertion) {
  File file(kFilePath);
  EXPECT_EQ(thrownBy<AssertException>([&] { file.read(nullptr, 0); }), "Invalid data passed");
}

TEST_F(FileTest, readOfNullIsTestedAheadOfTheSize) {
  File file(kFilePath);
  EXPECT_EQ(thrownBy<AssertException>([&] { file.read(nullptr, 1); }), "Invalid data passed");
  EXPECT_EQ(journal().names(), Texts{});
}

TEST_F(FileTest, readOfMoreThanAMissingFileHoldsDoesNotCreateIt) {
  File file(kFilePath);
  char data = 0;
  EXPECT_EQ(thrownBy<AssertException>([&] { file.read(&data, 1); }), "Invalid size passed");
  EXPECT_EQ(content(), std::nullopt);
}

TEST_F(FileTest, readOfNothingCreatesAMissingFile) {
  File file(kFilePath);
  char data = 0;
  file.read(&data, 0);
  EXPECT_EQ(content(), "");
}

// Beyond 4 GiB. The files are holes: they take no room.

class LargeFileTest : public FileTest {
 protected:
  static constexpr std::uintmax_t k4GiB = 4'294'967'296U;

  static void grow(std::uintmax_t sizeBytes) {
    const auto path = host::machine().drive.locate(kFilePath);
    ASSERT_TRUE(path.has_value());
    std::filesystem::resize_file(*path, sizeBytes);
  }
};

// Deliberate: the size is its low 32 bits everywhere.
TEST_F(LargeFileTest, readAllTakesAsManyBytesAsTheLow32BitsOfTheSize) {
  put("abcdefghij");
  grow(k4GiB + 7);
  Buffer buffer;
  File(kFilePath).readAll(buffer);
  ASSERT_EQ(buffer.size(), 7U);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer.data()), 7), "abcdefg");
}

TEST_F(LargeFileTest, exactly4GiBCountsAsEmpty) {
  put("abc");
  grow(k4GiB);
  Buffer buffer;
  File(kFilePath).readAll(buffer);
  EXPECT_EQ(buffer.data(), nullptr);
}

TEST_F(LargeFileTest, writeCannotMoveToAnEndBeyond4GiB) {
  put("abc");
  grow(k4GiB + 7);
  File file(kFilePath);
  EXPECT_EQ(thrownBy<Exception>([&] { file.write("x", 1); }),
            "Error when moving to end of file C:\\data\\a.txt87");
}

// The platform's answer is that of a failure there, and it is none.
TEST_F(LargeFileTest, writeAppendsToAFileOf4GiBLessOneByte) {
  put("abc");
  grow(k4GiB - 1);
  SetLastError(87);
  File file(kFilePath);
  file.write("x", 1);
  EXPECT_EQ(std::filesystem::file_size(*host::machine().drive.locate(kFilePath)), k4GiB);
}

TEST_F(LargeFileTest, readMovesToTheStartAlsoBeyond4GiB) {
  put("abc");
  grow(k4GiB + 7);
  File file(kFilePath);
  char data[4] = {};
  file.read(data, 3);
  EXPECT_STREQ(data, "abc");
}

// Closing, deleting, renaming.

TEST_F(FileTest, tenThousandFilesLeaveNoHandle) {
  for (int i = 0; i < 10'000; ++i) {
    File file(kFilePath);
    file.open(0x80000000, 0);
    if (i % 2 == 0) file.close();
  }
  EXPECT_TRUE(ledger().stillOpen().empty());
  EXPECT_EQ(journal().count("CloseHandle"), 10'000U);
}

TEST_F(FileTest, nameEndsAtItsFirstZeroCharacter) {
  File file(std::wstring(kFilePath) + std::wstring(L"\0.more", 6));
  file.write("a", 1);
  EXPECT_EQ(content(), "a");
}

TEST_F(FileTest, closeClosesOnce) {
  File file(kFilePath);
  file.write("a", 1);
  file.close();
  file.close();
  EXPECT_EQ(journal().calls("CloseHandle").size(), 1U);
  EXPECT_FALSE(file.isOpen());
}

TEST_F(FileTest, destructorCloses) {
  { File(kFilePath).write("a", 1); }
  EXPECT_EQ(ledger().open("file"), 0U);
}

TEST_F(FileTest, removeClosesAndDeletes) {
  File file(kFilePath);
  file.write("a", 1);
  file.remove();
  EXPECT_EQ(content(), std::nullopt);
  EXPECT_EQ(journal().namesOf({"CloseHandle", "DeleteFileW"}),
            (Texts{"CloseHandle", "DeleteFileW"}));
}

TEST_F(FileTest, renameClosesAndMoves) {
  File file(kFilePath);
  file.write("a", 1);
  file.rename(L"C:\\data\\b.txt");
  EXPECT_EQ(host::machine().drive.read(L"C:\\data\\b.txt"), "a");
  EXPECT_EQ(journal().namesOf({"CloseHandle", "MoveFileW"}), (Texts{"CloseHandle", "MoveFileW"}));
}

// Deliberate: the object keeps standing for the old path.
TEST_F(FileTest, renamedFileStandsForTheOldPath) {
  put("old");
  File file(kFilePath);
  file.rename(L"C:\\data\\b.txt");
  EXPECT_FALSE(file.exists());
  file.write("new", 3);
  EXPECT_EQ(content(), "new");
  EXPECT_EQ(host::machine().drive.read(L"C:\\data\\b.txt"), "old");
}

// Counts how often it is asked to close.
class CountingFile : public File {
 public:
  CountingFile() : File(kFilePath) {}
  void close() override {
    ++closed;
    File::close();
  }

  int closed = 0;
};

TEST_F(FileTest, removeClosesThroughTheSlot) {
  put("a");
  CountingFile file;
  file.remove();
  EXPECT_EQ(file.closed, 1);
}

TEST_F(FileTest, renameClosesThroughTheSlot) {
  put("a");
  CountingFile file;
  file.rename(L"C:\\data\\b.txt");
  EXPECT_EQ(file.closed, 1);
}

TEST_F(FileTest, readAllIntoAStreamClosesThroughTheSlotAlsoWithoutAnyContent) {
  put("");
  CountingFile file;
  std::stringstream stream;
  file.readAll(stream);
  EXPECT_EQ(file.closed, 1);
}

// Whole files.

TEST_F(FileTest, readAllFillsABuffer) {
  put(std::string("a\0b", 3));
  Buffer buffer;
  File(kFilePath).readAll(buffer);
  ASSERT_EQ(buffer.size(), 3U);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer.data()), 3), std::string("a\0b", 3));
}

TEST_F(FileTest, readAllOfAnEmptyFileLeavesTheBufferUntouched) {
  put("");
  Buffer buffer;
  File(kFilePath).readAll(buffer);
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(journal().calls("CreateFileW").size(), 0U);
}

TEST_F(FileTest, readAllIntoAFilledBufferIsAnAssertion) {
  put("abc");
  Buffer buffer;
  buffer.Alloc(1);
  EXPECT_EQ(thrownBy<AssertException>([&] { File(kFilePath).readAll(buffer); }),
            "Invalid destination passed");
}

TEST_F(FileTest, readAllTestsTheBufferAheadOfTheFile) {
  Buffer buffer;
  buffer.Alloc(1);
  EXPECT_EQ(thrownBy<AssertException>([&] { File(kFilePath).readAll(buffer); }),
            "Invalid destination passed");
  EXPECT_EQ(journal().names(), Texts{});
}

TEST_F(FileTest, readAllIntoABufferLeavesTheFileOpen) {
  put("abc");
  File file(kFilePath);
  Buffer buffer;
  file.readAll(buffer);
  EXPECT_TRUE(file.isOpen());
}

TEST_F(FileTest, readAllOfAMissingFileIsAnAssertion) {
  Buffer buffer;
  EXPECT_EQ(thrownBy<AssertException>([&] { File(kFilePath).readAll(buffer); }),
            "File does not exist");
  std::stringstream stream;
  EXPECT_EQ(thrownBy<AssertException>([&] { File(kFilePath).readAll(stream); }),
            "File does not exist");
}

TEST_F(FileTest, readAllAppendsToAStreamAndCloses) {
  put(std::string("b\0c", 3));
  File file(kFilePath);
  std::stringstream stream;
  stream << "a";
  file.readAll(stream);
  EXPECT_EQ(stream.str(), std::string("ab\0c", 4));
  EXPECT_FALSE(file.isOpen());
}

TEST_F(FileTest, readAllOfAnEmptyFileLeavesTheStreamAsItWas) {
  put("");
  std::stringstream stream;
  File(kFilePath).readAll(stream);
  EXPECT_EQ(stream.str(), "");
  EXPECT_TRUE(stream.good());
}

// Writing nothing to a stream that is bad would have it fail once more.
TEST_F(FileTest, readAllOfAnEmptyFileLeavesABadStreamAsItWas) {
  put("");
  std::stringstream stream;
  stream.setstate(std::ios_base::badbit);
  File(kFilePath).readAll(stream);
  EXPECT_EQ(stream.rdstate(), std::ios_base::badbit);
}

// What is wrong with the stream beforehand is its owner's business.
TEST_F(FileTest, readAllIntoAStreamThatWasBadBeforeThrowsNothing) {
  put("abc");
  std::stringstream stream;
  stream.setstate(std::ios_base::badbit);
  EXPECT_NO_THROW(File(kFilePath).readAll(stream));
  EXPECT_EQ(stream.str(), "");
}

}  // namespace
