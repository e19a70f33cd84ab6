#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <variant>

#include "tools/runner/ForkingProgram.h"
#include "tools/runner/RunResult.h"

namespace simulate {

// One life to come.
struct ServedLife {
  std::filesystem::path scenario;  // the file with its text
  std::filesystem::path drive;     // has the scenario's files
  std::uint64_t seed = 0;
  std::string order = "uniform";  // see host::Schedule::follow
};

// A started service program that forks lives of whatever scenario it is told. Used on one thread;
// several live side by side. The program ends with the object.
class ServedLives {
 public:
  // Gives why not, if the program could not be started.
  static std::variant<std::unique_ptr<ServedLives>, std::string> start(
      const std::filesystem::path& service);

  // Lets one life happen in virtual time. Gives its result, or why no more lives can be had.
  std::variant<runner::RunResult, std::string> live(const ServedLife& life);

 private:
  explicit ServedLives(std::unique_ptr<runner::ForkingProgram> program)
      : program_(std::move(program)) {}

  std::unique_ptr<runner::ForkingProgram> program_;
};

}  // namespace simulate
