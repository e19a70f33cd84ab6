#pragma once

#include <stdexcept>
#include <string>

#include "platform/win32.h"

namespace wine {

// Throws `std::runtime_error` with the call that failed and the last error.
[[noreturn]] inline void failed(const char* call) {
  throw std::runtime_error(std::string(call) + " failed with " + std::to_string(GetLastError()));
}

}  // namespace wine
