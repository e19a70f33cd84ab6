#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "tools/sweep/Outcome.h"

namespace sweep {

struct AllocationOptions {
  std::vector<std::string> scenarios;  // names; all short ones of the catalog if empty
  unsigned jobs = 1;                   // lives side by side
  unsigned every = 1;                  // one in so many requests
  std::filesystem::path program;       // the service whose requests can fail
  // Told when a scenario is done, with how many lives it took.
  std::function<void(const std::string& scenario, std::size_t lives)> onScenario = {};
};

struct AllocationResult {
  std::size_t scenarios = 0;
  std::size_t lives = 0;  // in which a request failed
  std::array<std::size_t, kOutcomes> outcomes{};
  // How many lives came to the same, told by the place of the failure, the outcome and the lines
  // that the plain run does not have.
  std::map<std::string, std::size_t> groups;
  // What is not as it may be, by reason: the lives in which it was seen.
  std::map<std::string, std::vector<std::string>> objections;
};

// Makes each request for memory of the product's code fail once, a life for each, and judges what
// comes of it: an exception that nobody expects may end the process or be told, but it must corrupt
// nothing, lose nothing and leave no report out of its order. Gives why not, if lives could not be
// had. Blocks the calling thread.
std::variant<AllocationResult, std::string> failAllocations(const AllocationOptions& options);

}  // namespace sweep
