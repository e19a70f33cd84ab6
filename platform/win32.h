#pragma once

// The one door to Windows. Everything that the product needs of the platform comes through this
// header under the platform's own names: on Windows from the system's headers, elsewhere from the
// model of Windows in platform/host, which declares the same names with the same shapes.

#ifdef _WIN32
// The order matters: cfgmgr32.h and its like expect windows.h first.
#include <windows.h>

#include <cfgmgr32.h>
#include <evntprov.h>
#include <knownfolders.h>
#include <namespaceapi.h>
#include <objbase.h>
#include <oleauto.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <taskschd.h>

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <wchar.h>

#ifdef __MINGW32__
#include "platform/mingw/IEventTrigger.h"
#endif

#else

#include "platform/host/windows/windows.h"

#endif
