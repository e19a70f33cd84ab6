#include "tools/simulate/Orders.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

#include "platform/host/Schedule.h"
#include "tools/runner/CallOrder.h"
#include "tools/runner/Judge.h"
#include "tools/runner/PrintedLines.h"
#include "tools/runner/ScenarioCatalog.h"

namespace simulate {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostFailuresKept = 3;

std::string wholeFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

struct CallCount {
  std::string name;
  std::size_t count = 0;
};

// What is known of a run beside its lines.
struct Seen {
  Decisions decisions;
  std::vector<CallCount> calls;
};

Seen seenIn(const runner::RunResult& result) {
  Seen seen;
  for (const runner::Record& record : result.records) {
    if (record.kind == host::ReportKind::kDecisions) {
      seen.decisions = decisionsFrom(record.text);
    } else if (record.kind == host::ReportKind::kCalls) {
      std::istringstream text(record.text);
      for (CallCount call; text >> call.name >> call.count;) {
        seen.calls.push_back(call);
      }
    }
  }
  return seen;
}

// With one more step ahead of those that are there.
std::string withStep(const std::string& text, const std::string& step) {
  constexpr std::string_view kHead = "[script]\n";
  const std::size_t head = text.find(kHead);
  if (head == std::string::npos) {
    return text + "\n[script]\n" + step + "\n";
  }
  return text.substr(0, head + kHead.size()) + step + "\n" + text.substr(head + kHead.size());
}

class ScenarioOrders {
 public:
  ScenarioOrders(CaseRunner& runner, const fs::path& file, const OrderBounds& bounds)
      : runner_(runner), file_(file), bounds_(bounds), text_(wholeFile(file)) {
    result_.scenario = file.stem().string();
  }

  OrderResult run() {
    if (begin()) {
      deviate();
      drawOrders();
      place(OrderKind::kStop, "stop");
      place(OrderKind::kSignal, "signal Global\\TpmEnrollmentEvent");
      place(OrderKind::kEnd, "end process");
    }
    return std::move(result_);
  }

 private:
  using Lived = CaseRunner::Lived;

  std::variant<Lived, std::string> live(const std::string& text, std::uint64_t seed,
                                        const std::string& order) {
    runner_.emptyDrive();
    if (!before_.empty()) {
      auto earlier = runner_.live(before_, 0, "uniform");
      if (std::holds_alternative<std::string>(earlier)) {
        return earlier;
      }
    }
    return runner_.live(text, seed, order);
  }

  bool begin();
  void deviate();
  void countPairs();
  void deviateTwice();
  void drawOrders();
  void place(OrderKind kind, const std::string& action);
  void judgeOrder(OrderKind kind, const std::string& what, const Lived& life, bool isHeldUp);
  void judgePlaced(OrderKind kind, const std::string& what, const Lived& life);
  Verdict verdictOn(const Lived& life, bool isHeldUp);
  void fail(const std::string& what, const std::string& reason);
  OrderFigures& figures(OrderKind kind) { return result_.figures[static_cast<std::size_t>(kind)]; }

  CaseRunner& runner_;
  const fs::path file_;
  OrderBounds bounds_;
  const std::string text_;
  std::string before_;
  std::vector<std::string> plainLines_;
  LinesByThread expected_;
  Seen plain_;
  struct First {
    Deviation deviation;
    Decisions decisions;  // of the run with it
  };
  std::vector<First> firsts_;
  std::uint64_t pairsOfFirsts_ = 0;
  // The plain run keeps all promises, and so must every other.
  bool keepsPromises_ = true;
  bool isSpinning_ = false;
  // What is wrong with the reports, the ledger and the end of a plain run that does not.
  std::vector<std::string> brokenAnyway_;
  OrderResult result_;
};

void ScenarioOrders::fail(const std::string& what, const std::string& reason) {
  if (++result_.failed <= kMostFailuresKept) {
    result_.failures.push_back(what + ": " + reason);
  }
}

// What is broken beyond what the plain run breaks.
Verdict ScenarioOrders::verdictOn(const Lived& life, bool isHeldUp) {
  Verdict verdict = judgeLife({life.scenario, life.result, life.config, isHeldUp, keepsPromises_});
  for (std::size_t i = 0; i < kProbes; ++i) {
    result_.probes[i] += verdict.probes[i];
  }
  verdict.broken = runner::beyond(verdict.broken, brokenAnyway_);
  return verdict;
}

bool ScenarioOrders::begin() {
  const auto loaded = runner::loadScenario(file_);
  if (const auto* wrong = std::get_if<std::string>(&loaded)) {
    result_.refusal = *wrong;
    return false;
  }
  const host::Scenario& scenario = std::get<runner::LoadedScenario>(loaded).scenario;
  if (!scenario.after.empty()) {
    before_ = wholeFile(file_.parent_path() / (scenario.after + runner::kScenarioEnding));
  }
  const auto lived = live(text_, 0, "list");
  if (const auto* refusal = std::get_if<std::string>(&lived)) {
    result_.refusal = *refusal;
    return false;
  }
  const auto& plain = std::get<Lived>(lived);
  plainLines_ = runner::comparableLines(plain.result.records);
  for (const auto& difference : judge(scenario, plain.result, runner::Lines::kCompared)) {
    fail("the plain order", difference.summary);
  }
  expected_ = byThread(scenario.expected.value_or(plainLines_));
  plain_ = seenIn(plain.result);
  keepsPromises_ = verdictOn(plain, false).broken.empty();
  if (!keepsPromises_) {
    brokenAnyway_ = verdictOn(plain, false).broken;
  }
  isSpinning_ = scenario.endlessLoopExpected;
  if (isSpinning_) {
    bounds_.each = std::min(bounds_.each, bounds_.inASpin);
    bounds_.pairs = std::min(bounds_.pairs, bounds_.inASpin);
  }
  result_.decisions = plain_.decisions.size();
  for (const CallCount& call : plain_.calls) {
    result_.calls += call.count;
  }
  return result_.failed == 0;
}

void ScenarioOrders::judgeOrder(OrderKind kind, const std::string& what, const Lived& life,
                                bool isHeldUp) {
  ++figures(kind).lives;
  const bool isAsExpected = judge(life.scenario, life.result, runner::Lines::kIgnored).empty() &&
                            byThread(runner::comparableLines(life.result.records)) == expected_;
  const Verdict verdict = verdictOn(life, isHeldUp);
  const runner::Difference calls = callsDifference(life.scenario, life.result, runner::Calls::kAll);
  if (!verdict.broken.empty()) {
    fail(what, verdict.broken.front());
  } else if (isAsExpected && !calls.summary.empty()) {
    fail(what, calls.summary);
  } else if (!isAsExpected && (keepsPromises_ || isHeldUp)) {
    ++figures(kind).otherOrder;
  } else if (!isAsExpected) {
    fail(what, "the lines are not the expected ones");
  }
}

void ScenarioOrders::deviate() {
  OrderFigures& ones = figures(OrderKind::kOneDeviation);
  ones.possible = deviationsFrom(plain_.decisions, 0);
  ones.isEstimate = plain_.decisions.size() >= host::Schedule::kMostDecisions;
  const std::uint64_t count = std::min(ones.possible, bounds_.each);
  for (std::uint64_t i = 0; i < count; ++i) {
    const Deviation one = nthDeviation(plain_.decisions, 0, evenly(i, count, ones.possible));
    const std::string order = "list " + textOf(one);
    const auto lived = live(text_, 0, order);
    if (const auto* refusal = std::get_if<std::string>(&lived)) {
      fail(order, *refusal);
      return;
    }
    judgeOrder(OrderKind::kOneDeviation, order, std::get<Lived>(lived), false);
    firsts_.push_back({one, seenIn(std::get<Lived>(lived).result).decisions});
  }
  countPairs();
  deviateTwice();
}

// A second deviation comes after the first, in a run that is another one because of it. Where that
// run was not had, it counts as if it had as many as the others on average.
void ScenarioOrders::countPairs() {
  for (const First& first : firsts_) {
    pairsOfFirsts_ += deviationsFrom(first.decisions, first.deviation.decision + 1);
  }
  const OrderFigures& ones = figures(OrderKind::kOneDeviation);
  OrderFigures& twos = figures(OrderKind::kTwoDeviations);
  twos.isEstimate = ones.isEstimate || firsts_.size() < ones.possible;
  twos.possible = firsts_.empty() ? 0 : evenly(ones.possible, firsts_.size(), pairsOfFirsts_);
}

void ScenarioOrders::deviateTwice() {
  const std::uint64_t pairs = std::min(pairsOfFirsts_, bounds_.pairs);
  std::uint64_t passed = 0;  // pairs whose first deviation comes earlier
  auto first = firsts_.begin();
  for (std::uint64_t i = 0; i < pairs; ++i) {
    const std::uint64_t nth = evenly(i, pairs, pairsOfFirsts_);
    for (;; ++first) {
      const std::uint64_t here = deviationsFrom(first->decisions, first->deviation.decision + 1);
      if (nth < passed + here) {
        break;
      }
      passed += here;
    }
    const Deviation second =
        nthDeviation(first->decisions, first->deviation.decision + 1, nth - passed);
    const std::string order = "list " + textOf(first->deviation) + " " + textOf(second);
    const auto lived = live(text_, 0, order);
    if (const auto* life = std::get_if<Lived>(&lived)) {
      judgeOrder(OrderKind::kTwoDeviations, order, *life, false);
    } else {
      fail(order, std::get<std::string>(lived));
    }
  }
}

void ScenarioOrders::drawOrders() {
  constexpr std::array<const char*, 4> kDrawn = {"priority", "starve", "uniform", "stall"};
  // While a thread is held up for a minute, one that spins makes millions of calls.
  const std::size_t kinds = isSpinning_ ? kDrawn.size() - 1 : kDrawn.size();
  figures(OrderKind::kBySeed).possible = bounds_.drawn;
  for (std::uint64_t seed = 1; seed <= bounds_.drawn; ++seed) {
    const std::string order = kDrawn[seed % kinds];
    const auto lived = live(text_, seed, order);
    if (const auto* life = std::get_if<Lived>(&lived)) {
      judgeOrder(OrderKind::kBySeed, order + " " + std::to_string(seed), *life, order == "stall");
    } else {
      fail(order, std::get<std::string>(lived));
    }
  }
}

void ScenarioOrders::judgePlaced(OrderKind kind, const std::string& what, const Lived& life) {
  ++figures(kind).lives;
  if (kind != OrderKind::kEnd) {
    const Verdict verdict = verdictOn(life, false);
    if (!verdict.broken.empty()) {
      fail(what, verdict.broken.front());
    }
    return;
  }
  std::vector<std::string> lines = runner::comparableLines(life.result.records);
  if (lines.empty() || lines.back() != "-- the process is ended from outside") {
    fail(what, "the process was not ended");
    return;
  }
  lines.pop_back();
  if (lines.size() > plainLines_.size() ||
      !std::equal(lines.begin(), lines.end(), plainLines_.begin())) {
    fail(what, "the lines up to the end are not the expected ones");
    return;
  }
  const runner::Difference calls =
      callsDifference(life.scenario, life.result, runner::Calls::kBeginning);
  if (!calls.summary.empty()) {
    fail(what, calls.summary);
  }
}

void ScenarioOrders::place(OrderKind kind, const std::string& action) {
  figures(kind).possible = result_.calls;
  const std::uint64_t count = std::min<std::uint64_t>(result_.calls, bounds_.each);
  std::size_t passed = 0;
  auto call = plain_.calls.begin();
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::uint64_t nth = evenly(i, count, result_.calls);
    while (nth >= passed + call->count) {
      passed += (call++)->count;
    }
    const std::string step =
        "before " + call->name + " " + std::to_string(nth - passed + 1) + ": " + action;
    const auto lived = live(withStep(text_, step), 0, "uniform");
    if (const auto* life = std::get_if<Lived>(&lived)) {
      judgePlaced(kind, step, *life);
    } else {
      fail(step, std::get<std::string>(lived));
    }
  }
}

}  // namespace

LinesByThread byThread(const std::vector<std::string>& lines) {
  constexpr std::array<std::string_view, 3> kOfTheHandler = {
      "Stopping service...", "-- service manager: STOP_PENDING",
      "Exception occured in ServiceControlHandler function "};
  constexpr std::array<std::string_view, 13> kOfTheScript = {"-- event ",
                                                             "-- service manager: stop ",
                                                             "-- service manager: control ",
                                                             "-- file ",
                                                             "-- the machine goes ",
                                                             "-- the machine slept ",
                                                             "-- the clock is set ",
                                                             "-- the network is ",
                                                             "-- listener ",
                                                             "-- the process is ended",
                                                             "-- trace log enabled",
                                                             "-- task \"",
                                                             "-- nobody"};
  LinesByThread parts;
  for (const std::string& line : lines) {
    const auto has = [&](std::string_view text) { return line.find(text) != std::string::npos; };
    const auto begins = [&](std::string_view text) { return line.starts_with(text); };
    if (std::any_of(kOfTheHandler.begin(), kOfTheHandler.end(), has)) {
      parts.handler.push_back(line);
    } else if (std::any_of(kOfTheScript.begin(), kOfTheScript.end(), begins)) {
      parts.script.push_back(line);
    } else {
      parts.service.push_back(line);
    }
  }
  return parts;
}

OrderResult runOrders(CaseRunner& runner, const fs::path& file, const OrderBounds& bounds) {
  return ScenarioOrders(runner, file, bounds).run();
}

std::variant<std::vector<OrderResult>, std::string> runAllOrders(
    const std::vector<fs::path>& files, const OrderBounds& bounds, unsigned jobs,
    const std::function<void(const OrderResult& result)>& onResult) {
  std::vector<OrderResult> results(files.size());
  std::atomic<std::size_t> next{0};
  std::mutex mutex;
  std::string refusal;
  const auto work = [&] {
    auto made = CaseRunner::make();
    if (auto* reason = std::get_if<std::string>(&made)) {
      const std::scoped_lock lock(mutex);
      refusal = *reason;
      return;
    }
    CaseRunner& runner = *std::get<std::unique_ptr<CaseRunner>>(made);
    for (std::size_t i = next++; i < files.size(); i = next++) {
      results[i] = runOrders(runner, files[i], bounds);
      const std::scoped_lock lock(mutex);
      onResult(results[i]);
    }
  };
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < std::max(jobs, 1U); ++i) {
    threads.emplace_back(work);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  if (!refusal.empty()) {
    return refusal;
  }
  return results;
}

}  // namespace simulate
