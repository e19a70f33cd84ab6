#pragma once

#include <string>
#include <string_view>

namespace vusl {

// The system's wide string: log lines, and paths that are handed to the platform.
using string_t = std::wstring;

// Widens UTF-8 text. Zero characters inside `utf8` are kept; bytes that are no UTF-8 come out as
// the platform's replacement character. Empty if the platform refuses the conversion. Never throws
// anything of ours.
string_t Widen(const std::string& utf8);

// The same as `target += Widen(utf8)`, without a text in between.
void AppendWidened(string_t& target, std::string_view utf8);

// Narrows text for logs and exceptions, character by character: ASCII as it is, "?" for a character
// that has no narrow form. The result is the same on every machine, whatever its code page.
std::string Narrow(const string_t& wide);

// Whether `character` stands unchanged in the narrow form. A path with any other character cannot
// be narrowed and is refused by those who would have to.
bool HasNarrowForm(wchar_t character);

// The text as UTF-16, for payloads that leave the process as bytes. Where the platform's wide
// character is already UTF-16 this is a copy.
std::u16string Utf16(const string_t& wide);

}  // namespace vusl
