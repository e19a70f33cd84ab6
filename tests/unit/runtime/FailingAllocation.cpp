#include "tests/unit/runtime/FailingAllocation.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();
thread_local std::size_t t_smallestFailingSize = kNever;
thread_local std::size_t t_smallestStrangeSize = kNever;
thread_local std::size_t t_smallestSpoiltSize = kNever;
thread_local bool t_dirty = false;
thread_local std::size_t t_requests = 0;
thread_local std::size_t t_bytes = 0;
thread_local std::size_t t_releases = 0;

void giveBack(void* memory) noexcept {
  if (memory != nullptr) ++t_releases;
  std::free(memory);
}

}  // namespace

FailingAllocation::FailingAllocation(std::size_t smallestFailingSize) {
  t_smallestFailingSize = smallestFailingSize;
}

FailingAllocation::~FailingAllocation() {
  t_smallestFailingSize = kNever;
}

StrangeAllocation::StrangeAllocation(std::size_t smallestFailingSize) {
  t_smallestStrangeSize = smallestFailingSize;
}

StrangeAllocation::~StrangeAllocation() {
  t_smallestStrangeSize = kNever;
}

void spoilNextAllocation(std::size_t smallestFailingSize) {
  t_smallestSpoiltSize = smallestFailingSize;
}

DirtyAllocation::DirtyAllocation() {
  t_dirty = true;
}

DirtyAllocation::~DirtyAllocation() {
  t_dirty = false;
}

CountedAllocation::CountedAllocation()
    : before(t_requests), releasesBefore(t_releases), bytesBefore(t_bytes) {}

std::size_t CountedAllocation::requests() const {
  return t_requests - before;
}

std::size_t CountedAllocation::bytes() const {
  return t_bytes - bytesBefore;
}

std::ptrdiff_t CountedAllocation::blocksKept() const {
  return static_cast<std::ptrdiff_t>(requests()) -
         static_cast<std::ptrdiff_t>(t_releases - releasesBefore);
}

// Replaced as a set, so that what one form takes the matching form gives back.
void* operator new(std::size_t size) {
  ++t_requests;
  t_bytes += size;
  if (size >= t_smallestFailingSize) {
    throw std::bad_alloc();
  }
  if (size >= t_smallestStrangeSize) {
    throw 7;
  }
  if (size >= t_smallestSpoiltSize) {
    t_smallestSpoiltSize = kNever;
    throw 7;
  }
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
    if (t_dirty) {
      std::memset(memory, DirtyAllocation::kFill, size);
    }
    return memory;
  }
  throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void operator delete(void* memory) noexcept {
  giveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  giveBack(memory);
}
void operator delete[](void* memory) noexcept {
  giveBack(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  giveBack(memory);
}
