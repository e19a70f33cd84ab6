#include "tools/runner/Difference.h"

#include <cstddef>
#include <map>
#include <string_view>

namespace runner {

std::vector<std::string> beyond(const std::vector<std::string>& more,
                                const std::vector<std::string>& fewer) {
  std::map<std::string_view, std::size_t> covered;
  for (const std::string& element : fewer) {
    ++covered[element];
  }
  std::vector<std::string> left;
  for (const std::string& element : more) {
    const auto found = covered.find(element);
    if (found == covered.end() || found->second == 0) {
      left.push_back(element);
    } else {
      --found->second;
    }
  }
  return left;
}

}  // namespace runner
