#include "VUSL/Support/RollingDateFileLogOutlet.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include "VUSL/Support/Exception.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

struct OpenOutlet : RollingDateFileLogOutlet {
  using RollingDateFileLogOutlet::roll;
  using RollingDateFileLogOutlet::RollingDateFileLogOutlet;
};

class RollingDateFileLogOutletTest : public host::MachineTest {
 protected:
  RollingDateFileLogOutletTest() { host::machine().setLocalTime(2026, 1, 2, 3, 4, 5, 6); }

  static std::optional<std::string> content(const std::wstring& name) {
    return host::machine().drive.read(L"C:\\logs\\" + name);
  }
  static void write(const std::wstring& name, const std::string& bytes) {
    host::machine().drive.write(L"C:\\logs\\" + name, bytes);
  }

  // A file that was last written so many years ago.
  static void writeAgo(const std::wstring& name, int years) {
    write(name, "old");
    const auto path = host::machine().drive.locate(L"C:\\logs\\" + name);
    const auto age = std::chrono::hours(24 * 365 * years);
    std::filesystem::last_write_time(path.value(),
                                     std::filesystem::file_time_type::clock::now() - age);
  }

  void rollLiveFile() { outlet.roll(L"C:\\logs\\x.log", 0); }

  OpenOutlet outlet{"C:\\logs\\x.log"};
};

TEST_F(RollingDateFileLogOutletTest, namesTheArchiveAfterTheMoment) {
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(content(L"x.log"), std::nullopt);
  EXPECT_EQ(content(L"x.log.20260102030405"), "live");
}

TEST_F(RollingDateFileLogOutletTest, deletesNothingWithNoArchives) {
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_TRUE(journal().calls("DeleteFileW").empty());
}

TEST_F(RollingDateFileLogOutletTest, failsToRollTwiceWithinOneSecond) {
  write(L"x.log", "one");
  rollLiveFile();
  write(L"x.log", "two");
  host::machine().setLocalTime(2026, 1, 2, 3, 4, 5, 900);
  EXPECT_EQ(thrownBy<Exception>([this] { rollLiveFile(); }),
            "Error when renaming file from C:\\logs\\x.log to "
            "C:\\logs\\x.log.20260102030405Last error: 183");
  EXPECT_EQ(content(L"x.log"), "two");
}

TEST_F(RollingDateFileLogOutletTest, leavesRoomForOneMoreBelowTheLimit) {
  for (int i = 10; i < 20; ++i) write(L"x.log.20250101000000." + std::to_wstring(i), "old");
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(journal().calls("DeleteFileW").size(), 2U);
}

TEST_F(RollingDateFileLogOutletTest, keepsNineArchivesOfTenWithTheLimitTen) {
  for (int i = 0; i < 9; ++i) write(L"x.log.2025010100000" + std::to_wstring(i), "old");
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(journal().calls("DeleteFileW").size(), 1U);
}

TEST_F(RollingDateFileLogOutletTest, mayDeleteTheFileJustRenamedWithTheLimitOne) {
  outlet.setMaxArchiveNumber(1);
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(content(L"x.log.20260102030405"), std::nullopt);
}

TEST_F(RollingDateFileLogOutletTest, deletesEveryFileWithNoArchives) {
  outlet.setMaxArchiveNumber(0);
  write(L"x.log.1", "old");
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(content(L"x.log.1"), std::nullopt);
  EXPECT_EQ(content(L"x.log.20260102030405"), std::nullopt);
}

// 2147483648 is generic read, 1 the sharing of reads, 3 takes existing files only.
TEST_F(RollingDateFileLogOutletTest, opensEachFileForReadingWhereOthersOnlyRead) {
  write(L"x.log", "live");
  rollLiveFile();
  const auto calls = journal().calls("CreateFileW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args.substr(0, calls[0].args.rfind(", 0, ")),
            "C:\\logs\\x.log.20260102030405, 2147483648, 1, null, 3");
}

TEST_F(RollingDateFileLogOutletTest, passesOverFoldersAndOtherFiles) {
  outlet.setMaxArchiveNumber(2);
  host::machine().drive.createFolder(L"C:\\logs\\x.log.folder");
  write(L"y.log", "other");
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_TRUE(journal().calls("DeleteFileW").empty());
}

TEST_F(RollingDateFileLogOutletTest, tellsWhichFilesItCouldNotDelete) {
  outlet.setMaxArchiveNumber(1);
  write(L"x.log", "live");
  faults().failOnce("DeleteFileW", 5);
  EXPECT_EQ(thrownBy<Exception>([this] { rollLiveFile(); }),
            "Unable to remove file(s): C:\\logs\\x.log.20260102030405 reason: Error when deleting "
            "file: C:\\logs\\x.log.20260102030405Last error: 5 ");
}

TEST_F(RollingDateFileLogOutletTest, goesOnAfterAFileThatItCouldNotDelete) {
  outlet.setMaxArchiveNumber(1);
  write(L"x.log.1", "old");
  write(L"x.log", "live");
  faults().failOnce("DeleteFileW", 5);
  EXPECT_THROW(rollLiveFile(), Exception);
  EXPECT_EQ(journal().calls("DeleteFileW").size(), 2U);
}

TEST_F(RollingDateFileLogOutletTest, deletesTheFilesThatWereWrittenLongestAgo) {
  outlet.setMaxArchiveNumber(3);
  writeAgo(L"x.log.1", 1);
  writeAgo(L"x.log.2", 3);
  writeAgo(L"x.log.3", 2);
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(content(L"x.log.1"), "old");
  EXPECT_EQ(content(L"x.log.2"), std::nullopt);
  EXPECT_EQ(content(L"x.log.3"), std::nullopt);
  EXPECT_EQ(content(L"x.log.20260102030405"), "live");
}

TEST_F(RollingDateFileLogOutletTest, deletesTheEarlierListedOfTwoFilesWrittenAtTheSameTime) {
  outlet.setMaxArchiveNumber(3);
  writeAgo(L"x.log.1", 1);
  writeAgo(L"x.log.2", 2);
  auto& drive = host::machine().drive;
  std::filesystem::last_write_time(
      drive.locate(L"C:\\logs\\x.log.2").value(),
      std::filesystem::last_write_time(drive.locate(L"C:\\logs\\x.log.1").value()));
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(content(L"x.log.1"), std::nullopt);
  EXPECT_EQ(content(L"x.log.2"), "old");
}

class RollingDateFileLogOutletTimesTest : public RollingDateFileLogOutletTest,
                                          public testing::WithParamInterface<const char*> {};

// The second file takes the time of the first, stays beside it, and the first sorts before it.
TEST_P(RollingDateFileLogOutletTimesTest, keepsTheTimeOfTheFileBeforeWhereTimesCannotBeHad) {
  outlet.setMaxArchiveNumber(3);
  writeAgo(L"x.log.1", 1);
  writeAgo(L"x.log.2", 3);
  write(L"x.log", "live");
  faults().failOnce(GetParam(), 5, 2);
  rollLiveFile();
  EXPECT_EQ(content(L"x.log.1"), std::nullopt);
  EXPECT_EQ(content(L"x.log.2"), "old");
  EXPECT_EQ(ledger().open("file"), 0U);
}

INSTANTIATE_TEST_SUITE_P(EachStep, RollingDateFileLogOutletTimesTest,
                         testing::Values("CreateFileW", "GetFileTime", "FileTimeToSystemTime",
                                         "SystemTimeToTzSpecificLocalTime"));

TEST_F(RollingDateFileLogOutletTest, usesBareNamesForABareFileName) {
  OpenOutlet bare("x.log");
  bare.setMaxArchiveNumber(1);
  host::machine().drive.createFolder(host::machine().currentDirectory);
  host::machine().drive.write(host::machine().currentDirectory + L"\\x.log", "live");
  bare.roll(L"x.log", 0);
  const auto calls = journal().calls("DeleteFileW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "x.log.20260102030405");
}

TEST_F(RollingDateFileLogOutletTest, closesEveryFileThatItLooksAt) {
  write(L"x.log.1", "old");
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(ledger().open("file"), 0U);
  EXPECT_EQ(ledger().open("find"), 0U);
}

// Two files on both sides of the moment at which the lower half of the platform's time begins anew:
// the upper half alone tells which of them is older.
TEST_F(RollingDateFileLogOutletTest, sortsByTheWholeTimeOfTheLastWriting) {
  constexpr std::int64_t kTicksPerMs = 10'000;
  constexpr std::int64_t kUpperHalf = 0x01D00001LL << 32;  // in 2014, in ticks since 1601
  outlet.setMaxArchiveNumber(3);
  write(L"x.log.1", "newer");
  host::machine().drive.setTimes(L"C:\\logs\\x.log.1", kUpperHalf / kTicksPerMs + 1);
  write(L"x.log.2", "older");
  host::machine().drive.setTimes(L"C:\\logs\\x.log.2", kUpperHalf / kTicksPerMs - 1);
  write(L"x.log", "live");
  rollLiveFile();
  EXPECT_EQ(content(L"x.log.1"), "newer");
  EXPECT_EQ(content(L"x.log.2"), std::nullopt);
}

TEST_F(RollingDateFileLogOutletTest, convertsTheTimeOfTheLastAccess) {
  constexpr std::int64_t kTicksPerMs = 10'000;
  const std::int64_t accessMs = host::machine().utcMs() - 1;
  write(L"x.log", "live");
  host::machine().drive.setTimes(L"C:\\logs\\x.log", accessMs);
  const auto native = host::machine().drive.locate(L"C:\\logs\\x.log").value();
  std::filesystem::last_write_time(
      native, std::filesystem::last_write_time(native) - std::chrono::hours(24));
  rollLiveFile();
  const auto calls = journal().calls("FileTimeToSystemTime");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, std::to_string(accessMs * kTicksPerMs));
}

// What is moved is the outlet's own file and what is listed are its archives; only the new name
// comes from the path.
TEST_F(RollingDateFileLogOutletTest, movesItsOwnFileToTheMomentBehindTheGivenPath) {
  outlet.setMaxArchiveNumber(1);
  write(L"x.log", "live");
  write(L"x.log.old", "old");
  write(L"y.log", "other");
  outlet.roll(L"C:\\logs\\y.log", 99);
  EXPECT_EQ(content(L"x.log"), std::nullopt);
  EXPECT_EQ(content(L"y.log.20260102030405"), "live");
  EXPECT_EQ(content(L"x.log.old"), std::nullopt);
  EXPECT_EQ(content(L"y.log"), "other");
}

TEST_F(RollingDateFileLogOutletTest, asksForNoTimesOfAFileThatItCannotOpen) {
  write(L"x.log", "live");
  faults().failOnce("CreateFileW", 32);
  rollLiveFile();
  EXPECT_TRUE(journal().calls("GetFileTime").empty());
  EXPECT_TRUE(journal().calls("CloseHandle").empty());
}

}  // namespace
