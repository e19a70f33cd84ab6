#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/Drive.h"
#include "platform/host/Scenario.h"
#include "tools/runner/Difference.h"

namespace runner {

// Holds the machine's drive against what a scenario says of its files at the end of the life. Used
// on the thread that runs the scenario.
class DriveCheck {
 public:
  // Made ahead of the life: the files that must stay as they are are looked at. The scenario must
  // live as long as the object. Throws `host::DriveError` if the drive cannot be reached.
  DriveCheck(const host::Scenario& scenario, const std::filesystem::path& drive);

  // Everything that is not as the scenario says, after the life.
  std::vector<Difference> differences();

 private:
  // Content alone would not tell of a file that was written anew as it was.
  struct Seen {
    std::string bytes;
    std::filesystem::file_time_type written;
    bool operator==(const Seen& other) const = default;
  };
  std::optional<Seen> look(const std::wstring& path);
  std::optional<Difference> contentDifference(const host::ScenarioFile& file);

  const host::Scenario& scenario_;
  host::Drive drive_;
  std::map<std::wstring, std::optional<Seen>> before_;
};

}  // namespace runner
