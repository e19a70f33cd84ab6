#include "VUSL/Support/CriticalSection.h"

#include <cstdint>
#include <string>

#include "VUSL/Support/Exception.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using vusl::CriticalSection;
using vusl::WaitResult;

class CriticalSectionTest : public host::MachineTest {};

TEST_F(CriticalSectionTest, spins16384TimesBeforeItWaits) {
  const CriticalSection section;
  const auto calls = journal().calls("InitializeCriticalSectionAndSpinCount");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "16384");
}

TEST_F(CriticalSectionTest, failedCreationThrowsWithTheErrorInDecimal) {
  faults().failOnce("InitializeCriticalSectionAndSpinCount", 8);
  EXPECT_EQ(thrownBy<Exception>([] { CriticalSection section; }),
            "CriticalSection:InitializeCriticalSectionAndSpinCount failed with error: 8");
  EXPECT_TRUE(journal().calls("DeleteCriticalSection").empty());
}

TEST_F(CriticalSectionTest, destructorDeletesTheSection) {
  { const CriticalSection section; }
  EXPECT_EQ(journal().calls("DeleteCriticalSection").size(), 1U);
  EXPECT_EQ(ledger().open("section"), 0U);
}

TEST_F(CriticalSectionTest, lockAndUnlockAreDone) {
  CriticalSection section;
  EXPECT_EQ(section.Lock(vusl::kInfiniteMs), WaitResult::kDone);
  EXPECT_EQ(section.Unlock(), WaitResult::kDone);
  EXPECT_EQ(journal().namesOf({"EnterCriticalSection", "LeaveCriticalSection"}),
            (std::vector<std::string>{"EnterCriticalSection", "LeaveCriticalSection"}));
}

TEST_F(CriticalSectionTest, lockWithNoTimeLeftStillWaitsForAnotherThread) {
  CriticalSection section;
  section.Lock(0);
  std::int64_t enteredAtMs = -1;
  WaitResult result = WaitResult::kError;
  host::TestThread other([&] {
    result = section.Lock(0);
    enteredAtMs = clockMs();
    section.Unlock();
  });
  Sleep(60'000);
  section.Unlock();
  other.join();
  EXPECT_EQ(result, WaitResult::kDone);
  EXPECT_GE(enteredAtMs, 60'000);
}

TEST_F(CriticalSectionTest, isRecursiveOnItsOwner) {
  CriticalSection section;
  EXPECT_EQ(section.Lock(0), WaitResult::kDone);
  EXPECT_EQ(section.Lock(0), WaitResult::kDone);
  section.Unlock();
  std::int64_t enteredAtMs = -1;
  host::TestThread other([&] {
    section.Lock(0);
    enteredAtMs = clockMs();
    section.Unlock();
  });
  Sleep(1000);
  section.Unlock();
  other.join();
  EXPECT_GE(enteredAtMs, 1000);
}

TEST_F(CriticalSectionTest, tenThousandLeaveNoSection) {
  for (int i = 0; i < 10'000; ++i) {
    CriticalSection section;
    section.Lock(0);
    section.Unlock();
  }
  EXPECT_TRUE(ledger().stillOpen().empty());
  EXPECT_EQ(journal().count("DeleteCriticalSection"), 10'000U);
}

}  // namespace
