#pragma once

#include <sys/wait.h>

#include <csignal>

// Whether a process ended because it used a null pointer. The sanitizers tell of some uses ahead of
// the fault and end the process themselves, with the status 1.
inline bool usedANullPointer(int status) {
#ifdef __SANITIZE_ADDRESS__
  if (WIFEXITED(status) && WEXITSTATUS(status) == 1) return true;
#endif
  return WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV;
}

// Lets the process end as it would if nobody watched for the fault.
inline void letTheFaultEndTheProcess() {
  std::signal(SIGSEGV, SIG_DFL);
}
