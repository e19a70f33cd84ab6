#pragma once

#include <string>
#include <string_view>

namespace host {

struct JournalEntry;

// Whether a call reaches beyond the process, or brings in what stands outside of it: the service
// manager, events and waits for them, the namespace, the token, processes, libraries, devices and
// the registry, COM with all that it leads to. Scenarios write these down in their order; what is
// let go by CloseHandle is the ledger's.
bool isOutsideCall(std::string_view name);

// A call as a scenario writes it: "OpenEventW 1048576, 0, Global\\X".
std::string callText(const JournalEntry& entry);

}  // namespace host
