#pragma once

#include "platform/host/Allocations.h"
#include "tools/sweep/Outcome.h"

namespace sweep {

// Whether a life in which a request for memory failed at this place may end as it did, held against
// the scenario's run without a failure. The list behind it is closed: what no row of it permits
// must not be.
bool isPermittedEnd(const Sight& plain, const Sight& life, host::AllocationPlace place);

}  // namespace sweep
