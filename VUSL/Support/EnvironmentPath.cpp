#include "VUSL/Support/EnvironmentPath.h"

#include <cstdlib>
#include <map>
#include <memory>

#include "VUSL/Support/Settings.h"
#include "platform/win32.h"

namespace {

using PathVariables = std::map<int32_t, const char*>;

const PathVariables& pathVariables() {
  static const PathVariables variables = [] {
    PathVariables made;
    for (const settings::PathVariable& row : settings::kPathVariables) {
      made.emplace(row.pathType, row.name);
    }
    return made;
  }();
  return variables;
}

struct FreeMemory {
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

std::size_t getEnvironmentPath(int32_t pathType, std::string* value) {
  value->clear();
  const auto row = pathVariables().find(pathType);
  if (row == pathVariables().end()) {
    return 0;
  }
  char* text = nullptr;
  std::size_t size = 0;
  const errno_t error = _dupenv_s(&text, &size, row->second);
  const std::unique_ptr<char, FreeMemory> owner(text);
  if (error != 0 || text == nullptr) {
    return 0;
  }
  *value = text;
  return value->size();
}
