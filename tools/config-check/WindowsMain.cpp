// The checker on Windows itself, where the product finds files under the names that a person gives.

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "platform/win32.h"
#include "tools/config-check/ConfigCheck.h"

namespace {

std::string narrowed(const wchar_t* text) {
  const std::u8string utf8 = std::filesystem::path(text).u8string();
  return {utf8.begin(), utf8.end()};
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) {
    arguments.push_back(narrowed(argv[i]));
  }
  return config_check::run(
      arguments, [](const std::string& name) { return name; }, std::cout, std::cerr);
}
