#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// What differs by platform in the stand-in for the client library.

namespace client_standin {

// Opens a file in the folder of this library for reading.
// `shownPath`: receives the file's whole path, for messages.
// Returns the open file, to be closed by the caller; null with `errno` set.
std::FILE* openBesideLibrary(const char* fileName, std::string& shownPath);

// Waits on the machine's clock.
void sleepFor(std::uint32_t milliseconds);

// Waits without end.
[[noreturn]] void sleepForever();

// Runs `body` with `argument` on a thread of this library's own and returns when it has ended. An
// exception that leaves the body ends the process.
void runOnOwnThread(void (*body)(void*), void* argument);

// Tells the main program what an entry is about to answer, if it wants to know.
void reportAnswer(const char* entry, std::int32_t status);

}  // namespace client_standin
