#include "tools/runner/DriveFolder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

namespace runner {
namespace fs = std::filesystem;
namespace {

constexpr char kTemplate[] = "TPMEnrollmentService-XXXXXX";
constexpr char kDrive[] = "drive";

std::string claim(const fs::path& keep) {
  std::error_code error;
  if (fs::exists(keep, error)) {
    if (!fs::is_directory(keep, error)) {
      return keep.string() + " is no folder";
    }
    const bool isEmpty = fs::is_empty(keep, error);
    if (!error) {
      return isEmpty ? "" : keep.string() + " is not empty";
    }
  } else {
    fs::create_directories(keep, error);
  }
  return error ? keep.string() + ": " + error.message() : "";
}

}  // namespace

std::variant<DriveFolder, std::string> DriveFolder::make(const std::optional<fs::path>& keep) {
  if (keep) {
    std::string refusal = claim(*keep);
    if (!refusal.empty()) {
      return refusal;
    }
  }
  std::error_code error;
  const fs::path temporary = fs::temp_directory_path(error);
  if (error) {
    return "no folder for temporary files: " + error.message();
  }
  std::string made = (temporary / kTemplate).string();
  if (mkdtemp(made.data()) == nullptr) {
    return made + ": " + std::strerror(errno);
  }
  DriveFolder folder{fs::path(made)};
  if (keep) {
    fs::create_directory_symlink(fs::absolute(*keep), folder.drive(), error);
  } else {
    fs::create_directory(folder.drive(), error);
  }
  if (error) {
    return folder.drive().string() + ": " + error.message();
  }
  return folder;
}

DriveFolder::~DriveFolder() {
  if (!folder_.empty()) {
    // A drive that is kept is only linked here, and removing a link leaves what it leads to alone.
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
}

DriveFolder::DriveFolder(DriveFolder&& other) noexcept
    : folder_(std::exchange(other.folder_, fs::path())) {}

fs::path DriveFolder::drive() const {
  return folder_ / kDrive;
}

}  // namespace runner
