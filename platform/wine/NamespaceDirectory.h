#pragma once

#include <string>

#include "platform/win32.h"

namespace wine {

// Makes a directory among the named objects of the process's session, which has what a private
// namespace has: objects below it are reached through its name, a second one of that name is
// refused, and it goes with its last handle. The caller closes `directory`. Returns 0 or the error,
// 183 if the name is taken.
DWORD createNamespaceDirectory(const std::wstring& alias, HANDLE& directory);

}  // namespace wine
