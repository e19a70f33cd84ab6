#include "tools/threads/ThreadLives.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <thread>

#include "tools/runner/DriveFolder.h"
#include "tools/threads/RaceReports.h"

namespace threads {
namespace {

// Ways of drawing who gets the turn, for one seed each: they find different collisions.
constexpr std::array kOrders{"uniform", "sticky", "priority", "starve", "stall"};
// Lives in real time wait most of the time.
constexpr unsigned kJobsInRealTime = 16;
constexpr unsigned kInRealTime = 0;

struct Life {
  const runner::LoadedScenario* scenario;
  unsigned seed;  // or kInRealTime
};

std::string nameOf(const Life& life) {
  const std::string& name = life.scenario->scenario.name;
  return life.seed == kInRealTime ? name + ", side by side"
                                  : name + ", seed " + std::to_string(life.seed);
}

// The lives that one kind of job takes in turn.
class Queue {
 public:
  void add(const Life& life) { lives_.push_back(life); }
  std::size_t size() const { return lives_.size(); }

  // Lives that may take long come first, so that they do not come last of all.
  void sortByLength() {
    std::ranges::stable_sort(lives_, std::greater(),
                             [](const Life& life) { return life.scenario->scenario.limit; });
  }

  const Life* next() {
    const std::size_t at = next_++;
    return at < lives_.size() ? &lives_[at] : nullptr;
  }

 private:
  std::vector<Life> lives_;
  std::atomic<std::size_t> next_{0};
};

class ThreadLives {
 public:
  explicit ThreadLives(const ThreadLivesOptions& options) : options_(options) {}

  std::string run(ThreadLivesResult& result) {
    if (std::string refusal = load(); !refusal.empty()) {
      return refusal;
    }
    for (const runner::LoadedScenario& scenario : scenarios_) {
      for (unsigned seed = 1; seed <= options_.seeds; ++seed) {
        inTurns_.add({&scenario, seed});
      }
      if (options_.sideBySide) {
        sideBySide_.add({&scenario, kInRealTime});
      }
    }
    sideBySide_.sortByLength();
    {
      std::vector<std::jthread> jobs;
      for (unsigned i = 0; i < options_.jobs; ++i) {
        jobs.emplace_back([this] { work(inTurns_); });
      }
      for (unsigned i = 0; i < kJobsInRealTime; ++i) {
        jobs.emplace_back([this] { work(sideBySide_); });
      }
    }
    result_.scenarios = scenarios_.size();
    result_.inTurns = inTurns_.size();
    result_.sideBySide = sideBySide_.size();
    result = std::move(result_);
    return refusal_;
  }

 private:
  std::string load() {
    auto loaded = runner::ScenarioCatalog(runner::scenarioFolder()).load(options_.scenarios);
    if (auto* wrong = std::get_if<std::string>(&loaded)) {
      return std::move(*wrong);
    }
    for (auto& scenario : std::get<std::vector<runner::LoadedScenario>>(loaded)) {
      if (!options_.scenarios.empty() || runner::isShort(scenario.scenario)) {
        scenarios_.push_back(std::move(scenario));
      }
    }
    return {};
  }

  void work(Queue& queue) {
    for (const Life* life = queue.next(); life != nullptr && !isOver_; life = queue.next()) {
      auto lived = live(*life);
      if (auto* refusal = std::get_if<std::string>(&lived)) {
        refuse(nameOf(*life) + ": " + *refusal);
        return;
      }
      take(*life, std::get<runner::RunResult>(lived));
    }
  }

  std::variant<runner::RunResult, std::string> live(const Life& life) const {
    auto made = runner::DriveFolder::make(std::nullopt);
    if (auto* refusal = std::get_if<std::string>(&made)) {
      return std::move(*refusal);
    }
    const auto drive = std::get<runner::DriveFolder>(made).drive();
    runner::RunOptions options;
    options.programs = options_.programs;
    options.interrupt = options_.interrupt;
    // The life that it may come after is the plain one.
    if (auto refusal = runner::prepareScenario(*life.scenario, drive, options)) {
      return std::move(*refusal);
    }
    options.realTime = life.seed == kInRealTime;
    options.seed = life.seed;
    runner::LifeOptions start = runner::lifeOf(*life.scenario, drive, options);
    if (life.seed != kInRealTime) {
      start.environment.push_back(std::string("TPM_HOST_ORDER=") +
                                  kOrders[(life.seed - 1) % kOrders.size()]);
    }
    return runner::LifeProcess::run(start);
  }

  void refuse(const std::string& refusal) {
    const std::lock_guard guard(lock_);
    refusal_ = refusal;
    isOver_ = true;
  }

  void take(const Life& life, const runner::RunResult& result) {
    if (result.end == runner::End::kInterrupted) {
      refuse("interrupted");
      return;
    }
    const std::vector<RaceReport> reports = raceReports(result.strayOutput);
    const std::lock_guard guard(lock_);
    for (const RaceReport& report : reports) {
      add(report.summary, report.text, life);
    }
    // A life that broke off may not have come to what was to be looked at.
    const bool hasEnded = result.end != runner::End::kLost && result.end != runner::End::kKilled;
    if (!hasEnded || (result.end == runner::End::kSanitizer && reports.empty())) {
      add("no end of its own: " + endText(result), result.strayOutput, life);
    }
    ++done_;
    if (options_.onLife) {
      options_.onLife(done_, inTurns_.size() + sideBySide_.size());
    }
  }

  void add(const std::string& summary, const std::string& text, const Life& life) {
    Finding& finding = result_.found[summary];
    if (finding.lives.empty()) {
      finding.text = text;
    }
    // A life may tell of the same place more than once.
    if (const std::string name = nameOf(life);
        finding.lives.empty() || finding.lives.back() != name) {
      finding.lives.push_back(name);
    }
  }

  const ThreadLivesOptions& options_;
  std::vector<runner::LoadedScenario> scenarios_;
  Queue inTurns_;
  Queue sideBySide_;
  std::atomic<bool> isOver_{false};
  std::mutex lock_;  // guards what follows
  std::string refusal_;
  std::size_t done_ = 0;
  ThreadLivesResult result_;
};

}  // namespace

std::variant<ThreadLivesResult, std::string> liveUnderThreadSanitizer(
    const ThreadLivesOptions& options) {
  ThreadLivesResult result;
  std::string refusal = ThreadLives(options).run(result);
  if (!refusal.empty()) {
    return refusal;
  }
  return result;
}

}  // namespace threads
