#include "tools/simulate/CaseRun.h"

#include <fstream>

#include "platform/host/Drive.h"
#include "tools/runner/ScenarioRun.h"

namespace simulate {
namespace {

namespace fs = std::filesystem;

std::optional<std::string> configOf(const host::Scenario& scenario, const fs::path& folder) {
  if (!scenario.stackDirectory) {
    return std::nullopt;
  }
  host::Drive drive;
  drive.keepIn(folder);
  const std::wstring& place = *scenario.stackDirectory;
  return drive.read(place.substr(0, place.rfind(L'\\')) + L"\\conf\\TPMEnrollmentService.conf");
}

}  // namespace

std::variant<std::unique_ptr<CaseRunner>, std::string> CaseRunner::make(const fs::path& service) {
  auto folder = runner::DriveFolder::make(std::nullopt);
  if (auto* refusal = std::get_if<std::string>(&folder)) {
    return *refusal;
  }
  auto lives = ServedLives::start(service);
  if (auto* refusal = std::get_if<std::string>(&lives)) {
    return *refusal;
  }
  return std::unique_ptr<CaseRunner>(
      new CaseRunner(std::get<runner::DriveFolder>(std::move(folder)),
                     std::get<std::unique_ptr<ServedLives>>(std::move(lives))));
}

void CaseRunner::emptyDrive() {
  std::error_code ignored;
  fs::remove_all(folder_.drive(), ignored);
  fs::create_directory(folder_.drive(), ignored);
}

std::variant<CaseRunner::Lived, std::string> CaseRunner::live(const std::string& text,
                                                              std::uint64_t seed,
                                                              const std::string& order) {
  auto parsed = host::parseScenario("life", text);
  if (const auto* error = std::get_if<host::ScenarioError>(&parsed)) {
    return "line " + std::to_string(error->line) + ": " + error->reason;
  }
  Lived lived{std::get<host::Scenario>(std::move(parsed)), {}, {}};
  const fs::path file = folder_.drive().parent_path() / "life.scenario";
  std::ofstream(file, std::ios::binary) << text;
  const runner::Programs programs;
  if (auto reason = host::prepareDrive(lived.scenario, folder_.drive(), programs.standIns)) {
    return *reason;
  }
  lived.config = configOf(lived.scenario, folder_.drive());
  auto result = lives_->live({file, folder_.drive(), seed, order});
  if (auto* refusal = std::get_if<std::string>(&result)) {
    return *refusal;
  }
  lived.result = std::get<runner::RunResult>(std::move(result));
  return lived;
}

CaseResult CaseRunner::run(const Case& one) {
  CaseResult result;
  bool wasEnded = false;  // the life before
  emptyDrive();
  for (const std::string& text : one.lives) {
    const auto lived = live(text, one.seed, one.order);
    if (const auto* refusal = std::get_if<std::string>(&lived)) {
      result.refusal = *refusal;
      return result;
    }
    const auto& life = std::get<Lived>(lived);
    const Verdict verdict =
        judgeLife({life.scenario, life.result, life.config, one.order == "stall"});
    ++result.lives;
    result.machineTime += life.result.machineTime;
    for (std::size_t i = 0; i < kProbes; ++i) {
      result.probes[i] += verdict.probes[i];
    }
    if (wasEnded && life.result.end == runner::End::kExit && verdict.goalsStood) {
      ++result.probes[static_cast<std::size_t>(Probe::kGoalsAfterAnEnd)];
    }
    wasEnded = life.result.end == runner::End::kEnded;
    for (const std::string& promise : verdict.broken) {
      result.broken.push_back("life " + std::to_string(result.lives) + ": " + promise);
    }
  }
  return result;
}

}  // namespace simulate
