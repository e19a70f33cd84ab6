// Lets the service live under the thread sanitizer, with threads that take turns and with threads
// that run side by side, and says what the sanitizer says.

#include <algorithm>
#include <chrono>
#include <iostream>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

#include "tools/runner/LifeSurroundings.h"
#include "tools/runner/OptionNumber.h"
#include "tools/threads/ThreadLives.h"

namespace {

constexpr int kNothingFound = 0;
constexpr int kSomethingFound = 1;
constexpr int kNothingRun = 2;
constexpr std::size_t kMostExamples = 5;

constexpr char kUsage[] =
    "Usage: threads [SCENARIO...] [--seeds N] [--jobs N] [--turns] [--service PROGRAM]\n";

// What is wrong with the arguments; empty if nothing is.
std::string read(const std::vector<std::string>& arguments, threads::ThreadLivesOptions& options) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--seeds" || argument == "--jobs") {
      unsigned& number = argument == "--seeds" ? options.seeds : options.jobs;
      if (i + 1 == arguments.size() || !runner::readAboveZero(arguments[++i], number)) {
        return argument + " takes a number above 0";
      }
    } else if (argument == "--service") {
      if (i + 1 == arguments.size()) {
        return "--service takes a program";
      }
      options.programs.service = arguments[++i];
    } else if (argument == "--turns") {
      options.sideBySide = false;
    } else if (argument.starts_with("-")) {
      return "no such option: " + argument;
    } else {
      options.scenarios.push_back(argument);
    }
  }
  return {};
}

// Tells every tenth part of the lives that is over.
std::function<void(std::size_t, std::size_t)> progress() {
  return [shown = std::size_t{0}](std::size_t done, std::size_t all) mutable {
    if (const std::size_t tenths = 10 * done / all; tenths > shown) {
      shown = tenths;
      std::cerr << "-- lives: " << 10 * tenths << " % (" << done << " of " << all << ")\n";
    }
  };
}

void print(const threads::ThreadLivesResult& result, std::chrono::seconds took) {
  for (const auto& [summary, finding] : result.found) {
    std::cout << summary << '\n' << finding.text;
    for (std::size_t i = 0; i < std::min(finding.lives.size(), kMostExamples); ++i) {
      std::cout << "  " << finding.lives[i] << '\n';
    }
    std::cout << "  in all " << finding.lives.size() << " lives\n\n";
  }
  std::cout << "| lives under the thread sanitizer | |\n|---|---|\n"
            << "| scenarios | " << result.scenarios << " |\n"
            << "| lives whose threads take turns | " << result.inTurns << " |\n"
            << "| lives whose threads run side by side | " << result.sideBySide << " |\n"
            << "| kinds of what was found | " << result.found.size() << " |\n"
            << "| seconds | " << took.count() << " |\n";
}

}  // namespace

int main(int argc, char** argv) {
  threads::ThreadLivesOptions options;
  options.jobs = std::max(1U, std::thread::hardware_concurrency());
  const std::string wrong = read(std::vector<std::string>(argv + 1, argv + argc), options);
  if (!wrong.empty()) {
    std::cerr << "threads: " << wrong << '\n' << kUsage;
    return kNothingRun;
  }
  if (std::string_view(RUNNER_SANITIZER) != "thread") {
    std::cerr << "threads: this build has no thread sanitizer, so that it would find nothing\n";
    return kNothingRun;
  }
  const runner::Descriptor interrupts = runner::takeInterrupts();
  options.interrupt = interrupts.get();
  options.onLife = progress();
  const auto began = std::chrono::steady_clock::now();
  const auto lived = threads::liveUnderThreadSanitizer(options);
  if (const auto* refusal = std::get_if<std::string>(&lived)) {
    std::cerr << "threads: " << *refusal << '\n';
    return kNothingRun;
  }
  const auto& result = std::get<threads::ThreadLivesResult>(lived);
  print(result,
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - began));
  return result.found.empty() ? kNothingFound : kSomethingFound;
}
