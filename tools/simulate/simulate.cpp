// The simulation: lives of random machines under random orders of threads, each held against what
// every life promises.

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "tools/runner/FigureTable.h"
#include "tools/runner/ScenarioCatalog.h"
#include "tools/runner/ScenarioRun.h"
#include "tools/simulate/Options.h"
#include "tools/simulate/OrderReport.h"
#include "tools/simulate/Simulation.h"

namespace {

constexpr int kAllKept = 0;
constexpr int kSomethingBroken = 1;
constexpr int kNothingRun = 2;

using Clock = std::chrono::steady_clock;

// The drives of lives are made and removed hundreds of times a second, which a disk makes dear.
void keepDrivesInMemory() {
  constexpr char kMemory[] = "/dev/shm";
  if (access(kMemory, W_OK | X_OK) == 0) {
    setenv("TMPDIR", kMemory, 0);
  }
}

volatile std::sig_atomic_t isTerminated = 0;

// What was run up to there counts; a second signal ends the program.
void reportWhenTerminated() {
  std::signal(SIGTERM, [](int signal) {
    isTerminated = 1;
    std::signal(signal, SIG_DFL);
  });
}

int refuse(const std::string& reason) {
  std::cerr << "simulate: " << reason << '\n';
  return kNothingRun;
}

std::string fixed(double number, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, number);
  return text;
}

// Tells how far it is, every few seconds.
std::function<void(std::uint64_t, std::uint64_t)> progress(const char* things) {
  return [things, next = Clock::now()](std::uint64_t done, std::uint64_t all) mutable {
    if (Clock::now() >= next && all > 0) {
      next = Clock::now() + std::chrono::seconds(5);
      std::cerr << "-- " << done << " of " << all << ' ' << things << " (" << 100 * done / all
                << " %)\n";
    }
  };
}

void printBroken(const std::vector<std::string>& broken) {
  for (const std::string& promise : broken) {
    std::cout << "  " << promise << '\n';
  }
}

void printProbeCounts(const simulate::ProbeCounts& probes) {
  for (std::size_t i = 0; i < simulate::kProbes; ++i) {
    std::cout << probes[i] << " times: " << simulate::probeRow(static_cast<simulate::Probe>(i)).name
              << '\n';
  }
}

// Prints which probes were never hit; false if one of them must have been.
bool printProbes(const simulate::SimulationResult& result) {
  bool fine = true;
  for (const simulate::MissedProbe& missed : simulate::missedProbes(result.probes, result.seeds)) {
    std::cout << (missed.isFailure ? "never, and must: " : "never: ") << missed.name << '\n';
    fine = fine && !missed.isFailure;
  }
  return fine;
}

// False, with the reason told, if the page that was asked for could not be written.
bool tellFigures(const simulate::Options& options, const std::vector<runner::Figure>& figures,
                 const std::string& command) {
  if (options.figures.empty()) {
    return true;
  }
  const std::string wrong = runner::writeFigures(options.figures, figures, command);
  if (!wrong.empty()) {
    std::cerr << "simulate: " << wrong << '\n';
  }
  return wrong.empty();
}

int simulateSeeds(const simulate::Options& options) {
  simulate::SimulationOptions wanted;
  wanted.firstSeed = options.firstSeed;
  wanted.seeds = options.seeds;
  wanted.years = options.years;
  wanted.jobs = options.jobs;
  wanted.onProgress = progress("seeds");
  wanted.isOver = [] { return isTerminated != 0; };
  reportWhenTerminated();
  const auto began = Clock::now();
  const auto ran = simulate::runSimulation(wanted);
  if (const auto* refusal = std::get_if<std::string>(&ran)) {
    return refuse(*refusal);
  }
  const auto& result = std::get<simulate::SimulationResult>(ran);
  for (const simulate::SimulationFailure& failure : result.failures) {
    std::cout << "seed " << failure.seed << " broke a promise:\n";
    printBroken(failure.broken);
    std::cout << "the shortest case that still does (keep it in a file and --replay it):\n"
              << failure.text << '\n';
  }
  if (options.verbose) {
    printProbeCounts(result.probes);
  }
  const bool allProbes = printProbes(result);
  const double seconds = std::chrono::duration<double>(Clock::now() - began).count();
  std::cout << result.seeds << " seeds, " << result.lives << " lives, " << fixed(result.years, 2)
            << " years of machine time, " << fixed(seconds, 1) << " s, "
            << fixed(static_cast<double>(result.lives) / seconds, 0) << " lives/s, "
            << result.failedSeeds << " seeds failed\n";
  const std::string seeds = "./dev simulate --seeds " + std::to_string(options.seeds) +
                            " --years " + fixed(options.years, options.years < 1 ? 2 : 0);
  if (!tellFigures(options,
                   {{"seeds simulated", runner::inThrees(result.seeds)},
                    {"lives simulated", runner::inThrees(result.lives)},
                    {"years simulated", fixed(result.years, 1)},
                    {"seeds failed", runner::inThrees(result.failedSeeds)}},
                   seeds)) {
    return kNothingRun;
  }
  return result.failedSeeds == 0 && allProbes ? kAllKept : kSomethingBroken;
}

int replay(const simulate::Options& options) {
  std::ifstream file(options.replay, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) {
    return refuse(options.replay + " cannot be read");
  }
  auto made = simulate::CaseRunner::make();
  if (const auto* refusal = std::get_if<std::string>(&made)) {
    return refuse(*refusal);
  }
  simulate::CaseRunner& runner = *std::get<std::unique_ptr<simulate::CaseRunner>>(made);
  const simulate::CaseResult result = runner.run(simulate::caseFrom(text.str()));
  if (!result.refusal.empty()) {
    return refuse(options.replay + ": " + result.refusal);
  }
  printBroken(result.broken);
  std::cout << result.lives << " lives, " << result.broken.size() << " promises broken\n";
  return result.broken.empty() ? kAllKept : kSomethingBroken;
}

int enumerateOrders(const simulate::Options& options) {
  const runner::ScenarioCatalog catalog(runner::scenarioFolder());
  std::vector<std::filesystem::path> files;
  for (const std::string& name : options.scenarios.empty() ? catalog.names() : options.scenarios) {
    const auto file = catalog.find(name);
    if (!file) {
      return refuse(catalog.refusalOf(name));
    }
    files.push_back(*file);
  }
  const auto began = Clock::now();
  // Told as they come: all of them take long.
  const auto ran = simulate::runAllOrders(files, options.bounds, options.jobs,
                                          [](const simulate::OrderResult& result) {
                                            std::cout << simulate::lineOf(result) << '\n';
                                            printBroken(result.failures);
                                            std::cout << std::flush;
                                          });
  if (const auto* refusal = std::get_if<std::string>(&ran)) {
    return refuse(*refusal);
  }
  const auto& results = std::get<std::vector<simulate::OrderResult>>(ran);
  const simulate::OrderTotals totals = simulate::totalsOf(results);
  if (options.verbose) {
    printProbeCounts(totals.probes);
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - began).count();
  std::cout << simulate::textOf(totals) << fixed(seconds, 1) << " s, "
            << fixed(static_cast<double>(totals.lives) / seconds, 0) << " lives/s, "
            << totals.failed << " failed\n";
  if (!tellFigures(options, simulate::figuresOf(totals),
                   "./dev simulate --orders" + simulate::textOf(options.bounds))) {
    return kNothingRun;
  }
  return totals.failed == 0 ? kAllKept : kSomethingBroken;
}

}  // namespace

int main(int argc, char** argv) {
  keepDrivesInMemory();
  const auto read = simulate::readOptions(std::vector<std::string>(argv + 1, argv + argc));
  if (const auto* wrong = std::get_if<std::string>(&read)) {
    std::cerr << "simulate: " << *wrong << '\n' << simulate::kUsage;
    return kNothingRun;
  }
  const auto& options = std::get<simulate::Options>(read);
  if (options.help) {
    std::cout << simulate::kUsage << simulate::kHelp;
    return kAllKept;
  }
  if (options.print) {
    std::cout << textOf(simulate::caseOfSeed(options.firstSeed, simulate::longSpanMs({})));
    return kAllKept;
  }
  if (options.orders) {
    return enumerateOrders(options);
  }
  return options.replay.empty() ? simulateSeeds(options) : replay(options);
}
