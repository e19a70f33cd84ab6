#pragma once

#include <cstdint>

#include "VUSL/Support/Waitable.h"
#include "platform/win32.h"

namespace vusl {

// An unnamed mutex of the platform: recursive on the thread that owns it, usable from any thread.
// Static objects of this class are made before the program's entry; one that cannot be made ends
// the process, as nothing catches there.
class Mutex : public Waitable {
 public:
  // Makes a mutex that nobody owns. Throws `Exception` if the platform refuses.
  Mutex();

  // Closes the mutex. Nobody may wait for it or own it any more.
  ~Mutex() override;

  // Tries the mutex or waits for it without limit; there are no waits in between.
  // `timeoutMs`: 0 or `kInfiniteMs`; anything else throws `Exception` without waiting.
  // Returns `kTimeout` if another thread owns it; `kError` for everything else that is not a plain
  //     acquisition, a mutex whose owner died included, although it is then owned.
  WaitResult Lock(uint32_t timeoutMs) override;

  // Returns `kError` if the calling thread is not the owner.
  WaitResult Unlock() override;

 private:
  HANDLE handle;
};

}  // namespace vusl
