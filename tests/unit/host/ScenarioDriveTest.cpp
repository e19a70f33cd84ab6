#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/host/DriveLimits.h"
#include "platform/host/Scenario.h"

namespace host {
namespace {

namespace fs = std::filesystem;

// A scenario with a stack, a folder for its drive and a folder with stand-ins.
class ScenarioDriveTest : public ::testing::Test {
 protected:
  ScenarioDriveTest() {
    std::string name = (fs::temp_directory_path() / "drive-test-XXXXXX").string();
    root_ = mkdtemp(name.data());
    fs::create_directory(standIns());
    for (const char* file :
         {"talsClient.dll", "talsClientNone.dll", "talsProxy.dll", "OrvixVTMEkRecertification.exe",
          "OrvixVTMEkRecertificationCrashes.exe"}) {
      std::ofstream(standIns() / file) << "this is " << file;
    }
    scenario_.stackDirectory = L"C:\\Program Files\\stack";
  }
  ~ScenarioDriveTest() override { fs::remove_all(root_); }

  fs::path drive() const { return root_ / "drive"; }
  fs::path standIns() const { return root_ / "standins"; }
  fs::path stack() const { return drive() / "C/Program Files/stack"; }
  std::optional<std::string> prepare() const {
    return prepareDrive(scenario_, drive(), standIns());
  }

  static std::string read(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

  fs::path root_;
  Scenario scenario_;
};

TEST_F(ScenarioDriveTest, TheStackHasLinksToTheStandInsUnderTheGenuineNames) {
  scenario_.clientLibrary = "talsClientNone";
  ASSERT_EQ(prepare(), std::nullopt);
  EXPECT_EQ(read(stack() / "talsClient.dll"), "this is talsClientNone.dll");
  EXPECT_EQ(read(stack() / "talsProxy.dll"), "this is talsProxy.dll");
  EXPECT_EQ(read(stack() / "OrvixVTMEkRecertification.exe"),
            "this is OrvixVTMEkRecertification.exe");
  EXPECT_TRUE(fs::is_symlink(stack() / "talsClient.dll"));
}

TEST_F(ScenarioDriveTest, AProgramThatCrashesHasTheGenuineNameToo) {
  scenario_.recertificationCrashes = true;
  ASSERT_EQ(prepare(), std::nullopt);
  EXPECT_EQ(read(stack() / "OrvixVTMEkRecertification.exe"),
            "this is OrvixVTMEkRecertificationCrashes.exe");
}

TEST_F(ScenarioDriveTest, WhatTheScenarioLeavesOutIsNotThere) {
  scenario_.clientLibrary = "";
  scenario_.proxyLibrary = "";
  scenario_.recertificationProgram = false;
  ASSERT_EQ(prepare(), std::nullopt);
  EXPECT_TRUE(fs::exists(stack()));
  EXPECT_FALSE(fs::exists(stack() / "talsClient.dll"));
  EXPECT_FALSE(fs::exists(stack() / "talsProxy.dll"));
  EXPECT_FALSE(fs::exists(stack() / "OrvixVTMEkRecertification.exe"));
}

TEST_F(ScenarioDriveTest, TheScriptLiesBesideTheClientLibrary) {
  scenario_.clientScript = "talsInitHUB = 8\n";
  ASSERT_EQ(prepare(), std::nullopt);
  EXPECT_EQ(read(stack() / "talsClient.script"), "talsInitHUB = 8\n");
}

TEST_F(ScenarioDriveTest, FilesAreWrittenWithTheirFolders) {
  scenario_.files.push_back({L"C:\\a\\b\\c.conf", "text"});
  ASSERT_EQ(prepare(), std::nullopt);
  EXPECT_EQ(read(drive() / "C/a/b/c.conf"), "text");
}

TEST_F(ScenarioDriveTest, AFileIsReadOnlyIfTheScenarioSaysSo) {
  scenario_.files.push_back({L"C:\\a.conf", "text"});
  scenario_.files.push_back({L"C:\\b.conf", "text"});
  scenario_.readOnlyFiles.push_back(L"C:\\A.conf");
  ASSERT_EQ(prepare(), std::nullopt);
  EXPECT_TRUE(isReadOnly(drive() / "C/a.conf"));
  EXPECT_FALSE(isReadOnly(drive() / "C/b.conf"));
}

TEST_F(ScenarioDriveTest, AReadOnlyFileThatIsMissingIsAReason) {
  scenario_.readOnlyFiles.push_back(L"C:\\none.conf");
  EXPECT_EQ(prepare(), "C:\\none.conf: no such file");
}

TEST_F(ScenarioDriveTest, WithoutAStackNoStandInIsNeeded) {
  scenario_.stackDirectory.reset();
  fs::remove_all(standIns());
  EXPECT_EQ(prepare(), std::nullopt);
}

TEST_F(ScenarioDriveTest, AnUnknownStandInIsAReason) {
  scenario_.clientLibrary = "talsClientOther";
  EXPECT_EQ(prepare(), "there is no stand-in " + (standIns() / "talsClientOther.dll").string());
}

TEST_F(ScenarioDriveTest, ADriveThatCannotBeMadeIsAReason) {
  std::ofstream(drive()) << "a file in the way";
  EXPECT_EQ(prepare(), drive().string() + ": Not a directory");
}

TEST_F(ScenarioDriveTest, AFileThatCannotBeWrittenIsAReason) {
  scenario_.files.push_back({L"C:\\a", "text"});
  scenario_.files.push_back({L"C:\\a\\b", "text"});
  EXPECT_EQ(prepare(), "C:\\a\\b: no such place");
  scenario_.files.back().path = L"C:\\Windows";
  EXPECT_EQ(prepare(), "C:\\Windows: cannot be written");
}

TEST_F(ScenarioDriveTest, ADriveCanBePreparedTwice) {
  ASSERT_EQ(prepare(), std::nullopt);
  scenario_.clientLibrary = "talsClientNone";
  ASSERT_EQ(prepare(), std::nullopt);
  EXPECT_EQ(read(stack() / "talsClient.dll"), "this is talsClientNone.dll");
}

}  // namespace
}  // namespace host
