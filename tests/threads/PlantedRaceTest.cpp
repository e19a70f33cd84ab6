#include <atomic>

#include "VUSL/Support/Event.h"
#include "VUSL/Support/Mutex.h"
#include "VUSL/Support/ScopedLock.h"
#include "tests/threads/FreeRunTest.h"

// Races that stand here on purpose, each in a process of its own: if the sanitizer does not report
// them, its silence about the other tests means nothing.

namespace {

// The status of a process in which the sanitizer found something.
constexpr int kReported = 66;

class PlantedRaceTest : public FreeRunTest {
 protected:
  PlantedRaceTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(PlantedRaceTest, isReportedAlthoughBothThreadsCallThePlatform) {
  EXPECT_EXIT(
      {
        int count = 0;
        runTogether(2, [&](int) {
          vusl::Event event;
          for (int i = 0; i < 100; ++i) {
            event.signal();
            ++count;
            event.Lock(0);
          }
        });
        std::exit(0);
      },
      ::testing::ExitedWithCode(kReported), "data race");
}

TEST_F(PlantedRaceTest, isReportedIfTheLockIsNotTheSame) {
  EXPECT_EXIT(
      {
        int count = 0;
        runTogether(2, [&](int) {
          vusl::Mutex mutex;
          for (int i = 0; i < 100; ++i) {
            const vusl::ScopedLock lock(mutex);
            ++count;
          }
        });
        std::exit(0);
      },
      ::testing::ExitedWithCode(kReported), "data race");
}

TEST_F(PlantedRaceTest, isReportedIfTheWriteComesAfterTheSignal) {
  EXPECT_EXIT(
      {
        vusl::Event event;
        int written = 0;
        int seen = 0;
        {
          const PlatformThread writer([&] {
            event.signal();
            written = 7;
          });
          event.Lock(vusl::kInfiniteMs);
          seen = written;
        }
        std::exit(seen == 7 ? 0 : 1);
      },
      ::testing::ExitedWithCode(kReported), "data race");
}

}  // namespace
