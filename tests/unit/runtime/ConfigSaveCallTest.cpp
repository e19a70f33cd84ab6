// Each platform call of a save fails.

#include <string>
#include <utility>
#include <vector>

#include "tests/support/LogRecorder.h"
#include "tests/unit/runtime/ConfigFilesTest.h"

namespace {

using Texts = ConfigFilesTest::Texts;

constexpr const char* kOld = ConfigFilesTest::kOld;
constexpr const char* kNew = ConfigFilesTest::kNew;
constexpr const char* kOlder = ConfigFilesTest::kOlder;
constexpr const char* kMissing = ConfigFilesTest::kMissing;

// Before the save the file holds the old content and ".bak" an older one.
struct FailureRow {
  const char* name;
  const char* call;
  unsigned nth;
  unsigned error;
  Texts log;  // without its "[ERR] [TPM] [0x] Error occured when trying "
  const char* config;
  const char* backup;
  const char* newFile;
};

class ConfigSaveCallTest : public ConfigFilesTest,
                           public ::testing::WithParamInterface<FailureRow> {};

TEST_P(ConfigSaveCallTest, failsOnce) {
  ConfigMgmt store = storeWithA();
  write(kOlder, kBackupPath);
  faults().failOnce(GetParam().call, GetParam().error, GetParam().nth);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  Texts expected;
  for (const std::string& text : GetParam().log) {
    expected.push_back("[ERR] [TPM] [0x] Error occured when trying " + text);
  }
  EXPECT_EQ(log.withoutAddresses(), expected);
  EXPECT_EQ(read(), GetParam().config);
  EXPECT_EQ(read(kBackupPath), GetParam().backup);
  EXPECT_EQ(read(kNewPath), GetParam().newFile);
  EXPECT_EQ(settingsOf(store), (Pairs{{"a", "new"}}));
}

INSTANTIATE_TEST_SUITE_P(
    EachCall, ConfigSaveCallTest,
    ::testing::Values(
        // The failed look counts as a missing file, and the exchange goes on without a new one.
        FailureRow{"lookForTheFile",
                   "FindFirstFileW",
                   1,
                   5,
                   {"open old config file: File does not exist",
                    "to rename file: C:\\conf\\x.conf.new to: C:\\conf\\x.conf"},
                   kMissing,
                   kOld,
                   kMissing},
        FailureRow{"sizeOfTheFile",
                   "FindFirstFileW",
                   2,
                   5,
                   {"to update config file: getSize:Failed to read size of file: "
                    "C:\\conf\\x.conf, error: 5"},
                   kOld,
                   kOlder,
                   kMissing},
        FailureRow{"sizeOfTheFileOnceMore",
                   "FindFirstFileW",
                   3,
                   5,
                   {"to update config file: getSize:Failed to read size of file: "
                    "C:\\conf\\x.conf, error: 5"},
                   kOld,
                   kOlder,
                   kMissing},
        FailureRow{"openingTheFile",
                   "CreateFileW",
                   1,
                   32,
                   {"to update config file: Error when opening file C:\\conf\\x.conf Last error: "
                    "32"},
                   kOld,
                   kOlder,
                   kMissing},
        FailureRow{"movingInTheFile",
                   "SetFilePointer",
                   1,
                   5,
                   {"to update config file: Error when moving to end of file C:\\conf\\x.conf5"},
                   kOld,
                   kOlder,
                   kMissing},
        FailureRow{"readingTheFile",
                   "ReadFile",
                   1,
                   23,
                   {"to update config file: Error when reading file C:\\conf\\x.confLast error: "
                    "23"},
                   kOld,
                   kOlder,
                   kMissing},
        FailureRow{"closingTheFile",
                   "CloseHandle",
                   1,
                   6,
                   {"to update config file: Error when closing file C:\\conf\\x.confLast Error: "
                    "6"},
                   kOld,
                   kOlder,
                   kMissing},
        FailureRow{"openingTheNewFile",
                   "CreateFileW",
                   2,
                   5,
                   {"to update config file: Error when opening file C:\\conf\\x.conf.new Last "
                    "error: 5"},
                   kOld,
                   kOlder,
                   kMissing},
        FailureRow{"movingInTheNewFile",
                   "SetFilePointer",
                   2,
                   5,
                   {"to update config file: Error when moving to end of file "
                    "C:\\conf\\x.conf.new5"},
                   kOld,
                   kOlder,
                   kMissing},
        FailureRow{"writing",
                   "WriteFile",
                   1,
                   112,
                   {"to update config file: Error when writing 10 bytes to file "
                    "C:\\conf\\x.conf.newLast error: 112"},
                   kOld,
                   kOlder,
                   kMissing},
        // The file was marked as closed when the exception came, and so it stays.
        FailureRow{"closingTheNewFile",
                   "CloseHandle",
                   2,
                   6,
                   {"to update config file: Error when closing file C:\\conf\\x.conf.newLast "
                    "Error: 6"},
                   kOld,
                   kOlder,
                   kNew},
        FailureRow{"sizeOfTheNewFile",
                   "FindFirstFileW",
                   5,
                   5,
                   {"to update config file: getSize:Failed to read size of file: "
                    "C:\\conf\\x.conf.new, error: 5"},
                   kOld,
                   kOlder,
                   kNew},
        FailureRow{"lookForTheBackup",
                   "_stat64i32",
                   1,
                   5,
                   {"to rename file: C:\\conf\\x.conf to: C:\\conf\\x.conf.bak"},
                   kOld,
                   kOlder,
                   kNew},
        FailureRow{"removingTheBackup",
                   "remove",
                   1,
                   5,
                   {"to remove old backup config file: C:\\conf\\x.conf.bak"},
                   kOld,
                   kOlder,
                   kNew},
        FailureRow{"renamingTheFile",
                   "rename",
                   1,
                   32,
                   {"to rename file: C:\\conf\\x.conf to: C:\\conf\\x.conf.bak"},
                   kOld,
                   kMissing,
                   kNew},
        FailureRow{"renamingTheNewFile",
                   "rename",
                   2,
                   32,
                   {"to rename file: C:\\conf\\x.conf.new to: C:\\conf\\x.conf"},
                   kMissing,
                   kOld,
                   kNew}),
    [](const auto& row) { return std::string(row.param.name); });

// A call that a save makes anew needs a row above.
class ConfigSaveCallsTest : public ConfigFilesTest {};

TEST_F(ConfigSaveCallsTest, areThose) {
  ConfigMgmt store = storeWithA();
  write(kOlder, kBackupPath);
  write("stale", kNewPath);
  journal().clear();
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(
      journal().names(),
      (Texts{"FindFirstFileW", "FindClose",   "FindFirstFileW", "FindClose",   "FindFirstFileW",
             "FindClose",      "CreateFileW", "SetFilePointer", "ReadFile",    "CloseHandle",
             "FindFirstFileW", "FindClose",   "DeleteFileW",    "CreateFileW", "SetFilePointer",
             "WriteFile",      "CloseHandle", "FindFirstFileW", "FindClose",   "_stat64i32",
             "remove",         "rename",      "rename"}));
}

// Each call fails, once and from then on, while a save that failed before has left its file.
class ConfigSaveSweepTest : public ConfigFilesTest, public ::testing::WithParamInterface<bool> {
 protected:
  static bool isPermitted(const std::string& call, unsigned nth, bool saved) {
    const std::string config = read();
    if (saved) {
      return config == kNew && read(kBackupPath) == kOld;
    }
    if (config == kOld) {
      return true;
    }
    return config == kMissing && read(kBackupPath) == kOld && read(kNewPath) == kNew &&
           call == "rename" && nth == 2;
  }
};

TEST_P(ConfigSaveSweepTest, leavesTheOldContentOrTheNew) {
  const std::pair<const char*, unsigned> kCalls[] = {
      {"FindFirstFileW", 2}, {"FindFirstFileW", 3}, {"FindFirstFileW", 4}, {"FindFirstFileW", 5},
      {"CreateFileW", 1},    {"CreateFileW", 2},    {"SetFilePointer", 1}, {"SetFilePointer", 2},
      {"ReadFile", 1},       {"CloseHandle", 1},    {"CloseHandle", 2},    {"DeleteFileW", 1},
      {"WriteFile", 1},      {"_stat64i32", 1},     {"remove", 1},         {"rename", 1},
      {"rename", 2}};
  for (const auto& [call, nth] : kCalls) {
    for (const unsigned error : {2U, 5U, 32U, 112U}) {
      SCOPED_TRACE(std::string(call) + " " + std::to_string(nth) + " " + std::to_string(error));
      ConfigMgmt store = storeWithA();
      write(kOlder, kBackupPath);
      write("stale and longer than what is written", kNewPath);
      GetParam() ? faults().failOnce(call, error, nth) : faults().failFrom(call, error, nth);
      const bool saved = store.saveSettings();
      faults().clear();
      EXPECT_TRUE(isPermitted(call, nth, saved)) << saved << ", config " << read() << ", backup "
                                                 << read(kBackupPath) << ", new " << read(kNewPath);
      EXPECT_EQ(settingsOf(store), (Pairs{{"a", "new"}}));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Each, ConfigSaveSweepTest, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "once" : "fromThenOn"; });

}  // namespace
