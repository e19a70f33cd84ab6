#pragma once

#include <cstdint>

#include "VUSL/Support/Waitable.h"
#include "platform/win32.h"

namespace vusl {

// An unnamed event with manual reset: once signalled it lets every waiter through until somebody
// resets it. Usable from any thread.
class Event : public Waitable {
 public:
  // Makes an event that is not signalled. Throws `Exception` if the platform refuses.
  Event();

  // Signals the event, so that whoever still waits is released, and closes it. A failure to signal
  // is logged.
  ~Event() override;

  // Waits until the event is signalled; it stays signalled. `timeoutMs`: milliseconds.
  // Returns `kError` if the wait failed, which is logged.
  WaitResult Lock(uint32_t timeoutMs) override;

  // Does nothing: a wait leaves the event as it was. Returns always `kDone`.
  WaitResult Unlock() override;

  // Signals the event. Throws `Exception` if the platform refuses.
  void signal();

  // Returns the platform's handle, for calls that this class does not offer; the event keeps it.
  HANDLE handle() const { return handle_; }

 private:
  HANDLE handle_;
};

}  // namespace vusl
