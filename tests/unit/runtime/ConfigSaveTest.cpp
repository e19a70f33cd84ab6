#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/Exception.h"
#include "tests/support/LogRecorder.h"
#include "tests/unit/runtime/ConfigFilesTest.h"
#include "tests/unit/runtime/PointerText.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

class ConfigSaveTest : public ConfigFilesTest {
 protected:
  // What a store that holds only "a", as "new", makes of a file with this content.
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

using Pairs = std::vector<std::pair<std::string, std::string>>;

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
        LineRow{
            "keyInTheStoreWithTheSameValue", "a=new\n", nullptr, {{"a", "new"}}, "a = \"new\"\n"},
        LineRow{"keyInTheStoreWithTextBehindTheValue",
                "a = \"1\" # why\n",
                nullptr,
                {{"a", "1"}},
                "a = \"new\"\n"},
        LineRow{"keyNotInTheStore",
                "b = 1\na = 2\nA = 3\n",
                nullptr,
                {{"A", "3"}, {"a", "2"}, {"b", "1"}},
                "a = \"new\"\n"},
        // The next key of the store is not this one, and keeps its own place.
        LineRow{"keyNotInTheStoreAheadOfOneThatIs",
                "A = 3\n#\na = 2\n",
                nullptr,
                {{"A", "3"}, {"a", "2"}},
                "#\na = \"new\"\n"},
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

// A comment has no key, and is not the line of the setting whose key is empty.
TEST_F(ConfigSaveTest, settingWithAnEmptyKeyGoesToTheEndAndTakesTheLineOfNoOther) {
  ConfigMgmt store = storeWithA();
  write("# head\nsome text\na = 1\n");
  store.setSetting("", "nobody's");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), "# head\nsome text\na = \"new\"\n = \"nobody's\"\n");
}

TEST_F(ConfigSaveTest, namesOfTheFileAndOfTheNewOneAreWidenedFromUtf8) {
  write(kOld, L"C:\\conf\\\u00E4.conf");
  ConfigMgmt store("C:\\conf\\\xC3\xA4.conf", true);
  store.setSetting("a", "new");
  journal().clear();
  EXPECT_TRUE(store.saveSettings());
  const auto opened = journal().calls("CreateFileW");
  ASSERT_EQ(opened.size(), 2U);
  EXPECT_TRUE(opened[0].args.starts_with("C:\\conf\\\xC3\xA4.conf, ")) << opened[0].args;
  EXPECT_TRUE(opened[1].args.starts_with("C:\\conf\\\xC3\xA4.conf.new, ")) << opened[1].args;
  EXPECT_EQ(read(L"C:\\conf\\\u00E4.conf"), kNew);
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

// Deliberate: a line without a key never stays, whatever the store holds.
TEST_F(ConfigSaveTest, settingWithAnEmptyKeyGoesToTheEndEachTime) {
  write("= 1\na = 1\n");
  ConfigMgmt store(kName, true);
  store.setSetting("", "x");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(read(), "a = \"1\"\n = \"x\"\n");
}

// Deliberate: the writer passes over what the reader refuses.
TEST_F(ConfigSaveTest, fileWithALineWithoutEqualsSignIsSavedAndNeverLoads) {
  ConfigMgmt store = storeWithA();
  write("a = 1\nbroken\n");
  EXPECT_TRUE(store.saveSettings());
  EXPECT_EQ(thrownBy<Exception>([&] { store.reloadSettings(); }),
            "Check config file. Error while parsing line beginning with: broken");
  EXPECT_EQ(settingsOf(store), Pairs{});
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
  store.setSetting("b", "one");
  store.setSetting("d", "4");
  store.setSetting("c", "3");
  LogRecorder log;
  EXPECT_TRUE(store.saveSettings());
  const std::string ofTheStore = "[DBG] [TPM] [" + pointerText(&store) + "] ";
  EXPECT_EQ(log.texts(),
            (Texts{ofTheStore + "Updated line: b=one", ofTheStore + "Updated line: a=2",
                   ofTheStore + "New line: c=3", ofTheStore + "New line: d=4"}));
}

class OtherForm : public ConfigMgmt {
 public:
  using ConfigMgmt::ConfigMgmt;
  std::string formatSettingLine(std::string key, std::string value) override {
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

}  // namespace
