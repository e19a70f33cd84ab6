#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/host/Scenario.h"

namespace runner {

// A scenario that was read and found right.
struct LoadedScenario {
  std::filesystem::path file;
  host::Scenario scenario;
};

// Reads and checks a scenario's file. Gives what is wrong as "file:line: reason", or as
// "file: reason" if it cannot be read.
std::variant<LoadedScenario, std::string> loadScenario(const std::filesystem::path& file);

// Whether it is over within five minutes of the machine's time: what is asked many times over is
// asked of such scenarios.
bool isShort(const host::Scenario& scenario);

// Whether somebody listens to the log through the whole of it. A log of which a part was not heard
// says nothing about what came before what.
bool isListenedToThroughout(const host::Scenario& scenario);

// The scenarios of a folder: its files "<name>.scenario", the first boot's first, the others by
// name.
class ScenarioCatalog {
 public:
  // A folder that cannot be read is an empty catalog.
  explicit ScenarioCatalog(const std::filesystem::path& folder);

  const std::vector<std::string>& names() const { return names_; }

  // The scenario's file; nothing if there is none of that name.
  std::optional<std::filesystem::path> find(const std::string& name) const;

  // Names that somebody who wrote `name` may have meant, the nearest first; at most five.
  std::vector<std::string> near(const std::string& name) const;

  // What to tell somebody who asked for a scenario that is not there.
  std::string refusalOf(const std::string& name) const;

  // The scenarios of these names, or all of them without a name; or what is wrong with the first
  // that is not there or not right.
  std::variant<std::vector<LoadedScenario>, std::string> load(
      const std::vector<std::string>& names) const;

 private:
  std::filesystem::path folder_;
  std::vector<std::string> names_;
};

// How the names of scenarios' files end.
inline constexpr char kScenarioEnding[] = ".scenario";

// The scenario that is run when none is named.
inline constexpr char kDefaultScenario[] = "first-boot";

}  // namespace runner
