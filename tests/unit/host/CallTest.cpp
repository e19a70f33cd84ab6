#include "platform/host/Call.h"

#include <gtest/gtest.h>

#include "tests/support/MachineTest.h"

namespace {

class CallTest : public host::MachineTest {};

TEST_F(CallTest, TheJournalHoldsEachCallWithArgumentsResultAndLastError) {
  SetEvent(nullptr);
  const auto calls = journal().calls("SetEvent");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "null");
  EXPECT_EQ(calls[0].result, "0");
  EXPECT_EQ(calls[0].lastError, 6U);
  EXPECT_FALSE(calls[0].faulted);
  EXPECT_EQ(calls[0].thread, GetCurrentThreadId());
}

TEST_F(CallTest, TheJournalKeepsTheOrderOfCalls) {
  SetLastError(1);
  Sleep(1);
  SetEvent(nullptr);
  EXPECT_EQ(journal().names(), (std::vector<std::string>{"SetLastError", "Sleep", "SetEvent"}));
  EXPECT_EQ(journal().namesOf({"SetEvent", "SetLastError"}),
            (std::vector<std::string>{"SetLastError", "SetEvent"}));
}

TEST_F(CallTest, AFaultFailsTheNamedCallOnceWithItsErrorAndLeavesAMark) {
  faults().failOnce("CreateEventW", 5);
  EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), 5U);
  EXPECT_NE(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
  const auto calls = journal().calls("CreateEventW");
  EXPECT_TRUE(calls[0].faulted);
  EXPECT_FALSE(calls[1].faulted);
}

TEST_F(CallTest, AFaultCanWaitForTheNthCall) {
  faults().failOnce("CreateEventW", 5, 2);
  EXPECT_NE(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
  EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
  EXPECT_NE(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
}

TEST_F(CallTest, AFaultCanLastFromTheNthCallOn) {
  faults().failFrom("CreateEventW", 5, 2);
  EXPECT_NE(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
  EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
  EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
}

TEST_F(CallTest, AFaultedCallHasNoEffect) {
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  faults().failOnce("SetEvent", 5);
  SetEvent(event);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
}

TEST_F(CallTest, AStrikeIsToldOnceForALastingFaultToo) {
  std::vector<std::string> told;
  faults().onStrike = [&](const std::string& what) { told.push_back(what); };
  faults().failOnce("CreateEventW", ERROR_ACCESS_DENIED, 2);
  faults().failFrom("OpenEventW", ERROR_INVALID_HANDLE);
  CreateEventW(nullptr, TRUE, FALSE, nullptr);
  EXPECT_TRUE(told.empty());
  CreateEventW(nullptr, TRUE, FALSE, nullptr);
  OpenEventW(SYNCHRONIZE, FALSE, L"E");
  OpenEventW(SYNCHRONIZE, FALSE, L"E");
  EXPECT_EQ(told, (std::vector<std::string>{"CreateEventW 2 fails with 5",
                                            "OpenEventW fails from 1 on with 6"}));
}

TEST_F(CallTest, AStrikeWithAnInterfacesResultIsToldInHexadecimal) {
  std::string told;
  faults().onStrike = [&](const std::string& what) { told = what; };
  faults().failOnce("CoInitializeEx", 0x80070005);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(told, "CoInitializeEx 1 fails with 0x80070005");
}

TEST_F(CallTest, AHookRunsAheadOfTheNthCall) {
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  host::CallHooks::instance().before("WaitForSingleObject", 2, [&] { SetEvent(event); });
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
}

TEST_F(CallTest, TheHashOfTheStepsTellsRunsApart) {
  const auto run = [](DWORD error) {
    host::resetMachine();
    SetLastError(error);
    return host::Journal::instance().hash();
  };
  EXPECT_EQ(run(1), run(1));
  EXPECT_NE(run(1), run(2));
}

TEST_F(CallTest, WithoutKeptEntriesCallsAreStillCounted) {
  journal().keepEntries(false);
  SetLastError(1);
  SetLastError(1);
  EXPECT_TRUE(journal().names().empty());
  EXPECT_EQ(journal().count("SetLastError"), 2U);
}

}  // namespace
