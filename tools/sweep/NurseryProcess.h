#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <variant>

#include "platform/host/Nursery.h"
#include "tools/runner/Descriptor.h"
#include "tools/runner/ForkingProgram.h"
#include "tools/runner/RunResult.h"
#include "tools/runner/ScenarioRun.h"

namespace sweep {

// A started program that forks lives of one scenario, and the drive that each of them finds. Used
// on one thread; several live side by side. The program ends with the object.
class NurseryProcess {
 public:
  // `folder` is an empty one for the object's own use. Gives why not, if the drive could not be
  // made or the program not be started.
  static std::variant<std::unique_ptr<NurseryProcess>, std::string> start(
      const runner::LoadedScenario& loaded, const std::filesystem::path& folder);

  ~NurseryProcess();
  NurseryProcess(const NurseryProcess&) = delete;
  NurseryProcess& operator=(const NurseryProcess&) = delete;

  // Lets one life happen on a fresh drive. Gives its result, or why the nursery serves no more.
  std::variant<runner::RunResult, std::string> live(const host::LifeOrder& order);

  // What was seen of the last life.
  const host::LifeWatch& watch() const { return *watch_; }

 private:
  NurseryProcess() = default;

  std::string openWatch();
  std::string freshDrive();

  std::filesystem::path template_;
  std::filesystem::path drive_;
  runner::Descriptor watchFile_;
  const host::LifeWatch* watch_ = nullptr;
  std::unique_ptr<runner::ForkingProgram> program_;
};

}  // namespace sweep
