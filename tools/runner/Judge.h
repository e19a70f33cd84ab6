#pragma once

#include <string>
#include <vector>

#include "platform/host/Scenario.h"
#include "tools/runner/Difference.h"
#include "tools/runner/RunResult.h"

namespace runner {

// What is compared beside the end, the last status, the ledger and the drive, which always are.
enum class Lines {
  kIgnored,   // lines depend on real time or on the seed
  kCompared,  // with the scenario's [expected] section, if it has one, and the calls with [calls]
  kLogOnly,   // of a run under Wine the log lines of that section, and the pause ahead of STOPPED
};

// Everything in which the run differs from the scenario; empty if it went as it must.
std::vector<Difference> judge(const host::Scenario& scenario, const RunResult& result, Lines lines);

}  // namespace runner
