// The entry of the unit tests in the build of `./dev mutate`, in place of the ordinary one. With
// `--serve` it takes orders from its input and answers each with one line, so that a test costs a
// fork and not a start of the program. Without it, it is an ordinary test program: so a death test
// starts it.
//
//   record SECONDS TEST            "reached STATUS MILLISECONDS POINT..."
//   run POINT SECONDS TEST SECONDS TEST...
//                                  "killed TEST HOW MILLISECONDS" or "survived - - MILLISECONDS"
//
// At first it prints "early POINT...", the points reached before anything can be ordered.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include "tools/mutate/Mutant.h"

namespace {

constexpr rlim_t kMostMemory = rlim_t{4} << 30;
// A test that waits for what never comes uses no processor time, and one that runs on a busy
// machine takes longer than it would alone.
constexpr unsigned kWallPerProcessor = 8;

using Clock = std::chrono::steady_clock;

[[noreturn]] void runInChild(const std::string& test, unsigned point, unsigned seconds) {
  setpgid(0, 0);
  const int nothing = open("/dev/null", O_RDWR);
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    dup2(nothing, descriptor);
  }
  const rlimit time = {seconds, seconds + 1};
  setrlimit(RLIMIT_CPU, &time);
  const rlimit memory = {kMostMemory, kMostMemory};
  setrlimit(RLIMIT_AS, &memory);
  const rlimit core = {0, 0};
  setrlimit(RLIMIT_CORE, &core);
  alarm(seconds * kWallPerProcessor);
  setenv("MUTANT", std::to_string(point).c_str(), 1);
  mutant::setOn(point);
  GTEST_FLAG_SET(filter, test);
  std::exit(RUN_ALL_TESTS());
}

int statusOf(const std::string& test, unsigned point, unsigned seconds) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) return -1;
  if (child == 0) runInChild(test, point, seconds);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  // What the test started may outlive it.
  kill(-child, SIGKILL);
  return status;
}

std::string howItEnded(int status) {
  if (!WIFSIGNALED(status)) return "failed";
  const int signal = WTERMSIG(status);
  if (signal == SIGALRM || signal == SIGXCPU || signal == SIGKILL) return "timeout";
  return "signal-" + std::to_string(signal);
}

long long since(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

std::string pointsReached() {
  std::string points;
  for (unsigned point = 1; point < mutant::kMostPoints; ++point) {
    if (mutant::reached()[point] != 0) points += " " + std::to_string(point);
  }
  return points;
}

std::string record(std::istream& order) {
  unsigned seconds = 0;
  std::string test;
  order >> seconds >> test;
  mutant::forgetReached();
  const auto start = Clock::now();
  const int status = statusOf(test, 0, seconds);
  return "reached " + std::to_string(status) + " " + std::to_string(since(start)) + pointsReached();
}

std::string run(std::istream& order) {
  unsigned point = 0;
  order >> point;
  const auto start = Clock::now();
  unsigned seconds = 0;
  std::string test;
  while (order >> seconds >> test) {
    const int status = statusOf(test, point, seconds);
    if (status != 0) {
      return "killed " + test + " " + howItEnded(status) + " " + std::to_string(since(start));
    }
  }
  return "survived - - " + std::to_string(since(start));
}

int serve() {
  std::cout << "early" << pointsReached() << std::endl;
  std::string line;
  while (std::getline(std::cin, line)) {
    std::istringstream order(line);
    std::string what;
    order >> what;
    std::cout << (what == "record" ? record(order) : run(order)) << std::endl;
  }
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  bool serving = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    serving = serving || argument == "--serve";
    // A death test starts the program anew with the arguments of its own process.
    if (argument.rfind("--gtest_internal_run_death_test", 0) == 0) {
      serving = false;
      break;
    }
  }
  testing::InitGoogleMock(&argc, argv);
  return serving ? serve() : RUN_ALL_TESTS();
}
