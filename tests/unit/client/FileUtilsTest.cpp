#include "client/FileUtils.h"

#include "VUSL/Support/Exception.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::textThrownBy;
using talsUtils::FileUtils::getTalsDirectory;

constexpr std::uint32_t kLog = 0;
constexpr std::uint32_t kConf = 1;

class FileUtilsTest : public host::MachineTest {
 protected:
  static void setVariable(const std::wstring& name, const std::wstring& value) {
    host::machine().environment[name] = value;
  }
  static std::string failure(std::uint32_t type) {
    return textThrownBy<Exception>([type] { getTalsDirectory(type, 1); });
  }
};

TEST_F(FileUtilsTest, AVariableMovesTheLogDirectory) {
  setVariable(L"TALS_LOGDIR_PATH", L"D:\\logs");
  const LogRecorder log;
  EXPECT_EQ(getTalsDirectory(kLog, 1), "D:\\logs\\");
  EXPECT_EQ(journal().count("OpenProcessToken"), 0U);
  EXPECT_EQ(journal().count("SHGetKnownFolderPath"), 0U);
  EXPECT_EQ(log.texts(), client_test::Texts{});
}

TEST_F(FileUtilsTest, AVariableMovesTheConfigurationDirectory) {
  setVariable(L"TALS_CONFDIR_PATH", L"D:\\conf");
  EXPECT_EQ(getTalsDirectory(kConf, 1), "D:\\conf\\");
}

TEST_F(FileUtilsTest, OneBackslashIsAppendedToTheVariableAsItStands) {
  setVariable(L"TALS_LOGDIR_PATH", L"D:\\logs\\");
  EXPECT_EQ(getTalsDirectory(kLog, 1), "D:\\logs\\\\");
}

TEST_F(FileUtilsTest, OneCharacterIsAVariableToo) {
  setVariable(L"TALS_LOGDIR_PATH", L"l");
  EXPECT_EQ(getTalsDirectory(kLog, 1), "l\\");
}

TEST_F(FileUtilsTest, AnEmptyVariableCountsAsAbsent) {
  setVariable(L"TALS_LOGDIR_PATH", L"");
  EXPECT_EQ(
      getTalsDirectory(kLog, 1),
      "C:\\Windows\\System32\\config\\systemprofile\\AppData\\Local\\Orvix\\tALS Client\\log\\");
}

TEST_F(FileUtilsTest, TheLogDirectoryIsBelowTheLocalApplicationData) {
  EXPECT_EQ(
      getTalsDirectory(kLog, 1),
      "C:\\Windows\\System32\\config\\systemprofile\\AppData\\Local\\Orvix\\tALS Client\\log\\");
}

TEST_F(FileUtilsTest, AProcessOfLowIntegrityLogsBelowTheLowApplicationData) {
  host::machine().token.integrityLevel = 0x1000;
  EXPECT_EQ(
      getTalsDirectory(kLog, 1),
      "C:\\Windows\\System32\\config\\systemprofile\\AppData\\LocalLow\\Orvix\\tALS Client\\log\\");
}

TEST_F(FileUtilsTest, AnUnknownIntegrityLevelCountsAsNotLow) {
  host::machine().token.integrityLevel = 0x1000;
  faults().failOnce("OpenProcessToken", ERROR_ACCESS_DENIED);
  EXPECT_EQ(
      getTalsDirectory(kLog, 1),
      "C:\\Windows\\System32\\config\\systemprofile\\AppData\\Local\\Orvix\\tALS Client\\log\\");
}

TEST_F(FileUtilsTest, AKnownFolderThatCannotBeFoundThrows) {
  faults().failOnce("SHGetKnownFolderPath", 0x80070002);
  EXPECT_EQ(failure(kLog), "unable to determine path for given KNOWNFOLDERID");
}

TEST_F(FileUtilsTest, AKnownFolderThatCannotBeAppendedThrows) {
  faults().failOnce("PathAppendW", 0);
  EXPECT_EQ(failure(kLog), "unable to determine path for given KNOWNFOLDERID");
}

TEST_F(FileUtilsTest, AsksForTheKnownFolderWithoutFlagsAndToken) {
  getTalsDirectory(kLog, 1);
  const auto calls = journal().calls("SHGetKnownFolderPath");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "LocalAppData, 0, null");
}

TEST_F(FileUtilsTest, AKnownFolderMayHave259Characters) {
  const std::string profile = "C:\\" + std::string(242, 'p');
  host::machine().profileDirectory = host::toWide(profile);
  EXPECT_EQ(getTalsDirectory(kLog, 1), profile + "\\AppData\\Local\\Orvix\\tALS Client\\log\\");
  host::machine().profileDirectory += L'p';
  EXPECT_EQ(failure(kLog), "unable to determine path for given KNOWNFOLDERID");
}

// Not even a folder that is no absolute path gets something ahead of it.
TEST_F(FileUtilsTest, TheKnownFolderIsAppendedToAClearedBuffer) {
  host::machine().profileDirectory = L"profile";
  EXPECT_EQ(getTalsDirectory(kLog, 1), "profile\\AppData\\Local\\Orvix\\tALS Client\\log\\");
}

TEST_F(FileUtilsTest, AKnownFolderWithoutANarrowFormThrows) {
  host::machine().profileDirectory = L"C:\\Users\\p\u00FCt";
  EXPECT_EQ(failure(kLog), "unable to determine path for given KNOWNFOLDERID");
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(FileUtilsTest, AKnownFolderThatCannotBeAppendedIsFreedAllTheSame) {
  faults().failOnce("PathAppendW", 0);
  failure(kLog);
  EXPECT_EQ(journal().count("CoTaskMemFree"), 1U);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(FileUtilsTest, TheKnownFoldersTextIsFreed) {
  getTalsDirectory(kLog, 1);
  EXPECT_EQ(journal().namesOf({"SHGetKnownFolderPath", "PathAppendW", "CoTaskMemFree"}),
            (client_test::Texts{"SHGetKnownFolderPath", "PathAppendW", "CoTaskMemFree"}));
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(FileUtilsTest, TheConfigurationDirectoryIsASiblingOfTheInstallDirectory) {
  host::machine().installStack(L"C:\\a\\b");
  EXPECT_EQ(getTalsDirectory(kConf, 1), "C:\\a\\b\\..\\conf\\");
}

TEST_F(FileUtilsTest, WithoutAStackThereIsNoConfigurationDirectory) {
  EXPECT_EQ(failure(kConf), "tals stack not installed");
}

TEST_F(FileUtilsTest, WithoutAnInstallDirectoryThereIsNoConfigurationDirectory) {
  host::machine().installStack(L"C:\\a\\b");
  host::machine().registry.deleteValue(client_test::stackKeyPath(), L"InstallDir64");
  EXPECT_EQ(failure(kConf), "Cannot read tALS Client installation directory from registry.");
}

TEST_F(FileUtilsTest, AnInstallDirectoryOutsideTheNarrowSetIsRefused) {
  host::machine().installStack(L"C:\\p\u00FCt");
  EXPECT_EQ(failure(kConf), "Unicode installation path detected, terminating process.");
}

TEST_F(FileUtilsTest, AnyOtherTypeThrows) {
  EXPECT_EQ(failure(2), "talsUtils::FileUtils::getTalsDirectory: directory type not known: 2");
  EXPECT_EQ(failure(9), "talsUtils::FileUtils::getTalsDirectory: directory type not known: 9");
}

TEST_F(FileUtilsTest, AnyOtherTypeThrowsAlsoWhenItsVariableIsSet) {
  setVariable(L"TALS_X509_CERT_PATH", L"D:\\cert");
  EXPECT_EQ(failure(2), "talsUtils::FileUtils::getTalsDirectory: directory type not known: 2");
}

TEST_F(FileUtilsTest, TheReservedArgumentHasNoEffect) {
  host::machine().installStack(L"C:\\a\\b");
  EXPECT_EQ(getTalsDirectory(kConf, 0), "C:\\a\\b\\..\\conf\\");
  EXPECT_EQ(getTalsDirectory(kConf, 77), "C:\\a\\b\\..\\conf\\");
}

}  // namespace
