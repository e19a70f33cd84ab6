#include <windows.h>

#include "standins/recertification/Ending.h"

int endWith(int failed) {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  RaiseException((DWORD)EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, NULL);
  return failed;
}
