// The C runtime's calls on files of the machine's drive.

#include <cerrno>
#include <cstdio>

#include "tests/support/MachineTest.h"

namespace {

class CrtFilesTest : public host::MachineTest {
 protected:
  CrtFilesTest() { host::machine().drive.write(L"C:\\data\\a", "text"); }
};

TEST_F(CrtFilesTest, AFileThatIsThereHasItsSize) {
  struct _stat64i32 status {};
  EXPECT_EQ(_stat64i32("C:\\data\\A", &status), 0);
  EXPECT_EQ(status.st_size, 4);
  EXPECT_EQ(status.st_mode & _S_IFREG, _S_IFREG);
  EXPECT_EQ(_stat64i32("C:\\data", &status), 0);
  EXPECT_EQ(status.st_mode & _S_IFDIR, _S_IFDIR);
}

TEST_F(CrtFilesTest, AFileThatIsNotThereIsNotFound) {
  struct _stat64i32 status {};
  errno = 0;
  EXPECT_EQ(_stat64i32("C:\\data\\none", &status), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(CrtFilesTest, RemoveTakesAFileOffTheDrive) {
  EXPECT_EQ(std::remove("C:\\data\\a"), 0);
  EXPECT_FALSE(host::machine().drive.exists(L"C:\\data\\a"));
  errno = 0;
  EXPECT_EQ(std::remove("C:\\data\\a"), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(CrtFilesTest, RenameMovesAFileOfTheDrive) {
  EXPECT_EQ(std::rename("C:\\data\\a", "C:\\data\\b"), 0);
  EXPECT_EQ(host::machine().drive.read(L"C:\\data\\b"), "text");
}

TEST_F(CrtFilesTest, RenameDoesNotReplaceAFile) {
  host::machine().drive.write(L"C:\\data\\b", "other");
  errno = 0;
  EXPECT_EQ(std::rename("C:\\data\\a", "C:\\data\\b"), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(host::machine().drive.read(L"C:\\data\\b"), "other");
}

TEST_F(CrtFilesTest, AnOpenFileIsNotRemoved) {
  const HANDLE file = CreateFileW(L"C:\\data\\a", GENERIC_READ, 3, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  errno = 0;
  EXPECT_EQ(std::remove("C:\\data\\a"), -1);
  EXPECT_EQ(errno, EACCES);
  CloseHandle(file);
}

TEST_F(CrtFilesTest, ANativePathIsLeftToTheNativeCall) {
  const std::string path = (host::machine().drive.root() / "C" / "data" / "a").string();
  EXPECT_EQ(std::remove(path.c_str()), 0);
  EXPECT_EQ(journal().count("remove"), 0U);
}

TEST_F(CrtFilesTest, TheCallsCanBeToldToFail) {
  faults().failOnce("remove", 5);
  faults().failOnce("rename", 183);
  errno = 0;
  EXPECT_EQ(std::remove("C:\\data\\a"), -1);
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(std::rename("C:\\data\\a", "C:\\data\\b"), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(host::machine().drive.read(L"C:\\data\\a"), "text");
}

}  // namespace
