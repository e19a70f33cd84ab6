#include "VUSL/Support/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/win32.h"

namespace vusl {

namespace {

constexpr uint32_t kLastNarrowCharacter = 0x7F;
constexpr uint32_t kLastUnitOfOne = 0xFFFF;
constexpr uint32_t kLastCodePoint = 0x10FFFF;
constexpr char16_t kReplacementCharacter = 0xFFFD;

bool IsAscii(std::string_view text) {
  unsigned char bits = 0;
  // All bytes, without an early exit: this way the compiler looks at many at a time.
  for (const char byte : text) bits |= static_cast<unsigned char>(byte);
  return bits <= kLastNarrowCharacter;
}

}  // namespace

string_t Widen(const std::string& utf8) {
  string_t wide;
  AppendWidened(wide, utf8);
  return wide;
}

void AppendWidened(string_t& target, std::string_view utf8) {
  const size_t start = target.size();
  // ASCII is the same in every conversion, and nearly all text is nothing else: asking the platform
  // twice for each piece took longer than all the rest of a log item.
  if (IsAscii(utf8)) {
    target.resize(start + utf8.size());
    std::copy(utf8.begin(), utf8.end(), target.begin() + static_cast<ptrdiff_t>(start));
    return;
  }
  // Each call is told the size as well.
  // NOLINTBEGIN(bugprone-suspicious-stringview-data-usage)
  const int bytes = static_cast<int>(utf8.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
  if (length <= 0) return;
  target.resize(start + static_cast<size_t>(length));
  const int written =
      MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, target.data() + start, length);
  // NOLINTEND(bugprone-suspicious-stringview-data-usage)
  target.resize(start + static_cast<size_t>(std::max(written, 0)));
}

bool HasNarrowForm(wchar_t character) {
  return static_cast<uint32_t>(character) <= kLastNarrowCharacter;
}

std::string Narrow(const string_t& wide) {
  std::string narrow(wide.size(), '\0');
  std::transform(wide.begin(), wide.end(), narrow.begin(), [](wchar_t character) {
    return HasNarrowForm(character) ? static_cast<char>(character) : '?';
  });
  return narrow;
}

std::u16string Utf16(const string_t& wide) {
  std::u16string units;
  units.reserve(wide.size());
  for (const wchar_t character : wide) {
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): a wide character is no byte
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
