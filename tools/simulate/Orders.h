#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "tools/simulate/CaseRun.h"
#include "tools/simulate/Deviations.h"

namespace simulate {

// At most so many lives of each kind for each scenario; what there is more of is left out evenly.
struct OrderBounds {
  static constexpr std::uint64_t kAll = UINT64_MAX;
  static constexpr std::uint64_t kUsualDrawn = 200;
  // The turns of a loop that never waits are all alike, and there are tens of thousands of them.
  static constexpr std::uint64_t kMostInASpin = 1'000;

  std::uint64_t each = kAll;  // of one deviation, and of each thing that is placed
  std::uint64_t pairs = kAll;
  std::uint64_t drawn = kUsualDrawn;
  std::uint64_t inASpin = kMostInASpin;
};

// How many lives there could have been of one kind, how many there were, and how they went.
struct OrderFigures {
  std::uint64_t possible = 0;
  // `possible` is more or less that: not every life was had that it takes to count.
  bool isEstimate = false;
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

// Lets the lives of one scenario happen, at most so many of each kind as the bounds say.
//
// An order of threads is right if each thread's lines are those of the [expected] section, in their
// order, and its calls those of [calls]. Where threads meet, another order may mean another life.
// Either must keep every promise that a life makes, and so must a life in which a stop or a signal
// was placed. One in which the process was ended must have printed what the plain run prints, up to
// there.
//
// A scenario's own faults may break promises. Then its lives are judged by their reports, their
// ledger and their end alone, and what is wrong with these must be wrong with the plain run too.
OrderResult runOrders(CaseRunner& runner, const std::filesystem::path& file,
                      const OrderBounds& bounds);

// The same for many scenarios on several threads. `onResult` is told of each when it is done.
std::variant<std::vector<OrderResult>, std::string> runAllOrders(
    const std::vector<std::filesystem::path>& files, const OrderBounds& bounds, unsigned jobs,
    const std::function<void(const OrderResult& result)>& onResult);

// The lines of a run by who they come from, each part in its order.
struct LinesByThread {
  std::vector<std::string> service;  // the service's thread and, ahead of it, the main one
  std::vector<std::string> handler;
  std::vector<std::string> script;

  bool operator==(const LinesByThread&) const = default;
};
LinesByThread byThread(const std::vector<std::string>& lines);

}  // namespace simulate
