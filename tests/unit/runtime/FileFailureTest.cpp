#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/SupportCore/Buffer.h"
#include "VUSL/SupportCore/File.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/FailingAllocation.h"
#include "tests/unit/runtime/Thrown.h"

// What a file says when the platform refuses.

namespace {

using Texts = std::vector<std::string>;
using vusl::File;

constexpr wchar_t kPath[] = L"C:\\data\\a.txt";

class FileFailureTest : public host::MachineTest {
 protected:
  FileFailureTest() { host::machine().drive.write(kPath, "abc"); }

  File file{kPath};
};

TEST_F(FileFailureTest, ofOpening) {
  faults().failOnce("CreateFileW", 5);
  EXPECT_EQ(thrownBy<Exception>([&] { file.write("a", 1); }),
            "Error when opening file C:\\data\\a.txt Last error: 5");
}

TEST_F(FileFailureTest, ofOpeningInAMissingFolder) {
  EXPECT_EQ(thrownBy<Exception>([] { File(L"C:\\nowhere\\a.txt").write("a", 1); }),
            "Error when opening file C:\\nowhere\\a.txt Last error: 3");
}

TEST_F(FileFailureTest, ofMovingHasNoSeparatorBeforeTheCode) {
  faults().failOnce("SetFilePointer", 87);
  EXPECT_EQ(thrownBy<Exception>([&] { file.write("a", 1); }),
            "Error when moving to end of file C:\\data\\a.txt87");
}

// Deliberate: an open file is not opened again, and so it is not moved again either.
TEST_F(FileFailureTest, ofMovingLeavesTheFileOpenAndTheNextWriteGoesToItsStart) {
  faults().failOnce("SetFilePointer", 87);
  EXPECT_ANY_THROW(file.write("x", 1));
  EXPECT_TRUE(file.isOpen());
  file.write("x", 1);
  EXPECT_EQ(host::machine().drive.read(kPath), "xbc");
}

TEST_F(FileFailureTest, ofWriting) {
  faults().failOnce("WriteFile", 112);
  EXPECT_EQ(thrownBy<Exception>([&] { file.write("1234", 4); }),
            "Error when writing 4 bytes to file C:\\data\\a.txtLast error: 112");
}

TEST_F(FileFailureTest, ofReading) {
  faults().failOnce("ReadFile", 23);
  char data[3];
  EXPECT_EQ(thrownBy<Exception>([&] { file.read(data, 3); }),
            "Error when reading file C:\\data\\a.txtLast error: 23");
}

TEST_F(FileFailureTest, ofSizing) {
  faults().failOnce("FindFirstFileW", 5);
  EXPECT_EQ(thrownBy<Exception>([] { File::getSize(kPath); }),
            "getSize:Failed to read size of file: C:\\data\\a.txt, error: 5");
}

TEST_F(FileFailureTest, ofSizingAMissingFileOrFolderIsNone) {
  faults().failOnce("FindFirstFileW", 2);
  EXPECT_EQ(File::getSize(kPath), 0U);
  faults().failOnce("FindFirstFileW", 3);
  EXPECT_EQ(File::getSize(kPath), 0U);
}

TEST_F(FileFailureTest, ofLookingIsAFileThatIsNotThere) {
  faults().failOnce("FindFirstFileW", 5);
  EXPECT_FALSE(file.exists());
}

TEST_F(FileFailureTest, ofClosingHasACapitalAndMarksTheFileClosed) {
  file.write("a", 1);
  faults().failOnce("CloseHandle", 6);
  EXPECT_EQ(thrownBy<Exception>([&] { file.close(); }),
            "Error when closing file C:\\data\\a.txtLast Error: 6");
  EXPECT_FALSE(file.isOpen());
  file.close();
  EXPECT_EQ(journal().count("CloseHandle"), 1U);
}

TEST_F(FileFailureTest, ofClosingInTheDestructorIsLogged) {
  LogRecorder log;
  {
    File closing(kPath);
    closing.write("a", 1);
    faults().failOnce("CloseHandle", 6);
  }
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] ~File Unexpected error occured: Error when closing "
                               "file C:\\data\\a.txtLast Error: 6"});
}

TEST_F(FileFailureTest, ofDeleting) {
  faults().failOnce("DeleteFileW", 32);
  EXPECT_EQ(thrownBy<Exception>([&] { file.remove(); }),
            "Error when deleting file: C:\\data\\a.txtLast error: 32");
}

TEST_F(FileFailureTest, ofRenaming) {
  host::machine().drive.write(L"C:\\data\\b.txt", "");
  EXPECT_EQ(thrownBy<Exception>([&] { file.rename(L"C:\\data\\b.txt"); }),
            "Error when renaming file from C:\\data\\a.txt to C:\\data\\b.txtLast error: 183");
}

TEST_F(FileFailureTest, namesTheFileInNarrowForm) {
  faults().failOnce("DeleteFileW", 2);
  EXPECT_EQ(thrownBy<Exception>([] { File(L"C:\\\u00E4\\\u4E2D.txt").remove(); }),
            "Error when deleting file: C:\\?\\?.txtLast error: 2");
}

TEST_F(FileFailureTest, ofClosingKeepsAFileThatWasToBeDeleted) {
  file.write("d", 1);
  faults().failOnce("CloseHandle", 6);
  EXPECT_EQ(thrownBy<Exception>([&] { file.remove(); }),
            "Error when closing file C:\\data\\a.txtLast Error: 6");
  EXPECT_EQ(host::machine().drive.read(kPath), "abcd");
}

TEST_F(FileFailureTest, ofClosingKeepsAFileThatWasToBeRenamed) {
  file.write("d", 1);
  faults().failOnce("CloseHandle", 6);
  EXPECT_EQ(thrownBy<Exception>([&] { file.rename(L"C:\\data\\b.txt"); }),
            "Error when closing file C:\\data\\a.txtLast Error: 6");
  EXPECT_EQ(host::machine().drive.read(kPath), "abcd");
}

TEST_F(FileFailureTest, ofRenamingAMissingFile) {
  EXPECT_EQ(thrownBy<Exception>([] { File(L"C:\\data\\none.txt").rename(L"C:\\data\\b.txt"); }),
            "Error when renaming file from C:\\data\\none.txt to C:\\data\\b.txtLast error: 2");
}

TEST_F(FileFailureTest, ofRenamingByRefusal) {
  faults().failOnce("MoveFileW", 5);
  EXPECT_EQ(thrownBy<Exception>([&] { file.rename(L"C:\\data\\b.txt"); }),
            "Error when renaming file from C:\\data\\a.txt to C:\\data\\b.txtLast error: 5");
}

TEST_F(FileFailureTest, ofDeletingAMissingFile) {
  EXPECT_EQ(thrownBy<Exception>([] { File(L"C:\\data\\none.txt").remove(); }),
            "Error when deleting file: C:\\data\\none.txtLast error: 2");
}

TEST_F(FileFailureTest, ofEndingASearchIsNotLookedAt) {
  faults().failFrom("FindClose", 6);
  EXPECT_EQ(File::getSize(kPath), 3U);
  EXPECT_TRUE(file.exists());
}

TEST_F(FileFailureTest, ofReadingLeavesTheFileOpen) {
  faults().failOnce("ReadFile", 23);
  char data[3];
  EXPECT_ANY_THROW(file.read(data, 3));
  EXPECT_TRUE(file.isOpen());
}

TEST_F(FileFailureTest, ofClosingEndsAReadAheadOfIt) {
  file.write("d", 1);
  faults().failOnce("CloseHandle", 6);
  char data[3];
  EXPECT_EQ(thrownBy<Exception>([&] { file.read(data, 3); }),
            "Error when closing file C:\\data\\a.txtLast Error: 6");
  EXPECT_TRUE(journal().calls("ReadFile").empty());
}

TEST_F(FileFailureTest, ofTellingAFailedCloseDoesNotLeaveTheDestructor) {
  std::wstring longPath = L"C:\\data\\";
  for (int i = 0; i < 10'000; ++i) longPath += L".\\";
  LogRecorder log;
  {
    auto closing = std::make_unique<File>(longPath + L"a.txt");
    closing->write("d", 1);
    faults().failOnce("CloseHandle", 6);
    const FailingAllocation failing(10'000);
    closing.reset();
  }
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] ~File Unexpected error occured: std::bad_alloc"});
}

// A folder in a file's place.

TEST_F(FileFailureTest, ofAFolderIsThatItIsDenied) {
  File folder(L"C:\\data");
  EXPECT_TRUE(folder.exists());
  EXPECT_EQ(folder.getSize(), 0U);
  char data = 0;
  EXPECT_EQ(thrownBy<Exception>([&] { folder.read(&data, 0); }),
            "Error when opening file C:\\data Last error: 5");
  EXPECT_EQ(thrownBy<Exception>([&] { folder.write("a", 1); }),
            "Error when opening file C:\\data Last error: 5");
  EXPECT_EQ(thrownBy<Exception>([&] { folder.remove(); }),
            "Error when deleting file: C:\\dataLast error: 5");
  Buffer buffer;
  folder.readAll(buffer);
  EXPECT_EQ(buffer.data(), nullptr);
}

TEST_F(FileFailureTest, ofAnEmptyName) {
  File nameless(L"");
  EXPECT_FALSE(nameless.exists());
  EXPECT_EQ(nameless.getSize(), 0U);
  EXPECT_EQ(thrownBy<Exception>([&] { nameless.write("a", 1); }),
            "Error when opening file  Last error: 3");
}

// Reading whole files.

TEST_F(FileFailureTest, ofLookingForTheWholeFileIsAFileThatIsNotThere) {
  Buffer buffer;
  faults().failOnce("FindFirstFileW", 5);
  EXPECT_EQ(thrownBy<AssertException>([&] { file.readAll(buffer); }), "File does not exist");
}

TEST_F(FileFailureTest, ofSizingTheWholeFileLeavesTheBufferUntouched) {
  Buffer buffer;
  faults().failOnce("FindFirstFileW", 5, 2);
  EXPECT_EQ(thrownBy<Exception>([&] { file.readAll(buffer); }),
            "getSize:Failed to read size of file: C:\\data\\a.txt, error: 5");
  EXPECT_EQ(buffer.data(), nullptr);
}

TEST_F(FileFailureTest, ofSizingTheWholeFileAgainLeavesZerosInTheBuffer) {
  const DirtyAllocation dirty;
  Buffer buffer;
  faults().failOnce("FindFirstFileW", 5, 3);
  EXPECT_EQ(thrownBy<Exception>([&] { file.readAll(buffer); }),
            "getSize:Failed to read size of file: C:\\data\\a.txt, error: 5");
  ASSERT_NE(buffer.data(), nullptr);
  EXPECT_EQ(std::memcmp(buffer.data(), "\0\0\0", 3), 0);
}

TEST_F(FileFailureTest, ofOpeningTheWholeFileLeavesZerosInTheBuffer) {
  const DirtyAllocation dirty;
  Buffer buffer;
  faults().failOnce("CreateFileW", 32);
  EXPECT_EQ(thrownBy<Exception>([&] { file.readAll(buffer); }),
            "Error when opening file C:\\data\\a.txt Last error: 32");
  ASSERT_NE(buffer.data(), nullptr);
  EXPECT_EQ(std::memcmp(buffer.data(), "\0\0\0", 3), 0);
}

TEST_F(FileFailureTest, ofClosingTheWholeFileLeavesTheStreamAsItWas) {
  std::stringstream stream;
  faults().failOnce("CloseHandle", 6);
  EXPECT_EQ(thrownBy<Exception>([&] { file.readAll(stream); }),
            "Error when closing file C:\\data\\a.txtLast Error: 6");
  EXPECT_EQ(stream.str(), "");
}

// Deliberate: how many bytes were read is not looked at.
TEST_F(FileFailureTest, ofReadingEnoughLeavesZerosBehindWhatWasRead) {
  const DirtyAllocation dirty;
  host::CallHooks::instance().before("ReadFile", 1,
                                     [] { host::machine().drive.write(kPath, "a"); });
  Buffer buffer;
  file.readAll(buffer);
  ASSERT_EQ(buffer.size(), 3U);
  EXPECT_EQ(std::memcmp(buffer.data(), "a\0\0", 3), 0);
}

TEST_F(FileFailureTest, ofReadingTheWholeFileLeavesZerosInTheBuffer) {
  const DirtyAllocation dirty;
  Buffer buffer;
  faults().failOnce("ReadFile", 23);
  EXPECT_EQ(thrownBy<Exception>([&] { file.readAll(buffer); }),
            "Error when reading file C:\\data\\a.txtLast error: 23");
  ASSERT_NE(buffer.data(), nullptr);
  EXPECT_EQ(std::memcmp(buffer.data(), "\0\0\0", 3), 0);
  EXPECT_EQ(buffer.size(), 3U);
}

TEST_F(FileFailureTest, ofAnyOtherKindIsARuntimeErrorAndLeavesZerosInTheBuffer) {
  // The file shrinks between the taking of its size and the reading: an assertion of `read`.
  host::CallHooks::instance().before("FindFirstFileW", 3,
                                     [] { host::machine().drive.write(kPath, "a"); });
  const DirtyAllocation dirty;
  Buffer buffer;
  EXPECT_EQ(thrownBy<std::runtime_error>([&] { file.readAll(buffer); }),
            "Unrecognized type of exception occured");
  ASSERT_NE(buffer.data(), nullptr);
  EXPECT_EQ(std::memcmp(buffer.data(), "\0\0\0", 3), 0);
}

TEST_F(FileFailureTest, ofCopyingTheWholeFileIsARuntimeErrorAndLeavesZerosInTheBuffer) {
  const DirtyAllocation dirty;
  LogRecorder log;
  Buffer buffer;
  faults().failOnce("memcpy_s", 22);
  EXPECT_EQ(thrownBy<std::runtime_error>([&] { file.readAll(buffer); }),
            "Unrecognized type of exception occured");
  ASSERT_NE(buffer.data(), nullptr);
  EXPECT_EQ(std::memcmp(buffer.data(), "\0\0\0", 3), 0);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] writeRaw memcpy_s failed"});
}

TEST_F(FileFailureTest, ofAllocatingIsARuntimeErrorToo) {
  host::machine().drive.write(kPath, std::string(1'000'000, 'x'));
  Buffer buffer;
  std::string thrown;
  {
    const FailingAllocation failing(1'000'000);
    thrown = thrownBy<std::runtime_error>([&] { file.readAll(buffer); });
  }
  EXPECT_EQ(thrown, "Unrecognized type of exception occured");
  EXPECT_EQ(buffer.data(), nullptr);
  // A buffer keeps the size that it was last asked for: this one has not been asked yet.
  EXPECT_EQ(buffer.size(), 0U);
}

// The stream grows in steps of its own, beyond the file's size.
TEST_F(FileFailureTest, ofAStreamThatFindsNoMemoryIsNoShorterFile) {
  host::machine().drive.write(kPath, std::string(1'000'000, 'x'));
  std::stringstream stream;
  const FailingAllocation failing(1'000'001);
  EXPECT_THROW(file.readAll(stream), std::bad_alloc);
}

// Whoever hands over a stream that is at its end gets nothing written, and no complaint.
TEST_F(FileFailureTest, ofAStreamThatHadFailedBeforeIsNone) {
  host::machine().drive.write(kPath, "abc");
  std::stringstream stream;
  stream.setstate(std::ios::failbit);
  EXPECT_NO_THROW(file.readAll(stream));
}

}  // namespace
