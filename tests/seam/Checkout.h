#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "tests/seam/SeamRules.h"
#include "tests/seam/SourceTree.h"

namespace seam {

// A folder with a checkout that a test makes up; removed with the object.
class Checkout {
 public:
  Checkout() {
    std::string pattern = (std::filesystem::temp_directory_path() / "seam-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("no temporary folder");
    }
    root_ = pattern;
  }
  ~Checkout() { std::filesystem::remove_all(root_); }
  Checkout(const Checkout&) = delete;
  Checkout& operator=(const Checkout&) = delete;

  void write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories((root_ / name).parent_path());
    std::ofstream(root_ / name, std::ios::binary) << text;
  }

  const std::filesystem::path& root() const { return root_; }
  seam::SourceTree product() const { return seam::readTree(root_, seam::kProductRooms); }
  seam::SourceTree tests() const { return seam::readTree(root_, {"tests"}); }
  std::string path(const std::string& name) const { return (root_ / name).generic_string(); }

 private:
  std::filesystem::path root_;
};

}  // namespace seam
