#include "VUSL/Support/ConfigLine.h"

#include <cstddef>

namespace {

bool isWhiteSpace(char character) {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isWhiteSpace(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && isWhiteSpace(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

// A quote ends the value even if the value did not begin with one. That is deliberate: files
// written by hand rely on what stands behind the closing quote, or behind a lone one, not being
// read.
std::string_view decodedValue(std::string_view text) {
  std::string_view value = trimmed(text);
  if (value.starts_with('"')) {
    value.remove_prefix(1);
  }
  return value.substr(0, value.find('"'));
}

}  // namespace

ConfigLine parseConfigLine(std::string_view line) {
  const std::string_view text = trimmed(line);
  if (text.empty()) {
    return {ConfigLine::Kind::kBlank, text, {}, {}};
  }
  if (text.starts_with('#')) {
    return {ConfigLine::Kind::kComment, text, {}, {}};
  }
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    return {ConfigLine::Kind::kNoEquals, text, {}, {}};
  }
  const std::string_view key = trimmed(text.substr(0, equals));
  if (key.empty()) {
    return {ConfigLine::Kind::kNoKey, text, {}, {}};
  }
  return {ConfigLine::Kind::kSetting, text, key, decodedValue(text.substr(equals + 1))};
}
