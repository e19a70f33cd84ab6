#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Nursery.h"
#include "tools/sweep/Outcome.h"

namespace sweep {

// The fault of a run.
struct Strike {
  std::string_view call;
  host::Phase phase = host::Phase::kLoading;  // when it struck
  bool struck = false;
  DWORD error = 0;
  bool lasting = false;
  // Calls that the scenario itself makes fail. A fault ahead of them can move them to another place
  // of the run, so what they may come to may come of it too, in whatever phase.
  std::vector<std::string> alsoFailing = {};
};

// What a fault came to, and what is wrong with that.
struct Verdict {
  Outcome outcome = Outcome::kBroken;
  std::vector<std::string> errors;   // lines of level ERROR and FATAL that the plain run has not
  std::vector<std::string> ledger;   // imbalances that the scenario does not name
  std::vector<std::string> reasons;  // empty if all is as it may be
};

// Holds a run with a fault against the plain run of its scenario, and what differs against what a
// failure of this call may come to.
Verdict judgeFault(const Sight& plain, const Sight& faulted, const Strike& strike);

}  // namespace sweep
