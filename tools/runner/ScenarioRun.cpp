#include "tools/runner/ScenarioRun.h"

#include <optional>
#include <string>

#include "platform/host/Text.h"

namespace runner {
namespace {

constexpr std::chrono::seconds kVirtualBound{60};
constexpr std::chrono::seconds kBeyondRealLimit{30};

}  // namespace

std::chrono::milliseconds wallClockBound(const host::Scenario& scenario, bool realTime) {
  if (!realTime) {
    return kVirtualBound;
  }
  return std::chrono::milliseconds(scenario.limit / host::kNanosecondsPerMillisecond) +
         kBeyondRealLimit;
}

LifeOptions lifeOf(const LoadedScenario& loaded, const std::filesystem::path& drive,
                   const RunOptions& options) {
  LifeOptions life;
  life.program = options.programs.service;
  for (const std::wstring& argument : loaded.scenario.arguments) {
    life.arguments.push_back(host::toUtf8(argument));
  }
  life.environment = {
      "TPM_HOST_SCENARIO=" + std::filesystem::absolute(loaded.file).string(),
      "TPM_HOST_DRIVE=" + drive.string(),
      std::string("TPM_HOST_MODE=") + (options.realTime ? "real" : "virtual"),
      "TPM_HOST_SEED=" + std::to_string(options.seed),
  };
  life.bound = wallClockBound(loaded.scenario, options.realTime);
  life.interrupt = options.interrupt;
  life.onRecord = options.onRecord;
  return life;
}

std::variant<RunResult, std::string> runScenario(const LoadedScenario& loaded,
                                                 const std::filesystem::path& drive,
                                                 const RunOptions& options) {
  if (auto reason = host::prepareDrive(loaded.scenario, drive, options.programs.standIns)) {
    return *reason;
  }
  return LifeProcess::run(lifeOf(loaded, drive, options));
}

}  // namespace runner
