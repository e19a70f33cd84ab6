#include "tools/runner/DriveFolder.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/machine/TemporaryFolder.h"

namespace runner {
namespace {

namespace fs = std::filesystem;

using Made = std::variant<DriveFolder, std::string>;

std::string refusalOf(const Made& made) {
  return std::holds_alternative<std::string>(made) ? std::get<std::string>(made) : "";
}

void touch(const fs::path& file) {
  std::ofstream(file) << "x";
}

TEST(DriveFolderTest, TemporaryDriveIsEmptyAndGoesWithTheObject) {
  fs::path drive;
  {
    const Made made = DriveFolder::make(std::nullopt);
    ASSERT_EQ(refusalOf(made), "");
    drive = std::get<DriveFolder>(made).drive();
    EXPECT_TRUE(fs::is_empty(drive));
    touch(drive / "a");
  }
  EXPECT_FALSE(fs::exists(drive));
  EXPECT_FALSE(fs::exists(drive.parent_path()));
}

TEST(DriveFolderTest, KeptDriveStaysWithWhatItHolds) {
  const TemporaryFolder folder;
  fs::path drive;
  {
    const Made made = DriveFolder::make(folder.path() / "kept");
    ASSERT_EQ(refusalOf(made), "");
    drive = std::get<DriveFolder>(made).drive();
    touch(drive / "a");
  }
  EXPECT_TRUE(fs::exists(folder.path() / "kept" / "a"));
  EXPECT_FALSE(fs::exists(drive));
}

TEST(DriveFolderTest, KeptDriveHasAPathOfTheSameLength) {
  const TemporaryFolder folder;
  const Made temporary = DriveFolder::make(std::nullopt);
  const Made kept = DriveFolder::make(folder.path() / "a-rather-long-name-for-a-folder");
  EXPECT_EQ(std::get<DriveFolder>(temporary).drive().string().size(),
            std::get<DriveFolder>(kept).drive().string().size());
}

TEST(DriveFolderTest, EmptyFolderIsTaken) {
  const TemporaryFolder folder;
  EXPECT_EQ(refusalOf(DriveFolder::make(folder.path())), "");
}

TEST(DriveFolderTest, FolderThatHoldsSomethingIsRefusedAndKeepsIt) {
  const TemporaryFolder folder;
  touch(folder.path() / "a");
  EXPECT_EQ(refusalOf(DriveFolder::make(folder.path())), folder.path().string() + " is not empty");
  EXPECT_TRUE(fs::exists(folder.path() / "a"));
}

TEST(DriveFolderTest, FileIsRefusedAndKept) {
  const TemporaryFolder folder;
  touch(folder.path() / "a");
  EXPECT_EQ(refusalOf(DriveFolder::make(folder.path() / "a")),
            (folder.path() / "a").string() + " is no folder");
  EXPECT_TRUE(fs::is_regular_file(folder.path() / "a"));
}

TEST(DriveFolderTest, FolderThatCannotBeMadeIsRefused) {
  const TemporaryFolder folder;
  touch(folder.path() / "a");
  EXPECT_NE(refusalOf(DriveFolder::make(folder.path() / "a" / "b")), "");
}

}  // namespace
}  // namespace runner
