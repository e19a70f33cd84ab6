#pragma once

#include "platform/host/Scenario.h"
#include "tools/runner/Difference.h"
#include "tools/runner/RunResult.h"

namespace runner {

// How much of the scenario's calls must have been made.
enum class Calls {
  kAll,
  kBeginning,  // of each thread's, as far as the life went
};

// Holds the calls of a life against those that the scenario writes down, each thread's in their
// order. Empty if they are the same, or if the scenario does not say.
Difference callsDifference(const host::Scenario& scenario, const RunResult& result, Calls calls);

// Whether a call is the one that a scenario's line names: by its name, and by its arguments if
// there are any in the line; "*" stands for any one of them.
bool isCallOf(std::string_view made, std::string_view line);

}  // namespace runner
