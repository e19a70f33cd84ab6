#include "VUSL/Support/Text.h"

#include <algorithm>
#include <cstdint>

#include "platform/win32.h"

namespace vusl {

namespace {

constexpr uint32_t kLastNarrowCharacter = 0x7F;
constexpr uint32_t kLastUnitOfOne = 0xFFFF;
constexpr uint32_t kLastCodePoint = 0x10FFFF;
constexpr char16_t kReplacementCharacter = 0xFFFD;

}  // namespace

string_t Widen(const std::string& utf8) {
  if (utf8.empty()) return {};
  const int bytes = static_cast<int>(utf8.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
  if (length <= 0) return {};
  string_t wide(static_cast<size_t>(length), L'\0');
  const int written = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(), length);
  wide.resize(static_cast<size_t>(std::max(written, 0)));
  return wide;
}

bool HasNarrowForm(wchar_t character) {
  return static_cast<uint32_t>(character) <= kLastNarrowCharacter;
}

std::string Narrow(const string_t& wide) {
  std::string narrow;
  narrow.reserve(wide.size());
  for (const wchar_t character : wide) {
    narrow.push_back(HasNarrowForm(character) ? static_cast<char>(character) : '?');
  }
  return narrow;
}

std::u16string Utf16(const string_t& wide) {
  std::u16string units;
  units.reserve(wide.size());
  for (const wchar_t character : wide) {
    const auto codePoint = static_cast<uint32_t>(character);
    if (codePoint <= kLastUnitOfOne) {
      units.push_back(static_cast<char16_t>(codePoint));
      continue;
    }
    if (codePoint > kLastCodePoint) {
      units.push_back(kReplacementCharacter);
      continue;
    }
    const uint32_t offset = codePoint - 0x10000;
    units.push_back(static_cast<char16_t>(0xD800 + (offset >> 10)));
    units.push_back(static_cast<char16_t>(0xDC00 + (offset & 0x3FF)));
  }
  return units;
}

}  // namespace vusl
