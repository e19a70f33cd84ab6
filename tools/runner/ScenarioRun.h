#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "tools/runner/LifeProcess.h"
#include "tools/runner/RunResult.h"
#include "tools/runner/ScenarioCatalog.h"

namespace runner {

// The programs of this build that a run is made of.
struct Programs {
  std::filesystem::path service = RUNNER_SERVICE;
  std::filesystem::path standIns = RUNNER_STANDINS;
};

// The folder with the scenarios of this source tree.
inline const std::filesystem::path& scenarioFolder() {
  static const std::filesystem::path folder = RUNNER_SCENARIOS;
  return folder;
}

// How a scenario is run.
struct RunOptions {
  bool realTime = false;
  std::uint64_t seed = 0;
  // See LifeOptions.
  int interrupt = -1;
  RecordReader::Taker onRecord;
  Programs programs;
};

// How long a run may take on the clock on the wall before it is taken for hung.
std::chrono::milliseconds wallClockBound(const host::Scenario& scenario, bool realTime);

// How a life of the scenario is started on a drive that has the scenario's files.
LifeOptions lifeOf(const LoadedScenario& loaded, const std::filesystem::path& drive,
                   const RunOptions& options);

// Makes the drive, which must be empty, what the scenario's life finds: the life of a scenario that
// it comes after happens, and its files are put there. Gives why not, if anything went wrong.
std::optional<std::string> prepareScenario(const LoadedScenario& loaded,
                                           const std::filesystem::path& drive,
                                           const RunOptions& options);

// Puts the scenario's files on the drive, which must be empty, lets its life happen and looks at
// what it left on the drive. The life of a scenario that it comes after happens first, and its
// records are not told. Gives the result, or why nothing (more) could be started. Blocks the
// calling thread.
std::variant<RunResult, std::string> runScenario(const LoadedScenario& loaded,
                                                 const std::filesystem::path& drive,
                                                 const RunOptions& options);

}  // namespace runner
