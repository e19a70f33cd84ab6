#pragma once

#include <cstddef>

// While one lives, `new` of at least so many bytes fails on the thread that made it.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t smallestFailingSize);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

// While one lives, `new` of at least so many bytes throws a number on the thread that made it.
class StrangeAllocation {
 public:
  explicit StrangeAllocation(std::size_t smallestFailingSize);
  ~StrangeAllocation();
  StrangeAllocation(const StrangeAllocation&) = delete;
  StrangeAllocation& operator=(const StrangeAllocation&) = delete;
};

// The next `new` of at least so many bytes throws a number on this thread, and those behind it do
// not.
void spoilNextAllocation(std::size_t smallestFailingSize);

// While one lives, `new` on the thread that made it gives blocks whose bytes are all `kFill`.
class DirtyAllocation {
 public:
  static constexpr unsigned char kFill = 0x5A;

  DirtyAllocation();
  ~DirtyAllocation();
  DirtyAllocation(const DirtyAllocation&) = delete;
  DirtyAllocation& operator=(const DirtyAllocation&) = delete;
};

// How often `new` was asked for memory, by the thread that made this one, since then, and for how
// many bytes in all. What was given back meanwhile counts all the same.
class CountedAllocation {
 public:
  CountedAllocation();
  std::size_t requests() const;
  std::size_t bytes() const;
  // How many more blocks the thread has asked for than it has given back.
  std::ptrdiff_t blocksKept() const;

 private:
  std::size_t before;
  std::size_t releasesBefore;
  std::size_t bytesBefore;
};
