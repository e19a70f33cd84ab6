// The entry of the test programs in the build of `./dev mutate`, in place of the ordinary one. With
// `--serve` it takes orders from its input and answers each with one line, so that a test costs a
// fork and not a start of the program. Without it, it is an ordinary test program: so a death test
// starts it.
//
//   record PROCESSOR IDLE TEST     "reached STATUS PROCESSOR-MS WALL-MS POINT..."
//   run POINT PROCESSOR IDLE TEST PROCESSOR IDLE TEST...
//                                  "killed TEST HOW WALL-MS" or "survived - - WALL-MS"
//
// PROCESSOR and IDLE are the limits of the test that follows, in seconds. At first it prints
// "early POINT...", the points reached before anything can be ordered.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include "tools/mutate/Mutant.h"
#include "tools/mutate/TestProcess.h"

namespace {

std::string howItEnded(const TestEnd& end) {
  if (end.neverEnded) return "timeout";
  if (WIFSIGNALED(end.status)) return "signal-" + std::to_string(WTERMSIG(end.status));
  return "failed";
}

std::string pointsReached() {
  std::string points;
  for (unsigned point = 1; point < mutant::kMostPoints; ++point) {
    if (mutant::reached()[point] != 0) points += " " + std::to_string(point);
  }
  return points;
}

std::string record(std::istream& order) {
  TestLimits limits;
  std::string test;
  order >> limits.processorSeconds >> limits.idleSeconds >> test;
  mutant::forgetReached();
  const TestEnd end = runTest(test, 0, limits);
  return "reached " + std::to_string(end.status) + " " + std::to_string(end.processorMs) + " " +
         std::to_string(end.wallMs) + pointsReached();
}

std::string run(std::istream& order) {
  unsigned point = 0;
  order >> point;
  TestLimits limits;
  std::string test;
  long long wallMs = 0;
  while (order >> limits.processorSeconds >> limits.idleSeconds >> test) {
    const TestEnd end = runTest(test, point, limits);
    wallMs += end.wallMs;
    if (end.status != 0) {
      return "killed " + test + " " + howItEnded(end) + " " + std::to_string(wallMs);
    }
  }
  return "survived - - " + std::to_string(wallMs);
}

int serve() {
  adoptWhatTestsLeave();
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
