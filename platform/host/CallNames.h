#pragma once

#include <span>
#include <string_view>

namespace host {

// The names of all calls of the model that have a place in the journal.
std::span<const std::string_view> platformCalls();

// Those and the calls of the C runtime that have none there: all that can be told to fail.
std::span<const std::string_view> callsThatCanFail();

}  // namespace host
