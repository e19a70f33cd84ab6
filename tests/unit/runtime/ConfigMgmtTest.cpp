#include "VUSL/Support/ConfigMgmt.h"

#include <array>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/PointerText.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Texts = std::vector<std::string>;

constexpr char kName[] = "C:\\conf\\x.conf";
constexpr wchar_t kPath[] = L"C:\\conf\\x.conf";

Pairs settingsOf(ConfigMgmt& store) {
  Pairs settings;
  store.getSettingsByPrefix("", &settings);
  return settings;
}

class ConfigMgmtTest : public host::MachineTest {
 protected:
  static void write(const std::string& content) { host::machine().drive.write(kPath, content); }
  static Pairs load(const std::string& content) {
    write(content);
    ConfigMgmt store(kName, true);
    return settingsOf(store);
  }
};

TEST_F(ConfigMgmtTest, constructionWithoutAFileTouchesNothing) {
  LogRecorder log;
  ConfigMgmt store;
  EXPECT_EQ(settingsOf(store), Pairs{});
  EXPECT_EQ(journal().names(), Texts{});
  EXPECT_EQ(log.texts(), Texts{});
}

// The memory that the store is made in says the opposite of what the store has to say.
TEST_F(ConfigMgmtTest, storeWithoutAFileIsSilentWhateverItsMemoryHeld) {
  alignas(ConfigMgmt) std::array<unsigned char, sizeof(ConfigMgmt)> memory{};
  auto* const store = new (memory.data()) ConfigMgmt;
  LogRecorder log;
  EXPECT_THROW(store->reloadSettings(), MissingFileError);
  EXPECT_EQ(log.texts(),
            Texts{"[DBG] [TPM] [" + pointerText(store) + "] Could not open config file: "});
  std::destroy_at(store);
}

// The syntax.

TEST_F(ConfigMgmtTest, emptyFileLoadsAsAnEmptyStore) {
  EXPECT_EQ(load(""), Pairs{});
}

TEST_F(ConfigMgmtTest, blankLinesAndCommentsAreSkipped) {
  EXPECT_EQ(load("\n  \t\n# x = 1\n   # y = 2\na = 1\n#\n"), (Pairs{{"a", "1"}}));
}

TEST_F(ConfigMgmtTest, hashInsideAKeyOrAValueIsNoComment) {
  EXPECT_EQ(load("a#b = 1\nc = b # c\n"), (Pairs{{"a#b", "1"}, {"c", "b # c"}}));
}

TEST_F(ConfigMgmtTest, lastLineWithoutALineEndCounts) {
  EXPECT_EQ(load("a = 1\nb = 2"), (Pairs{{"a", "1"}, {"b", "2"}}));
}

TEST_F(ConfigMgmtTest, carriageReturnAheadOfTheLineEndFallsAway) {
  EXPECT_EQ(load("a=1\r\nb=2\r\n"), (Pairs{{"a", "1"}, {"b", "2"}}));
}

TEST_F(ConfigMgmtTest, carriageReturnAloneIsNoLineEnd) {
  EXPECT_EQ(load("a=1\rb=2\n"), (Pairs{{"a", "1\rb=2"}}));
}

TEST_F(ConfigMgmtTest, firstEqualsSignSplitsAndOthersBelongToTheValue) {
  EXPECT_EQ(load("a=b=c\n"), (Pairs{{"a", "b=c"}}));
}

TEST_F(ConfigMgmtTest, keyAndValueAreTrimmed) {
  EXPECT_EQ(load(" \t a b \t = \t x y \t \n"), (Pairs{{"a b", "x y"}}));
}

TEST_F(ConfigMgmtTest, onlyFourCharactersAreWhiteSpace) {
  EXPECT_EQ(load("\va\f = \vx\f\n"), (Pairs{{"\va\f", "\vx\f"}}));
}

TEST_F(ConfigMgmtTest, blanksInsideQuotesAreKept) {
  EXPECT_EQ(load("a = \" x \"\n"), (Pairs{{"a", " x "}}));
}

TEST_F(ConfigMgmtTest, valuesAreDecoded) {
  EXPECT_EQ(load("a = x\n"
                 "b =\n"
                 "c = \"\"\n"
                 "d = \"x\" y\n"
                 "e = \"open\n"
                 "f = \"\n"
                 "g = x\"\n"
                 "h = \"x\" \"y\"\n"),
            (Pairs{{"a", "x"},
                   {"b", ""},
                   {"c", ""},
                   {"d", "x"},
                   {"e", "open"},
                   {"f", ""},
                   {"g", "x"},
                   {"h", "x"}}));
}

// Deliberate: a quote cuts a value that never began with one.
TEST_F(ConfigMgmtTest, quoteInsideAnUnquotedValueEndsIt) {
  EXPECT_EQ(load("a = b\"c\n"), (Pairs{{"a", "b"}}));
}

TEST_F(ConfigMgmtTest, lineWithAnEmptyKeyIsSkipped) {
  EXPECT_EQ(load("=\n= value\n  = value\n"), Pairs{});
}

TEST_F(ConfigMgmtTest, keysThatDifferInCaseAreTwoSettings) {
  EXPECT_EQ(load("A=1\na=2\n"), (Pairs{{"A", "1"}, {"a", "2"}}));
}

TEST_F(ConfigMgmtTest, byteOrderMarkIsPartOfTheFirstKey) {
  EXPECT_EQ(load("\xEF\xBB\xBF"
                 "a=1\n"),
            (Pairs{{"\xEF\xBB\xBF"
                    "a",
                    "1"}}));
}

TEST_F(ConfigMgmtTest, byteOrderMarkAheadOfACommentMakesItALineWithoutEqualsSign) {
  write(
      "\xEF\xBB\xBF"
      "# x\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Error while parsing line beginning with: \xEF\xBB\xBF# x");
}

// The platform counts a folder as nothing to read.
TEST_F(ConfigMgmtTest, folderUnderTheFilesNameLoadsAsAnEmptyStore) {
  host::machine().drive.createFolder(kPath);
  ConfigMgmt store(kName, true);
  EXPECT_EQ(settingsOf(store), Pairs{});
}

TEST_F(ConfigMgmtTest, lineHasNoLimit) {
  const std::string value(1'000'000, 'x');
  EXPECT_EQ(load("a=" + value + "\n"), (Pairs{{"a", value}}));
}

TEST_F(ConfigMgmtTest, fileHasNoLimitOfLines) {
  std::string content;
  for (int i = 0; i < 20'000; ++i) {
    content += "key" + std::to_string(i) + " = 1\n";
  }
  EXPECT_EQ(load(content).size(), 20'000U);
}

TEST_F(ConfigMgmtTest, backslashNeitherEscapesNorContinuesALine) {
  EXPECT_EQ(load("a = 1\\\nb = x\\\"y\n"), (Pairs{{"a", "1\\"}, {"b", "x\\"}}));
}

TEST_F(ConfigMgmtTest, headingInBracketsIsNoSection) {
  write("[log]\na = 1\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Error while parsing line beginning with: [log]");
  EXPECT_EQ(load("[x=1]\na = 1\n"), (Pairs{{"[x", "1]"}, {"a", "1"}}));
}

// Failures.

TEST_F(ConfigMgmtTest, lineWithoutEqualsSignThrowsWithItsFirst20TrimmedCharacters) {
  write("a = 1\n    12345678901234567890123 4\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Error while parsing line beginning with: 12345678901234567890");
}

TEST_F(ConfigMgmtTest, shortLineWithoutEqualsSignStandsWholeInTheMessage) {
  write("  short \r\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Error while parsing line beginning with: short");
}

TEST_F(ConfigMgmtTest, repeatedKeyThrowsEvenWhenBothLinesAgree) {
  write("a = 1\nb = 2\na = 1\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Key already exist: a");
}

TEST_F(ConfigMgmtTest, keyThatIsRepeatedFirstIsTold) {
  write("c = 1\na = 1\nb = 1\nb = 2\na = 2\nc = 2\nb = 3\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Key already exist: b");
}

// It is the second line that counts, not the first one.
TEST_F(ConfigMgmtTest, ofKeysWithinEachOtherTheOneThatIsRepeatedFirstIsTold) {
  write("a = 1\nb = 1\nb = 2\na = 2\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Key already exist: b");
  write("b = 1\na = 1\na = 2\nb = 2\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Key already exist: a");
}

TEST_F(ConfigMgmtTest, keyRepeatedAheadOfALineWithoutEqualsSignIsTold) {
  write("a = 1\na = 2\nwrong\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Key already exist: a");
}

TEST_F(ConfigMgmtTest, firstLineWithoutEqualsSignIsToldAheadOfAKeyRepeatedBehindIt) {
  write("a = 1\nwrong\nworse\na = 2\n");
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Error while parsing line beginning with: wrong");
}

TEST_F(ConfigMgmtTest, missingFileThrowsWithTheNameAsItsParameter) {
  std::vector<std::string> parameters;
  try {
    ConfigMgmt store(kName, true);
  } catch (const MissingFileError& e) {
    EXPECT_EQ(e.resourceId(), 0);
    parameters = e.params();
  }
  EXPECT_EQ(parameters, Texts{kName});
}

TEST_F(ConfigMgmtTest, missingFileIsLoggedAlsoWhenSilent) {
  LogRecorder log;
  EXPECT_THROW(ConfigMgmt(kName, true), MissingFileError);
  EXPECT_EQ(log.withoutAddresses(),
            Texts{"[DBG] [TPM] [0x] Could not open config file: C:\\conf\\x.conf"});
}

TEST_F(ConfigMgmtTest, missingFileIsLoggedBehindTheStartWhenTraced) {
  LogRecorder log;
  EXPECT_THROW(ConfigMgmt(kName, false), MissingFileError);
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[DBG] [TPM] ConfigMgmt constructor entry",
                   "[DBG] [TPM] [0x] Starting reading config file: C:\\conf\\x.conf",
                   "[DBG] [TPM] [0x] Could not open config file: C:\\conf\\x.conf"}));
}

TEST_F(ConfigMgmtTest, failedReadingIsAnException) {
  write("a = 1\n");
  faults().failOnce("ReadFile", 23);
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Error when reading file C:\\conf\\x.confLast error: 23");
}

class ConfigMgmtReloadTest : public ConfigMgmtTest {
 protected:
  // A store that was loaded well and whose file is then `content`, after a reload that failed.
  template <class Expected>
  Pairs afterFailedReloadOf(const std::string& content) {
    write("old = 1\n");
    ConfigMgmt store(kName, true);
    write(content);
    EXPECT_THROW(store.reloadSettings(), Expected);
    return settingsOf(store);
  }
};

TEST_F(ConfigMgmtReloadTest, replacesTheSettings) {
  write("old = 1\n");
  ConfigMgmt store(kName, true);
  store.setSetting("memory", "2");
  write("new = 3\n");
  store.reloadSettings();
  EXPECT_EQ(settingsOf(store), (Pairs{{"new", "3"}}));
}

TEST_F(ConfigMgmtReloadTest, leavesTheStoreEmptyAfterALineWithoutEqualsSign) {
  EXPECT_EQ(afterFailedReloadOf<Exception>("new = 1\nbroken\n"), Pairs{});
}

TEST_F(ConfigMgmtReloadTest, leavesTheStoreEmptyAfterARepeatedKey) {
  EXPECT_EQ(afterFailedReloadOf<Exception>("new = 1\nnew = 1\n"), Pairs{});
}

TEST_F(ConfigMgmtReloadTest, leavesTheStoreEmptyWithoutAFile) {
  write("old = 1\n");
  ConfigMgmt store(kName, true);
  host::machine().drive.remove(kPath);
  EXPECT_THROW(store.reloadSettings(), MissingFileError);
  EXPECT_EQ(settingsOf(store), Pairs{});
}

TEST_F(ConfigMgmtReloadTest, leavesTheStoreEmptyAfterAFailedReading) {
  faults().failOnce("ReadFile", 23, 2);
  EXPECT_EQ(afterFailedReloadOf<Exception>("new = 1\n"), Pairs{});
}

class ConfigMgmtEmptiedTest : public ConfigMgmtReloadTest {
 protected:
  ConfigMgmtEmptiedTest() {
    write("key = 5\n");
    store = ConfigMgmt(kName, true);
    write("key = 6\nbroken\n");
    EXPECT_THROW(store.reloadSettings(), Exception);
  }

  ConfigMgmt store;
};

TEST_F(ConfigMgmtEmptiedTest, everyReadReturnsFalseWithoutADefault) {
  std::string text = "untouched";
  int32_t number = -1;
  long longNumber = -1;
  Pairs matches = {{"earlier", "match"}};
  EXPECT_FALSE(store.getString("key", &text, nullptr, nullptr));
  EXPECT_FALSE(store.getInt("key", &number, nullptr, nullptr));
  EXPECT_FALSE(store.getIntInRange("key", &number, 0, 9, nullptr));
  EXPECT_FALSE(store.getLong("key", &longNumber, nullptr, nullptr));
  EXPECT_FALSE(store.getSettingsByPrefix("", &matches));
  EXPECT_EQ(text, "untouched");
  EXPECT_EQ(number, -1);
  EXPECT_EQ(longNumber, -1);
  EXPECT_EQ(matches, Pairs{});
}

TEST_F(ConfigMgmtEmptiedTest, everyReadReturnsItsDefault) {
  const std::string defaultText = "default";
  const int32_t defaultNumber = 3600;
  const long defaultLong = 3601;
  std::string text;
  int32_t number = -1;
  int32_t ranged = -1;
  long longNumber = -1;
  EXPECT_TRUE(store.getString("key", &text, nullptr, &defaultText));
  EXPECT_TRUE(store.getInt("key", &number, nullptr, &defaultNumber));
  EXPECT_TRUE(store.getIntInRange("key", &ranged, 0, 9, &defaultNumber));
  EXPECT_TRUE(store.getLong("key", &longNumber, nullptr, &defaultLong));
  EXPECT_EQ(text, "default");
  EXPECT_EQ(number, 3600);
  EXPECT_EQ(ranged, 3600);
  EXPECT_EQ(longNumber, 3601);
}

// What is logged.

TEST_F(ConfigMgmtTest, silentLoadingLogsNothing) {
  LogRecorder log;
  load("a = 1\n");
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(ConfigMgmtTest, tracedLoadingLogsEntryStartAndTheSettingsInFileOrder) {
  LogRecorder log;
  write("b = \"2\"\n# comment\na = 1\n= dropped\n");
  const ConfigMgmt store(kName, false);
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] ConfigMgmt constructor entry",
                   "[DBG] [TPM] [" + pointerText(&store) +
                       "] Starting reading config file: C:\\conf\\x.conf",
                   "[INF] [TPM] reloadSettings ConfigMgmt::reloadSettings:\n  b=2\n  a=1\n"}));
}

TEST_F(ConfigMgmtTest, tracedReloadingLogsStartAndSettingsWithoutTheEntry) {
  write("a = 1\n");
  ConfigMgmt store(kName, false);
  LogRecorder log;
  store.reloadSettings();
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[DBG] [TPM] [0x] Starting reading config file: C:\\conf\\x.conf",
                   "[INF] [TPM] reloadSettings ConfigMgmt::reloadSettings:\n  a=1\n"}));
}

TEST_F(ConfigMgmtTest, tracedLoadingOfAnEmptyFileLogsNoSettings) {
  write("");
  LogRecorder log;
  const ConfigMgmt store(kName, false);
  EXPECT_EQ(log.texts().back(), "[INF] [TPM] reloadSettings ConfigMgmt::reloadSettings:\n");
}

TEST_F(ConfigMgmtTest, tracedLoadingThatFailsDoesNotLogTheSettings) {
  LogRecorder log;
  write("a = 1\nbroken\n");
  EXPECT_THROW(ConfigMgmt(kName, false), Exception);
  EXPECT_FALSE(log.contains("reloadSettings"));
}

// Copies, the platform, and what stands beside reading.

TEST_F(ConfigMgmtTest, assignmentTakesSettingsFileNameAndSilence) {
  LogRecorder log;
  write("a = 1\n");
  ConfigMgmt working;
  working.setSetting("gone", "1");
  working = ConfigMgmt(kName, false);
  EXPECT_EQ(settingsOf(working), (Pairs{{"a", "1"}}));
  write("a = 2\n");
  log.clear();
  working.reloadSettings();
  EXPECT_EQ(settingsOf(working), (Pairs{{"a", "2"}}));
  EXPECT_TRUE(log.contains("Starting reading config file: C:\\conf\\x.conf"));
  working = ConfigMgmt(kName, true);
  log.clear();
  working.reloadSettings();
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(ConfigMgmtTest, storeStaysEmptyAndValidWhenTheAssignedOneCannotBeBuilt) {
  ConfigMgmt working;
  EXPECT_THROW(working = ConfigMgmt(kName, true), MissingFileError);
  EXPECT_EQ(settingsOf(working), Pairs{});
  EXPECT_TRUE(working.setSetting("a", "1"));
}

TEST_F(ConfigMgmtTest, nameIsWidenedFromUtf8) {
  host::machine().drive.write(L"C:\\conf\\\u00E4.conf", "a = 1\n");
  ConfigMgmt store("C:\\conf\\\xC3\xA4.conf", true);
  EXPECT_EQ(settingsOf(store), (Pairs{{"a", "1"}}));
}

TEST_F(ConfigMgmtTest, existenceIsTestedBeforeTheFileIsOpened) {
  load("a = 1\n");
  const Texts calls = journal().namesOf({"FindFirstFileW", "FindClose", "CreateFileW"});
  ASSERT_GE(calls.size(), 3U);
  EXPECT_EQ(calls[0], "FindFirstFileW");
  EXPECT_EQ(calls[1], "FindClose");
  EXPECT_EQ(calls.back(), "CreateFileW");
  EXPECT_EQ(ledger().open("find"), 0U);
  EXPECT_EQ(ledger().open("file"), 0U);
}

TEST_F(ConfigMgmtTest, operationThatIsNotSupportedInMemoryIsNotSupportedWithAFileEither) {
  ConfigMgmt store;
  const std::string thrown = thrownBy<Exception>([&] { store.unsupportedSettingsOperation(); });
  EXPECT_TRUE(thrown.starts_with("VUSL\\Support\\ConfigMemory:")) << thrown;
  EXPECT_TRUE(thrown.ends_with(":Not supported.")) << thrown;
}

TEST_F(ConfigMgmtTest, settingInMemoryLeavesTheFileAlone) {
  write("a = 1\n");
  ConfigMgmt store(kName, true);
  store.setSetting("a", "2");
  EXPECT_EQ(host::machine().drive.read(kPath), "a = 1\n");
}

TEST_F(ConfigMgmtTest, writtenLineIsKeyEqualsSignQuotedValueAndLineEnd) {
  ConfigMgmt store;
  EXPECT_EQ(store.formatSettingLine("key", "a value"), "key = \"a value\"\n");
  EXPECT_EQ(store.formatSettingLine("key", ""), "key = \"\"\n");
}

}  // namespace
