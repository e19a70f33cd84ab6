#include "tools/sweep/Sweep.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>

#include "platform/host/CallNames.h"
#include "platform/host/FaultTable.h"
#include "tools/runner/DriveFolder.h"
#include "tools/runner/Judge.h"
#include "tools/runner/ScenarioCatalog.h"
#include "tools/sweep/FaultPlan.h"
#include "tools/sweep/NurseryProcess.h"
#include "tools/sweep/Verdict.h"

namespace sweep {
namespace {

// So many places are a piece of work: enough to pay for the start of a nursery.
constexpr std::size_t kPlacesTogether = 100;

using OwnStrikes = std::array<host::OwnStrike, host::LifeWatch::kMostOwnFaults>;

// A scenario with its plain run.
struct Swept {
  runner::LoadedScenario loaded;
  Sight plain = {};
  OwnStrikes own = {};  // of the faults that it has of its own
  FaultPlan plan = {};
};

// Where lives happen. The nursery goes ahead of the folder that it works in.
struct Ground {
  runner::DriveFolder folder;
  std::unique_ptr<NurseryProcess> nursery;
};

struct Piece {
  const Swept* swept;
  std::size_t begin;
  std::size_t end;
  std::size_t firstFault;  // counted over all scenarios
};

// How a call can fail.
struct Failure {
  DWORD error;
  bool isDone;
};

std::vector<Failure> failuresOf(const Place& place) {
  const host::FaultRow& row = host::faultTable()[place.call];
  std::vector<Failure> failures;
  for (const DWORD error : row.errors) {
    failures.push_back({error, false});
  }
  for (const DWORD error : row.errorsWhenDone) {
    failures.push_back({error, true});
  }
  return failures;
}

// The scenario's own faults that struck.
std::vector<OwnFault> ownFaults(const std::vector<host::InjectedFault>& faults,
                                const OwnStrikes& plain, const host::LifeWatch& watch) {
  std::vector<OwnFault> own;
  for (std::size_t i = 0; i < faults.size(); ++i) {
    const host::OwnStrike& strike = watch.own[i];
    if (strike.phases != 0) {
      own.push_back({faults[i].call, faults[i].error, faults[i].lasting, faults[i].isDone,
                     strike.phases, strike != plain[i]});
    }
  }
  return own;
}

class Sweep {
 public:
  explicit Sweep(const SweepOptions& options) : options_(options) {}

  std::string run(SweepResult& result) {
    if (std::string refusal = load(); !refusal.empty()) {
      return refusal;
    }
    onAllJobs([this](std::size_t i) { return i < swept_.size() && (plan(swept_[i]), true); });
    cutIntoPieces();
    onAllJobs([this](std::size_t i) { return i < pieces_.size() && (sweep(pieces_[i]), true); });
    result_.scenarios = swept_.size();
    lookForUntried();
    result = std::move(result_);
    return {};
  }

 private:
  std::string load();
  void onAllJobs(const std::function<bool(std::size_t)>& work);
  void plan(Swept& swept);
  void cutIntoPieces();
  void sweep(const Piece& piece);
  bool sweepPlace(const Swept& swept, NurseryProcess& nursery, const Place& place,
                  std::size_t firstFault);
  bool fail(const Swept& swept, NurseryProcess& nursery, const Place& place, Failure failure);
  void take(const Swept& swept, const host::LifeOrder& order, const runner::RunResult& life,
            const host::LifeWatch& watch);
  void object(Objection objection);
  void lookForUntried();
  void advance(std::size_t lives);
  std::optional<Ground> prepare(const Swept& swept);

  const SweepOptions& options_;
  std::vector<Swept> swept_;
  std::vector<Piece> pieces_;
  std::mutex lock_;
  SweepResult result_;
  std::size_t livesDone_ = 0;
  std::size_t livesToCome_ = 0;
};

std::string Sweep::load() {
  auto loaded = runner::ScenarioCatalog(runner::scenarioFolder()).load(options_.scenarios);
  if (auto* wrong = std::get_if<std::string>(&loaded)) {
    return std::move(*wrong);
  }
  for (auto& scenario : std::get<std::vector<runner::LoadedScenario>>(loaded)) {
    swept_.push_back({std::move(scenario)});
  }
  return {};
}

void Sweep::onAllJobs(const std::function<bool(std::size_t)>& work) {
  std::atomic<std::size_t> next{0};
  std::vector<std::jthread> jobs;
  for (unsigned i = 0; i < options_.jobs; ++i) {
    jobs.emplace_back([&] {
      while (work(next++)) {
      }
    });
  }
}

void Sweep::object(Objection objection) {
  const std::lock_guard guard(lock_);
  result_.objections.push_back(std::move(objection));
}

// A part of the scenarios, or of the faults, leaves out what the whole has.
void Sweep::lookForUntried() {
  const std::set<Cell> all = allCells(runner::scenarioFolder().parent_path());
  result_.cells = all.size();
  if (options_.scenarios.empty() && options_.every == 1) {
    result_.untried = untriedCells(all, result_.tried);
    for (const std::string& finding : result_.untried.findings) {
      object({finding, {}});
    }
  }
}

void Sweep::advance(std::size_t lives) {
  const std::lock_guard guard(lock_);
  livesDone_ += lives;
  if (options_.onProgress) {
    options_.onProgress(livesDone_, livesToCome_);
  }
}

// Nothing, and an objection, if lives of this scenario cannot be had.
std::optional<Ground> Sweep::prepare(const Swept& swept) {
  auto made = runner::DriveFolder::make(std::nullopt);
  if (const auto* refusal = std::get_if<std::string>(&made)) {
    object({swept.loaded.scenario.name, {*refusal}});
    return std::nullopt;
  }
  auto& folder = std::get<runner::DriveFolder>(made);
  auto started = NurseryProcess::start(swept.loaded, folder.drive());
  if (const auto* refusal = std::get_if<std::string>(&started)) {
    object({swept.loaded.scenario.name, {*refusal}});
    return std::nullopt;
  }
  return Ground{std::move(folder), std::move(std::get<std::unique_ptr<NurseryProcess>>(started))};
}

// Whether the scenario itself makes this call fail.
bool failsAnyway(const host::Scenario& scenario, const Place& place) {
  return std::any_of(scenario.faults.begin(), scenario.faults.end(),
                     [&](const host::InjectedFault& fault) {
                       return fault.call == host::callsThatCanFail()[place.call] &&
                              (fault.nth == place.nth || (fault.lasting && fault.nth < place.nth));
                     });
}

void Sweep::plan(Swept& swept) {
  const host::Scenario& scenario = swept.loaded.scenario;
  const auto ground = prepare(swept);
  if (!ground) {
    return;
  }
  const auto lived = ground->nursery->live({});
  if (const auto* refusal = std::get_if<std::string>(&lived)) {
    object({scenario.name, {*refusal}});
    return;
  }
  const auto& plain = std::get<runner::RunResult>(lived);
  for (const auto& difference : judge(scenario, plain, runner::Lines::kCompared)) {
    object({scenario.name + ", without a fault", {difference.summary}});
  }
  const host::LifeWatch& watch = ground->nursery->watch();
  if (watch.count > host::LifeWatch::kMostCalls) {
    object({scenario.name, {"it makes more calls than can be kept"}});
  }
  const std::span calls(watch.calls, std::min(watch.count, host::LifeWatch::kMostCalls));
  swept.plain = sightOf(plain);
  std::copy(std::begin(watch.own), std::end(watch.own), swept.own.begin());
  swept.plain.isHeard = runner::isListenedToThroughout(scenario);
  swept.plain.hasOtherDevices = !scenario.devices.empty();
  swept.plain.hasVariables = !scenario.environment.empty();
  swept.plain.hasTraces = !scenario.traces.empty();
  swept.plan = planFaults(calls);
  std::erase_if(swept.plan.places,
                [&](const Place& place) { return failsAnyway(scenario, place); });
  const std::lock_guard guard(lock_);
  for (const host::WatchedCall& call : calls) {
    result_.reached.insert(host::callsThatCanFail()[call.call]);
  }
}

void Sweep::cutIntoPieces() {
  std::size_t faults = 0;
  for (const Swept& swept : swept_) {
    const std::vector<Place>& places = swept.plan.places;
    result_.calls += swept.plan.calls;
    result_.places += places.size();
    for (std::size_t begin = 0; begin < places.size(); begin += kPlacesTogether) {
      const std::size_t end = std::min(begin + kPlacesTogether, places.size());
      pieces_.push_back({&swept, begin, end, faults});
      for (std::size_t i = begin; i < end; ++i) {
        faults += failuresOf(places[i]).size();
      }
    }
  }
  livesToCome_ = 2 * faults / options_.every;
}

void Sweep::sweep(const Piece& piece) {
  const auto ground = prepare(*piece.swept);
  if (!ground) {
    return;
  }
  std::size_t fault = piece.firstFault;
  for (std::size_t i = piece.begin; i < piece.end; ++i) {
    const Place& place = piece.swept->plan.places[i];
    if (!sweepPlace(*piece.swept, *ground->nursery, place, fault)) {
      return;
    }
    fault += failuresOf(place).size();
  }
}

bool Sweep::sweepPlace(const Swept& swept, NurseryProcess& nursery, const Place& place,
                       std::size_t firstFault) {
  const std::vector<Failure> failures = failuresOf(place);
  for (std::size_t i = 0; i < failures.size(); ++i) {
    if ((firstFault + i) % options_.every == 0 && !fail(swept, nursery, place, failures[i])) {
      return false;
    }
  }
  return true;
}

bool Sweep::fail(const Swept& swept, NurseryProcess& nursery, const Place& place, Failure failure) {
  for (const bool lasting : {false, true}) {
    const host::LifeOrder order{true,       lasting,   failure.isDone,
                                place.call, place.nth, failure.error};
    const auto lived = nursery.live(order);
    if (const auto* refusal = std::get_if<std::string>(&lived)) {
      object({swept.loaded.scenario.name, {*refusal}});
      return false;
    }
    const host::LifeWatch& watch = nursery.watch();
    take(swept, order, std::get<runner::RunResult>(lived), watch);
    // A run is the same each time. One that never makes the call again cannot tell a fault that
    // lasts from one that does not.
    if (!lasting && watch.callsAfterStrike == 0) {
      const std::lock_guard guard(lock_);
      ++result_.same;
      result_.tried.insert(
          {host::callsThatCanFail()[place.call], failure.error, failure.isDone, place.phase, true});
      break;
    }
  }
  advance(2);
  return true;
}

void Sweep::take(const Swept& swept, const host::LifeOrder& order, const runner::RunResult& life,
                 const host::LifeWatch& watch) {
  const Sight sight = sightOf(life);
  const std::string_view call = host::callsThatCanFail()[order.call];
  const Verdict verdict =
      judgeFault(swept.plain, sight,
                 {call, watch.phaseAtStrike, watch.struck, order.error, order.lasting, order.isDone,
                  ownFaults(swept.loaded.scenario.faults, swept.own, watch)});
  std::string where = swept.loaded.scenario.name + ": fail " + std::string(call) +
                      (order.lasting ? " from " : " ") + std::to_string(order.nth) + " with " +
                      std::to_string(order.error) + (order.isDone ? " after its work" : "");
  const std::lock_guard guard(lock_);
  ++result_.lives;
  ++result_.outcomes[static_cast<std::size_t>(verdict.outcome)];
  result_.idle += watch.struck ? 0U : 1U;
  result_.tried.insert({call, order.error, order.isDone, watch.phaseAtStrike, order.lasting});
  Group& group = result_.groups[{call, watch.phaseAtStrike, verdict.outcome}];
  ++group.lives;
  group.errors.insert(verdict.errors.begin(), verdict.errors.end());
  group.ledger.insert(verdict.ledger.begin(), verdict.ledger.end());
  if (group.example.empty()) {
    group.example = where;
  }
  if (!verdict.reasons.empty()) {
    result_.objections.push_back({std::move(where), verdict.reasons});
  }
}

}  // namespace

std::variant<SweepResult, std::string> runSweep(const SweepOptions& options) {
  SweepResult result;
  std::string refusal = Sweep(options).run(result);
  if (!refusal.empty()) {
    return refusal;
  }
  return result;
}

}  // namespace sweep
