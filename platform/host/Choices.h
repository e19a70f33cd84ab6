#pragma once

#include <cstdint>

namespace host {

// The one source of every choice of a run. Seed 0 always chooses 0, the boring choice; any other
// seed draws, and the same seed draws the same.
class Choices {
 public:
  explicit Choices(std::uint64_t seed) : seed_(seed), state_(seed) {}

  // A number below `count`, which must be at least 1.
  std::uint32_t pick(std::uint32_t count) {
    if (seed_ == 0 || count < 2) {
      return 0;
    }
    return static_cast<std::uint32_t>(draw() % count);
  }

 private:
  // splitmix64: a fixed generator, since the standard distributions differ between libraries.
  std::uint64_t draw() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }

  std::uint64_t seed_;
  std::uint64_t state_;
};

}  // namespace host
