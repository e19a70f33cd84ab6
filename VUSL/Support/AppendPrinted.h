#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

// Integers that a narrow stream prints as numbers: neither truth values nor characters.
template <class Value>
concept PrintedAsNumber =
    std::integral<Value> && !std::same_as<Value, bool> && !std::same_as<Value, char> &&
    !std::same_as<Value, signed char> && !std::same_as<Value, unsigned char> &&
    !std::same_as<Value, wchar_t> && !std::same_as<Value, char8_t> &&
    !std::same_as<Value, char16_t> && !std::same_as<Value, char32_t>;

// Appends `value` to `text` as a narrow stream of its own prints it by default; a null pointer to
// characters appends nothing.
//
// Texts and numbers, and so nearly all that is printed here, are written without a stream: making
// one takes several times as long as everything else about an exception's text.
template <class Value>
void AppendPrinted(std::string& text, const Value& value) {
  using Plain = std::decay_t<const Value&>;
  if constexpr (std::same_as<Plain, const char*> || std::same_as<Plain, char*>) {
    const char* const characters = value;
    if (characters != nullptr) text += characters;
  } else if constexpr (std::same_as<Plain, std::string> || std::same_as<Plain, std::string_view> ||
                       std::same_as<Plain, char>) {
    text += value;
  } else if constexpr (PrintedAsNumber<Plain>) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): what was not written is not read
    std::array<char, 24> digits;  // the longest has a sign and 20 digits
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text.append(digits.data(), written.ptr);
  } else {
    std::ostringstream stream;
    stream << value;
    text += stream.str();
  }
}
