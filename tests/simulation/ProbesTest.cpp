#include "tools/simulate/Probes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using simulate::MissedProbe;

std::vector<MissedProbe> missedWithAllBut(simulate::Probe probe, std::uint64_t seeds) {
  simulate::ProbeCounts counts;
  counts.fill(1);
  counts[static_cast<std::size_t>(probe)] = 0;
  return simulate::missedProbes(counts, seeds);
}

TEST(ProbesTest, nothingIsMissedThatWasHit) {
  simulate::ProbeCounts counts;
  counts.fill(1);
  EXPECT_TRUE(simulate::missedProbes(counts, 5'000).empty());
}

TEST(ProbesTest, situationThatMustComeIsAFailureWithEnoughSeeds) {
  const auto missed = missedWithAllBut(simulate::Probe::kSecondLaunch, 5'000);
  ASSERT_EQ(missed.size(), 1U);
  EXPECT_EQ(missed.front().name, "the recertification program is started twice");
  EXPECT_TRUE(missed.front().isFailure);
}

TEST(ProbesTest, fewSeedsNeedNotComeIntoEverything) {
  const auto missed = missedWithAllBut(simulate::Probe::kSecondLaunch, 4'999);
  ASSERT_EQ(missed.size(), 1U);
  EXPECT_FALSE(missed.front().isFailure);
}

TEST(ProbesTest, raceNeedNotCome) {
  const auto missed = missedWithAllBut(simulate::Probe::kStoppedTwice, 100'000);
  ASSERT_EQ(missed.size(), 1U);
  EXPECT_FALSE(missed.front().isFailure);
}

}  // namespace
