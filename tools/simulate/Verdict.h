#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Scenario.h"
#include "tools/runner/RunResult.h"
#include "tools/simulate/Probes.h"

namespace simulate {

// A life that has been, and what it found.
struct Life {
  const host::Scenario& scenario;
  const runner::RunResult& result;
  // The text of the configuration file when the life began; nothing if there was none.
  std::optional<std::string> config;
  // A thread may have been held up for minutes: what was to happen at once may have come later.
  bool isHeldUp = false;
  // What the log tells is held against the promises too. Where the scenario's own faults break
  // some, only the reports, the end and the ledger are judged.
  bool isLogJudged = true;
};

// What a life came to.
struct Verdict {
  // The promises that it broke, a sentence each; empty if it kept them all.
  std::vector<std::string> broken;
  ProbeCounts probes{};
  bool goalsStood = false;  // all three, as the log tells

  void breaks(const std::string& promise) { broken.push_back(promise); }
  void hit(Probe probe) { ++probes[static_cast<std::size_t>(probe)]; }
};

// Holds a life against what every life promises: the goals only go one way, no transaction is run
// again after it counted as done, the service ends by itself only with all three goals, a wait
// comes between two tries, a stop is lost only in one of the listed ways, the reports to the
// service manager are legal, and nothing but the listed imbalances is left. What is judged is what
// the life told. With a log of fewer lines than DEBUG gives, only the reports, the end and the
// ledger are.
Verdict judgeLife(const Life& life);

// The seconds of the loop's wait, in milliseconds, that a configuration with this text asks for.
std::int32_t expectedWaitMs(const std::optional<std::string>& config);

}  // namespace simulate
