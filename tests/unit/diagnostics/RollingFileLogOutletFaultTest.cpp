// Each platform call of a line that rolls fails once: what becomes of the line, of the archives and
// of the reason.

#include "VUSL/Support/RollingFileLogOutlet.h"

#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "platform/host/DriveLimits.h"
#include "tests/unit/diagnostics/RollingOutletFixture.h"

namespace {

using Heard = std::vector<std::pair<std::string, uint32_t>>;

// The line "b" rolls a file that holds "a", with two archives of which the last must go.
class RollingFileLogOutletFaultTest : public RollingOutletFixture {
 protected:
  RollingFileLogOutletFaultTest() {
    write(L"x.log.0", "zero");
    write(L"x.log.1", "one");
    outlet.setMaxFileSize(3);
    outlet.setMaxArchiveNumber(2);
    outlet.setListener(&listener);
    outlet.Dump(L"a");
  }

  void rollWith(const std::string& call, DWORD error, unsigned nth = 1) {
    faults().failOnce(call, error, nth);
    EXPECT_NO_THROW(outlet.Dump(L"b"));
  }

  RecordingListener listener;
  RollingFileLogOutlet outlet{kPath};
};

TEST_F(RollingFileLogOutletFaultTest, rollsWithoutAFault) {
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.0"), "a\r\n");
  EXPECT_EQ(content(L"x.log.1"), "zero");
  EXPECT_TRUE(listener.heard.empty());
}

TEST_F(RollingFileLogOutletFaultTest, doesNotRollWhenTheFileCannotBeClosed) {
  rollWith("CloseHandle", 6);
  EXPECT_EQ(content(L"x.log"), "a\r\nError when closing file C:\\logs\\x.logLast Error: 6b\r\n");
  EXPECT_EQ(content(L"x.log.0"), "zero");
  EXPECT_TRUE(listener.heard.empty());
}

TEST_F(RollingFileLogOutletFaultTest, goesOnInAFileThatIsNotFoundAsIfItHadRolled) {
  rollWith("FindFirstFileW", 5);
  EXPECT_EQ(content(L"x.log"), "a\r\nb\r\n");
  EXPECT_EQ(content(L"x.log.0"), "zero");
}

TEST_F(RollingFileLogOutletFaultTest, takesAnArchiveThatIsNotFoundForAGapAndOverwritesNothing) {
  rollWith("FindFirstFileW", 5, 2);
  EXPECT_EQ(content(L"x.log"),
            "a\r\nError when renaming file from C:\\logs\\x.log to C:\\logs\\x.log.0"
            "Last error: 183b\r\n");
  EXPECT_EQ(content(L"x.log.0"), "zero");
  EXPECT_EQ(content(L"x.log.1"), "one");
}

TEST_F(RollingFileLogOutletFaultTest, doesNotLookAtTheEndOfASearch) {
  rollWith("FindClose", 6);
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.0"), "a\r\n");
}

TEST_F(RollingFileLogOutletFaultTest, movesNothingWhenTheLastArchiveCannotBeDeleted) {
  rollWith("DeleteFileW", 5);
  EXPECT_EQ(content(L"x.log"),
            "a\r\nError when deleting file: C:\\logs\\x.log.1Last error: 5b\r\n");
  EXPECT_EQ(content(L"x.log.0"), "zero");
  EXPECT_EQ(content(L"x.log.1"), "one");
}

TEST_F(RollingFileLogOutletFaultTest, keepsTheFileWhenAnArchiveCannotBeMoved) {
  rollWith("MoveFileW", 32);
  EXPECT_EQ(content(L"x.log"),
            "a\r\nError when renaming file from C:\\logs\\x.log.0 to C:\\logs\\x.log.1"
            "Last error: 32b\r\n");
  EXPECT_EQ(content(L"x.log.0"), "zero");
}

TEST_F(RollingFileLogOutletFaultTest, leavesAGapWhenTheFileItselfCannotBeMovedAndFillsItNextTime) {
  rollWith("MoveFileW", 32, 2);
  EXPECT_EQ(content(L"x.log.0"), std::nullopt);
  EXPECT_EQ(content(L"x.log.1"), "zero");
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
  EXPECT_EQ(content(L"x.log.0"),
            "a\r\nError when renaming file from C:\\logs\\x.log to C:\\logs\\x.log.0"
            "Last error: 32b\r\n");
  EXPECT_EQ(content(L"x.log.1"), "zero");
}

TEST_F(RollingFileLogOutletFaultTest, countsTheFileAndTheReasonAfterAFailedRoll) {
  write(L"y.log", std::string(500, 'y'));
  RollingFileLogOutlet other("C:\\logs\\y.log");
  other.setMaxFileSize(500);
  faults().failOnce("MoveFileW", 5);
  other.Dump(L"b");
  EXPECT_EQ(content(L"y.log.0"), std::nullopt);
  other.Dump(L"c");
  EXPECT_EQ(content(L"y.log"), "c\r\n");
}

TEST_F(RollingFileLogOutletFaultTest, losesTheLineAloneWhenTheFileCannotBeOpened) {
  rollWith("CreateFileW", 5);
  EXPECT_EQ(content(L"x.log"), std::nullopt);
  EXPECT_EQ(content(L"x.log.0"), "a\r\n");
  EXPECT_EQ(listener.heard, (Heard{{"Error when writing to log file: Error when opening file "
                                    "C:\\logs\\x.log Last error: 5",
                                    1}}));
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
}

TEST_F(RollingFileLogOutletFaultTest, losesTheLineAloneWhenTheEndOfTheFileCannotBeFound) {
  rollWith("SetFilePointer", 87);
  EXPECT_EQ(content(L"x.log"), "");
  EXPECT_EQ(listener.heard, (Heard{{"Error when writing to log file: Error when moving to end of "
                                    "file C:\\logs\\x.log87",
                                    1}}));
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
}

TEST_F(RollingFileLogOutletFaultTest, losesTheLineAloneWhenItCannotBeWritten) {
  rollWith("WriteFile", 112);
  EXPECT_EQ(content(L"x.log"), "");
  EXPECT_EQ(listener.heard, (Heard{{"Error when writing to log file: Error when writing 3 bytes to "
                                    "file C:\\logs\\x.logLast error: 112",
                                    1}}));
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
}

// The reason cannot be written: the roll's failure and the line are lost together, and the listener
// hears of the second failure.
TEST_F(RollingFileLogOutletFaultTest, doesNotWriteTheLineWhenTheReasonCannotBeWritten) {
  faults().failOnce("WriteFile", 112);
  rollWith("MoveFileW", 32);
  EXPECT_EQ(content(L"x.log"), "a\r\n");
  EXPECT_EQ(listener.heard, (Heard{{"Error when writing to log file: Error when writing 78 bytes "
                                    "to file C:\\logs\\x.logLast error: 112",
                                    1}}));
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
}

TEST_F(RollingFileLogOutletFaultTest, doesNotWriteTheLineWhenTheFileOfTheReasonCannotBeClosed) {
  faults().failOnce("CloseHandle", 6, 2);
  rollWith("MoveFileW", 32);
  EXPECT_EQ(content(L"x.log"),
            "a\r\nError when renaming file from C:\\logs\\x.log.0 to C:\\logs\\x.log.1"
            "Last error: 32");
  EXPECT_EQ(listener.heard, (Heard{{"Error when writing to log file: Error when closing file "
                                    "C:\\logs\\x.logLast Error: 6",
                                    1}}));
}

TEST_F(RollingFileLogOutletFaultTest, doesNotWriteTheLineWhenTheSizeForTheReasonCannotBeRead) {
  faults().failOnce("FindFirstFileW", 5, 4);
  rollWith("MoveFileW", 32);
  EXPECT_EQ(content(L"x.log"), "a\r\n");
  EXPECT_EQ(listener.heard, (Heard{{"Error when writing to log file: getSize:Failed to read size "
                                    "of file: C:\\logs\\x.log, error: 5",
                                    1}}));
}

// A roll that breaks with something foreign: no reason is written.
TEST_F(RollingFileLogOutletFaultTest, doesNotWriteTheLineWhenRollingThrowsAnythingElse) {
  struct Breaking : RollingFileLogOutlet {
    using RollingFileLogOutlet::RollingFileLogOutlet;
    void roll(const vusl::string_t&, unsigned int) override { throw 1; }
  } breaking{kPath};
  breaking.setMaxFileSize(3);
  breaking.setListener(&listener);
  EXPECT_NO_THROW(breaking.Dump(L"b"));
  EXPECT_EQ(content(L"x.log"), "a\r\n");
  EXPECT_EQ(listener.heard, (Heard{{"Could not write to log file.", 1}}));
}

TEST_F(RollingFileLogOutletFaultTest, keepsWhatTheListenerThrowsToItself) {
  struct Throwing : RecordingListener {
    void OnStatus(const vusl::string_t& text, uint32_t flag) override {
      RecordingListener::OnStatus(text, flag);
      throw 1;
    }
  } throwing;
  outlet.setListener(&throwing);
  EXPECT_NO_FATAL_FAILURE(rollWith("WriteFile", 112));
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
  // The recovery that was not taken counts as a failure of its own.
  EXPECT_EQ(throwing.heard.size(), 3U);
  EXPECT_EQ(throwing.heard.back(),
            (std::pair<std::string, uint32_t>("Could not write to log file.", 1)));
}

TEST_F(RollingFileLogOutletFaultTest, tellsNobodyWithoutAListenerAndRecovers) {
  outlet.setListener(nullptr);
  rollWith("WriteFile", 112);
  outlet.setListener(&listener);
  outlet.Dump(L"c");
  EXPECT_TRUE(listener.heard.empty());
}

TEST_F(RollingFileLogOutletFaultTest, staysWithAFileThatAnotherProgramKeepsAndRollsLater) {
  const HANDLE other = CreateFileW(L"C:\\logs\\x.log", GENERIC_READ, FILE_SHARE_READ | 2, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"),
            "a\r\nError when renaming file from C:\\logs\\x.log to C:\\logs\\x.log.0"
            "Last error: 32b\r\n");
  CloseHandle(other);
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
}

TEST_F(RollingFileLogOutletFaultTest, writesNothingToAReadOnlyFileAndGoesOnWhenItMay) {
  RollingFileLogOutlet other("C:\\logs\\y.log");
  write(L"y.log", "old\r\n");
  host::setReadOnly(host::machine().drive, L"C:\\logs\\y.log", true);
  EXPECT_NO_THROW(other.Dump(L"a"));
  EXPECT_EQ(content(L"y.log"), "old\r\n");
  host::setReadOnly(host::machine().drive, L"C:\\logs\\y.log", false);
  other.Dump(L"b");
  EXPECT_EQ(content(L"y.log"), "old\r\nb\r\n");
}

TEST_F(RollingFileLogOutletFaultTest, cannotBeMadeInAFolderThatIsDenied) {
  host::driveLimits().deny(L"C:\\logs");
  EXPECT_THROW(RollingFileLogOutlet{kPath}, Exception);
}

TEST_F(RollingFileLogOutletFaultTest, keepsADeniedFolderToItself) {
  host::driveLimits().deny(L"C:\\logs");
  EXPECT_NO_THROW(outlet.Dump(L"b"));
  host::driveLimits().allow(L"C:\\logs");
  EXPECT_EQ(content(L"x.log"), "a\r\n");
  ASSERT_EQ(listener.heard.size(), 1U);
}

}  // namespace
