#include "tools/allocations/AllocationSweep.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>

#include "platform/host/Allocations.h"
#include "platform/host/Imbalances.h"
#include "platform/host/LifeServer.h"
#include "platform/host/windows/windows.h"
#include "tools/allocations/PermittedEnds.h"
#include "tools/runner/DriveFolder.h"
#include "tools/runner/ForkingProgram.h"
#include "tools/runner/Judge.h"
#include "tools/runner/PrintedLines.h"
#include "tools/runner/ScenarioCatalog.h"
#include "tools/runner/ScenarioRun.h"

namespace sweep {
namespace {

namespace fs = std::filesystem;

// Where lives of one scenario happen, one after the other.
class Ground {
 public:
  std::string open(const runner::LoadedScenario& loaded, const fs::path& program) {
    auto made = runner::DriveFolder::make(std::nullopt);
    if (auto* refusal = std::get_if<std::string>(&made)) {
      return *refusal;
    }
    folder_.emplace(std::get<runner::DriveFolder>(std::move(made)));
    drive_ = folder_->drive() / "drive";
    template_ = folder_->drive() / "template";
    fs::create_directories(template_);
    runner::RunOptions options;
    options.programs.service = program;
    if (auto reason = runner::prepareScenario(loaded, template_, options)) {
      return *reason;
    }
    const runner::LifeOptions life = runner::lifeOf(loaded, drive_, options);
    order_ = {life.environment.begin(), life.environment.end()};
    auto started = runner::ForkingProgram::start(
        {program,
         life.arguments,
         {std::string(host::kLifeServerVariable) + "=yes", "TPM_HOST_MODE=virtual"},
         {}});
    if (auto* refusal = std::get_if<std::string>(&started)) {
      return *refusal;
    }
    program_ = std::get<std::unique_ptr<runner::ForkingProgram>>(std::move(started));
    return {};
  }

  // A life in which this request fails; 0 for none.
  std::variant<runner::RunResult, std::string> live(unsigned request) {
    std::error_code error;
    fs::remove_all(drive_, error);
    fs::copy(template_, drive_, fs::copy_options::recursive | fs::copy_options::copy_symlinks,
             error);
    if (error) {
      return drive_.string() + ": " + error.message();
    }
    std::string message;
    for (const std::string& variable : order_) {
      message += variable + '\0';
    }
    message += std::string(host::kFailingAllocation) + "=" + std::to_string(request) + '\0';
    return program_->live(message);
  }

 private:
  std::optional<runner::DriveFolder> folder_;
  fs::path template_;
  fs::path drive_;
  std::vector<std::string> order_;
  std::unique_ptr<runner::ForkingProgram> program_;
};

// What required behaviour leaves open or releases too often, wherever the life ends.
bool isListed(const std::string& line) {
  const auto rows = host::imbalances();
  return std::any_of(rows.begin(), rows.end(),
                     [&](const host::Imbalance& row) { return row.text == line; });
}

// Where the request failed; nothing if none did.
std::optional<host::AllocationPlace> placeOf(const runner::RunResult& life) {
  const std::string mark = std::string("-- fault: ") + host::kAllocationCall;
  for (const std::string& line : runner::comparableLines(life.records)) {
    if (!line.starts_with(mark)) {
      continue;
    }
    const auto& texts = host::kAllocationPlaceTexts;
    const auto text = std::find_if(texts.begin(), texts.end(), [&](std::string_view one) {
      return line.ends_with(", " + std::string(one));
    });
    return static_cast<host::AllocationPlace>(text - texts.begin());
  }
  return std::nullopt;
}

std::string groupOf(const Sight& plain, const Sight& life, host::AllocationPlace place) {
  std::string text(host::kAllocationPlaceTexts[static_cast<std::size_t>(place)]);
  text += ": " + std::string(outcomeText(outcomeOf(plain, life)));
  for (const std::string& line : beyond(life.lines, plain.lines)) {
    text += "\n    " + line;
  }
  return text;
}

// What is wrong with a life in which a request failed.
std::vector<std::string> reasonsAgainst(const Sight& plain, const Sight& life,
                                        host::AllocationPlace place) {
  std::vector<std::string> reasons;
  const Outcome outcome = outcomeOf(plain, life);
  if (!isPermittedEnd(plain, life, place)) {
    reasons.push_back(std::string(host::kAllocationPlaceTexts[static_cast<std::size_t>(place)]) +
                      ", it came to: " + std::string(outcomeText(outcome)) + " (" + life.endText +
                      ")");
  }
  for (std::string& illegal : illegalBeyond(illegalReports(plain.statuses), life.statuses)) {
    reasons.push_back(std::move(illegal));
  }
  // What leaves the control handler ends the main thread, and with it a process whose service is
  // still at work: that has not come to give anything back.
  const bool isCutShort = outcome == Outcome::kRefused && place == host::AllocationPlace::kHandling;
  for (const std::string& line :
       isCutShort ? std::vector<std::string>() : beyond(life.ledger, plain.ledger)) {
    if (!isListed(line)) {
      reasons.push_back("the ledger has: " + line);
    }
  }
  return reasons;
}

class Sweep {
 public:
  explicit Sweep(const AllocationOptions& options) : options_(options) {}

  std::string run(AllocationResult& result) {
    auto loaded = runner::ScenarioCatalog(runner::scenarioFolder()).load(options_.scenarios);
    if (auto* wrong = std::get_if<std::string>(&loaded)) {
      return std::move(*wrong);
    }
    for (const auto& scenario : std::get<std::vector<runner::LoadedScenario>>(loaded)) {
      if (options_.scenarios.empty() && !runner::isShort(scenario.scenario)) {
        continue;
      }
      if (std::string refusal = sweep(scenario); !refusal.empty()) {
        return scenario.scenario.name + ": " + refusal;
      }
    }
    result = std::move(result_);
    return {};
  }

 private:
  std::string sweep(const runner::LoadedScenario& loaded) {
    name_ = loaded.scenario.name;
    isOver_ = false;
    refusal_.clear();
    const std::size_t before = result_.lives;
    if (std::string refusal = livePlain(loaded); !refusal.empty()) {
      return refusal;
    }
    std::atomic<unsigned> next{0};
    {
      std::vector<std::jthread> jobs;
      for (unsigned i = 0; i < options_.jobs; ++i) {
        jobs.emplace_back([&] { work(loaded, next); });
      }
    }
    ++result_.scenarios;
    if (options_.onScenario) {
      options_.onScenario(name_, result_.lives - before);
    }
    // Each life makes some: none means that whose they are is not told any more.
    if (refusal_.empty() && result_.lives == before) {
      return "no request for memory is taken for the product's";
    }
    return refusal_;
  }

  std::string livePlain(const runner::LoadedScenario& loaded) {
    Ground ground;
    if (std::string refusal = ground.open(loaded, options_.program); !refusal.empty()) {
      return refusal;
    }
    const auto lived = ground.live(0);
    if (const auto* refusal = std::get_if<std::string>(&lived)) {
      return *refusal;
    }
    const auto& plain = std::get<runner::RunResult>(lived);
    const auto differences = judge(loaded.scenario, plain, runner::Lines::kCompared);
    if (!differences.empty()) {
      return "without a failure " + differences.front().summary;
    }
    plain_ = sightOf(plain);
    plain_.isHeard = runner::isListenedToThroughout(loaded.scenario);
    return {};
  }

  void refuse(const std::string& refusal) {
    const std::lock_guard guard(lock_);
    refusal_ = refusal;
    isOver_ = true;
  }

  // Takes requests in turn until there are no more.
  void work(const runner::LoadedScenario& loaded, std::atomic<unsigned>& next) {
    Ground ground;
    if (std::string refusal = ground.open(loaded, options_.program); !refusal.empty()) {
      refuse(refusal);
      return;
    }
    while (!isOver_) {
      const unsigned request = 1 + next++ * options_.every;
      const auto lived = ground.live(request);
      if (const auto* refusal = std::get_if<std::string>(&lived)) {
        refuse(*refusal);
        return;
      }
      const auto& life = std::get<runner::RunResult>(lived);
      const auto place = placeOf(life);
      if (!place) {
        isOver_ = true;
        return;
      }
      take(life, request, *place);
    }
  }

  void take(const runner::RunResult& life, unsigned request, host::AllocationPlace place) {
    const Sight sight = sightOf(life);
    const auto reasons = reasonsAgainst(plain_, sight, place);
    const std::lock_guard guard(lock_);
    ++result_.lives;
    ++result_.groups[groupOf(plain_, sight, place)];
    ++result_.outcomes[static_cast<std::size_t>(outcomeOf(plain_, sight))];
    for (const std::string& reason : reasons) {
      result_.objections[reason].push_back(name_ + ", request " + std::to_string(request));
    }
  }

  const AllocationOptions& options_;
  std::string name_;
  Sight plain_;
  std::atomic<bool> isOver_{false};
  std::mutex lock_;
  std::string refusal_;
  AllocationResult result_;
};

}  // namespace

std::variant<AllocationResult, std::string> failAllocations(const AllocationOptions& options) {
  AllocationResult result;
  std::string refusal = Sweep(options).run(result);
  if (!refusal.empty()) {
    return refusal;
  }
  return result;
}

}  // namespace sweep
