#pragma once

#include <charconv>
#include <string_view>

namespace runner {

// Reads the number that an option of a tool takes. False, and `number` of no use, if `text` is no
// number, has anything else around it, or is not above 0.
template <class Number>
bool readAboveZero(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  return error == std::errc{} && stopped == end && number > 0;
}

}  // namespace runner
