#include "VUSL/Support/ScopedLock.h"

#include <cstdint>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LockedException.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"

namespace vusl {

namespace {

constexpr char kLocation[] = "ScopedLock";

}  // namespace

ScopedLock::ScopedLock(Waitable& waitable) : object(waitable) {
  switch (object.Lock(kInfiniteMs)) {
    case WaitResult::kDone:
      return;
    case WaitResult::kTimeout:
      throw LockedException(kLocation);
    case WaitResult::kError:
      break;
  }
  throw Exception(kLocation) << "Lock failed for " << static_cast<const void*>(&object);
}

ScopedLock::~ScopedLock() {
  if (object.Unlock() != WaitResult::kDone) {
    LogItem().fatal() << LogAddress(this)
                      << "ScopedLock dtor: Unlock failed for: " << LogBase::kHexadecimal
                      << reinterpret_cast<uintptr_t>(&object);
  }
}

}  // namespace vusl
