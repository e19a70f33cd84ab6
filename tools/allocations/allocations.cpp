// Makes each request for memory of the product's code fail once, over the short scenarios, and says
// what came of it.

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "tools/allocations/AllocationSweep.h"
#include "tools/runner/OptionNumber.h"

namespace {

constexpr int kAsItMayBe = 0;
constexpr int kObjections = 1;
constexpr int kNothingRun = 2;
constexpr std::size_t kMostExamples = 3;

constexpr char kUsage[] = "Usage: allocations [SCENARIO...] [--every N] [--jobs N] [--groups]\n";

struct Arguments {
  sweep::AllocationOptions options;
  bool groups = false;
};

// What is wrong with the arguments; empty if nothing is.
std::string read(const std::vector<std::string>& arguments, Arguments& read) {
  sweep::AllocationOptions& options = read.options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--every" || argument == "--jobs") {
      unsigned& number = argument == "--every" ? options.every : options.jobs;
      if (i + 1 == arguments.size() || !runner::readAboveZero(arguments[++i], number)) {
        return argument + " takes a number above 0";
      }
    } else if (argument == "--groups") {
      read.groups = true;
    } else if (argument.starts_with("-")) {
      return "no such option: " + argument;
    } else {
      options.scenarios.push_back(argument);
    }
  }
  return {};
}

void printGroups(const sweep::AllocationResult& result) {
  for (const auto& [what, lives] : result.groups) {
    std::cout << lives << " lives " << what << "\n";
  }
}

void print(const sweep::AllocationResult& result, std::chrono::seconds took) {
  for (const auto& [reason, lives] : result.objections) {
    std::cout << reason << "\n";
    for (std::size_t i = 0; i < lives.size() && i < kMostExamples; ++i) {
      std::cout << "  " << lives[i] << "\n";
    }
    std::cout << "  in all " << lives.size() << " lives\n";
  }
  std::cout << "| requests for memory that fail | |\n|---|---|\n"
            << "| scenarios | " << result.scenarios << " |\n"
            << "| lives with a request that failed | " << result.lives << " |\n";
  for (std::size_t i = 0; i < result.outcomes.size(); ++i) {
    std::cout << "| outcome: " << sweep::outcomeText(static_cast<sweep::Outcome>(i)) << " | "
              << result.outcomes[i] << " |\n";
  }
  std::cout << "| kinds of what is not as it may be | " << result.objections.size() << " |\n"
            << "| seconds | " << took.count() << " |\n";
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  sweep::AllocationOptions& options = arguments.options;
  options.program = FAILING_SERVICE;
  options.jobs = std::max(1U, std::thread::hardware_concurrency());
  const std::string wrong = read(std::vector<std::string>(argv + 1, argv + argc), arguments);
  if (!wrong.empty()) {
    std::cerr << "allocations: " << wrong << '\n' << kUsage;
    return kNothingRun;
  }
  // Each life has a drive of its own, which is made and thrown away: in memory, where there is
  // room.
  if (std::getenv("TMPDIR") == nullptr && access("/dev/shm", W_OK) == 0) {
    setenv("TMPDIR", "/dev/shm", 0);
  }
  options.onScenario = [](const std::string& scenario, std::size_t lives) {
    std::cerr << "-- " << scenario << ": " << lives << " lives\n";
  };
  const auto began = std::chrono::steady_clock::now();
  const auto swept = sweep::failAllocations(options);
  if (const auto* refusal = std::get_if<std::string>(&swept)) {
    std::cerr << "allocations: " << *refusal << '\n';
    return kNothingRun;
  }
  const auto& result = std::get<sweep::AllocationResult>(swept);
  if (arguments.groups) {
    printGroups(result);
  }
  print(result,
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - began));
  return result.objections.empty() ? kAsItMayBe : kObjections;
}
