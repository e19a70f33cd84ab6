#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/ConfigMgmt.h"
#include "VUSL/Support/Exception.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Texts = std::vector<std::string>;

constexpr char kName[] = "C:\\conf\\x.conf";
constexpr wchar_t kPath[] = L"C:\\conf\\x.conf";
constexpr wchar_t kNewPath[] = L"C:\\conf\\x.conf.new";
constexpr wchar_t kBackupPath[] = L"C:\\conf\\x.conf.bak";
constexpr char kMissing[] = "(missing)";

Pairs settingsOf(ConfigMgmt& store) {
  Pairs settings;
  store.getSettingsByPrefix("", &settings);
  return settings;
}

class ConfigSaveTest : public host::MachineTest {
 protected:
  static void write(const std::string& content, const wchar_t* path = kPath) {
    host::machine().drive.write(path, content);
  }
  static std::string read(const wchar_t* path = kPath) {
    return host::machine().drive.read(path).value_or(kMissing);
  }
  // A store of this file in which "a" is "new".
  static ConfigMgmt storeWithA(bool silent = true) {
    write("a = old\n");
    ConfigMgmt store(kName, silent);
    store.setSetting("a", "new");
    return store;
  }
  // What such a store makes of a file that now has this content.
  static std::string saved(const std::string& content) {
    ConfigMgmt store = storeWithA();
    write(content);
    EXPECT_TRUE(store.saveSettings());
    EXPECT_EQ(read(kBackupPath), content);
    EXPECT_EQ(read(kNewPath), kMissing);
    return read();
  }
};

// The two directions. The reader and the writer deliberately do not treat the same line alike.

struct LineRow {
  const char* name;
  const char* content;
  const char* loadError;  // null if the file loads
  Pairs loaded;
  const char* saved;  // by a store that holds only "a", as "new"
};

class ConfigDirectionsTest : public ConfigSaveTest,
                             public ::testing::WithParamInterface<LineRow> {};

TEST_P(ConfigDirectionsTest, loading) {
  write("old = 1\n");
  ConfigMgmt store(kName, true);
  write(GetParam().content);
  const std::string thrown = thrownBy<Exception>([&] { store.reloadSettings(); });
  EXPECT_EQ(thrown, GetParam().loadError == nullptr ? "nothing" : GetParam().loadError);
  EXPECT_EQ(settingsOf(store), GetParam().loaded);
}

TEST_P(ConfigDirectionsTest, saving) {
  EXPECT_EQ(saved(GetParam().content), GetParam().saved);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ConfigDirectionsTest,
    ::testing::Values(
        LineRow{"blank", "a = 1\n \t\r\n\n", nullptr, {{"a", "1"}}, "a = \"new\"\n\n\n"},
        LineRow{"comment",
                "  # b = 1 \t\na = 1\n#\n",
                nullptr,
                {{"a", "1"}},
                "# b = 1\na = \"new\"\n#\n"},
        LineRow{"withoutEqualsSign",
                "a = 1\n  some text \r\n",
                "Check config file. Error while parsing line beginning with: some text",
                {},
                "a = \"new\"\nsome text\n"},
        LineRow{"emptyKey", "= value\na = 1\n =\n", nullptr, {{"a", "1"}}, "a = \"new\"\n"},
        LineRow{"keyInTheStore", "\ta=1\r\n", nullptr, {{"a", "1"}}, "a = \"new\"\n"},
        LineRow{"keyInTheStoreWithTheSameValue",
                "a=new # x\n",
                nullptr,
                {{"a", "new # x"}},
                "a = \"new\"\n"},
        LineRow{"keyNotInTheStore",
                "b = 1\na = 2\nA = 3\n",
                nullptr,
                {{"A", "3"}, {"a", "2"}, {"b", "1"}},
                "a = \"new\"\n"},
        LineRow{"repeatedKeyInTheStore",
                "a = 1\n#\na = 1\n",
                "Check config file. Key already exist: a",
                {},
                "a = \"new\"\n#\n"},
        LineRow{"repeatedKeyNotInTheStore",
                "b = 1\nb = 2\na = 1\n",
                "Check config file. Key already exist: b",
                {},
                "a = \"new\"\n"},
        LineRow{"lastLineWithoutLineEnd", "# x\na=1", nullptr, {{"a", "1"}}, "# x\na = \"new\"\n"},
        LineRow{
            "lastCommentWithoutLineEnd", "a=1\n# x", nullptr, {{"a", "1"}}, "a = \"new\"\n# x\n"},
        LineRow{"emptyFile", "", nullptr, {}, "a = \"new\"\n"}),
    [](const auto& row) { return std::string(row.param.name); });

// Saving.

TEST_F(ConfigSaveTest, linesKeepTheirPlacesAndNewSettingsGoToTheEndInKeyOrder) {
  write("# head\nz = 1\n\nb = 2\n# tail\n");
  ConfigMgmt store(kName, true);
  store.setSetting("y", "4");
  store.setSetting("c", "3");
  store.setSetting("b", "two");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), "# head\nz = \"1\"\n\nb = \"two\"\n# tail\nc = \"3\"\ny = \"4\"\n");
}

TEST_F(ConfigSaveTest, savingKeepsTheStore) {
  ConfigMgmt store = storeWithA();
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(settingsOf(store), (Pairs{{"a", "new"}}));
}

TEST_F(ConfigSaveTest, savingTwiceLeavesTheSameFileAndTheFirstResultAsBackup) {
  ConfigMgmt store = storeWithA();
  write("a = 0\n# x");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), "a = \"new\"\n# x\n");
  EXPECT_EQ(read(kBackupPath), "a = \"new\"\n# x\n");
}

TEST_F(ConfigSaveTest, whatIsSavedLoadsAsTheSameSettings) {
  write("");
  ConfigMgmt store(kName, true);
  store.setSetting("blanks", "  x\t");
  store.setSetting("empty", "");
  store.setSetting("equals", "=a=b#");
  store.setSetting("bytes", std::string("\0\xFF\r", 3));
  EXPECT_TRUE(store.saveSettings());
  ConfigMgmt again(kName, true);
  EXPECT_EQ(settingsOf(again), settingsOf(store));
}

// Deliberate: there is no way to keep such a value.
TEST_F(ConfigSaveTest, valueWithAQuoteIsWrittenAsItIsAndReadUpToTheQuote) {
  ConfigMgmt store = storeWithA();
  store.setSetting("a", "x\"y");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), "a = \"x\"y\"\n");
  store.reloadSettings();
  EXPECT_EQ(settingsOf(store), (Pairs{{"a", "x"}}));
}

TEST_F(ConfigSaveTest, staleNewFileIsReplaced) {
  write("much longer content of a save that failed\n", kNewPath);
  EXPECT_EQ(saved("a = 1\n"), "a = \"new\"\n");
}

TEST_F(ConfigSaveTest, storeThatEmptiesTheFileLeavesAnEmptyFile) {
  write("");
  ConfigMgmt store(kName, true);
  write("b = 1\n");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), "");
  EXPECT_EQ(read(kBackupPath), "b = 1\n");
}

TEST_F(ConfigSaveTest, storeWithoutAFileNameThrowsBeforeAnyFileIsTouched) {
  ConfigMgmt store;
  EXPECT_EQ(thrownBy<AssertException>([&] { store.saveSettings(); }),
            "configFileName must not be empty");
  EXPECT_EQ(journal().names(), Texts{});
}

TEST_F(ConfigSaveTest, stepsOfTheExchangeComeInTheirOrder) {
  ConfigMgmt store = storeWithA();
  write("older", kBackupPath);
  journal().clear();
  EXPECT_TRUE(store.saveSettings());
  Texts steps;
  for (const auto& call : journal().entries()) {
    const std::string name = call.name;
    if (name == "_stat64i32" || name == "remove" || name == "rename" || name == "WriteFile") {
      steps.push_back(name == "WriteFile" ? name : name + " " + call.args);
    }
  }
  ASSERT_EQ(steps.size(), 5U);
  EXPECT_EQ(steps[0], "WriteFile");
  EXPECT_TRUE(steps[1].starts_with("_stat64i32 ") && steps[1].find(".bak") != std::string::npos);
  EXPECT_TRUE(steps[2].starts_with("remove ") && steps[2].find(".bak") != std::string::npos);
  EXPECT_TRUE(steps[3].starts_with("rename ") && steps[3].find(".bak") != std::string::npos);
  EXPECT_TRUE(steps[4].starts_with("rename ") && steps[4].find(".new") != std::string::npos);
  EXPECT_EQ(ledger().open("file"), 0U);
  EXPECT_EQ(ledger().open("find"), 0U);
}

// What is logged.

TEST_F(ConfigSaveTest, silentSavingLogsNothing) {
  LogRecorder log;
  ConfigMgmt store = storeWithA();
  store.setSetting("b", "1");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(ConfigSaveTest, tracedSavingLogsEachSettingAlsoTheUnchanged) {
  write("b = 1\n# x\na = 2\n");
  ConfigMgmt store(kName, false);
  store.setSetting("d", "4");
  store.setSetting("c", "3");
  LogRecorder log;
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[DBG] [TPM] [0x] Updated line: b=1", "[DBG] [TPM] [0x] Updated line: a=2",
                   "[DBG] [TPM] [0x] New line: c=3", "[DBG] [TPM] [0x] New line: d=4"}));
}

class OtherForm : public ConfigMgmt {
 public:
  using ConfigMgmt::ConfigMgmt;
  std::string formatSettingLine(std::string key, std::string value) override {
    if (value == "throw") {
      throw std::runtime_error("no form");
    }
    return key + ":=" + value + "\n";
  }
};

TEST_F(ConfigSaveTest, writtenFormIsTheObjectsOwn) {
  write("a = 1\n");
  OtherForm store(kName, true);
  store.setSetting("b", "2");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), "a:=1\nb:=2\n");
}

// Failures.

TEST_F(ConfigSaveTest, unexpectedExceptionIsAnInternalErrorAndTouchesNoFile) {
  write("a = throw\n");
  write("older", kBackupPath);
  OtherForm store(kName, true);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses(),
            Texts{"[ERR] [TPM] [0x] Internal error occured when trying to update config file."});
  EXPECT_EQ(read(), "a = throw\n");
  EXPECT_EQ(read(kBackupPath), "older");
  EXPECT_EQ(read(kNewPath), kMissing);
}

// Deliberate: a save cannot create the file, and costs the old backup.
TEST_F(ConfigSaveTest, missingFileCostsTheOldBackupAndReturnsFalse) {
  ConfigMgmt store = storeWithA();
  write("older", kBackupPath);
  host::machine().drive.remove(kPath);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[ERR] [TPM] [0x] Error occured when trying open old config file: File does "
                   "not exist",
                   "[ERR] [TPM] [0x] Error occured when trying to rename file: C:\\conf\\x.conf "
                   "to: C:\\conf\\x.conf.bak"}));
  EXPECT_EQ(read(), kMissing);
  EXPECT_EQ(read(kBackupPath), kMissing);
  EXPECT_EQ(read(kNewPath), kMissing);
}

// One call of a save fails once. Before it the file holds the old content and ".bak" an older one.
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

constexpr char kOld[] = "a = old\n";
constexpr char kOlder[] = "older";
constexpr char kNew[] = "a = \"new\"\n";

class ConfigSaveFailureTest : public ConfigSaveTest,
                              public ::testing::WithParamInterface<FailureRow> {};

TEST_P(ConfigSaveFailureTest, outcome) {
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
    EachCall, ConfigSaveFailureTest,
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

TEST_F(ConfigSaveTest, failedRemovalOfTheUnfinishedNewFileIsLogged) {
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

TEST_F(ConfigSaveTest, staleNewFileThatCannotBeDeletedFailsTheUpdate) {
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

TEST_F(ConfigSaveTest, failedSaveLogsItsErrorAlsoWhenTracedAndLeavesNoHandleOpen) {
  ConfigMgmt store = storeWithA(false);
  faults().failOnce("ReadFile", 23);
  LogRecorder log;
  EXPECT_FALSE(store.saveSettings());
  EXPECT_EQ(log.withoutAddresses().size(), 1U);
  EXPECT_EQ(ledger().open("file"), 0U);
}

}  // namespace
