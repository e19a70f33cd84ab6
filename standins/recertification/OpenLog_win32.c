#include "standins/recertification/OpenLog.h"

#include <wchar.h>
#include <windows.h>

// The name under which it was started is no help: a path with blanks is started without quotes.
FILE* openBesideProgram(const char* argv0, const char* fileName) {
  (void)argv0;
  wchar_t path[MAX_PATH] = L"";
  const DWORD length = GetModuleFileNameW(NULL, path, MAX_PATH);
  if (length == 0 || length == MAX_PATH) return NULL;
  wchar_t* const slash = wcsrchr(path, L'\\');
  if (slash == NULL) return NULL;
  slash[1] = L'\0';
  if (wcslen(path) + strlen(fileName) >= MAX_PATH) return NULL;
  wchar_t* end = path + wcslen(path);
  while (*fileName != '\0') *end++ = (wchar_t)*fileName++;
  *end = L'\0';
  return _wfopen(path, L"a");
}
