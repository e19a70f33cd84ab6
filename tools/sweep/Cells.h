#pragma once

#include <compare>
#include <filesystem>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sweep/Permitted.h"

namespace sweep {

// A way in which a call can fail while the service is in a phase.
struct Cell {
  std::string_view call;
  DWORD error = 0;
  bool isDone = false;  // it does its work, and fails all the same
  host::Phase phase = host::Phase::kLoading;
  bool lasting = false;
  std::strong_ordering operator<=>(const Cell&) const = default;
};

// Every cell of the calls that the product's sources make.
std::set<Cell> allCells(const std::filesystem::path& root);

// Why no fault is tried in some cells, over all scenarios: the call is not made there.
struct NotTried {
  std::string_view calls;  // as those of a Permission
  Phases phases = 0;
  std::string_view why;
  Times times = Times::kAny;
};
std::span<const NotTried> notTried();

// The cells that were not tried, gathered: what they are, and how many.
struct Untried {
  std::map<std::string_view, std::map<std::string_view, Phases>> byReason;  // and by call
  std::map<std::string_view, std::size_t> cells;                            // by reason
  // Cells of which no row says why they were not tried, and rows about cells that were.
  std::vector<std::string> findings;
};
Untried untriedCells(const std::set<Cell>& all, const std::set<Cell>& tried);

std::string_view phaseText(host::Phase phase);

}  // namespace sweep
