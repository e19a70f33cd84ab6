#pragma once

#include <string>

#include "VUSL/Support/Exception.h"

namespace vusl {

// A lock could not be taken. It has no stream layer of its own: text streamed into it lands in that
// of `Exception` and gives back an `Exception`, so it is thrown with its location alone.
class LockedException : public Exception {
 public:
  // `location` names the place of the failure; empty for none.
  explicit LockedException(const std::string& location) : Exception(location) {}
};

}  // namespace vusl
