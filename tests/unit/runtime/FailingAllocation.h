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
