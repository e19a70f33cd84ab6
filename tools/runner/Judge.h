#pragma once

#include <string>
#include <vector>

#include "platform/host/Scenario.h"
#include "tools/runner/RunResult.h"

namespace runner {

// One way in which a run was not what its scenario says.
struct Difference {
  // A few words for the summary: "exit code 0 was expected".
  std::string summary;
  // More for a reader who wants to know where; may be empty.
  std::vector<std::string> details;
};

// What is compared beside the end, the last status and the ledger, which always are.
enum class Lines {
  kIgnored,   // lines depend on real time or on the seed
  kCompared,  // with the scenario's [expected] section, if it has one
};

// Everything in which the run differs from the scenario; empty if it went as it must.
std::vector<Difference> judge(const host::Scenario& scenario, const RunResult& result, Lines lines);

}  // namespace runner
