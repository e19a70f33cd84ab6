#pragma once

#include <cstdint>

namespace host {

// The machine's threads are numbered in the order in which they start. Windows hands out ids that
// are multiples of four.
inline constexpr std::uint32_t kFirstThreadId = 0x1a2c;
inline constexpr std::uint32_t kThreadIdStep = 4;

}  // namespace host
