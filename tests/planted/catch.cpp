// Whether a program with a planted fault is caught: catch PROGRAM scenario NAME lets it live
// through a scenario, catch PROGRAM simulate SEEDS through random ones. Exit status: 0 if something
// was not as it must be, which is printed, 1 if nothing was found, 2 if nothing was run.

#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <variant>

#include "tools/runner/DriveFolder.h"
#include "tools/runner/Judge.h"
#include "tools/runner/ScenarioCatalog.h"
#include "tools/runner/ScenarioRun.h"
#include "tools/simulate/Simulation.h"

namespace {

constexpr int kCaught = 0;
constexpr int kNotCaught = 1;
constexpr int kNothingRun = 2;

int refuse(const std::string& reason) {
  std::cerr << "catch: " << reason << '\n';
  return kNothingRun;
}

int byScenario(const std::filesystem::path& program, const std::string& name) {
  const auto loaded = runner::ScenarioCatalog(runner::scenarioFolder()).load({name});
  if (const auto* wrong = std::get_if<std::string>(&loaded)) {
    return refuse(*wrong);
  }
  const auto& scenario = std::get<std::vector<runner::LoadedScenario>>(loaded).front();
  const auto made = runner::DriveFolder::make(std::nullopt);
  if (const auto* refusal = std::get_if<std::string>(&made)) {
    return refuse(*refusal);
  }
  runner::RunOptions options;
  options.programs.service = program;
  const auto ran =
      runner::runScenario(scenario, std::get<runner::DriveFolder>(made).drive(), options);
  if (const auto* refusal = std::get_if<std::string>(&ran)) {
    return refuse(*refusal);
  }
  const auto differences =
      runner::judge(scenario.scenario, std::get<runner::RunResult>(ran), runner::Lines::kCompared);
  if (differences.empty()) {
    return kNotCaught;
  }
  std::cout << differences.front().summary << '\n';
  return kCaught;
}

int bySimulation(const std::filesystem::path& program, const std::string& seeds) {
  simulate::SimulationOptions options;
  options.seeds = std::strtoull(seeds.c_str(), nullptr, 10);
  options.endsAtFirst = true;
  options.service = program;
  const auto ran = simulate::runSimulation(options);
  if (const auto* refusal = std::get_if<std::string>(&ran)) {
    return refuse(*refusal);
  }
  const auto& result = std::get<simulate::SimulationResult>(ran);
  if (result.failures.empty()) {
    return kNotCaught;
  }
  std::cout << result.failures.front().broken.front() << '\n';
  return kCaught;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    return refuse("usage: catch PROGRAM scenario NAME | catch PROGRAM simulate SEEDS");
  }
  const std::string way = argv[2];
  if (way == "scenario") {
    return byScenario(argv[1], argv[3]);
  }
  return way == "simulate" ? bySimulation(argv[1], argv[3]) : refuse("there is no way " + way);
}
