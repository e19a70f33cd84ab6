#pragma once

#include "platform/win32.h"

// Reads the integrity level of the current process: the last sub-authority of its label's SID.
//
// `level`: receives the level, SECURITY_MANDATORY_LOW_RID for a low one; untouched on failure.
// Returns false when it cannot be read; the reason is then logged at ERROR level.
bool QueryIntegrityLevel(DWORD& level);

// Whether the current process runs at exactly the low integrity level. Logs what it found; a level
// that cannot be determined counts as not low.
bool IsLowIntegrityLevel();
