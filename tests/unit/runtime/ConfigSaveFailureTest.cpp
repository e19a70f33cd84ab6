// What a save does when something fails.

#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "platform/host/DriveLimits.h"
#include "tests/support/LogRecorder.h"
#include "tests/unit/runtime/ConfigFilesTest.h"
#include "tests/unit/runtime/FailingAllocation.h"
#include "tests/unit/runtime/PointerText.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

// Larger than any other piece of memory that a save takes.
constexpr std::size_t kLarge = 100'000;

// Less than the text of an error needs, and more than the path in it.
constexpr std::size_t kLessThanAText = 60;

class ConfigSaveFailureTest : public ConfigFilesTest {
 protected:
  // The next call of this name fails, and the text of the error finds no memory.
  static void spoilTheErrorOf(const char* call, DWORD error) {
    faults().failOnce(call, error);
    // The journal would take memory too.
    journal().keepEntries(false);
    const std::size_t next = journal().count(call) + 1;
    host::CallHooks::instance().before(call, next, [] { spoilNextAllocation(kLessThanAText); });
  }
};

class ThrowingForm : public ConfigMgmt {
 public:
  using ConfigMgmt::ConfigMgmt;
  std::string formatSettingLine(std::string, std::string) override {
    throw std::runtime_error("no form");
  }
};

TEST_F(ConfigSaveFailureTest, unexpectedExceptionIsAnInternalErrorAndTouchesNoFile) {
  write("a = 1\n");
  write(kOlder, kBackupPath);
  ThrowingForm store(kName, true);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] [" + pointerText(&store) +
                               "] Internal error occured when trying to update config file."});
  EXPECT_EQ(read(), "a = 1\n");
  EXPECT_EQ(read(kBackupPath), kOlder);
  EXPECT_EQ(read(kNewPath), kMissing);
}

// Deliberate: a save cannot create the file, and costs the old backup.
TEST_F(ConfigSaveFailureTest, missingFileCostsTheOldBackupAndReturnsFalse) {
  ConfigMgmt store = storeWithA();
  write(kOlder, kBackupPath);
  host::machine().drive.remove(kPath);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  const std::string ofTheStore = "[ERR] [TPM] [" + pointerText(&store) + "] ";
  EXPECT_EQ(
      log.texts(),
      (Texts{ofTheStore + "Error occured when trying open old config file: File does not exist",
             ofTheStore + "Error occured when trying to rename file: C:\\conf\\x.conf to: "
                          "C:\\conf\\x.conf.bak"}));
  EXPECT_EQ(read(), kMissing);
  EXPECT_EQ(read(kBackupPath), kMissing);
  EXPECT_EQ(read(kNewPath), kMissing);
}

TEST_F(ConfigSaveFailureTest, failedRemovalOfTheUnfinishedNewFileIsLogged) {
  ConfigMgmt store = storeWithA();
  faults().failOnce("WriteFile", 112);
  faults().failOnce("remove", 5);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses().back(),
            "[ERR] [TPM] [0x] Error occured when trying to remove temporary config file: "
            "C:\\conf\\x.conf.new");
  EXPECT_EQ(read(kNewPath), "");
  EXPECT_EQ(ledger().open("file"), 0U);
}

TEST_F(ConfigSaveFailureTest, staleNewFileThatCannotBeDeletedFailsTheUpdate) {
  ConfigMgmt store = storeWithA();
  write("stale", kNewPath);
  faults().failOnce("DeleteFileW", 5);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses(),
            Texts{"[ERR] [TPM] [0x] Error occured when trying to update config file: Error when "
                  "deleting file: C:\\conf\\x.conf.newLast error: 5"});
  EXPECT_EQ(read(), kOld);
  EXPECT_EQ(read(kNewPath), "stale");
}

// A search that is not given back is lost and changes nothing.
TEST_F(ConfigSaveFailureTest, searchThatCannotBeClosedIsNoFailure) {
  ConfigMgmt store = storeWithA();
  faults().failFrom("FindClose", 6);
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), kNew);
}

// Deliberate: what stands under the name of the new file is not looked into. It may be all that is
// left of the settings, so a save that wrote nothing does not take it away either.
TEST_F(ConfigSaveFailureTest, fileThatIsNotSeenOnceGivesItsPlaceToAStaleNewFile) {
  ConfigMgmt store = storeWithA();
  write("stale", kNewPath);
  faults().failOnce("FindFirstFileW", 5);
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), "stale");
  EXPECT_EQ(read(kBackupPath), kOld);
  EXPECT_EQ(read(kNewPath), kMissing);
}

// Nothing is rolled back: until somebody renames it, the new content is in ".new" alone.
TEST_F(ConfigSaveFailureTest, afterTheLastRenamingFailedLoadingFindsNoFileAndSavingCostsTheBackup) {
  ConfigMgmt store = storeWithA();
  faults().failOnce("rename", 32, 2);
  EXPECT_FALSE(store.saveSettings());
  EXPECT_THROW(ConfigMgmt(kName, true), MissingFileError);
  EXPECT_EQ(read(kBackupPath), kOld);
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(read(), kMissing);
  EXPECT_EQ(read(kBackupPath), kMissing);
  EXPECT_EQ(read(kNewPath), kNew);
}

// A drive may take fewer bytes than it was given and call that a success.
TEST_F(ConfigSaveFailureTest, shortWriteLeavesTheFileAsItWas) {
  ConfigMgmt store = storeWithA();
  write(kOlder, kBackupPath);
  host::driveLimits().freeBytes = 4;
  host::driveLimits().shortWrites = true;
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(
      log.withoutAddresses(),
      Texts{"[ERR] [TPM] [0x] Error occured when trying to update config file: New file has 4 "
            "bytes instead of 10"});
  EXPECT_EQ(read(), kOld);
  EXPECT_EQ(read(kBackupPath), kOlder);
}

TEST_F(ConfigSaveFailureTest, staleNewFileThatIsNotSeenIsNotTakenForTheNewOne) {
  ConfigMgmt store = storeWithA();
  write("stale", kNewPath);
  faults().failOnce("FindFirstFileW", 5, 4);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses(),
            Texts{"[ERR] [TPM] [0x] Error occured when trying to update config file: New file has "
                  "15 bytes instead of 10"});
  EXPECT_EQ(read(), kOld);
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), kNew);
}

TEST_F(ConfigSaveFailureTest, fullDiskLeavesTheFilesAsTheyWere) {
  ConfigMgmt store = storeWithA();
  write(kOlder, kBackupPath);
  host::driveLimits().freeBytes = 4;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(read(), kOld);
  EXPECT_EQ(read(kBackupPath), kOlder);
  EXPECT_EQ(read(kNewPath), kMissing);
}

TEST_F(ConfigSaveFailureTest, backupThatMayNotBeRemovedKeepsTheFile) {
  ConfigMgmt store = storeWithA();
  write(kOlder, kBackupPath);
  setReadOnly(host::machine().drive, kBackupPath, true);
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(read(), kOld);
  EXPECT_EQ(read(kBackupPath), kOlder);
}

// Closing what failed before may fail too, and that is not caught.

TEST_F(ConfigSaveFailureTest, unfinishedNewFileThatCannotBeClosedThrowsAndStays) {
  ConfigMgmt store = storeWithA();
  faults().failOnce("WriteFile", 112);
  faults().failOnce("CloseHandle", 6, 2);
  EXPECT_EQ(thrownBy<Exception>([&] { store.saveSettings(); }),
            "Error when closing file C:\\conf\\x.conf.newLast Error: 6");
  EXPECT_EQ(read(), kOld);
  EXPECT_EQ(read(kNewPath), "");
}

TEST_F(ConfigSaveFailureTest, unreadFileThatCannotBeClosedThrows) {
  ConfigMgmt store = storeWithA();
  faults().failOnce("ReadFile", 23);
  faults().failOnce("CloseHandle", 6);
  EXPECT_EQ(thrownBy<Exception>([&] { store.saveSettings(); }),
            "Error when closing file C:\\conf\\x.confLast Error: 6");
  EXPECT_EQ(read(), kOld);
}

TEST_F(ConfigSaveFailureTest, unreadFileThatCannotBeClosedThrowsAfterAnInternalErrorToo) {
  ConfigMgmt store = storeWithA();
  spoilTheErrorOf("ReadFile", 23);
  faults().failOnce("CloseHandle", 6);
  LogRecorder log;
  EXPECT_EQ(thrownBy<Exception>([&] { store.saveSettings(); }),
            "Error when closing file C:\\conf\\x.confLast Error: 6");
  EXPECT_EQ(log.withoutAddresses(),
            Texts{"[ERR] [TPM] [0x] Internal error occured when trying to update config file."});
  EXPECT_EQ(read(), kOld);
}

TEST_F(ConfigSaveFailureTest, unfinishedNewFileThatIsNotSeenStaysWithoutAWord) {
  ConfigMgmt store = storeWithA();
  faults().failOnce("WriteFile", 112);
  faults().failOnce("_stat64i32", 5);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses().size(), 1U);
  EXPECT_EQ(read(kNewPath), "");
}

// Memory.

TEST_F(ConfigSaveFailureTest, settingsThatCannotBeCopiedThrowBeforeAnyFileIsTouched) {
  ConfigMgmt store = storeWithA();
  store.setSetting("large", std::string(kLarge, 'x'));
  journal().clear();
  bool thrown = false;
  {
    const FailingAllocation failing(kLarge);
    try {
      store.saveSettings();
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
  }
  EXPECT_TRUE(thrown);
  EXPECT_EQ(journal().names(), Texts{});
}

TEST_F(ConfigSaveFailureTest, fileThatDoesNotFitInMemoryIsAnInternalError) {
  ConfigMgmt store = storeWithA();
  const std::string content = "#" + std::string(kLarge, 'x');
  write(content);
  write(kOlder, kBackupPath);
  LogRecorder log;
  bool result = true;
  {
    const FailingAllocation failing(kLarge);
    result = store.saveSettings();
  }
  EXPECT_FALSE(result);
  EXPECT_EQ(log.withoutAddresses(),
            Texts{"[ERR] [TPM] [0x] Internal error occured when trying to update config file."});
  EXPECT_EQ(read(), content);
  EXPECT_EQ(read(kBackupPath), kOlder);
  EXPECT_EQ(ledger().open("file"), 0U);
}

TEST_F(ConfigSaveFailureTest, unfinishedNewFileIsRemovedWhenTheErrorsTextFindsNoMemory) {
  ConfigMgmt store = storeWithA();
  spoilTheErrorOf("WriteFile", 112);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses(),
            Texts{"[ERR] [TPM] [0x] Internal error occured when trying to update config file."});
  EXPECT_EQ(read(), kOld);
  EXPECT_EQ(read(kNewPath), kMissing);
  EXPECT_EQ(ledger().open("file"), 0U);
}

TEST_F(ConfigSaveFailureTest, internalErrorIsToldAheadOfTheRemovalThatFailsBehindIt) {
  ConfigMgmt store = storeWithA();
  spoilTheErrorOf("WriteFile", 112);
  faults().failOnce("remove", 5);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[ERR] [TPM] [0x] Internal error occured when trying to update config file.",
                   "[ERR] [TPM] [0x] Error occured when trying to remove temporary config file: "
                   "C:\\conf\\x.conf.new"}));
}

TEST_F(ConfigSaveFailureTest, failedSaveLogsItsErrorAlsoWhenTracedAndLeavesNoHandleOpen) {
  ConfigMgmt store = storeWithA(false);
  faults().failOnce("ReadFile", 23);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses().size(), 1U);
  EXPECT_EQ(ledger().open("file"), 0U);
}

}  // namespace
