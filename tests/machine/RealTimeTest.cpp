#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

#include "tests/machine/MachineRun.h"
#include "tests/machine/TemporaryFolder.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST(RealTimeTest, FirstBootTakesAtMostTwentySeconds) {
  const auto begin = steady_clock::now();
  const MachineRun run = runNamed("first-boot", {.realTime = true});
  EXPECT_LE(steady_clock::now() - begin, milliseconds(20'000));
  EXPECT_TRUE(run.differences.empty()) << run.complaint();
}

TEST(RealTimeTest, WaitTakesAsLongAsItSays) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "wait.scenario";
  std::ofstream(file) << "[scenario]\n"
                         "about = The process is ended while it waits.\n"
                         "limit = 5 s\n"
                         "end = ended\n"
                         "[stack]\n"
                         "directory = C:\\Program Files\\Orvix\\tALS Client\n"
                         "[script]\n"
                         "at 600 ms: end process\n";
  const auto begin = steady_clock::now();
  const MachineRun run = runFile(file, {.realTime = true});
  const auto taken = steady_clock::now() - begin;
  EXPECT_TRUE(run.differences.empty()) << run.complaint();
  EXPECT_GE(taken, milliseconds(600));
  EXPECT_LT(taken, milliseconds(3000));
}

TEST(RealTimeTest, RunThatGoesOnWhenTheTimeIsUpIsGivenUp) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "limit.scenario";
  std::ofstream(file) << "[scenario]\n"
                         "about = The time is up before the service is done.\n"
                         "limit = 500 ms\n"
                         "end = running\n"
                         "[stack]\n"
                         "directory = C:\\Program Files\\Orvix\\tALS Client\n";
  const MachineRun run = runFile(file, {.realTime = true});
  EXPECT_TRUE(run.differences.empty()) << run.complaint();
}

}  // namespace
