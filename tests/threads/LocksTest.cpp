#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "VUSL/Support/CriticalSection.h"
#include "VUSL/Support/Event.h"
#include "VUSL/Support/Mutex.h"
#include "VUSL/Support/ScopedLock.h"
#include "VUSL/Support/Singleton.h"
#include "client/Progress.h"
#include "tests/threads/FreeRunTest.h"

// Each plain variable here is guarded by the object under test alone: what that object does not
// order, the sanitizer reports.

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 300;

class LocksTest : public FreeRunTest {};

TEST_F(LocksTest, mutexLetsOneThreadInAtATime) {
  vusl::Mutex mutex;
  int count = 0;
  runTogether(kThreads, [&](int) {
    for (int i = 0; i < kRounds; ++i) {
      const vusl::ScopedLock lock(mutex);
      ++count;
    }
  });
  EXPECT_EQ(count, 1200);
}

TEST_F(LocksTest, recursiveMutexIsGivenUpWithTheLastUnlockAlone) {
  vusl::Mutex mutex;
  int count = 0;
  runTogether(kThreads, [&](int) {
    for (int i = 0; i < kRounds; ++i) {
      const vusl::ScopedLock outer(mutex);
      { const vusl::ScopedLock inner(mutex); }
      ++count;
    }
  });
  EXPECT_EQ(count, 1200);
}

TEST_F(LocksTest, triedMutexIsTakenOrTakesNoTime) {
  vusl::Mutex mutex;
  int count = 0;
  std::atomic<int> taken{0};
  std::atomic<int> failed{0};
  runTogether(kThreads, [&](int) {
    for (int i = 0; i < kRounds; ++i) {
      switch (mutex.Lock(0)) {
        case vusl::WaitResult::kDone:
          ++count;
          taken.fetch_add(1, std::memory_order_relaxed);
          mutex.Unlock();
          break;
        case vusl::WaitResult::kTimeout:
          break;
        case vusl::WaitResult::kError:
          failed.fetch_add(1, std::memory_order_relaxed);
      }
    }
  });
  EXPECT_EQ(count, taken.load());
  EXPECT_GT(count, 0);
  EXPECT_EQ(failed.load(), 0);
}

TEST_F(LocksTest, criticalSectionLetsOneThreadInAtATime) {
  vusl::CriticalSection section;
  int count = 0;
  runTogether(kThreads, [&](int) {
    for (int i = 0; i < kRounds; ++i) {
      const vusl::ScopedLock lock(section);
      ++count;
    }
  });
  EXPECT_EQ(count, 1200);
}

TEST_F(LocksTest, eventPassesOnWhatWasWrittenAheadOfItsSignal) {
  for (int i = 0; i < kRounds; ++i) {
    vusl::Event event;
    int written = 0;
    const PlatformThread writer([&] {
      written = 7;
      event.signal();
    });
    event.Lock(vusl::kInfiniteMs);
    EXPECT_EQ(written, 7);
  }
}

TEST_F(LocksTest, oneSignalReleasesEveryWaiter) {
  vusl::Event event;
  int written = 0;
  std::atomic<int> sum{0};
  const PlatformThread signaller([&] {
    written = 7;
    event.signal();
  });
  runTogether(kThreads, [&](int) {
    const vusl::ScopedLock lock(event);
    sum.fetch_add(written, std::memory_order_relaxed);
  });
  EXPECT_EQ(sum.load(), 28);
}

TEST_F(LocksTest, twoEventsPassOneVariableToAndFro) {
  vusl::Event ping;
  vusl::Event pong;
  int ball = 0;
  const PlatformThread other([&] {
    for (int i = 0; i < kRounds; ++i) {
      ping.Lock(vusl::kInfiniteMs);
      ResetEvent(ping.handle());
      ++ball;
      pong.signal();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    ++ball;
    ping.signal();
    pong.Lock(vusl::kInfiniteMs);
    ResetEvent(pong.handle());
  }
  EXPECT_EQ(ball, 600);
}

// The waiter keeps to the handle: that an object is not used after its end is its owner's affair.
TEST_F(LocksTest, destroyedEventReleasesItsWaiter) {
  for (int i = 0; i < 20; ++i) {
    auto event = std::make_unique<vusl::Event>();
    DWORD result = WAIT_FAILED;
    PlatformThread waiter(
        [&result, handle = event->handle()] { result = WaitForSingleObject(handle, 20'000); });
    while (host::Scheduler::instance().describeThreads().find("waits for event") ==
           std::string::npos) {
      Sleep(1);
    }
    event.reset();
    waiter.join();
    EXPECT_EQ(result, WAIT_OBJECT_0);
  }
}

struct Published {};

TEST_F(LocksTest, singletonIsReadWhileItIsRegisteredAndCleared) {
  Published instance;
  std::atomic<bool> done{false};
  int strangers = 0;
  PlatformThread reader([&] {
    while (!done.load(std::memory_order_relaxed)) {
      const Published* found = Singleton<Published>::instanceOrNull();
      strangers += found != nullptr && found != &instance ? 1 : 0;
      letOthersRun();
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    const Singleton<Published> holder(&instance);
  }
  done.store(true, std::memory_order_relaxed);
  reader.join();
  EXPECT_EQ(strangers, 0);
  EXPECT_EQ(Singleton<Published>::instanceOrNull(), nullptr);
}

TEST_F(LocksTest, progressIsReadWhileSeveralThreadsReportIt) {
  std::atomic<bool> done{false};
  int strangers = 0;
  PlatformThread reader([&] {
    while (!done.load(std::memory_order_relaxed)) {
      strangers += latestProgressState() >= kThreads ? 1 : 0;
      letOthersRun();
    }
  });
  runTogether(kThreads, [&](int number) {
    for (int i = 0; i < kRounds; ++i) onProgress(static_cast<std::uint32_t>(number));
  });
  done.store(true, std::memory_order_relaxed);
  reader.join();
  EXPECT_EQ(strangers, 0);
}

}  // namespace
