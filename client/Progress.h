#pragma once

#include <cstdint>
#include <string>

// Follows a transaction inside the client library: a message exchange between the platform's
// firmware engine, the FE, and the remote attestation service, the OAS. It reports only: no order
// is imposed on the states and no transition is checked.

// The words of a step of the transaction, or "Unknown state" for a number without one.
std::string progressStateText(std::uint32_t state);

// The callback handed to the client library: logs the step's words at DEBUG level and remembers
// the step as the latest one, also when it is unknown.
//
// Called on any thread of the library; a process-wide mutex serialises the line and the store.
// Throws `Exception` when the mutex cannot be taken.
void onProgress(std::uint32_t state);

// The latest step, 0 before any report. Takes no lock: the value may be that from just before or
// just after a concurrent report, but is never ahead of its line in the log.
std::uint32_t latestProgressState();
