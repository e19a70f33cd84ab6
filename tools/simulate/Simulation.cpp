#include "tools/simulate/Simulation.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>

#include "tools/simulate/Shrinker.h"

namespace simulate {
namespace {

constexpr std::size_t kMostFailuresKept = 3;
constexpr std::uint64_t kSeedsToALongOne = 16;
constexpr double kMsOfAYear = 365.25 * 24 * 3600 * 1000;
constexpr std::uint64_t kSeedsBetweenNews = 50;

// The promise without the life that broke it: a shorter case may have fewer lives.
std::string promiseOf(const std::string& broken) {
  const std::size_t colon = broken.find(": ");
  return colon == std::string::npos ? broken : broken.substr(colon + 2);
}

// What the threads that run cases share.
class Work {
 public:
  explicit Work(const SimulationOptions& options)
      : options_(options), span_(longSpanMs(options)), next_(options.firstSeed) {}

  void runSeeds() {
    auto made = CaseRunner::make(options_.service);
    if (auto* refusal = std::get_if<std::string>(&made)) {
      return refuse(*refusal);
    }
    CaseRunner& runner = *std::get<std::unique_ptr<CaseRunner>>(made);
    const std::uint64_t end = options_.firstSeed + options_.seeds;
    for (std::uint64_t seed = next_++; seed < end; seed = next_++) {
      if (options_.isOver && options_.isOver()) {
        return;
      }
      const Case one = caseOfSeed(seed, span_);
      const CaseResult result = runner.run(one);
      if (!result.refusal.empty()) {
        return refuse("seed " + std::to_string(seed) + ": " + result.refusal);
      }
      if (!take(result)) {
        continue;
      }
      if (options_.endsAtFirst) {
        keep({seed, result.broken, textOf(one)});
        next_ = end;
      } else {
        shrink(runner, seed, textOf(one), result.broken);
      }
    }
  }

  std::variant<SimulationResult, std::string> result() {
    if (!refusal_.empty()) {
      return refusal_;
    }
    return std::move(result_);
  }

 private:
  void refuse(const std::string& reason) {
    const std::scoped_lock lock(mutex_);
    refusal_ = reason;
    next_ = options_.firstSeed + options_.seeds;
  }

  // Whether it is a failure that is to be shrunk.
  bool take(const CaseResult& result) {
    const std::scoped_lock lock(mutex_);
    ++result_.seeds;
    result_.lives += result.lives;
    result_.years +=
        static_cast<double>(result.machineTime / host::kNanosecondsPerMillisecond) / kMsOfAYear;
    for (std::size_t i = 0; i < kProbes; ++i) {
      result_.probes[i] += result.probes[i];
    }
    if (options_.onProgress && result_.seeds % kSeedsBetweenNews == 0) {
      options_.onProgress(result_.seeds, options_.seeds);
    }
    if (result.broken.empty()) {
      return false;
    }
    return ++result_.failedSeeds <= kMostFailuresKept;
  }

  void shrink(CaseRunner& runner, std::uint64_t seed, const std::string& text,
              const std::vector<std::string>& broken) {
    keep({seed, broken, shrunkCase(runner, text, broken)});
  }

  void keep(SimulationFailure failure) {
    const std::scoped_lock lock(mutex_);
    result_.failures.push_back(std::move(failure));
  }

  const SimulationOptions& options_;
  const std::uint64_t span_;
  std::atomic<std::uint64_t> next_;
  std::mutex mutex_;
  SimulationResult result_;
  std::string refusal_;
};

}  // namespace

std::uint64_t longSpanMs(const SimulationOptions& options) {
  const std::uint64_t longOnes = std::max<std::uint64_t>(options.seeds / kSeedsToALongOne, 1);
  return static_cast<std::uint64_t>(options.years * kMsOfAYear / static_cast<double>(longOnes));
}

std::variant<SimulationResult, std::string> runSimulation(const SimulationOptions& options) {
  Work work(options);
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < std::max(options.jobs, 1U); ++i) {
    threads.emplace_back([&work] { work.runSeeds(); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  return work.result();
}

std::string shrunkCase(CaseRunner& runner, const std::string& text,
                       const std::vector<std::string>& broken) {
  const std::string promise = promiseOf(broken.front());
  return shrunk(text, [&](const std::string& shorter) {
    const CaseResult result = runner.run(caseFrom(shorter));
    return result.refusal.empty() &&
           std::any_of(result.broken.begin(), result.broken.end(),
                       [&](const std::string& one) { return promiseOf(one) == promise; });
  });
}

}  // namespace simulate
