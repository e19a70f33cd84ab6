#pragma once

#include <string>

#include "platform/win32.h"

// The system's text for an error code, in narrow form and as the system ends it (with a line end).
//
// A text that was found is also logged, at ERROR level. Without one the result is "Error ", the
// code in decimal and "(no message found)", and nothing is logged. Never fails.
std::string GetErrorString(DWORD code);
