#include "tools/simulate/Orders.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

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
  std::vector<std::size_t> decisions;
  std::vector<CallCount> calls;
};

Seen seenIn(const runner::RunResult& result) {
  Seen seen;
  for (const runner::Record& record : result.records) {
    std::istringstream text(record.text);
    if (record.kind == host::ReportKind::kDecisions) {
      for (std::size_t count = 0; text >> count;) {
        seen.decisions.push_back(count);
      }
    } else if (record.kind == host::ReportKind::kCalls) {
      for (CallCount call; text >> call.name >> call.count;) {
        seen.calls.push_back(call);
      }
    }
  }
  return seen;
}

// The alternatives at the decisions from `first` on.
std::uint64_t alternatives(const std::vector<std::size_t>& decisions, std::size_t first) {
  std::uint64_t count = 0;
  for (std::size_t i = first; i < decisions.size(); ++i) {
    count += decisions[i] - 1;
  }
  return count;
}

struct Deviation {
  std::size_t decision = 0;
  std::size_t other = 1;
};

Deviation nthDeviation(const std::vector<std::size_t>& decisions, std::size_t first,
                       std::uint64_t nth) {
  std::size_t at = first;
  while (at < decisions.size() && nth >= decisions[at] - 1) {
    nth -= decisions[at++] - 1;
  }
  return {at, static_cast<std::size_t>(nth) + 1};
}

std::string textOf(const Deviation& deviation) {
  return " " + std::to_string(deviation.decision) + ":" + std::to_string(deviation.other);
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
  ScenarioOrders(CaseRunner& runner, const fs::path& file, std::uint64_t budget)
      : runner_(runner), file_(file), budget_(budget), text_(wholeFile(file)) {
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
  const std::uint64_t budget_;
  const std::string text_;
  std::string before_;
  std::vector<std::string> plainLines_;
  LinesByThread expected_;
  Seen plain_;
  struct First {
    Deviation deviation;
    std::vector<std::size_t> decisions;  // of the run with it
  };
  std::vector<First> firsts_;
  bool keepsPromises_ = false;  // the plain run does, so that others may be held against them
  OrderResult result_;
};

void ScenarioOrders::fail(const std::string& what, const std::string& reason) {
  if (++result_.failed <= kMostFailuresKept) {
    result_.failures.push_back(what + ": " + reason);
  }
}

Verdict ScenarioOrders::verdictOn(const Lived& life, bool isHeldUp) {
  Verdict verdict = judgeLife({life.scenario, life.result, life.config, isHeldUp});
  for (std::size_t i = 0; i < kProbes; ++i) {
    result_.probes[i] += verdict.probes[i];
  }
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
  if (isAsExpected) {
    return;
  }
  if (!keepsPromises_) {
    fail(what, "the lines are not the expected ones");
    return;
  }
  const Verdict verdict = verdictOn(life, isHeldUp);
  if (verdict.broken.empty()) {
    ++figures(kind).otherOrder;
  } else {
    fail(what, verdict.broken.front());
  }
}

void ScenarioOrders::deviate() {
  OrderFigures& ones = figures(OrderKind::kOneDeviation);
  ones.possible = alternatives(plain_.decisions, 0);
  const std::uint64_t count = std::min(ones.possible, budget_);
  for (std::uint64_t i = 0; i < count; ++i) {
    const Deviation one = nthDeviation(plain_.decisions, 0, i * ones.possible / count);
    const std::string order = "list" + textOf(one);
    const auto lived = live(text_, 0, order);
    if (const auto* refusal = std::get_if<std::string>(&lived)) {
      fail(order, *refusal);
      return;
    }
    judgeOrder(OrderKind::kOneDeviation, order, std::get<Lived>(lived), false);
    firsts_.push_back({one, seenIn(std::get<Lived>(lived).result).decisions});
  }
  deviateTwice();
}

void ScenarioOrders::deviateTwice() {
  OrderFigures& twos = figures(OrderKind::kTwoDeviations);
  for (const First& first : firsts_) {
    twos.possible += alternatives(first.decisions, first.deviation.decision + 1);
  }
  const std::uint64_t pairs = std::min(twos.possible, budget_);
  std::uint64_t passed = 0;  // pairs whose first deviation comes earlier
  auto first = firsts_.begin();
  for (std::uint64_t i = 0; i < pairs; ++i) {
    const std::uint64_t nth = i * twos.possible / pairs;
    for (;; ++first) {
      const std::uint64_t here = alternatives(first->decisions, first->deviation.decision + 1);
      if (nth < passed + here) {
        break;
      }
      passed += here;
    }
    const Deviation second =
        nthDeviation(first->decisions, first->deviation.decision + 1, nth - passed);
    const std::string order = "list" + textOf(first->deviation) + textOf(second);
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
  OrderFigures& drawn = figures(OrderKind::kBySeed);
  drawn.possible = budget_;
  for (std::uint64_t seed = 1; seed <= budget_; ++seed) {
    const std::string order = kDrawn[seed % kDrawn.size()];
    const bool isHeldUp = order == "stall";
    if (isHeldUp && !keepsPromises_) {
      continue;
    }
    const auto lived = live(text_, seed, order);
    if (const auto* life = std::get_if<Lived>(&lived)) {
      judgeOrder(OrderKind::kBySeed, order + " " + std::to_string(seed), *life, isHeldUp);
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
  }
}

void ScenarioOrders::place(OrderKind kind, const std::string& action) {
  OrderFigures& placed = figures(kind);
  if (kind != OrderKind::kEnd && !keepsPromises_) {
    return;
  }
  placed.possible = result_.calls;
  const std::uint64_t count = std::min<std::uint64_t>(result_.calls, budget_);
  std::size_t passed = 0;
  auto call = plain_.calls.begin();
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::size_t nth = i * result_.calls / count;
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

OrderResult runOrders(CaseRunner& runner, const fs::path& file, std::uint64_t budget) {
  return ScenarioOrders(runner, file, budget).run();
}

std::variant<std::vector<OrderResult>, std::string> runAllOrders(
    const std::vector<fs::path>& files, std::uint64_t budget, unsigned jobs,
    const std::function<void(std::uint64_t done, std::uint64_t all)>& onProgress) {
  std::vector<OrderResult> results(files.size());
  std::atomic<std::size_t> next{0};
  std::mutex mutex;
  std::uint64_t done = 0;
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
      results[i] = runOrders(runner, files[i], budget);
      const std::scoped_lock lock(mutex);
      onProgress(++done, files.size());
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
