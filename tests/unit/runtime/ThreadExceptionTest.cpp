#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/Thread.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/PointerText.h"
#include "tests/unit/runtime/Thrown.h"

// What becomes of an exception that leaves a thread's body.

namespace {

using Texts = std::vector<std::string>;

class ThreadExceptionTest : public host::MachineTest {};

class Failing : public vusl::Thread {
 public:
  explicit Failing(std::function<void()> work) : Thread("failing"), work_(std::move(work)) {}
  void Run() override { work_(); }

 private:
  std::function<void()> work_;
};

void throwStandard() {
  throw std::runtime_error("disk on fire");
}
void throwNumber() {
  throw 42;
}

TEST_F(ThreadExceptionTest, standardExceptionIsLoggedFatalAndTheClosingLineFollows) {
  LogRecorder log;
  Failing worker(throwStandard);
  log.clear();
  worker.Start();
  Sleep(10);
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] Thread started. Name: failing",
                   "[FTL] [TPM] theThreadFunc Thread terminated due to exception: disk on fire",
                   "[DBG] [TPM] Thread completed. Name: failing, ptr: " +
                       pointerText(static_cast<vusl::Thread*>(&worker))}));
  EXPECT_FALSE(worker.isBodyRunning());
  EXPECT_ANY_THROW(worker.Wait());
}

TEST_F(ThreadExceptionTest, standardExceptionIsThrownAgainInTheWaiter) {
  LogRecorder log;
  Failing worker(throwStandard);
  worker.Start();
  EXPECT_EQ(thrownBy<std::runtime_error>([&] { worker.Wait(); }), "disk on fire");
  EXPECT_FALSE(log.contains("The thread completed."));
}

TEST_F(ThreadExceptionTest, numberIsLoggedAsUnrecognizedAndThrownAgain) {
  LogRecorder log;
  Failing worker(throwNumber);
  worker.Start();
  int thrown = 0;
  try {
    worker.Wait();
  } catch (int number) {
    thrown = number;
  }
  EXPECT_EQ(thrown, 42);
  EXPECT_TRUE(
      log.contains("[FTL] [TPM] theThreadFunc Thread terminated due to unrecognized exception."));
  EXPECT_TRUE(log.contains("[DBG] [TPM] Thread completed. Name: failing, ptr: 0x"));
}

TEST_F(ThreadExceptionTest, secondWaitFindsNothing) {
  LogRecorder log;
  Failing worker(throwStandard);
  worker.Start();
  EXPECT_THROW(worker.Wait(), std::runtime_error);
  log.clear();
  EXPECT_NO_THROW(worker.Wait());
  EXPECT_TRUE(log.contains("The thread completed."));
}

TEST_F(ThreadExceptionTest, failureToSignalTheStartReachesTheWaiterToo) {
  bool ran = false;
  Failing worker([&] { ran = true; });
  faults().failOnce("SetEvent", 6);
  worker.Start();
  EXPECT_ANY_THROW(worker.Wait());
  EXPECT_FALSE(ran);
}

class TimingOut : public Failing {
 public:
  TimingOut() : Failing(throwStandard) {}
  vusl::WaitResult Lock(uint32_t /*timeoutMs*/) override { return vusl::WaitResult::kTimeout; }
};

TEST_F(ThreadExceptionTest, waitThatTimesOutLeavesTheExceptionPending) {
  LogRecorder log;
  {
    TimingOut worker;
    vusl::Thread::theThreadFunc(static_cast<vusl::Thread*>(&worker));
    EXPECT_NO_THROW(worker.Wait());
  }
  EXPECT_TRUE(log.contains("(was it ever joined?). Ex was:disk on fire"));
}

TEST_F(ThreadExceptionTest, failedWaitThrowsItsOwnFailureAndLeavesTheExceptionPending) {
  Failing worker(throwStandard);
  worker.Start();
  faults().failOnce("WaitForSingleObject", 6);
  EXPECT_EQ(thrownBy<Exception>([&] { worker.Wait(); }),
            "Thread::Wait:The wait function failed for:" +
                pointerText(static_cast<vusl::Thread*>(&worker)));
  EXPECT_EQ(thrownBy<std::runtime_error>([&] { worker.Wait(); }), "disk on fire");
}

TEST_F(ThreadExceptionTest, pendingExceptionIsDestroyedAheadOfTheStartedEvent) {
  std::vector<std::string> callsByThen = {"never destroyed"};
  {
    Failing worker([&] {
      throw std::shared_ptr<void>(nullptr, [&](void*) {
        callsByThen = journal().namesOf({"CloseHandle", "SetEvent"});
      });
    });
    worker.Start();
    Sleep(10);
    journal().clear();
  }
  EXPECT_EQ(callsByThen, Texts{"CloseHandle"});
}

TEST_F(ThreadExceptionTest, unfetchedStandardExceptionIsReportedByTheDestructor) {
  LogRecorder log;
  {
    Failing worker(throwStandard);
    worker.Start();
    Sleep(10);
    log.clear();
  }
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[FTL] [TPM] [0x] There was an unhandled in-flight excepion in the thread being "
                   "destroyed (was it ever joined?). Ex was:disk on fire",
                   "[DBG] [TPM] [0x] Thread failing deleted"}));
}

TEST_F(ThreadExceptionTest, destructorClosesTheThreadsHandleBeforeItReportsAnything) {
  LogRecorder log;
  Texts reportedByThen = {"never closed"};
  {
    Failing worker(throwStandard);
    worker.Start();
    Sleep(10);
    log.clear();
    host::CallHooks::instance().before("CloseHandle", journal().count("CloseHandle") + 1,
                                       [&] { reportedByThen = log.texts(); });
  }
  EXPECT_EQ(reportedByThen, Texts{});
  EXPECT_EQ(log.texts().size(), 2U);
}

TEST_F(ThreadExceptionTest, unfetchedNumberIsReportedByTheDestructor) {
  LogRecorder log;
  {
    Failing worker(throwNumber);
    worker.Start();
    Sleep(10);
    log.clear();
  }
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[FTL] [TPM] [0x] There was an unhandled unrecognized in-flight excepion in the "
                   "thread being destroyed (was it ever joined?)",
                   "[DBG] [TPM] [0x] Thread failing deleted"}));
}

TEST_F(ThreadExceptionTest, fetchedExceptionIsNotReportedByTheDestructor) {
  LogRecorder log;
  {
    Failing worker(throwStandard);
    worker.Start();
    EXPECT_ANY_THROW(worker.Wait());
    log.clear();
  }
  EXPECT_EQ(log.withoutAddresses(), Texts{"[DBG] [TPM] [0x] Thread failing deleted"});
}

}  // namespace
