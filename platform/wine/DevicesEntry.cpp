// The entry of the library that is put beside the program in place of the platform's own.

#include "platform/win32.h"
#include "platform/wine/ImportTable.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    wine::replaceImports();
  }
  return TRUE;
}
