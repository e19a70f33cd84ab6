#pragma once

#include <cstdint>

#include "platform/win32.h"

namespace vusl {

// What taking or giving back a `Waitable` came to.
enum class WaitResult : int32_t {
  kDone = 0,     // The object was acquired, or is signalled.
  kTimeout = 1,  // The timeout ran out first.
  kError = 2,    // The wait or the release failed.
};

// The timeout that never runs out.
inline constexpr uint32_t kInfiniteMs = 0xFFFFFFFF;

// One face for mutexes, critical sections, events and threads, so that `ScopedLock` and whoever
// waits can treat them alike. It may be used from any thread; results, not exceptions, report how
// a wait ended, unless a class says otherwise.
class Waitable {
 public:
  virtual ~Waitable() = default;

  // Acquires the object or waits for it. `timeoutMs`: milliseconds, `kInfiniteMs` for ever.
  virtual WaitResult Lock(uint32_t timeoutMs) = 0;

  // Gives back what `Lock` acquired.
  virtual WaitResult Unlock() = 0;

 protected:
  Waitable() = default;
  Waitable(const Waitable&) = delete;
  Waitable& operator=(const Waitable&) = delete;

  // Waits for one handle of the platform. Every end but a signal and the timeout is `kError`.
  static WaitResult waitForHandle(HANDLE handle, uint32_t timeoutMs);
};

}  // namespace vusl
