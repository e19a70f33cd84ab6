#include "tools/simulate/Deviations.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace {

using simulate::Decisions;
using simulate::Deviation;

TEST(DeviationsTest, decisionsAreReadAsARunTellsThem) {
  EXPECT_EQ(simulate::decisionsFrom(""), Decisions{});
  EXPECT_EQ(simulate::decisionsFrom("2 3 2"), (Decisions{2, 3, 2}));
}

TEST(DeviationsTest, eachOtherThreadIsADeviation) {
  EXPECT_EQ(simulate::deviationsFrom({2, 3, 2}, 0), 4U);
  EXPECT_EQ(simulate::deviationsFrom({2, 3, 2}, 1), 3U);
  EXPECT_EQ(simulate::deviationsFrom({2, 3, 2}, 3), 0U);
}

TEST(DeviationsTest, allAreGoneThroughInOrder) {
  const Decisions decisions{2, 3, 2};
  std::vector<std::string> all;
  for (std::uint64_t nth = 0; nth < 3; ++nth) {
    all.push_back(simulate::textOf(simulate::nthDeviation(decisions, 1, nth)));
  }
  EXPECT_EQ(all, (std::vector<std::string>{"1:1", "1:2", "2:1"}));
}

TEST(DeviationsTest, someAreSpreadEvenlyOverAll) {
  std::vector<std::uint64_t> places;
  for (std::uint64_t nth = 0; nth < 4; ++nth) {
    places.push_back(simulate::evenly(nth, 4, 10));
  }
  EXPECT_EQ(places, (std::vector<std::uint64_t>{0, 2, 5, 7}));
}

TEST(DeviationsTest, whatWasCountedInAPartIsTakenForAll) {
  EXPECT_EQ(simulate::evenly(313, 300, 600), 626U);
  EXPECT_EQ(simulate::evenly(10, 4, 6), 15U);
}

TEST(DeviationsTest, noneIsLeftOutWhenAllAreWanted) {
  std::set<std::uint64_t> places;
  for (std::uint64_t nth = 0; nth < 1'000; ++nth) {
    places.insert(simulate::evenly(nth, 1'000, 1'000));
  }
  EXPECT_EQ(places.size(), 1'000U);
  EXPECT_EQ(*places.rbegin(), 999U);
}

}  // namespace
