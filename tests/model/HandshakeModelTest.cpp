#include <gtest/gtest.h>

#include "tests/model/ModelProgram.h"

namespace {

using handshake::Search;

// More than the longest way through the model: a search that goes deeper says so and fails.
constexpr char kDepth[] = "-m1000000 ";

Search claim(const std::string& name) {
  return handshake::search(HANDSHAKE_CLAIMS, kDepth + ("-a -N " + name));
}

Search claimWithTwoStops(const std::string& name) {
  return handshake::search(HANDSHAKE_TWO_STOPS_CLAIMS, kDepth + ("-a -N " + name));
}

// In a fair search whoever can always go on does so in the end.
Search fairClaim(const std::string& name) {
  return handshake::search(HANDSHAKE_CLAIMS, kDepth + ("-a -f -N " + name));
}

TEST(HandshakeModelTest, NobodyIsLeftWaiting) {
  const Search found = handshake::search(HANDSHAKE_DEADLOCK, kDepth);
  EXPECT_TRUE(found.complete && found.errors == 0) << found.printed;
  // A model of which a part has become unreachable would have fewer.
  EXPECT_GT(found.states, 1'000'000U);
}

// Both in one search, because it is the longest.
TEST(HandshakeModelTest, NobodyIsLeftWaitingAndNothingElseHappensWithASecondStop) {
  const Search found = handshake::search(HANDSHAKE_TWO_STOPS, kDepth);
  EXPECT_TRUE(found.complete && found.errors == 0) << found.printed;
  EXPECT_GT(found.states, 8'000'000U);
}

TEST(HandshakeModelTest, NothingHappensThatIsNotAmongTheOddities) {
  const Search found = claim("nothing_else");
  EXPECT_TRUE(found.complete && found.errors == 0) << found.printed;
}

// The first was lost, and the second was accepted and ends the service all the same.
TEST(HandshakeModelTest, StopAfterALostOneMayEndTheService) {
  const Search found = claimWithTwoStops("stop_after_a_lost_one");
  EXPECT_TRUE(found.complete && found.errors == 1) << found.printed;
}

TEST(HandshakeModelTest, OneStopAloneNeverComesAfterALostOne) {
  const Search found = claim("stop_after_a_lost_one");
  EXPECT_TRUE(found.complete && found.errors == 0) << found.printed;
}

TEST(HandshakeModelTest, StopThatReachesTheWaitEndsTheService) {
  const Search found = fairClaim("delivered_stop_ends");
  EXPECT_TRUE(found.complete && found.errors == 0) << found.printed;
}

TEST(HandshakeModelTest, DispatcherComesBackWhenTheServiceHasEnded) {
  const Search found = fairClaim("dispatcher_comes_back");
  EXPECT_TRUE(found.complete && found.errors == 0) << found.printed;
}

// What is required to happen is found: each claim denies it.
class HandshakeOddityTest : public ::testing::TestWithParam<const char*> {};

TEST_P(HandshakeOddityTest, IsReachable) {
  const Search found = claim(GetParam());
  EXPECT_TRUE(found.complete && found.errors == 1) << found.printed;
}

INSTANTIATE_TEST_SUITE_P(Listed, HandshakeOddityTest,
                         ::testing::Values("stop_before_the_run", "stop_before_the_stop_event",
                                           "stop_in_the_tries", "stop_whose_report_is_refused",
                                           "stop_whose_signal_is_refused",
                                           "stop_pending_after_stopped", "stopped_tried_twice",
                                           "stopped_told_twice", "stopped_never_told",
                                           "signal_to_a_closed_event", "question_to_a_dead_object"),
                         [](const auto& parameter) { return std::string(parameter.param); });

}  // namespace
