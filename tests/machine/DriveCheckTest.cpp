#include "tools/runner/DriveCheck.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/machine/TemporaryFolder.h"

namespace runner {
namespace {

namespace fs = std::filesystem;

// A drive with the file C:\a, which holds "one\ntwo\n" and was last written long ago.
class DriveCheckTest : public ::testing::Test {
 protected:
  DriveCheckTest() {
    fs::create_directory(folder_.path() / "C");
    write("one\ntwo\n");
    fs::last_write_time(file(), fs::file_time_type::clock::now() - std::chrono::hours(1));
  }

  fs::path file() const { return folder_.path() / "C" / "a"; }
  void write(const std::string& bytes) const {
    std::ofstream(file(), std::ios::binary | std::ios::trunc) << bytes;
  }

  // What is found when `life` has done its work on the drive.
  template <class Life>
  std::vector<Difference> after(Life life) const {
    DriveCheck check(scenario_, folder_.path());
    life();
    return check.differences();
  }
  std::vector<Difference> found() const {
    return after([] {});
  }

  static std::string only(const std::vector<Difference>& differences) {
    return differences.size() == 1 ? differences[0].summary
                                   : std::to_string(differences.size()) + " differences";
  }

  TemporaryFolder folder_;
  host::Scenario scenario_;
};

TEST_F(DriveCheckTest, WhatTheScenarioDoesNotNameIsFree) {
  EXPECT_TRUE(after([&] { write("three"); }).empty());
}

TEST_F(DriveCheckTest, FileThatIsLeftAloneIsUnchanged) {
  scenario_.unchangedFiles = {L"C:\\a"};
  EXPECT_TRUE(found().empty());
}

TEST_F(DriveCheckTest, OtherContentIsAChange) {
  scenario_.unchangedFiles = {L"C:\\a"};
  EXPECT_EQ(only(after([&] { write("three"); })), "C:\\a was expected to stay as it was");
}

TEST_F(DriveCheckTest, SameContentWrittenAnewIsAChange) {
  scenario_.unchangedFiles = {L"C:\\a"};
  EXPECT_EQ(only(after([&] { write("one\ntwo\n"); })), "C:\\a was expected to stay as it was");
}

TEST_F(DriveCheckTest, RemovalIsAChange) {
  scenario_.unchangedFiles = {L"C:\\a"};
  EXPECT_EQ(only(after([&] { fs::remove(file()); })), "C:\\a was expected to stay as it was");
}

TEST_F(DriveCheckTest, WhatWasNeverThereCannotStay) {
  scenario_.unchangedFiles = {L"C:\\b"};
  EXPECT_EQ(only(found()), "C:\\b was not there, so it could not stay");
}

TEST_F(DriveCheckTest, FileThatMustNotBeThereIsFoundUnderAnyLetterCase) {
  scenario_.absentFiles = {L"C:\\b"};
  EXPECT_TRUE(found().empty());
  scenario_.absentFiles = {L"C:\\A"};
  EXPECT_EQ(only(found()), "C:\\A was expected not to be there");
  EXPECT_TRUE(after([&] { fs::remove(file()); }).empty());
}

TEST_F(DriveCheckTest, LeftFileHasTheLinesOfTheScenario) {
  scenario_.leftFiles = {{L"C:\\a", "one\ntwo\n"}};
  EXPECT_TRUE(found().empty());
  EXPECT_TRUE(after([&] { write("one\r\ntwo"); }).empty());
}

TEST_F(DriveCheckTest, LeftFileMayBeInUtf16) {
  scenario_.leftFiles = {{L"C:\\a", "\xC3\xA4\nb\n"}};
  write(std::string("\xFF\xFE\xE4\0\r\0\n\0b\0", 10));
  EXPECT_TRUE(found().empty());
}

TEST_F(DriveCheckTest, FirstLineThatDiffersIsShown) {
  scenario_.leftFiles = {{L"C:\\a", "one\nthree\nfour\n"}};
  const auto differences = found();
  EXPECT_EQ(only(differences), "line 2 of C:\\a differs");
  EXPECT_EQ(differences.at(0).details,
            (std::vector<std::string>{"  expected: three", "  left:     two"}));
}

TEST_F(DriveCheckTest, LineTooManyAndLineTooFewAreShown) {
  scenario_.leftFiles = {{L"C:\\a", "one\n"}};
  EXPECT_EQ(found().at(0).details,
            (std::vector<std::string>{"  expected: (nothing more)", "  left:     two"}));
  scenario_.leftFiles = {{L"C:\\a", "one\ntwo\nthree\n"}};
  EXPECT_EQ(found().at(0).details,
            (std::vector<std::string>{"  expected: three", "  left:     (nothing more)"}));
}

TEST_F(DriveCheckTest, LeftFileMustBeThere) {
  scenario_.leftFiles = {{L"C:\\b", ""}};
  EXPECT_EQ(only(found()), "C:\\b was expected to be there");
}

}  // namespace
}  // namespace runner
