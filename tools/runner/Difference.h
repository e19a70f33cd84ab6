#pragma once

#include <string>
#include <vector>

namespace runner {

// One way in which a run was not what its scenario says.
struct Difference {
  // A few words for the summary: "exit code 0 was expected".
  std::string summary;
  // More for a reader who wants to know where; may be empty.
  std::vector<std::string> details;
};

// The elements of `more` that `fewer` does not have, in their order, each as often as it has
// them too seldom.
std::vector<std::string> beyond(const std::vector<std::string>& more,
                                const std::vector<std::string>& fewer);

}  // namespace runner
