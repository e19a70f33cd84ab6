#include "VUSL/Support/ConsoleLogOutlet.h"

#include <iostream>

namespace {

constexpr int32_t kNoTag = 0;
constexpr int32_t kGreenTag = 1;
constexpr int32_t kRedTag = 2;

bool erased(vusl::string_t& text, const vusl::string_t& tag) {
  const size_t position = text.find(tag);
  if (position == vusl::string_t::npos) return false;
  text.erase(position, tag.size());
  return true;
}

}  // namespace

ConsoleLogOutlet::ConsoleLogOutlet(bool prefixed) : withPrefix(prefixed) {}

bool ConsoleLogOutlet::wantsPrefix() {
  return withPrefix;
}

void ConsoleLogOutlet::Dump(const vusl::string_t& message) {
  vusl::string_t line = message;
  // Deliberate: the colour is not looked at. A tag must not show, and the console, which other
  // programs may share, keeps its colours.
  stripColourTag(line);
  std::wcout << line << std::endl;
}

int32_t ConsoleLogOutlet::stripColourTag(vusl::string_t& text) {
  static const vusl::string_t red = L"[RED]";
  static const vusl::string_t green = L"[GREEN]";
  if (erased(text, red)) return kRedTag;
  if (erased(text, green)) return kGreenTag;
  return kNoTag;
}
