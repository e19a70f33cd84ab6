// Linked into the programs of the coverage build alone. The counters are written when a process
// ends in the ordinary way; most of the modelled lives end in another one, and these are theirs.

#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

extern "C" {
int __llvm_profile_write_file();
sighandler_t __real_signal(int number, sighandler_t handler);
}

namespace {

// A write that is cut off would leave a file that no later process can add to.
void writeCounters() {
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, nullptr);
  __llvm_profile_write_file();
}

[[noreturn]] void leave(int status) {
  for (;;) {
    syscall(SYS_exit_group, status);
  }
}

// What a signal does to a process that does not catch it, behind the write.
void writeAndDie(int signal) {
  writeCounters();
  __real_signal(signal, SIG_DFL);
  raise(signal);
  sigset_t one;
  sigemptyset(&one);
  sigaddset(&one, signal);
  sigprocmask(SIG_UNBLOCK, &one, nullptr);
  leave(EXIT_FAILURE);
}

}  // namespace

extern "C" {

void _exit(int status) {
  writeCounters();
  leave(status);
}

void _Exit(int status) {
  _exit(status);
}

// Tests choose the system's own way to die: it is this one then, which differs by the write.
sighandler_t __wrap_signal(int number, sighandler_t handler) {
  const bool dies = number == SIGSEGV || number == SIGABRT;
  return __real_signal(number, dies && handler == SIG_DFL ? writeAndDie : handler);
}

}  // extern "C"

namespace {

// A life that is gathering its report takes these signals for itself, maybe before this.
const bool kTaken = [] {
  for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
    struct sigaction now = {};
    sigaction(number, nullptr, &now);
    if (now.sa_handler == SIG_DFL) __real_signal(number, writeAndDie);
  }
  return true;
}();

}  // namespace
