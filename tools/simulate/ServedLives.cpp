#include "tools/simulate/ServedLives.h"

#include "platform/host/LifeServer.h"

namespace simulate {
namespace {

void add(std::string& message, const std::string& variable) {
  message += variable;
  message += '\0';
}

std::string orderOf(const ServedLife& life) {
  std::string message;
  add(message, "TPM_HOST_SCENARIO=" + life.scenario.string());
  add(message, "TPM_HOST_DRIVE=" + life.drive.string());
  add(message, "TPM_HOST_SEED=" + std::to_string(life.seed));
  add(message, "TPM_HOST_ORDER=" + life.order);
  return message;
}

}  // namespace

std::variant<std::unique_ptr<ServedLives>, std::string> ServedLives::start(
    const std::filesystem::path& service) {
  runner::ForkingOptions options;
  options.program = service;
  options.environment = {std::string(host::kLifeServerVariable) + "=yes", "TPM_HOST_MODE=virtual"};
  auto program = runner::ForkingProgram::start(options);
  if (auto* refusal = std::get_if<std::string>(&program)) {
    return std::move(*refusal);
  }
  return std::unique_ptr<ServedLives>(
      new ServedLives(std::get<std::unique_ptr<runner::ForkingProgram>>(std::move(program))));
}

std::variant<runner::RunResult, std::string> ServedLives::live(const ServedLife& life) {
  return program_->live(orderOf(life));
}

}  // namespace simulate
