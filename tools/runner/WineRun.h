#pragma once

#include <filesystem>
#include <string>
#include <variant>

#include "tools/runner/RunResult.h"
#include "tools/runner/ScenarioRun.h"

namespace runner {

// What a run under Wine is made of: the genuine program and what is put around it.
struct WinePrograms {
  // The build for Windows, with the program, the stand-ins and what Wine lacks.
  std::filesystem::path build = RUNNER_WINDOWS_BUILD;
  // The script that knows how to keep a prefix.
  std::filesystem::path session = RUNNER_WINE_SESSION;
  // The prefix that each run's own is copied from; made on first use.
  std::filesystem::path prefixTemplate = RUNNER_WINE_TEMPLATE;
};

// Lets the genuine Windows program live through the scenario under Wine, in real time, with its
// drive in `drive`, an empty folder. It must be one that can (whyNotUnderWine). Gives the result,
// or why nothing could be run. Blocks the calling thread. Nothing of the run is left at work.
std::variant<RunResult, std::string> runUnderWine(const LoadedScenario& loaded,
                                                  const std::filesystem::path& drive,
                                                  const RunOptions& options,
                                                  const WinePrograms& programs = {});

}  // namespace runner
