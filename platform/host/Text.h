#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host {

// UTF-8 to wide and back. Ill-formed bytes become U+FFFD, as the platform's own conversion does.
std::wstring toWide(std::string_view utf8);
std::string toUtf8(std::wstring_view wide);

// Lower-case hexadecimal with "0x" before it.
std::string hexText(std::uintptr_t value);

// The names of files, keys and variables ignore case on the platform. Only the ASCII letters are
// folded: the names that the system itself uses hold no others.
std::wstring foldCase(std::wstring_view text);
bool equalIgnoringCase(std::wstring_view left, std::wstring_view right);

// Blanks, tabs and line ends removed at both ends.
std::string_view trimmed(std::string_view text);

}  // namespace host
