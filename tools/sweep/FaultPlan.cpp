#include "tools/sweep/FaultPlan.h"

#include <array>
#include <map>
#include <tuple>

#include "platform/host/FaultTable.h"

namespace sweep {
namespace {

constexpr std::size_t kCallsBefore = 6;
constexpr std::uint16_t kNoCall = UINT16_MAX;

using Before = std::array<std::uint16_t, kCallsBefore>;
using Loop = std::tuple<std::uint16_t, host::Phase, std::uint8_t, Before>;

struct Turns {
  std::size_t count = 0;
  unsigned lastNth = 0;  // of the name
};

// Behind it stands the call that was made just before.
void push(Before& before, std::uint16_t call) {
  for (std::size_t i = 1; i < kCallsBefore; ++i) {
    before[i - 1] = before[i];
  }
  before.back() = call;
}

std::vector<bool> whichCanFail() {
  std::vector<bool> can;
  for (const host::FaultRow& row : host::faultTable()) {
    can.push_back(!row.errors.empty());
  }
  return can;
}

}  // namespace

FaultPlan planFaults(std::span<const host::WatchedCall> calls) {
  const std::vector<bool> canFail = whichCanFail();
  FaultPlan plan;
  std::map<Loop, Turns> loops;
  std::map<std::uint16_t, unsigned> counts;
  std::map<std::uint8_t, Before> before;  // by thread
  for (const host::WatchedCall& call : calls) {
    const unsigned nth = ++counts[call.call];
    auto [entry, isNew] = before.try_emplace(call.thread);
    if (isNew) {
      entry->second.fill(kNoCall);
    }
    if (canFail[call.call]) {
      ++plan.calls;
      Turns& turns = loops[{call.call, call.phase, call.thread, entry->second}];
      if (++turns.count <= 2) {
        plan.places.push_back({call.call, nth, call.phase});
      }
      turns.lastNth = nth;
    }
    push(entry->second, call.call);
  }
  for (const auto& [loop, turns] : loops) {
    if (turns.count > 2) {
      plan.places.push_back({std::get<0>(loop), turns.lastNth, std::get<1>(loop)});
    }
  }
  return plan;
}

}  // namespace sweep
