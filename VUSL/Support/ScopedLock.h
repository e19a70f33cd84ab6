#pragma once

#include "VUSL/Support/Waitable.h"

namespace vusl {

// Holds a `Waitable` for the length of a scope. It belongs to the thread that made it, and the
// object must outlive it.
class ScopedLock {
 public:
  // Waits for the object without limit. Throws `Exception` if the wait failed and
  // `LockedException` if the object says that a time ran out.
  explicit ScopedLock(Waitable& waitable);

  // Gives the object back. A failure is logged at FATAL, and the program goes on.
  ~ScopedLock();

  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  Waitable& object;
};

}  // namespace vusl
