#pragma once

#include <set>
#include <string>

#include "platform/win32.h"

namespace wine {

// The privileges that a process's token holds, enabled or not, by their names; one for which the
// platform has no name is "privilege" and its number. `process` is open for queries. Throws
// `std::runtime_error` with the call that failed.
std::set<std::string> privilegesOf(HANDLE process);

// What became of the token, in the words in which the model tells it.
std::string tokenText(const std::set<std::string>& before, const std::set<std::string>& now);

}  // namespace wine
