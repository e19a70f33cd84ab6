#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace simulate {

// How many threads could have had the turn at each decision of a run, in order; two at least.
using Decisions = std::vector<std::uint8_t>;

// As a run tells them, separated by blanks.
Decisions decisionsFrom(std::string_view text);

// Where the order of threads is another than the plain one, and who has the turn there in place of
// the plain one: 1 is the first of the others.
struct Deviation {
  std::size_t decision = 0;
  std::size_t other = 1;

  bool operator==(const Deviation&) const = default;
};

// How many deviations there are from decision `first` on.
std::uint64_t deviationsFrom(const Decisions& decisions, std::size_t first);

// One of them; `nth` must be below their number.
Deviation nthDeviation(const Decisions& decisions, std::size_t first, std::uint64_t nth);

// "12:1"
std::string textOf(const Deviation& deviation);

// The place of the nth of `count` that are spread evenly over `all`; with `nth` above `count`, what
// there would be if it went on in the same way. Nothing overflows as long as both have 32 bits or
// `count` is `all`.
std::uint64_t evenly(std::uint64_t nth, std::uint64_t count, std::uint64_t all);

}  // namespace simulate
