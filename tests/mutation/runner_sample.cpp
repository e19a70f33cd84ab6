// Tests that behave in ways of their own, for the entry of the test programs; judging_test.py says
// what has to come of each.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>

#include "tools/mutate/Mutant.h"

namespace {

// Ahead of all orders.
const bool started = [] {
  if (mutant::on(3)) std::abort();
  return true;
}();

TEST(Sample, comesByPointSeven) {
  EXPECT_TRUE(started);
  EXPECT_FALSE(mutant::on(7));
}

TEST(Sample, dies) {
  std::abort();
}

TEST(Sample, spins) {
  volatile bool goesOn = true;
  while (goesOn) {
  }
}

TEST(Sample, waitsForEver) {
  for (;;) pause();
}

// Longer than what counts as nothing happening, and in a group of processes of its own.
TEST(Sample, hasAChildThatWorks) {
  const pid_t child = fork();
  if (child == 0) {
    setpgid(0, 0);
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(900);
    while (Clock::now() < end) {
    }
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST(Sample, leavesAChild) {
  const pid_t child = fork();
  if (child == 0) {
    setpgid(0, 0);
    for (;;) pause();
  }
  std::ofstream(std::getenv("LEFT")) << child;
}

}  // namespace
