// The run tool: lets a modelled machine live through a scenario and prints what happens there.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <variant>
#include <vector>

#include "tools/CommandLine.h"
#include "tools/runner/Descriptor.h"
#include "tools/runner/DriveFolder.h"
#include "tools/runner/Judge.h"
#include "tools/runner/LifeSurroundings.h"
#include "tools/runner/Printer.h"
#include "tools/runner/ScenarioCatalog.h"
#include "tools/runner/ScenarioRun.h"
#include "tools/runner/WinePlan.h"
#include "tools/runner/WineRun.h"

namespace {

constexpr int kAsExpected = 0;
constexpr int kNotAsExpected = 1;
constexpr int kNothingRun = 2;

constexpr char kNobodyReads[] = "nothing can be written to the standard output";

constexpr host::Nanoseconds kSecond = 1000 * host::kNanosecondsPerMillisecond;
constexpr host::Nanoseconds kLongRun = 60 * kSecond;

// A descriptor that is closed would be given to the next file that is opened, and the run's lines
// would go there. What is opened here instead cannot be used either.
void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) < 0) {
      open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

int refuse(const std::string& reason) {
  std::cerr << "run: " << reason << '\n';
  return kNothingRun;
}

int listScenarios(const runner::ScenarioCatalog& catalog) {
  std::size_t width = 0;
  for (const std::string& name : catalog.names()) {
    width = std::max(width, name.size());
  }
  int status = kAsExpected;
  for (const std::string& name : catalog.names()) {
    const auto loaded = runner::loadScenario(*catalog.find(name));
    if (const auto* wrong = std::get_if<std::string>(&loaded)) {
      std::cout.flush();
      std::cerr << *wrong << '\n';
      status = kNothingRun;
      continue;
    }
    const auto& scenario = std::get<runner::LoadedScenario>(loaded).scenario;
    std::cout << name << std::string(width - name.size() + 2, ' ') << scenario.about << '\n';
  }
  std::cout.flush();
  return std::cout.good() ? status : refuse(kNobodyReads);
}

// The file of the scenario that is asked for, or what to tell somebody who asked for another.
std::variant<std::filesystem::path, std::string> chooseFile(const CommandLine& line) {
  if (line.scenario) {
    return *line.scenario;
  }
  const runner::ScenarioCatalog catalog(runner::scenarioFolder());
  const std::string name = line.name.value_or(runner::kDefaultScenario);
  if (auto file = catalog.find(name)) {
    return *file;
  }
  return catalog.refusalOf(name) + (catalog.near(name).empty() ? " (--list lists them)" : "");
}

std::string durationText(host::Nanoseconds duration) {
  struct Unit {
    const char* name;
    host::Nanoseconds length;
  };
  constexpr Unit kUnits[] = {
      {" days", 86400 * kSecond}, {" h", 3600 * kSecond}, {" min", 60 * kSecond}};
  for (const Unit& unit : kUnits) {
    if (duration % unit.length == 0) {
      return std::to_string(duration / unit.length) + unit.name;
    }
  }
  return std::to_string((duration + kSecond - 1) / kSecond) + " s";
}

int runOne(const CommandLine& line, const runner::LoadedScenario& loaded) {
  if (line.wine) {
    if (const auto reason = runner::whyNotUnderWine(loaded.scenario)) {
      return refuse(loaded.scenario.name + " cannot be run under Wine: " + *reason);
    }
  }
  const runner::Descriptor interrupts = runner::takeInterrupts();
  const auto made = runner::DriveFolder::make(line.keep);
  if (const auto* refusal = std::get_if<std::string>(&made)) {
    return refuse(*refusal);
  }
  runner::Printer printer(std::cout, line.verbose);
  if (!line.virtualTime && !line.wine && loaded.scenario.limit > kLongRun) {
    printer.say("this may take up to " + durationText(loaded.scenario.limit) +
                "; with --virtual it takes milliseconds");
  }
  runner::RunOptions options;
  options.realTime = !line.virtualTime;
  options.seed = line.seed.value_or(0);
  options.interrupt = interrupts.get();
  options.onRecord = [&printer](const runner::Record& record) { return printer.print(record); };
  const std::filesystem::path drive = std::get<runner::DriveFolder>(made).drive();
  const auto ran = line.wine ? runner::runUnderWine(loaded, drive, options)
                             : runner::runScenario(loaded, drive, options);
  if (const auto* refusal = std::get_if<std::string>(&ran)) {
    return refuse(*refusal);
  }

  const auto& result = std::get<runner::RunResult>(ran);
  const bool isComparable = line.virtualTime && options.seed == 0;
  const auto compared = isComparable ? runner::Lines::kCompared
                        : line.wine  ? runner::Lines::kLogOnly
                                     : runner::Lines::kIgnored;
  const auto differences = runner::judge(loaded.scenario, result, compared);
  if (!differences.empty() || line.verbose) {
    std::cerr << result.strayOutput;
  }
  if (!result.addressesFixed && !line.wine) {
    printer.say("address randomisation could not be switched off: addresses differ between runs");
  }
  if (line.keep) {
    printer.say("the machine's drive is kept in " + line.keep->string());
  }
  if (!printer.summarize(loaded.scenario.name, result, differences)) {
    std::cerr << "run: " << kNobodyReads << ", so the run was given up\n";
    return kNotAsExpected;
  }
  return differences.empty() ? kAsExpected : kNotAsExpected;
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardDescriptors();
  const auto read = readCommandLine(std::vector<std::string>(argv + 1, argv + argc));
  if (const auto* fault = std::get_if<std::string>(&read)) {
    std::cerr << "run: " << *fault << '\n' << kUsage;
    return kNothingRun;
  }
  const auto& line = std::get<CommandLine>(read);
  if (line.help) {
    std::cout << kUsage << kHelp << std::flush;
    return std::cout.good() ? kAsExpected : refuse(kNobodyReads);
  }
  if (line.list) {
    return listScenarios(runner::ScenarioCatalog(runner::scenarioFolder()));
  }
  const auto chosen = chooseFile(line);
  if (const auto* unknown = std::get_if<std::string>(&chosen)) {
    std::cerr << "run: " << *unknown << '\n' << kUsage;
    return kNothingRun;
  }
  const auto loaded = runner::loadScenario(std::get<std::filesystem::path>(chosen));
  if (const auto* malformed = std::get_if<std::string>(&loaded)) {
    std::cerr << *malformed << '\n';
    return kNothingRun;
  }
  return runOne(line, std::get<runner::LoadedScenario>(loaded));
}
