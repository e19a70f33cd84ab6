#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

// An empty folder for one test, removed with all that it holds.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string made = (std::filesystem::temp_directory_path() / "machine-test-XXXXXX").string();
    if (mkdtemp(made.data()) == nullptr) {
      ADD_FAILURE() << "no folder for a test";
      return;
    }
    path_ = made;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};
