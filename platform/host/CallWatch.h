#pragma once

#include <string_view>

namespace host {

// Told of each call that can be told to fail, those of the C runtime among them, before it is
// decided whether this one fails. Runs on the calling thread with the guard held, and must make no
// such call itself.
using CallWatch = void (*)(std::string_view call);

// There is one; null for none.
void watchCalls(CallWatch watch);

}  // namespace host
