#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Nursery.h"
#include "tools/sweep/Outcome.h"

namespace sweep {

// A call that the scenario itself makes fail, where it did so.
struct OwnFault {
  std::string call;
  DWORD error = 0;
  bool lasting = false;
  bool isDone = false;
  unsigned phases = 0;  // in which it struck: a bit for each
  // It struck at another place of the run than it does without the fault: what failing there may
  // come to may come of it. Where it has not moved the plain run shows what comes of it.
  bool hasMoved = false;
};

// The fault of a run.
struct Strike {
  std::string_view call;
  host::Phase phase = host::Phase::kLoading;  // when it struck
  bool struck = false;
  DWORD error = 0;
  bool lasting = false;
  bool isDone = false;  // the call did its work, and failed all the same
  std::vector<OwnFault> own = {};
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
