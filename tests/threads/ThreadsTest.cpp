#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/Thread.h"
#include "tests/threads/FreeRunTest.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 50;

class ThreadsTest : public FreeRunTest {};

class Worker : public vusl::Thread {
 public:
  explicit Worker(std::function<void()> work) : Thread("worker"), work_(std::move(work)) {}
  void Run() override { work_(); }

 private:
  std::function<void()> work_;
};

TEST_F(ThreadsTest, bodySeesWhatWasWrittenAheadOfTheStartAndTheWaiterWhatTheBodyWrote) {
  for (int i = 0; i < kRounds; ++i) {
    int passed = 1;
    Worker worker([&] { passed *= 7; });
    passed = 6;
    worker.Start();
    worker.Wait();
    EXPECT_EQ(passed, 42);
  }
}

TEST_F(ThreadsTest, ownerAsksWhetherTheBodyRunsWhileItBeginsAndEnds) {
  for (int i = 0; i < kRounds; ++i) {
    Worker worker([] {});
    worker.Start();
    while (worker.Lock(0) == vusl::WaitResult::kTimeout) {
      static_cast<void>(worker.isBodyRunning());
    }
    worker.Wait();
    EXPECT_FALSE(worker.isBodyRunning());
  }
}

TEST_F(ThreadsTest, exceptionPassesFromTheThreadToItsWaiter) {
  for (int i = 0; i < kRounds; ++i) {
    Worker worker([i] { throw std::runtime_error(std::to_string(i)); });
    worker.Start();
    std::string thrown;
    try {
      worker.Wait();
    } catch (const std::runtime_error& e) {
      thrown = e.what();
    }
    EXPECT_EQ(thrown, std::to_string(i));
    EXPECT_NO_THROW(worker.Wait());
  }
}

TEST_F(ThreadsTest, unfetchedExceptionIsReportedByTheOwnerAfterTheThreadsEnd) {
  for (int i = 0; i < kRounds; ++i) {
    Worker worker([] { throw 42; });
    worker.Start();
    EXPECT_EQ(worker.Lock(vusl::kInfiniteMs), vusl::WaitResult::kDone);
  }
}

TEST_F(ThreadsTest, severalThreadsWaitForOne) {
  int written = 0;
  Worker worker([&] { written = 7; });
  worker.Start();
  std::atomic<int> sum{0};
  runTogether(kThreads, [&](int) {
    if (worker.Lock(vusl::kInfiniteMs) == vusl::WaitResult::kDone) {
      sum.fetch_add(written, std::memory_order_relaxed);
    }
  });
  EXPECT_EQ(sum.load(), 28);
}

TEST_F(ThreadsTest, severalOwnersStartNameAndDestroyThreadsAtOnce) {
  std::atomic<int> ran{0};
  runTogether(kThreads, [&](int) {
    for (int i = 0; i < kRounds; ++i) {
      Worker worker([&] { ran.fetch_add(1, std::memory_order_relaxed); });
      worker.Start();
      worker.Wait();
    }
  });
  EXPECT_EQ(ran.load(), 200);
}

}  // namespace
