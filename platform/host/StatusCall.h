#pragma once

#include "platform/host/Call.h"

namespace host {

// The last error of the thread when the object was made.
struct KeptLastError {
  const DWORD kept = lastError();
};

// A platform call that answers with a status and leaves the last error alone, also when it is told
// to fail: `fault()` is then the status to answer with.
class StatusCall : private KeptLastError, public Call {
 public:
  template <class... Arguments>
  explicit StatusCall(const char* name, const Arguments&... arguments) : Call(name, arguments...) {
    setLastError(kept);
  }
};

}  // namespace host
