#include "tools/sweep/ProductCalls.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string>
#include <utility>

namespace sweep {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRooms[] = {"VUSL", "client", "service", "task"};

bool isPartOfName(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

// Each name outside of comments.
void addNames(std::ifstream& file, std::set<std::string, std::less<>>& names) {
  std::string line;
  while (std::getline(file, line)) {
    line.resize(std::min(line.find("//"), line.size()));
    std::string name;
    for (const char character : line + ' ') {
      if (isPartOfName(character)) {
        name += character;
      } else if (!name.empty()) {
        names.insert(std::exchange(name, {}));
      }
    }
  }
}

std::string_view ownName(std::string_view call) {
  const std::size_t colons = call.find("::");
  return colons == std::string_view::npos ? call : call.substr(colons + 2);
}

}  // namespace

std::set<std::string_view> productCalls(const fs::path& root,
                                        std::span<const std::string_view> calls) {
  std::set<std::string, std::less<>> names;
  for (const char* room : kRooms) {
    for (const auto& entry : fs::recursive_directory_iterator(root / room)) {
      const fs::path ending = entry.path().extension();
      if (ending == ".cpp" || ending == ".h") {
        std::ifstream file(entry.path());
        addNames(file, names);
      }
    }
  }
  std::set<std::string_view> made;
  for (const std::string_view call : calls) {
    if (names.contains(ownName(call))) {
      made.insert(call);
    }
  }
  return made;
}

}  // namespace sweep
