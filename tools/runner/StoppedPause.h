#pragma once

#include <optional>
#include <vector>

#include "platform/host/Scheduler.h"
#include "tools/runner/RecordReader.h"

namespace runner {

// The shortest time that passed between a line in which the service says that its run or its start
// is over and the report of STOPPED behind it; nothing if there is no such pair. The line's own
// stamp counts, as whoever listens may be told of it late: a stamp and the clock of the records are
// as far apart as in the line that was told soonest.
std::optional<host::Nanoseconds> shortestPauseAheadOfStopped(const std::vector<Record>& records);

}  // namespace runner
