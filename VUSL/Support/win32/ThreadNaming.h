#pragma once

#include <string>

#include "platform/win32.h"

namespace vusl {

// Tells a debugger the name of a thread. Has no effect when none is attached, and never fails.
// `threadId`: the thread's id. `name`: its name, read during the call only.
void NameThreadForDebugger(DWORD threadId, const std::string& name);

}  // namespace vusl
