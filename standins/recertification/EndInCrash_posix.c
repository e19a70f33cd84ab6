#define _POSIX_C_SOURCE 200809L

#include <signal.h>
#include <sys/prctl.h>

#include "standins/recertification/Ending.h"

int endWith(int failed) {
  prctl(PR_SET_DUMPABLE, 0);  // nobody looks at what it would leave
  signal(SIGSEGV, SIG_DFL);
  raise(SIGSEGV);
  return failed;
}
