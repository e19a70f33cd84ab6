#include "tools/sweep/NurseryProcess.h"

#include <sys/mman.h>
#include <unistd.h>

#include "tools/runner/LifeSurroundings.h"

namespace sweep {

namespace fs = std::filesystem;

std::variant<std::unique_ptr<NurseryProcess>, std::string> NurseryProcess::start(
    const runner::LoadedScenario& loaded, const fs::path& folder) {
  std::unique_ptr<NurseryProcess> nursery(new NurseryProcess);
  nursery->template_ = folder / "template";
  nursery->drive_ = folder / "drive";
  const runner::RunOptions options;
  if (auto reason = runner::prepareScenario(loaded, nursery->template_, options)) {
    return *reason;
  }
  std::string refusal = nursery->openWatch();
  if (!refusal.empty()) {
    return refusal;
  }
  runner::LifeOptions life = runner::lifeOf(loaded, nursery->drive_, options);
  life.environment.push_back(std::string(host::kNurseryVariable) + "=yes");
  auto program =
      runner::ForkingProgram::start({life.program,
                                     life.arguments,
                                     life.environment,
                                     {{nursery->watchFile_.get(), host::kNurseryWatch}}});
  if (auto* reason = std::get_if<std::string>(&program)) {
    return std::move(*reason);
  }
  nursery->program_ = std::get<std::unique_ptr<runner::ForkingProgram>>(std::move(program));
  return nursery;
}

NurseryProcess::~NurseryProcess() {
  if (watch_ != nullptr) {
    munmap(const_cast<host::LifeWatch*>(watch_), sizeof(host::LifeWatch));
  }
}

std::string NurseryProcess::openWatch() {
  watchFile_ = runner::movedUp(memfd_create("watch", MFD_CLOEXEC));
  if (!watchFile_.isOpen() || ftruncate(watchFile_.get(), sizeof(host::LifeWatch)) != 0) {
    return runner::systemText("no file for what is seen of a life");
  }
  void* const mapped =
      mmap(nullptr, sizeof(host::LifeWatch), PROT_READ, MAP_SHARED, watchFile_.get(), 0);
  if (mapped == MAP_FAILED) {
    return runner::systemText("the watch cannot be mapped");
  }
  watch_ = static_cast<const host::LifeWatch*>(mapped);
  return {};
}

std::string NurseryProcess::freshDrive() {
  std::error_code error;
  fs::remove_all(drive_, error);
  if (!error) {
    fs::copy(template_, drive_, fs::copy_options::recursive | fs::copy_options::copy_symlinks,
             error);
  }
  return error ? drive_.string() + ": " + error.message() : "";
}

std::variant<runner::RunResult, std::string> NurseryProcess::live(const host::LifeOrder& order) {
  if (std::string reason = freshDrive(); !reason.empty()) {
    return reason;
  }
  return program_->live({reinterpret_cast<const char*>(&order), sizeof order});
}

}  // namespace sweep
