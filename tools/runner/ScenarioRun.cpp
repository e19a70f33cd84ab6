#include "tools/runner/ScenarioRun.h"

#include <optional>
#include <string>

#include "platform/host/Text.h"
#include "tools/runner/DriveCheck.h"
#include "tools/runner/Judge.h"

namespace runner {
namespace {

constexpr std::chrono::seconds kVirtualBound{60};
constexpr std::chrono::seconds kBeyondRealLimit{30};

// Lets the life happen that the scenario's own follows, unseen. Its result, or why the scenario's
// own cannot follow: a life that did not go as it must leaves a drive that nobody described.
std::variant<RunResult, std::string> runLifeBefore(const LoadedScenario& loaded,
                                                   const std::filesystem::path& drive,
                                                   const RunOptions& options) {
  const std::string& name = loaded.scenario.after;
  const auto read = loadScenario(loaded.file.parent_path() / (name + kScenarioEnding));
  if (const auto* wrong = std::get_if<std::string>(&read)) {
    return *wrong;
  }
  const auto& earlier = std::get<LoadedScenario>(read);
  if (!earlier.scenario.after.empty()) {
    return loaded.file.string() + ": it comes after " + name + ", which comes after another";
  }
  RunOptions unseen = options;
  unseen.onRecord = nullptr;
  auto ran = runScenario(earlier, drive, unseen);
  const auto* result = std::get_if<RunResult>(&ran);
  if (result == nullptr || result->end == End::kInterrupted) {
    return ran;
  }
  const auto differences = judge(earlier.scenario, *result, Lines::kIgnored);
  if (!differences.empty()) {
    return "the life before, " + name + ", was not as expected: " + differences.front().summary;
  }
  return ran;
}

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

std::optional<std::string> prepareScenario(const LoadedScenario& loaded,
                                           const std::filesystem::path& drive,
                                           const RunOptions& options) {
  if (!loaded.scenario.after.empty()) {
    const auto before = runLifeBefore(loaded, drive, options);
    if (const auto* refusal = std::get_if<std::string>(&before)) {
      return *refusal;
    }
  }
  return host::prepareDrive(loaded.scenario, drive, options.programs.standIns);
}

std::variant<RunResult, std::string> runScenario(const LoadedScenario& loaded,
                                                 const std::filesystem::path& drive,
                                                 const RunOptions& options) {
  if (!loaded.scenario.after.empty()) {
    auto before = runLifeBefore(loaded, drive, options);
    const auto* result = std::get_if<RunResult>(&before);
    if (result == nullptr || result->end == End::kInterrupted) {
      return before;
    }
  }
  if (auto reason = host::prepareDrive(loaded.scenario, drive, options.programs.standIns)) {
    return *reason;
  }
  try {
    DriveCheck check(loaded.scenario, drive);
    auto ran = LifeProcess::run(lifeOf(loaded, drive, options));
    if (auto* result = std::get_if<RunResult>(&ran)) {
      result->drive = check.differences();
    }
    return ran;
  } catch (const host::DriveError& error) {
    return error.what();
  }
}

}  // namespace runner
