// Each platform call of a roll by date fails once: what becomes of the archives and of the line.

#include <string>

#include "VUSL/Support/RollingDateFileLogOutlet.h"
#include "platform/host/DriveLimits.h"
#include "tests/unit/diagnostics/RollingOutletFixture.h"

namespace {

// The line "b" rolls a file that holds "a", with two archives of which the older must go.
class RollingDateFileLogOutletFaultTest : public RollingOutletFixture {
 protected:
  RollingDateFileLogOutletFaultTest() {
    writeDaysAgo(L"x.log.old", "old", 2);
    writeDaysAgo(L"x.log.new", "new", 1);
    outlet.setMaxFileSize(3);
    outlet.setMaxArchiveNumber(3);
    outlet.setListener(&listener);
    outlet.Dump(L"a");
  }
  ~RollingDateFileLogOutletFaultTest() override { EXPECT_TRUE(listener.heard.empty()); }

  void rollWith(const std::string& call, DWORD error, unsigned nth = 1) {
    faults().failOnce(call, error, nth);
    EXPECT_NO_THROW(outlet.Dump(L"b"));
  }

  RecordingListener listener;
  RollingDateFileLogOutlet outlet{kPath};
};

TEST_F(RollingDateFileLogOutletFaultTest, rollsAndPrunesWithoutAFault) {
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(kFirstArchive), "a\r\n");
  EXPECT_EQ(content(L"x.log.new"), "new");
  EXPECT_EQ(content(L"x.log.old"), std::nullopt);
}

TEST_F(RollingDateFileLogOutletFaultTest, neitherMovesNorPrunesWhenTheFileCannotBeClosed) {
  rollWith("CloseHandle", 6);
  EXPECT_EQ(content(L"x.log"), "a\r\nError when closing file C:\\logs\\x.logLast Error: 6b\r\n");
  EXPECT_EQ(content(L"x.log.old"), "old");
}

TEST_F(RollingDateFileLogOutletFaultTest, leavesTheFileInPlaceWhenItCannotBeMovedAndTriesAgain) {
  rollWith("MoveFileW", 5);
  EXPECT_EQ(content(L"x.log"),
            "a\r\nError when renaming file from C:\\logs\\x.log to "
            "C:\\logs\\x.log.20260102030405Last error: 5b\r\n");
  EXPECT_EQ(content(L"x.log.old"), "old");
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
  EXPECT_EQ(content(L"x.log.old"), std::nullopt);
}

TEST_F(RollingDateFileLogOutletFaultTest, prunesNothingWhenTheArchivesCannotBeListed) {
  rollWith("FindFirstFileW", 5);
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.old"), "old");
}

TEST_F(RollingDateFileLogOutletFaultTest, countsTheArchivesThatAreListedBeforeTheListBreaksOff) {
  rollWith("FindNextFileW", 5);
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.old"), "old");
}

TEST_F(RollingDateFileLogOutletFaultTest, doesNotLookAtTheEndOfTheSearch) {
  rollWith("FindClose", 6);
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.old"), std::nullopt);
}

// The file's own name stays in the place of its folder, so no archive is found where it is looked
// for, and each counts as handled.
TEST_F(RollingDateFileLogOutletFaultTest, prunesNothingWhenTheFolderCannotBeTakenFromThePath) {
  rollWith("PathRemoveFileSpecW", 87);
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.old"), "old");
}

// The folder itself stays in the place of the first archive. Its times cannot be had, so it keeps
// the arbitrary start and counts as the oldest.
TEST_F(RollingDateFileLogOutletFaultTest, triesTheFolderWhenAPathCannotBeJoined) {
  rollWith("PathAppendW", 87);
  EXPECT_EQ(content(L"x.log"),
            "Unable to remove file(s): C:\\logs reason: Error when deleting file: C:\\logs"
            "Last error: 5 b\r\n");
  EXPECT_EQ(content(L"x.log.old"), "old");
}

TEST_F(RollingDateFileLogOutletFaultTest, doesNotLookAtTheClosingOfAnArchive) {
  faults().failOnce("CloseHandle", 6, 2);
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(kFirstArchive), "a\r\n");
}

TEST_F(RollingDateFileLogOutletFaultTest, countsAnArchiveAsHandledThatIsNotFound) {
  rollWith("FindFirstFileW", 2, 2);
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.old"), "old");
}

TEST_F(RollingDateFileLogOutletFaultTest, putsTheReasonIntoTheNewFileWhenAnArchiveCannotBeDeleted) {
  rollWith("DeleteFileW", 5);
  EXPECT_EQ(content(L"x.log"),
            "Unable to remove file(s): C:\\logs\\x.log.old reason: Error when deleting file: "
            "C:\\logs\\x.log.oldLast error: 5 b\r\n");
  EXPECT_EQ(content(kFirstArchive), "a\r\n");
  // Nothing newer goes in its place.
  EXPECT_EQ(content(L"x.log.new"), "new");
}

TEST_F(RollingDateFileLogOutletFaultTest, hasFixedWordsForADeletionThatBreaksWithAnythingElse) {
  host::CallHooks::instance().before("DeleteFileW", 1, [] { throw 1; });
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"),
            "Unable to remove file(s): C:\\logs\\x.log.old reason: uknown b\r\n");
}

TEST_F(RollingDateFileLogOutletFaultTest, tellsOfEveryArchiveThatIsReadOnly) {
  outlet.setMaxArchiveNumber(2);
  host::setReadOnly(host::machine().drive, L"C:\\logs\\x.log.old", true);
  host::setReadOnly(host::machine().drive, L"C:\\logs\\x.log.new", true);
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"),
            "Unable to remove file(s): C:\\logs\\x.log.old reason: Error when deleting file: "
            "C:\\logs\\x.log.oldLast error: 5 C:\\logs\\x.log.new reason: Error when deleting "
            "file: C:\\logs\\x.log.newLast error: 5 b\r\n");
}

// An archive that another program writes to cannot be opened for its times: it takes those of the
// file before it, here the new archive's, and the other one is the oldest no longer.
TEST_F(RollingDateFileLogOutletFaultTest, mistakesTheAgeOfAnArchiveThatIsInUse) {
  const HANDLE other = CreateFileW(L"C:\\logs\\x.log.old", GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  outlet.Dump(L"b");
  CloseHandle(other);
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.old"), "old");
  EXPECT_EQ(content(L"x.log.new"), std::nullopt);
}

}  // namespace
