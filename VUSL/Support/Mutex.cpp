#include "VUSL/Support/Mutex.h"

#include "VUSL/Support/Exception.h"

namespace vusl {

namespace {

// One of the two mutexes that the process holds from before its entry to its end; the other guards
// the progress state. Deliberate: nothing takes this one. It stands all the same: whoever lists the
// process's handles finds two, and a platform that refuses either ends the process before it has
// reported anything.
const Mutex processMutex;

}  // namespace

Mutex::Mutex() : handle(CreateMutexW(nullptr, FALSE, nullptr)) {
  if (handle == nullptr) {
    const DWORD error = GetLastError();
    throw Exception("Mutex::Mutex()") << "CreateMutex failed: err: " << error;
  }
}

Mutex::~Mutex() {
  CloseHandle(handle);
}

WaitResult Mutex::Lock(uint32_t timeoutMs) {
  if (timeoutMs != 0 && timeoutMs != kInfiniteMs) {
    throw Exception("Mutex") << "Invalid timeout";
  }
  // A mutex whose owner died counts as an error although it is now owned. That is deliberate: the
  // data behind it may be half-written, and a caller who took it for granted would go on with them.
  return waitForHandle(handle, timeoutMs);
}

WaitResult Mutex::Unlock() {
  // Success is exactly 1 here, not merely "not 0".
  return ReleaseMutex(handle) == 1 ? WaitResult::kDone : WaitResult::kError;
}

}  // namespace vusl
