#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "tools/simulate/Orders.h"

namespace simulate {

// What the simulation was asked to do.
struct Options {
  std::uint64_t firstSeed = 1;
  std::uint64_t seeds = 2'000;
  double years = 1;
  unsigned jobs = 1;
  std::string replay;  // a file with a case
  bool print = false;  // the case of the first seed
  bool orders = false;
  std::vector<std::string> scenarios;  // whose orders; all if none is named
  OrderBounds bounds;
  bool verbose = false;
  std::string figures;  // a page that has rows for them; empty for none
  bool help = false;
};

// Reads the arguments that follow the program's name. Gives what is wrong with them as a sentence
// without its full stop if they make no sense.
std::variant<Options, std::string> readOptions(const std::vector<std::string>& arguments);

// How the program is called, and what the arguments mean, with line ends.
extern const char kUsage[];
extern const char kHelp[];

}  // namespace simulate
