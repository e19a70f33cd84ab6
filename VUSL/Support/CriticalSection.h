#pragma once

#include <cstdint>

#include "VUSL/Support/Waitable.h"
#include "platform/win32.h"

namespace vusl {

// A critical section of the platform that spins a while before it waits: recursive on the thread
// that owns it, usable from any thread of the process. It guards the log files' write path.
class CriticalSection : public Waitable {
 public:
  // Makes a section that nobody owns. Throws `Exception` if the platform refuses.
  CriticalSection();

  // Deletes the section. Nobody may own it any more.
  ~CriticalSection() override;

  // Enters the section, waiting as long as that takes: the timeout is not looked at.
  // Returns always `kDone`.
  WaitResult Lock(uint32_t timeoutMs) override;

  // Leaves the section, which the calling thread must own. Returns always `kDone`.
  WaitResult Unlock() override;

 private:
  CRITICAL_SECTION section{};
};

}  // namespace vusl
