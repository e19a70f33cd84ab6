#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include "platform/host/Nursery.h"
#include "tools/sweep/Cells.h"
#include "tools/sweep/Outcome.h"

namespace sweep {

struct SweepOptions {
  std::vector<std::string> scenarios;  // names; all of the catalog if empty
  unsigned jobs = 1;                   // lives side by side
  unsigned every = 1;                  // one in so many faults
  // Told now and then how many lives of how many there have been.
  std::function<void(std::size_t done, std::size_t all)> onProgress = {};
};

// A fault whose run is not as it may be, or a scenario that could not be swept.
struct Objection {
  std::string where;  // "first-boot: fail CreateEventW from 2 with 5"
  std::vector<std::string> reasons;
};

// Lives that came to the same after failures of one call in one phase.
struct Group {
  std::size_t lives = 0;
  std::string example;
  std::set<std::string> errors;  // log lines of level ERROR and FATAL that the plain run has not
  std::set<std::string> ledger;
};

struct SweepResult {
  std::size_t scenarios = 0;
  std::size_t calls = 0;   // of the plain runs, of names that can fail
  std::size_t places = 0;  // of those that were made to fail
  std::size_t lives = 0;   // that really happened, the plain ones apart
  std::size_t same = 0;    // "from then on" that could not differ from "once", and did not happen
  std::size_t idle = 0;    // whose fault never struck
  std::map<std::tuple<std::string_view, host::Phase, Outcome>, Group> groups;
  std::array<std::size_t, kOutcomes> outcomes{};
  std::set<Cell> tried;                // what was tried at least once
  std::set<std::string_view> reached;  // calls that a plain run makes
  std::size_t cells = 0;               // that there are, tried or not
  Untried untried;                     // of all scenarios; empty if these were not all
  std::vector<Objection> objections;
};

// Runs the sweep on `jobs` threads. Gives the result, or why there is none.
std::variant<SweepResult, std::string> runSweep(const SweepOptions& options);

}  // namespace sweep
