#pragma once

#include "platform/win32.h"

namespace wine {

// LookupPrivilegeValueW, which also knows the names that the platform leaves out.
BOOL WINAPI lookUpPrivilege(LPCWSTR system, LPCWSTR name, PLUID id);

}  // namespace wine
