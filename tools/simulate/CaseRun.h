#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "tools/runner/DriveFolder.h"
#include "tools/runner/ScenarioRun.h"
#include "tools/simulate/Case.h"
#include "tools/simulate/ServedLives.h"
#include "tools/simulate/Verdict.h"

namespace simulate {

// What a case came to.
struct CaseResult {
  std::vector<std::string> broken;
  ProbeCounts probes{};
  unsigned lives = 0;
  host::Nanoseconds machineTime = 0;
  // A text of the case that is no scenario, or a drive that could not be made: nothing was judged.
  std::string refusal;
};

// A place where cases are run, one after the other: a program that forks lives, and a drive. Used
// on one thread; several stand side by side.
class CaseRunner {
 public:
  // Gives why not, if there can be none. `service` is the program whose lives are had.
  static std::variant<std::unique_ptr<CaseRunner>, std::string> make(
      const std::filesystem::path& service = runner::Programs().service);

  CaseResult run(const Case& one);

  // One life of a scenario's text, on the drive as it stands, or on an empty one. Gives what the
  // scenario is and what came of it, or why there is nothing to judge.
  struct Lived {
    host::Scenario scenario;
    runner::RunResult result;
    std::optional<std::string> config;
  };
  std::variant<Lived, std::string> live(const std::string& text, std::uint64_t seed,
                                        const std::string& order);
  void emptyDrive();
  std::filesystem::path drive() const { return folder_.drive(); }

 private:
  CaseRunner(runner::DriveFolder folder, std::unique_ptr<ServedLives> lives)
      : folder_(std::move(folder)), lives_(std::move(lives)) {}

  runner::DriveFolder folder_;
  std::unique_ptr<ServedLives> lives_;
};

}  // namespace simulate
