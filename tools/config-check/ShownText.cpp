#include "tools/config-check/ShownText.h"

#include <cstddef>

namespace config_check {
namespace {

constexpr std::size_t kLongest = 60;
constexpr char kHexDigits[] = "0123456789ABCDEF";

bool isPrintable(char character) {
  return character >= ' ' && character <= '~';
}

}  // namespace

std::string shownText(std::string_view text) {
  std::string shown;
  for (const char character : text.substr(0, kLongest)) {
    if (isPrintable(character)) {
      shown += character;
      continue;
    }
    const auto byte = static_cast<unsigned char>(character);
    shown.append("<0x").append(1, kHexDigits[byte >> 4U]).append(1, kHexDigits[byte & 0xFU]);
    shown += '>';
  }
  if (text.size() > kLongest) {
    shown += "... (" + std::to_string(text.size()) + " bytes)";
  }
  return shown;
}

}  // namespace config_check
