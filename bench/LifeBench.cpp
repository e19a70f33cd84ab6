// The first boot in virtual time, from the start of the process to its end, beside a process that
// does nothing. Goal: at most 5 ms and 32 MiB, built for release.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <variant>

#include "tools/runner/DriveFolder.h"
#include "tools/runner/Judge.h"
#include "tools/runner/ScenarioRun.h"

namespace {

using Clock = std::chrono::steady_clock;

struct TimedLife {
  runner::RunResult result;
  std::string refusal;
  double seconds = 0;
};

TimedLife runTimed(const runner::LifeOptions& options) {
  const auto begin = Clock::now();
  auto ran = runner::LifeProcess::run(options);
  TimedLife life;
  life.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  if (auto* refusal = std::get_if<std::string>(&ran)) {
    life.refusal = std::move(*refusal);
  } else {
    life.result = std::get<runner::RunResult>(std::move(ran));
  }
  return life;
}

// Each life has a fresh drive, whose making does not count.
TimedLife runOnFreshDrive(const runner::LoadedScenario& loaded) {
  const auto made = runner::DriveFolder::make(std::nullopt);
  if (const auto* refusal = std::get_if<std::string>(&made)) {
    return {{}, *refusal};
  }
  const std::filesystem::path drive = std::get<runner::DriveFolder>(made).drive();
  const runner::RunOptions options;
  if (auto reason = host::prepareDrive(loaded.scenario, drive, options.programs.standIns)) {
    return {{}, *reason};
  }
  return runTimed(runner::lifeOf(loaded, drive, options));
}

void firstBoot(benchmark::State& state) {
  const auto file =
      runner::scenarioFolder() / (std::string(runner::kDefaultScenario) + ".scenario");
  const auto loaded = runner::loadScenario(file);
  if (const auto* wrong = std::get_if<std::string>(&loaded)) {
    state.SkipWithError(wrong->c_str());
    return;
  }
  const auto& scenario = std::get<runner::LoadedScenario>(loaded);
  long peakKiB = 0;
  for (auto unused : state) {
    const TimedLife life = runOnFreshDrive(scenario);
    if (!life.refusal.empty()) {
      state.SkipWithError(life.refusal.c_str());
      return;
    }
    if (!runner::judge(scenario.scenario, life.result, runner::Lines::kIgnored).empty()) {
      state.SkipWithError("the life did not end as its scenario says");
      return;
    }
    state.SetIterationTime(life.seconds);
    peakKiB = std::max(peakKiB, life.result.memoryKiB);
  }
  state.counters["peakKiB"] = static_cast<double>(peakKiB);
}

void emptyProcess(benchmark::State& state) {
  runner::LifeOptions options;
  options.program = EMPTY_LIFE;
  for (auto unused : state) {
    const TimedLife life = runTimed(options);
    if (!life.refusal.empty()) {
      state.SkipWithError(life.refusal.c_str());
      return;
    }
    state.SetIterationTime(life.seconds);
  }
}

}  // namespace

BENCHMARK(emptyProcess)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(firstBoot)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
