#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The place of a virtual operation in its class's table, on compilers that keep to the Itanium ABI
// as the native one does: a pointer to a virtual member is one more than its offset in the table. A
// virtual destructor takes two places there, so an operation right behind one stands at 2.
template <class Member>
std::size_t slotOf(Member member) {
  std::uintptr_t offsetPlusOne = 0;
  static_assert(sizeof(member) >= sizeof(offsetPlusOne));
  std::memcpy(&offsetPlusOne, &member, sizeof(offsetPlusOne));
  return (offsetPlusOne - 1) / sizeof(void*);
}
