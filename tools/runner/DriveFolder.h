#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace runner {

// The folder with the drive of one run. Temporary, and removed with the object, unless a folder to
// keep it in is named. Either way the run sees it under a path of always the same length: a path of
// another length would move what the life keeps in its memory, and with it the addresses it logs.
class DriveFolder {
 public:
  // `keep`: where the drive is to stay; made if it is not there. Gives the folder, or why not: a
  // `keep` that holds something is refused.
  static std::variant<DriveFolder, std::string> make(
      const std::optional<std::filesystem::path>& keep);

  ~DriveFolder();
  DriveFolder(DriveFolder&& other) noexcept;
  DriveFolder& operator=(DriveFolder&& other) = delete;
  DriveFolder(const DriveFolder&) = delete;
  DriveFolder& operator=(const DriveFolder&) = delete;

  std::filesystem::path drive() const;

 private:
  explicit DriveFolder(std::filesystem::path folder) : folder_(std::move(folder)) {}

  std::filesystem::path folder_;
};

}  // namespace runner
