#pragma once

#include <string>
#include <string_view>

namespace config_check {

// Text of a file as a person can read it on one line: bytes that are no printable ASCII show as
// "<0xNN>", and of a long text only the beginning shows, with its size.
std::string shownText(std::string_view text);

}  // namespace config_check
