#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace simulate {

// What one seed stands for: a machine's lives, one after the other, each a scenario's text, and the
// order of threads in them. Between two lives the machine is started again: the later one finds the
// drive that the earlier one left.
struct Case {
  std::uint64_t seed = 0;  // of the choices of turns; the same for each life
  std::string order = "uniform";
  std::vector<std::string> lives;
};

// The case as one text, which a person can read and keep: the order in a comment, the scenarios
// with another comment between them.
std::string textOf(const Case& one);

// The case that a text stands for. A text without those comments is one life in plain order.
Case caseFrom(std::string_view text);

// The case that belongs to a seed; always the same. The lives of one seed in sixteen last for up to
// `longSpanMs` of the machine's time.
Case caseOfSeed(std::uint64_t seed, std::uint64_t longSpanMs);

}  // namespace simulate
