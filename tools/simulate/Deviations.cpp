#include "tools/simulate/Deviations.h"

#include <charconv>

namespace simulate {

Decisions decisionsFrom(std::string_view text) {
  Decisions decisions;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    std::uint8_t count = 0;
    const auto read = std::from_chars(at, end, count);
    if (read.ec != std::errc{}) {
      break;
    }
    decisions.push_back(count);
    at = read.ptr == end ? end : read.ptr + 1;
  }
  return decisions;
}

std::uint64_t deviationsFrom(const Decisions& decisions, std::size_t first) {
  std::uint64_t count = 0;
  for (std::size_t i = first; i < decisions.size(); ++i) {
    count += decisions[i] - 1U;
  }
  return count;
}

Deviation nthDeviation(const Decisions& decisions, std::size_t first, std::uint64_t nth) {
  std::size_t at = first;
  while (at < decisions.size() && nth >= decisions[at] - 1U) {
    nth -= decisions[at++] - 1U;
  }
  return {at, static_cast<std::size_t>(nth) + 1};
}

std::string textOf(const Deviation& deviation) {
  return std::to_string(deviation.decision) + ":" + std::to_string(deviation.other);
}

std::uint64_t evenly(std::uint64_t nth, std::uint64_t count, std::uint64_t all) {
  if (count == all) {
    return nth;
  }
  return all / count * nth + all % count * nth / count;
}

}  // namespace simulate
