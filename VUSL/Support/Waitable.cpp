#include "VUSL/Support/Waitable.h"

namespace vusl {

WaitResult Waitable::waitForHandle(HANDLE handle, uint32_t timeoutMs) {
  switch (WaitForSingleObject(handle, timeoutMs)) {
    case WAIT_OBJECT_0:
      return WaitResult::kDone;
    case WAIT_TIMEOUT:
      return WaitResult::kTimeout;
    default:
      return WaitResult::kError;
  }
}

}  // namespace vusl
