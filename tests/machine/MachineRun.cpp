#include "tests/machine/MachineRun.h"

#include <sstream>
#include <variant>

#include "tools/runner/DriveFolder.h"
#include "tools/runner/Printer.h"
#include "tools/runner/ScenarioRun.h"

std::vector<std::string> MachineRun::textsOf(host::ReportKind kind) const {
  std::vector<std::string> texts;
  for (const runner::Record& record : result.records) {
    if (record.kind == kind) {
      texts.push_back(record.text);
    }
  }
  return texts;
}

std::string MachineRun::complaint() const {
  std::ostringstream out;
  runner::Printer(out, false).summarize(scenario.name, result, differences);
  return out.str() + result.strayOutput;
}

MachineRun runFile(const std::filesystem::path& file, const MachineRunOptions& options) {
  MachineRun run;
  auto loaded = runner::loadScenario(file);
  if (const auto* wrong = std::get_if<std::string>(&loaded)) {
    ADD_FAILURE() << *wrong;
    return run;
  }
  const auto made = runner::DriveFolder::make(std::nullopt);
  if (const auto* refusal = std::get_if<std::string>(&made)) {
    ADD_FAILURE() << *refusal;
    return run;
  }
  std::ostringstream out;
  runner::Printer printer(out, false);
  runner::RunOptions runOptions;
  runOptions.seed = options.seed;
  runOptions.realTime = options.realTime;
  runOptions.onRecord = [&printer](const runner::Record& record) { return printer.print(record); };
  const auto& scenario = std::get<runner::LoadedScenario>(loaded);
  auto ran = runner::runScenario(scenario, std::get<runner::DriveFolder>(made).drive(), runOptions);
  if (const auto* refusal = std::get_if<std::string>(&ran)) {
    ADD_FAILURE() << *refusal;
    return run;
  }
  run.scenario = scenario.scenario;
  run.result = std::get<runner::RunResult>(std::move(ran));
  const bool isComparable = !options.realTime && options.seed == 0;
  run.differences = runner::judge(
      run.scenario, run.result, isComparable ? runner::Lines::kCompared : runner::Lines::kIgnored);
  printer.summarize(run.scenario.name, run.result, run.differences);
  run.printed = out.str();
  return run;
}

MachineRun runNamed(const std::string& name, const MachineRunOptions& options) {
  return runFile(runner::scenarioFolder() / (name + ".scenario"), options);
}

const std::vector<std::string>& scenarioNames() {
  static const runner::ScenarioCatalog catalog(runner::scenarioFolder());
  return catalog.names();
}

std::string testName(const ::testing::TestParamInfo<std::string>& parameter) {
  std::string name;
  for (const char character : parameter.param) {
    const bool isPlain = (character >= 'a' && character <= 'z') ||
                         (character >= 'A' && character <= 'Z') ||
                         (character >= '0' && character <= '9');
    name += isPlain ? character : '_';
  }
  return name;
}
