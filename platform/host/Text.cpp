#include "platform/host/Text.h"

#include <cstdio>

namespace host {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Decoded {
  char32_t character;
  std::size_t length;
};

// One character of UTF-8; the maximal ill-formed prefix counts as one replacement character.
Decoded decode(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) {
    return {lead, 1};
  }
  std::size_t more = 0;
  char32_t value = 0;
  unsigned char lowest = 0x80;
  unsigned char highest = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    more = 1;
    value = lead & 0x1FU;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    more = 2;
    value = lead & 0x0FU;
    lowest = lead == 0xE0 ? 0xA0 : 0x80;
    highest = lead == 0xED ? 0x9F : 0xBF;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    more = 3;
    value = lead & 0x07U;
    lowest = lead == 0xF0 ? 0x90 : 0x80;
    highest = lead == 0xF4 ? 0x8F : 0xBF;
  } else {
    return {kReplacement, 1};
  }
  for (std::size_t i = 1; i <= more; ++i) {
    if (at + i >= text.size() || byte(at + i) < lowest || byte(at + i) > highest) {
      return {kReplacement, i};
    }
    value = (value << 6U) | (byte(at + i) & 0x3FU);
    lowest = 0x80;
    highest = 0xBF;
  }
  return {value, more + 1};
}

void encode(char32_t character, std::string& text) {
  const auto append = [&](char32_t bits) { text += static_cast<char>(bits); };
  if (character < 0x80) {
    append(character);
  } else if (character < 0x800) {
    append(0xC0U | (character >> 6U));
    append(0x80U | (character & 0x3FU));
  } else if (character < 0x10000) {
    append(0xE0U | (character >> 12U));
    append(0x80U | ((character >> 6U) & 0x3FU));
    append(0x80U | (character & 0x3FU));
  } else {
    append(0xF0U | (character >> 18U));
    append(0x80U | ((character >> 12U) & 0x3FU));
    append(0x80U | ((character >> 6U) & 0x3FU));
    append(0x80U | (character & 0x3FU));
  }
}

}  // namespace

std::wstring toWide(std::string_view utf8) {
  std::wstring wide;
  wide.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();) {
    const Decoded next = decode(utf8, at);
    wide += static_cast<wchar_t>(next.character);
    at += next.length;
  }
  return wide;
}

std::string toUtf8(std::wstring_view wide) {
  std::string text;
  text.reserve(wide.size());
  for (const wchar_t character : wide) {
    const auto code = static_cast<char32_t>(character);
    const bool valid = code < 0xD800 || (code > 0xDFFF && code <= 0x10FFFF);
    encode(valid ? code : kReplacement, text);
  }
  return text;
}

std::string hexText(std::uintptr_t value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "0x%zx", value);
  return buffer;
}

std::wstring foldCase(std::wstring_view text) {
  std::wstring folded(text);
  for (wchar_t& character : folded) {
    if (character >= L'A' && character <= L'Z') {
      character = static_cast<wchar_t>(character - L'A' + L'a');
    }
  }
  return folded;
}

bool equalIgnoringCase(std::wstring_view left, std::wstring_view right) {
  return left.size() == right.size() && foldCase(left) == foldCase(right);
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace host
