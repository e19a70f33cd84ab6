#include "VUSL/Support/Mutex.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using vusl::Mutex;
using vusl::WaitResult;

class MutexTest : public host::MachineTest {};

static_assert(std::is_same_v<std::underlying_type_t<WaitResult>, int32_t>);

TEST(WaitResultTest, numbersAreTheCommonCode) {
  EXPECT_EQ(static_cast<int32_t>(WaitResult::kDone), 0);
  EXPECT_EQ(static_cast<int32_t>(WaitResult::kTimeout), 1);
  EXPECT_EQ(static_cast<int32_t>(WaitResult::kError), 2);
}

TEST_F(MutexTest, isCreatedUnnamedAndUnownedWithoutSecurityAttributes) {
  const Mutex mutex;
  ASSERT_EQ(journal().calls("CreateMutexW").size(), 1U);
  EXPECT_EQ(journal().calls("CreateMutexW")[0].args, "null, 0, null");
}

TEST_F(MutexTest, failedCreationThrowsWithTheErrorInDecimal) {
  faults().failOnce("CreateMutexW", 1450);
  EXPECT_EQ(thrownBy<Exception>([] { Mutex mutex; }),
            "Mutex::Mutex():CreateMutex failed: err: 1450");
}

TEST_F(MutexTest, destructorClosesTheHandle) {
  { const Mutex mutex; }
  EXPECT_EQ(journal().calls("CloseHandle").size(), 1U);
  EXPECT_EQ(ledger().open("mutex"), 0U);
}

TEST_F(MutexTest, lockOfAFreeMutexIsDone) {
  Mutex mutex;
  EXPECT_EQ(mutex.Lock(vusl::kInfiniteMs), WaitResult::kDone);
  EXPECT_EQ(mutex.Unlock(), WaitResult::kDone);
}

TEST_F(MutexTest, lockPassesTheTimeoutToThePlatform) {
  Mutex mutex;
  mutex.Lock(0xFFFFFFFF);
  const std::string arguments = journal().calls("WaitForSingleObject").at(0).args;
  EXPECT_TRUE(arguments.ends_with(", 4294967295")) << arguments;
  mutex.Unlock();
}

TEST_F(MutexTest, lockWithAnyOtherTimeoutThrowsAndDoesNotWait) {
  Mutex mutex;
  for (const uint32_t timeoutMs : {1U, 5000U, 0xFFFFFFFEU}) {
    EXPECT_EQ(thrownBy<Exception>([&] { mutex.Lock(timeoutMs); }), "Mutex:Invalid timeout");
  }
  EXPECT_TRUE(journal().calls("WaitForSingleObject").empty());
}

TEST_F(MutexTest, tryingAMutexOfAnotherThreadIsATimeout) {
  Mutex mutex;
  mutex.Lock(0);
  WaitResult result = WaitResult::kError;
  host::TestThread other([&] { result = mutex.Lock(0); });
  other.join();
  EXPECT_EQ(result, WaitResult::kTimeout);
  mutex.Unlock();
}

TEST_F(MutexTest, unlimitedLockWaitsUntilTheOwnerUnlocks) {
  Mutex mutex;
  mutex.Lock(0);
  std::int64_t acquiredAtMs = 0;
  host::TestThread other([&] {
    mutex.Lock(vusl::kInfiniteMs);
    acquiredAtMs = clockMs();
    mutex.Unlock();
  });
  Sleep(86'400'000);
  mutex.Unlock();
  other.join();
  EXPECT_GE(acquiredAtMs, 86'400'000);
}

TEST_F(MutexTest, isRecursiveOnItsOwner) {
  Mutex mutex;
  EXPECT_EQ(mutex.Lock(0), WaitResult::kDone);
  EXPECT_EQ(mutex.Lock(0), WaitResult::kDone);
  EXPECT_EQ(mutex.Unlock(), WaitResult::kDone);
  WaitResult whileHeldOnce = WaitResult::kError;
  host::TestThread other([&] { whileHeldOnce = mutex.Lock(0); });
  other.join();
  EXPECT_EQ(whileHeldOnce, WaitResult::kTimeout);
  EXPECT_EQ(mutex.Unlock(), WaitResult::kDone);
}

// Deliberate: the abandoned mutex is owned afterwards and reported as an error all the same.
TEST_F(MutexTest, lockOfAnAbandonedMutexIsAnErrorAlthoughItIsThenOwned) {
  LogRecorder log;
  Mutex mutex;
  host::TestThread dying([&] { mutex.Lock(0); });
  dying.join();
  EXPECT_EQ(mutex.Lock(vusl::kInfiniteMs), WaitResult::kError);
  EXPECT_EQ(journal().calls("WaitForSingleObject").back().result, "128");
  EXPECT_EQ(mutex.Unlock(), WaitResult::kDone);
  EXPECT_EQ(log.texts(), std::vector<std::string>{});
}

TEST_F(MutexTest, failedWaitIsAnErrorAndIsNotLogged) {
  LogRecorder log;
  Mutex mutex;
  faults().failOnce("WaitForSingleObject", 6);
  EXPECT_EQ(mutex.Lock(0), WaitResult::kError);
  EXPECT_EQ(log.texts(), std::vector<std::string>{});
}

TEST_F(MutexTest, failedReleaseIsAnErrorAndTheMutexStaysOwned) {
  Mutex mutex;
  mutex.Lock(0);
  faults().failOnce("ReleaseMutex", 6);
  EXPECT_EQ(mutex.Unlock(), WaitResult::kError);
  EXPECT_EQ(mutex.Unlock(), WaitResult::kDone);
}

// Deliberate: a release is done if the platform says 1, and for no other number.
TEST_F(MutexTest, releaseThatIsAnsweredByANumberOtherThan1IsAnError) {
  Mutex mutex;
  mutex.Lock(0);
  faults().failOnce("ReleaseMutex", 2, 1, host::Deed::kDone);
  EXPECT_EQ(mutex.Unlock(), WaitResult::kError);
  EXPECT_EQ(journal().calls("ReleaseMutex").back().result, "2");
}

TEST_F(MutexTest, unlockOfAFreeMutexIsAnError) {
  Mutex mutex;
  EXPECT_EQ(mutex.Unlock(), WaitResult::kError);
}

TEST_F(MutexTest, failedCloseIsNotLookedAt) {
  LogRecorder log;
  {
    const Mutex mutex;
    faults().failOnce("CloseHandle", 6);
  }
  EXPECT_EQ(log.texts(), std::vector<std::string>{});
}

TEST_F(MutexTest, tenThousandLeaveNoHandle) {
  for (int i = 0; i < 10'000; ++i) {
    Mutex mutex;
    mutex.Lock(0);
    mutex.Unlock();
  }
  EXPECT_TRUE(ledger().stillOpen().empty());
  EXPECT_EQ(journal().count("CloseHandle"), 10'000U);
}

TEST_F(MutexTest, unlockByAThreadThatIsNotTheOwnerIsAnError) {
  Mutex mutex;
  mutex.Lock(0);
  WaitResult result = WaitResult::kDone;
  host::TestThread other([&] { result = mutex.Unlock(); });
  other.join();
  EXPECT_EQ(result, WaitResult::kError);
  mutex.Unlock();
}

}  // namespace
