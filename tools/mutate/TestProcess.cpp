#include "tools/mutate/TestProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "tools/mutate/Mutant.h"
#include "tools/mutate/ProcessTree.h"

namespace {

constexpr rlim_t kMostMemory = rlim_t{4} << 30;
constexpr int kLookMs = 250;

using Clock = std::chrono::steady_clock;

[[noreturn]] void runInChild(const std::string& test, unsigned point, const TestLimits& limits) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int nothing = open("/dev/null", O_RDWR);
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    dup2(nothing, descriptor);
  }
  const rlimit time = {limits.processorSeconds, limits.processorSeconds + 1};
  setrlimit(RLIMIT_CPU, &time);
  const rlimit memory = {kMostMemory, kMostMemory};
  setrlimit(RLIMIT_AS, &memory);
  const rlimit core = {0, 0};
  setrlimit(RLIMIT_CORE, &core);
  setenv("MUTANT", std::to_string(point).c_str(), 1);
  mutant::setOn(point);
  GTEST_FLAG_SET(filter, test);
  std::exit(RUN_ALL_TESTS());
}

long long since(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

bool hasEnded(int child, int milliseconds) {
  pollfd ended = {child, POLLIN, 0};
  return poll(&ended, 1, milliseconds) == 1;
}

// Waits for the end of the process. False if it would never come to it: nothing of the test has run
// for so long.
bool waitForEnd(pid_t child, unsigned idleSeconds) {
  const int handle = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
  ProcessTree::Activity before;
  Clock::time_point lastActive = Clock::now();
  bool ended = false;
  while (!(ended = hasEnded(handle, kLookMs))) {
    const ProcessTree::Activity now = ProcessTree(child).activity();
    if (now.isRunning || now.ticks != before.ticks) lastActive = Clock::now();
    before = now;
    if (since(lastActive) > 1000LL * idleSeconds) break;
  }
  close(handle);
  return ended;
}

// Whether there are processes below this one that have not ended.
bool isAnyLeft() {
  pid_t ended = 0;
  while ((ended = waitpid(-1, nullptr, WNOHANG)) > 0) {
  }
  return ended == 0;
}

void endWhatIsLeft() {
  while (isAnyLeft()) {
    const ProcessTree tree(getpid());
    for (const pid_t process : tree.below()) kill(process, SIGKILL);
    waitpid(-1, nullptr, 0);
  }
}

long long milliseconds(const timeval& time) {
  return 1000LL * time.tv_sec + time.tv_usec / 1000;
}

}  // namespace

TestEnd runTest(const std::string& test, unsigned point, const TestLimits& limits) {
  std::fflush(nullptr);
  TestEnd end;
  const auto start = Clock::now();
  const pid_t child = fork();
  if (child < 0) return end;
  if (child == 0) runInChild(test, point, limits);
  end.neverEnded = !waitForEnd(child, limits.idleSeconds);
  if (end.neverEnded) kill(child, SIGKILL);
  rusage used{};
  while (wait4(child, &end.status, 0, &used) < 0 && errno == EINTR) {
  }
  end.wallMs = since(start);
  end.processorMs = milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
  end.neverEnded = end.neverEnded || (WIFSIGNALED(end.status) && WTERMSIG(end.status) == SIGXCPU);
  endWhatIsLeft();
  return end;
}

void adoptWhatTestsLeave() {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
}
