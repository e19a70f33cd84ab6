// The sweep: makes every platform call of every scenario fail, once and from then on, with each
// error that the platform may give for it, and holds what comes of it against what may come of it.

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "tools/runner/FigureTable.h"
#include "tools/runner/OptionNumber.h"
#include "tools/sweep/Sweep.h"
#include "tools/sweep/SweepReport.h"

namespace {

constexpr int kAsItMayBe = 0;
constexpr int kObjections = 1;
constexpr int kNothingRun = 2;

constexpr char kUsage[] =
    "Usage: sweep [SCENARIO...] [--every N] [--jobs N] [--groups]\n"
    "             [--figures FILE] [--help]\n";
constexpr char kHelp[] =
    "\n"
    "Makes every platform call of every scenario fail, once and from then on, with each error\n"
    "that the platform may give for it, and judges what comes of it.\n"
    "\n"
    "  SCENARIO    only these; all if none is named\n"
    "  --every N   only one in N of the faults\n"
    "  --jobs N    so many lives side by side; as many as there are processors if not given\n"
    "  --groups    print what each call's failures came to in each phase of the service\n"
    "  --figures FILE  write the figures into the rows that this page has for them\n"
    "  --help      print this text\n"
    "\n"
    "Exit status: 0 if every run was as it may be, 1 if not, 2 if nothing was run.\n";

struct Request {
  sweep::SweepOptions options;
  bool groups = false;
  std::string figures;  // a page; empty for none
  bool help = false;
};

// What is wrong with the arguments; empty if nothing is.
std::string read(const std::vector<std::string>& arguments, Request& request) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--groups") {
      request.groups = true;
    } else if (argument == "--help") {
      request.help = true;
    } else if (argument == "--figures") {
      if (i + 1 == arguments.size()) {
        return argument + " takes a file";
      }
      request.figures = arguments[++i];
    } else if (argument == "--every" || argument == "--jobs") {
      unsigned& number = argument == "--every" ? request.options.every : request.options.jobs;
      ++i;
      if (i == arguments.size() || !runner::readAboveZero(arguments[i], number)) {
        return argument + " takes a number above 0";
      }
    } else if (argument.starts_with("-")) {
      return "no such option: " + argument;
    } else {
      request.options.scenarios.push_back(argument);
    }
  }
  return {};
}

// As the page names it: without what changes no figure.
std::string commandOf(const Request& request) {
  std::string command = "./dev sweep";
  for (const std::string& scenario : request.options.scenarios) {
    command += " " + scenario;
  }
  return request.options.every == 1 ? command
                                    : command + " --every " + std::to_string(request.options.every);
}

// Tells how far it is, every few seconds.
std::function<void(std::size_t, std::size_t)> progress() {
  using Clock = std::chrono::steady_clock;
  return [next = Clock::now()](std::size_t done, std::size_t all) mutable {
    if (Clock::now() >= next && all > 0) {
      next = Clock::now() + std::chrono::seconds(5);
      std::cerr << "-- " << done << " of at most " << all << " faults (" << 100 * done / all
                << " %)\n";
    }
  };
}

// Each life has a drive of its own, which is made and thrown away: in memory, where there is room.
void keepDrivesInMemory() {
  constexpr char kMemory[] = "/dev/shm";
  if (std::getenv("TMPDIR") == nullptr && access(kMemory, W_OK) == 0) {
    setenv("TMPDIR", kMemory, 0);
  }
}

}  // namespace

int main(int argc, char** argv) {
  Request request;
  request.options.jobs = std::max(1U, std::thread::hardware_concurrency());
  const std::string wrong = read(std::vector<std::string>(argv + 1, argv + argc), request);
  if (!wrong.empty()) {
    std::cerr << "sweep: " << wrong << '\n' << kUsage;
    return kNothingRun;
  }
  if (request.help) {
    std::cout << kUsage << kHelp;
    return kAsItMayBe;
  }
  keepDrivesInMemory();
  request.options.onProgress = progress();
  const auto began = std::chrono::steady_clock::now();
  const auto swept = sweep::runSweep(request.options);
  if (const auto* refusal = std::get_if<std::string>(&swept)) {
    std::cerr << "sweep: " << *refusal << '\n';
    return kNothingRun;
  }
  const auto& result = std::get<sweep::SweepResult>(swept);
  if (request.groups) {
    sweep::printGroups(std::cout, result);
  }
  sweep::printObjections(std::cout, result);
  sweep::printFigures(
      std::cout, result,
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - began));
  if (!request.figures.empty()) {
    const std::string unwritten =
        runner::writeFigures(request.figures, sweep::figuresOf(result), commandOf(request));
    if (!unwritten.empty()) {
      std::cerr << "sweep: " << unwritten << '\n';
      return kNothingRun;
    }
  }
  return result.objections.empty() ? kAsItMayBe : kObjections;
}
