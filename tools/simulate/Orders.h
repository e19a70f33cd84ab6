#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "tools/simulate/CaseRun.h"

namespace simulate {

// How many lives there could have been of one kind, how many there were, and how they went.
struct OrderFigures {
  std::uint64_t possible = 0;
  std::uint64_t lives = 0;
  std::uint64_t otherOrder = 0;  // other lines than expected, in an order that is permitted too
};

// The kinds of lives, beside the plain one.
enum class OrderKind {
  kOneDeviation,  // of the order of threads from the plain one
  kTwoDeviations,
  kBySeed,  // priorities, starvation, threads that are held up
  kStop,    // placed at each platform call
  kSignal,  // of the TPM's event
  kEnd,     // of the process
};
inline constexpr std::size_t kOrderKinds = 6;

struct OrderResult {
  std::string scenario;
  std::size_t decisions = 0;  // of the plain run: where more than one thread could have run
  std::size_t calls = 0;
  std::array<OrderFigures, kOrderKinds> figures{};
  std::vector<std::string> failures;  // what was run, and what was wrong with it; the first few
  std::uint64_t failed = 0;
  ProbeCounts probes{};
  std::string refusal;  // nothing was run
};

// Lets the lives of one scenario happen, at most `budget` of each kind, spread evenly over all that
// there are.
//
// An order of threads is right if each thread's lines are those of the [expected] section, in their
// order. Where threads meet, another order may mean another life: then it must keep every promise
// that a life makes. A life in which a stop or a signal was placed must keep them too. One in which
// the process was ended must have printed what the plain run prints, up to there.
OrderResult runOrders(CaseRunner& runner, const std::filesystem::path& file, std::uint64_t budget);

// The same for many scenarios on several threads. `onProgress` is told how many are done.
std::variant<std::vector<OrderResult>, std::string> runAllOrders(
    const std::vector<std::filesystem::path>& files, std::uint64_t budget, unsigned jobs,
    const std::function<void(std::uint64_t done, std::uint64_t all)>& onProgress);

// The lines of a run by who they come from, each part in its order.
struct LinesByThread {
  std::vector<std::string> service;  // the service's thread and, ahead of it, the main one
  std::vector<std::string> handler;
  std::vector<std::string> script;

  bool operator==(const LinesByThread&) const = default;
};
LinesByThread byThread(const std::vector<std::string>& lines);

}  // namespace simulate
