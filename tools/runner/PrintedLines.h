#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/runner/RecordReader.h"

namespace runner {

// The lines that a run prints for a record, without line ends. None for a record that is no
// line of its own. `verbose` adds what a reader seldom wants: imbalances of the ledger that the
// scenario names, the hash over all steps, the life's peak memory.
std::vector<std::string> printedLines(const Record& record, bool verbose);

// A printed line as scenarios write it down: without stamp and tag of the log, every "[0x<hex>]" as
// "[0x]", the address of a lock that failed as "0x", and without blanks at its end.
std::string comparableLine(std::string_view line);

// What a scenario's [expected] section is about: log lines, status reports, notes and console lines
// of the run, as `comparableLine` gives them.
std::vector<std::string> comparableLines(const std::vector<Record>& records);

// The state of a service in words.
std::string stateText(std::uint32_t state);

// Seconds with three digits: "12.345 s".
std::string secondsText(host::Nanoseconds duration);

}  // namespace runner
