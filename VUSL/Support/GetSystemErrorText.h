#pragma once

#include "VUSL/Support/Text.h"
#include "platform/win32.h"

// The system's own text for the Windows error `code`, in the neutral language, cut at its last
// carriage return. Empty for a code that the system does not know.
vusl::string_t GetSystemErrorText(DWORD code);
