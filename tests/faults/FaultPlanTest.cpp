#include "tools/sweep/FaultPlan.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/host/CallNames.h"

namespace sweep {
namespace {

using host::Phase;

std::uint16_t placeOf(std::string_view name) {
  const auto calls = host::callsThatCanFail();
  return static_cast<std::uint16_t>(std::find(calls.begin(), calls.end(), name) - calls.begin());
}

host::WatchedCall call(std::string_view name, Phase phase = Phase::kRunning,
                       std::uint8_t thread = 0) {
  return {placeOf(name), phase, thread};
}

// "SetEvent 1, SetEvent 2"
std::string placesOf(const std::vector<host::WatchedCall>& calls) {
  std::string text;
  for (const Place& place : planFaults(calls).places) {
    text += (text.empty() ? "" : ", ") + std::string(host::callsThatCanFail()[place.call]) + " " +
            std::to_string(place.nth);
  }
  return text;
}

TEST(FaultPlanTest, EachCallThatCanFailIsAPlace) {
  EXPECT_EQ(placesOf({call("CreateEventW"), call("SetEvent"), call("CloseHandle")}),
            "CreateEventW 1, SetEvent 1, CloseHandle 1");
}

TEST(FaultPlanTest, CallsThatNeverFailAreNone) {
  EXPECT_EQ(placesOf({call("GetLastError"), call("SetEvent"), call("Sleep")}), "SetEvent 1");
}

TEST(FaultPlanTest, CountsTheCallsOfAName) {
  EXPECT_EQ(placesOf({call("SetEvent"), call("CloseHandle"), call("SetEvent")}),
            "SetEvent 1, CloseHandle 1, SetEvent 2");
}

// The first six turns have fewer calls before them and so are no turns of the loop yet.
TEST(FaultPlanTest, OfALoopTheFirstTwoTurnsAndTheLastAreTaken) {
  EXPECT_EQ(placesOf(std::vector<host::WatchedCall>(100, call("OpenEventW"))),
            "OpenEventW 1, OpenEventW 2, OpenEventW 3, OpenEventW 4, OpenEventW 5, OpenEventW 6, "
            "OpenEventW 7, OpenEventW 8, OpenEventW 100");
}

TEST(FaultPlanTest, AnotherPhaseIsAnotherLoop) {
  std::vector<host::WatchedCall> calls(20, call("OpenEventW", Phase::kRunning));
  calls.push_back(call("OpenEventW", Phase::kStopping));
  EXPECT_EQ(placesOf(calls),
            "OpenEventW 1, OpenEventW 2, OpenEventW 3, OpenEventW 4, OpenEventW 5, OpenEventW 6, "
            "OpenEventW 7, OpenEventW 8, OpenEventW 21, OpenEventW 20");
}

TEST(FaultPlanTest, WhatAnotherThreadDoesMeanwhileDoesNotTell) {
  std::vector<host::WatchedCall> calls;
  for (int i = 0; i < 20; ++i) {
    calls.push_back(call("OpenEventW"));
    if (i % 3 == 0) {
      calls.push_back(call("Sleep", Phase::kRunning, 1));
    }
  }
  EXPECT_EQ(placesOf(calls),
            "OpenEventW 1, OpenEventW 2, OpenEventW 3, OpenEventW 4, OpenEventW 5, OpenEventW 6, "
            "OpenEventW 7, OpenEventW 8, OpenEventW 20");
}

TEST(FaultPlanTest, CountsAllCallsThatCanFail) {
  EXPECT_EQ(planFaults(std::vector<host::WatchedCall>(100, call("OpenEventW"))).calls, 100U);
  EXPECT_EQ(planFaults(std::vector<host::WatchedCall>(100, call("Sleep"))).calls, 0U);
}

}  // namespace
}  // namespace sweep
