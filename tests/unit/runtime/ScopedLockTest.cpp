#include "VUSL/Support/ScopedLock.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "VUSL/Support/CriticalSection.h"
#include "VUSL/Support/Event.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LockedException.h"
#include "VUSL/Support/Mutex.h"
#include "VUSL/Support/Thread.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/PointerText.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using vusl::ScopedLock;
using vusl::WaitResult;

static_assert(!std::is_copy_constructible_v<ScopedLock>);
static_assert(!std::is_copy_assignable_v<ScopedLock>);
static_assert(!std::is_polymorphic_v<ScopedLock>);

class ScopedLockTest : public host::MachineTest {};

class ScriptedWaitable : public vusl::Waitable {
 public:
  WaitResult Lock(uint32_t timeoutMs) override {
    lockedWithMs.push_back(timeoutMs);
    return lockResult;
  }
  WaitResult Unlock() override {
    ++unlocked;
    return unlockResult;
  }

  WaitResult lockResult = WaitResult::kDone;
  WaitResult unlockResult = WaitResult::kDone;
  std::vector<uint32_t> lockedWithMs;
  int unlocked = 0;
};

TEST_F(ScopedLockTest, waitsWithoutLimitAndUnlocksAtTheEndOfTheScope) {
  ScriptedWaitable waitable;
  {
    const ScopedLock lock(waitable);
    EXPECT_EQ(waitable.lockedWithMs, std::vector<uint32_t>{0xFFFFFFFF});
    EXPECT_EQ(waitable.unlocked, 0);
  }
  EXPECT_EQ(waitable.unlocked, 1);
}

TEST_F(ScopedLockTest, failedLockThrowsWithTheObjectsAddressAndDoesNotUnlock) {
  ScriptedWaitable waitable;
  waitable.lockResult = WaitResult::kError;
  EXPECT_EQ(thrownBy<Exception>([&] { const ScopedLock lock(waitable); }),
            "ScopedLock:Lock failed for " + pointerText(&waitable));
  EXPECT_EQ(waitable.unlocked, 0);
}

TEST_F(ScopedLockTest, timedOutLockThrowsALockedExceptionWithItsLocationAlone) {
  ScriptedWaitable waitable;
  waitable.lockResult = WaitResult::kTimeout;
  EXPECT_EQ(thrownBy<vusl::LockedException>([&] { const ScopedLock lock(waitable); }),
            "ScopedLock:");
  EXPECT_EQ(waitable.unlocked, 0);
}

TEST_F(ScopedLockTest, onAnAbandonedMutexThrows) {
  vusl::Mutex mutex;
  host::TestThread dying([&] { mutex.Lock(0); });
  dying.join();
  EXPECT_EQ(thrownBy<Exception>([&] { const ScopedLock lock(mutex); }),
            "ScopedLock:Lock failed for " + pointerText(&mutex));
  mutex.Unlock();
}

TEST_F(ScopedLockTest, onAnEventThatIsNeverSignalledBlocksForEver) {
  vusl::Event event;
  bool passed = false;
  host::TestThread waiter([&] {
    const ScopedLock lock(event);
    passed = true;
  });
  Sleep(4'000'000'000U);
  EXPECT_FALSE(passed);
  event.signal();
  waiter.join();
  EXPECT_TRUE(passed);
}

TEST_F(ScopedLockTest, onASignalledEventPassesAndLeavesItSignalled) {
  vusl::Event event;
  event.signal();
  { const ScopedLock lock(event); }
  EXPECT_EQ(event.Lock(0), WaitResult::kDone);
}

class Idling : public vusl::Thread {
 public:
  Idling() : Thread("idling") {}
  void Run() override { Sleep(5000); }
};

TEST_F(ScopedLockTest, onAThreadWaitsForItsEnd) {
  Idling thread;
  thread.Start();
  const ScopedLock lock(thread);
  EXPECT_GE(clockMs(), 5000);
}

TEST_F(ScopedLockTest, onACriticalSectionEntersAndLeavesIt) {
  vusl::CriticalSection section;
  { const ScopedLock lock(section); }
  EXPECT_EQ(journal().namesOf({"EnterCriticalSection", "LeaveCriticalSection"}),
            (std::vector<std::string>{"EnterCriticalSection", "LeaveCriticalSection"}));
}

TEST_F(ScopedLockTest, failedReleaseIsLoggedAndTheProgramGoesOn) {
  LogRecorder log;
  vusl::Mutex mutex;
  {
    const ScopedLock lock(mutex);
    faults().failOnce("ReleaseMutex", 6);
  }
  EXPECT_TRUE(log.contains("] ScopedLock dtor: Unlock failed for: "));
  mutex.Unlock();
}

TEST_F(ScopedLockTest, holdsAMutexForTheLengthOfTheScope) {
  vusl::Mutex mutex;
  WaitResult inside = WaitResult::kError;
  WaitResult outside = WaitResult::kError;
  {
    const ScopedLock lock(mutex);
    host::TestThread other([&] { inside = mutex.Lock(0); });
    other.join();
  }
  host::TestThread other([&] {
    outside = mutex.Lock(0);
    mutex.Unlock();
  });
  other.join();
  EXPECT_EQ(inside, WaitResult::kTimeout);
  EXPECT_EQ(outside, WaitResult::kDone);
}

TEST_F(ScopedLockTest, mutexReleasedBehindItsBackIsLoggedAndTheProgramGoesOn) {
  LogRecorder log;
  vusl::Mutex mutex;
  std::string lockAddress;
  {
    const ScopedLock lock(mutex);
    lockAddress = pointerText(&lock);
    mutex.Unlock();
  }
  EXPECT_EQ(log.texts(), std::vector<std::string>{"[FTL] [TPM] [" + lockAddress +
                                                  "] ScopedLock dtor: Unlock failed for: " +
                                                  pointerText(&mutex).substr(2)});
}

}  // namespace
