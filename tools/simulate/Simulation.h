#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "platform/host/Scheduler.h"
#include "tools/simulate/CaseRun.h"

namespace simulate {

// What to simulate.
struct SimulationOptions {
  std::uint64_t firstSeed = 1;
  std::uint64_t seeds = 1;
  // So many years of the machine's time are to pass in all; lives of one seed in sixteen are made
  // long enough for that.
  double years = 0;
  unsigned jobs = 1;
  // Ends with the first seed that fails, whose case is not made shorter.
  bool endsAtFirst = false;
  // The program whose lives are had.
  std::filesystem::path service = runner::Programs().service;
  // Asked ahead of each seed: whether no more are to be begun. Never if empty.
  std::function<bool()> isOver;
  // Told now and then: how many seeds of how many are done.
  std::function<void(std::uint64_t done, std::uint64_t all)> onProgress;
};

struct SimulationFailure {
  std::uint64_t seed = 0;
  std::vector<std::string> broken;
  std::string text;  // of the case, as short as it could be made
};

struct SimulationResult {
  std::uint64_t seeds = 0;
  std::uint64_t lives = 0;
  double years = 0;  // of the machine's time
  ProbeCounts probes{};
  std::vector<SimulationFailure> failures;  // the first few
  std::uint64_t failedSeeds = 0;
};

// How long the lives of one seed in sixteen must be for so many years to pass.
std::uint64_t longSpanMs(const SimulationOptions& options);

// Runs each seed's case. Gives why it could not, if it could not. Blocks the calling thread.
std::variant<SimulationResult, std::string> runSimulation(const SimulationOptions& options);

// The case's text made as short as may be, so that the first of these promises is still broken.
std::string shrunkCase(CaseRunner& runner, const std::string& text,
                       const std::vector<std::string>& broken);

}  // namespace simulate
