#include "tools/simulate/Case.h"

#include <algorithm>
#include <charconv>

namespace simulate {
namespace {

constexpr std::string_view kOrderLine = "# order of threads: ";
constexpr std::string_view kRestartLine = "# --- the machine is started again ---";

}  // namespace

std::string textOf(const Case& one) {
  std::string text = std::string(kOrderLine) + std::to_string(one.seed) + " " + one.order + "\n";
  for (std::size_t i = 0; i < one.lives.size(); ++i) {
    text += i == 0 ? "" : std::string(kRestartLine) + "\n";
    text += one.lives[i];
  }
  return text;
}

Case caseFrom(std::string_view text) {
  Case one;
  one.lives.emplace_back();
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line == kRestartLine) {
      one.lives.emplace_back();
    } else if (line.starts_with(kOrderLine)) {
      const std::string_view rest = line.substr(kOrderLine.size());
      const auto read = std::from_chars(rest.data(), rest.data() + rest.size(), one.seed);
      const auto used = static_cast<std::size_t>(read.ptr - rest.data());
      one.order = rest.substr(std::min(used + 1, rest.size()));
    } else {
      one.lives.back() += line;
      one.lives.back() += '\n';
    }
  }
  // What is left of a life of which every line is gone.
  std::erase_if(one.lives, [](const std::string& life) {
    return life.find_first_not_of(" \t\r\n") == std::string::npos;
  });
  return one;
}

}  // namespace simulate
