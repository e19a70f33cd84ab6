#include "platform/host/Schedule.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

namespace {

using host::Schedule;

// Three threads that could run, the first of them having the turn.
class ScheduleTest : public ::testing::Test {
 protected:
  ScheduleTest() {
    for (std::uint32_t i = 0; i < threads_.size(); ++i) {
      threads_[i].id = 0x1a2c + 4 * i;
      able_[i] = &threads_[i];
    }
  }

  std::size_t atCall() { return placeOf(schedule_.atCall(able_, threads_[0])); }
  std::size_t atWait() { return placeOf(schedule_.atWait(able_)); }

  Schedule schedule_;
  std::array<host::Thread, 3> threads_;
  std::array<host::Thread*, 3> able_{};

 private:
  std::size_t placeOf(const host::Thread* thread) const {
    return static_cast<std::size_t>(thread - threads_.data());
  }
};

TEST_F(ScheduleTest, unknownOrderIsRefused) {
  EXPECT_FALSE(schedule_.follow("random", 1));
  EXPECT_FALSE(schedule_.follow("priority 2", 1));
  EXPECT_FALSE(schedule_.follow("list 1", 1));
  EXPECT_FALSE(schedule_.follow("list 1:x", 1));
}

TEST_F(ScheduleTest, listWithoutDeviationsLeavesTheTurnWhereItIs) {
  ASSERT_TRUE(schedule_.follow("list", 0));
  EXPECT_EQ(atCall(), 0U);
  EXPECT_EQ(atWait(), 0U);
  EXPECT_EQ(schedule_.decisions(), "3 3");
}

TEST_F(ScheduleTest, listDeviatesAtTheDecisionsThatItNames) {
  ASSERT_TRUE(schedule_.follow("list 1:2 3:1", 0));
  EXPECT_EQ(atCall(), 0U);
  EXPECT_EQ(atCall(), 2U);
  EXPECT_EQ(atWait(), 0U);
  EXPECT_EQ(atWait(), 1U);
}

TEST_F(ScheduleTest, alternativesAreAllTheOthersWhoeverHasTheTurn) {
  ASSERT_TRUE(schedule_.follow("list 0:1 1:2", 0));
  EXPECT_EQ(schedule_.atCall(able_, threads_[1]), &threads_[0]);
  EXPECT_EQ(schedule_.atCall(able_, threads_[1]), &threads_[2]);
}

TEST_F(ScheduleTest, oneThreadAloneIsNoDecision) {
  ASSERT_TRUE(schedule_.follow("list 0:1", 0));
  host::Thread* const alone[] = {&threads_[0]};
  EXPECT_EQ(schedule_.atCall(alone, threads_[0]), &threads_[0]);
  EXPECT_EQ(schedule_.decisions(), "");
}

TEST_F(ScheduleTest, priorityLetsOneThreadRunUntilItFalls) {
  ASSERT_TRUE(schedule_.follow("priority", 3));
  std::size_t changes = 0;
  host::Thread* running = schedule_.atWait(able_);
  for (int call = 0; call < 3'000; ++call) {
    host::Thread* const next = schedule_.atCall(able_, *running);
    changes += next != running ? 1 : 0;
    running = next;
  }
  EXPECT_GE(changes, 1U);
  EXPECT_LE(changes, 4U);
}

TEST_F(ScheduleTest, starvedThreadRunsOnlyWhenNobodyElseCan) {
  std::set<std::size_t> neverChosen;
  for (std::uint64_t seed = 1; seed <= 40; ++seed) {
    ASSERT_TRUE(schedule_.follow("starve", seed));
    std::set<std::size_t> chosen;
    for (int i = 0; i < 500; ++i) {
      chosen.insert(atWait());
    }
    for (std::size_t i = 0; i < threads_.size(); ++i) {
      if (chosen.count(i) == 0) {
        neverChosen.insert(i);
        host::Thread* const alone[] = {&threads_[i]};
        EXPECT_EQ(schedule_.atWait(alone), &threads_[i]);
      }
    }
  }
  EXPECT_EQ(neverChosen, (std::set<std::size_t>{0, 1, 2}));
}

TEST_F(ScheduleTest, stallHoldsUpTwiceAndForAMinuteAtMost) {
  ASSERT_TRUE(schedule_.follow("stall", 11));
  int held = 0;
  for (int call = 0; call < 3'000; ++call) {
    const host::Nanoseconds delay = schedule_.holdUp();
    held += delay > 0 ? 1 : 0;
    EXPECT_LE(delay, 60'000 * host::kNanosecondsPerMillisecond);
  }
  EXPECT_EQ(held, 2);
}

TEST_F(ScheduleTest, otherOrdersHoldNobodyUp) {
  ASSERT_TRUE(schedule_.follow("priority", 11));
  EXPECT_EQ(schedule_.holdUp(), 0);
}

TEST_F(ScheduleTest, sameSeedGivesTheSameTurns) {
  for (const char* order : {"sticky", "priority", "starve"}) {
    std::array<std::string, 2> turns;
    for (std::string& text : turns) {
      ASSERT_TRUE(schedule_.follow(order, 5));
      for (int i = 0; i < 200; ++i) {
        text += std::to_string(atCall()) + std::to_string(atWait());
      }
    }
    EXPECT_EQ(turns[0], turns[1]) << order;
  }
}

}  // namespace
