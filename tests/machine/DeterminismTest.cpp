#include <gtest/gtest.h>

#include "tests/machine/MachineRun.h"

namespace {

constexpr std::uint64_t kComparedSeeds[] = {0, 1, 12345};
constexpr std::uint64_t kLastTriedSeed = 5;

class DeterminismTest : public ::testing::TestWithParam<std::string> {};

// Addresses are part of the lines, so they are equal too.
TEST_P(DeterminismTest, SameSeedGivesTheSameRunByteForByte) {
  for (const std::uint64_t seed : kComparedSeeds) {
    const MachineRun first = runNamed(GetParam(), {.seed = seed});
    const MachineRun second = runNamed(GetParam(), {.seed = seed});
    if (!first.result.addressesFixed) {
      GTEST_SKIP() << "this system does not allow to switch address randomisation off";
    }
    EXPECT_EQ(first.printed, second.printed) << "seed " << seed;
    EXPECT_EQ(first.result.hash, second.result.hash) << "seed " << seed;
  }
}

TEST_P(DeterminismTest, EverySeedEndsAsTheScenarioSays) {
  for (std::uint64_t seed = 1; seed <= kLastTriedSeed; ++seed) {
    const MachineRun run = runNamed(GetParam(), {.seed = seed});
    EXPECT_TRUE(run.differences.empty()) << "seed " << seed << "\n" << run.complaint();
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, DeterminismTest, ::testing::ValuesIn(scenarioNames()),
                         testName);

}  // namespace
