#include "VUSL/Support/Thread.h"

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogOutlet.h"
#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/Text.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/PointerText.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Texts = std::vector<std::string>;
using vusl::WaitResult;

class ThreadTest : public host::MachineTest {};

class Worker : public vusl::Thread {
 public:
  explicit Worker(
      const std::string& threadName, std::function<void()> work = [] {})
      : Thread(threadName), work_(std::move(work)) {}

  void Run() override { work_(); }
  void complete() { completed = true; }

 private:
  std::function<void()> work_;
};

TEST_F(ThreadTest, creationResetsTheStartedEventAndLogsTheName) {
  LogRecorder log;
  const Worker worker("loader");
  EXPECT_EQ(journal().namesOf({"CreateEventW", "ResetEvent", "CreateThread"}),
            (Texts{"CreateEventW", "ResetEvent"}));
  EXPECT_EQ(journal().calls("ResetEvent").at(0).args, journal().calls("CreateEventW").at(0).result);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] [" + pointerText(&worker) + "] Thread loader created"});
}

TEST_F(ThreadTest, creationResetsTheStartedEventBeforeItLogs) {
  const Worker worker("loader");
  EXPECT_EQ(journal().namesOf({"ResetEvent", "GetLocalTime"}).at(0), "ResetEvent");
  EXPECT_FALSE(journal().calls("GetLocalTime").empty());
}

TEST_F(ThreadTest, nameOfNineCharactersIsKeptWhole) {
  LogRecorder log;
  const Worker worker("ninechars");
  EXPECT_EQ(log.withoutAddresses(), Texts{"[DBG] [TPM] [0x] Thread ninechars created"});
}

TEST_F(ThreadTest, nameOfTenCharactersIsCutToNine) {
  LogRecorder log;
  {
    Worker worker("tencharact");
    worker.Start();
    worker.Wait();
  }
  EXPECT_TRUE(log.contains("Thread tencharac created"));
  EXPECT_TRUE(log.contains("Thread started. Name: tencharac"));
  EXPECT_TRUE(log.contains("Thread tencharac deleted"));
  EXPECT_FALSE(log.contains("tencharact"));
}

TEST_F(ThreadTest, emptyNameLeavesTwoBlanks) {
  LogRecorder log;
  const Worker worker("");
  EXPECT_EQ(log.withoutAddresses(), Texts{"[DBG] [TPM] [0x] Thread  created"});
}

TEST_F(ThreadTest, neverStartedThreadClosesNothingAndLogsItsDeletion) {
  LogRecorder log;
  {
    const Worker worker("idle");
    log.clear();
  }
  EXPECT_EQ(log.withoutAddresses(), Texts{"[DBG] [TPM] [0x] Thread idle deleted"});
  // The one handle closed is that of the started event, which is signalled before.
  EXPECT_EQ(journal().namesOf({"SetEvent", "CloseHandle"}), (Texts{"SetEvent", "CloseHandle"}));
}

TEST_F(ThreadTest, startResetsTheEventAgainCreatesTheThreadAndNamesIt) {
  Worker worker("w");
  worker.Start();
  worker.Wait();
  EXPECT_EQ(journal().namesOf({"CreateEventW", "ResetEvent", "CreateThread", "RaiseException"}),
            (Texts{"CreateEventW", "ResetEvent", "ResetEvent", "CreateThread", "RaiseException"}));
  EXPECT_EQ(journal().calls("CreateThread").at(0).args, "null, 0, 0");
  EXPECT_EQ(journal().calls("ResetEvent").at(1).args, journal().calls("CreateEventW").at(0).result);
}

TEST_F(ThreadTest, failedStartThrowsWithErrorAndAddressAndTheThreadIsNotNamed) {
  Worker worker("w");
  faults().failOnce("CreateThread", 8);
  EXPECT_EQ(thrownBy<Exception>([&] { worker.Start(); }),
            "Thread::Start:CreateThreadfailed, error 8 thread " +
                pointerText(static_cast<vusl::Thread*>(&worker)));
  EXPECT_TRUE(journal().calls("RaiseException").empty());
}

TEST_F(ThreadTest, threadLogsItsStartSignalsRunsAndLogsItsEnd) {
  LogRecorder log;
  bool running = false;
  Worker* self = nullptr;
  Worker worker("walker", [&] {
    running = self->isBodyRunning();
    LogItem() << "body";
  });
  self = &worker;
  log.clear();
  EXPECT_FALSE(worker.isBodyRunning());
  worker.Start();
  worker.Wait();
  EXPECT_TRUE(running);
  EXPECT_FALSE(worker.isBodyRunning());
  Texts ofTheThread;
  for (const std::string& text : log.texts()) {
    if (text.find("Thread ") != std::string::npos || text.find("body") != std::string::npos) {
      ofTheThread.push_back(text);
    }
  }
  EXPECT_EQ(ofTheThread, (Texts{"[DBG] [TPM] Thread started. Name: walker", "[DBG] [TPM] body",
                                "[DBG] [TPM] Thread completed. Name: walker, ptr: " +
                                    pointerText(static_cast<vusl::Thread*>(&worker))}));
  EXPECT_EQ(journal().calls("SetEvent").size(), 1U);
}

TEST_F(ThreadTest, startedLineIsLoggedBeforeTheStartedEventIsSignalled) {
  LogRecorder log;
  Worker worker("w");
  bool logged = false;
  host::CallHooks::instance().before("SetEvent", 1,
                                     [&] { logged = log.contains("Thread started. Name: w"); });
  worker.Start();
  worker.Wait();
  EXPECT_TRUE(logged);
}

// Deliberate: an owner who asks too early sees a thread that does not run yet.
TEST_F(ThreadTest, bodyDoesNotCountAsRunningBeforeTheStartIsSignalled) {
  Worker worker("w");
  bool running = true;
  host::CallHooks::instance().before("SetEvent", 1, [&] { running = worker.isBodyRunning(); });
  worker.Start();
  worker.Wait();
  EXPECT_FALSE(running);
}

// Notes, line by line, whether the body of `watched` counts as running.
class RunningNotes : public LogOutlet {
 public:
  RunningNotes() { LogSink::process().attach(this, LogSink::kOutletChannel); }
  ~RunningNotes() override { LogSink::process().detach(this); }
  void Log(const vusl::string_t& /*timestamp*/, const vusl::string_t& /*tag*/,
           const vusl::string_t& message, int /*level*/) override {
    if (watched != nullptr) {
      notes.push_back(vusl::Narrow(message.substr(0, message.find(L':'))) +
                      (watched->isBodyRunning() ? " - running" : " - at rest"));
    }
  }

  const vusl::Thread* watched = nullptr;
  Texts notes;
};

TEST_F(ThreadTest, bodyCountsAsRunningUntilItsFailureIsToldAndNoLongerAtTheClosingLine) {
  RunningNotes outlet;
  Worker worker("w", [] { throw std::runtime_error("x"); });
  outlet.watched = &worker;
  vusl::Thread::theThreadFunc(static_cast<vusl::Thread*>(&worker));
  outlet.watched = nullptr;
  EXPECT_EQ(outlet.notes, (Texts{"[TPM] Thread started. Name - at rest",
                                 "[TPM] theThreadFunc Thread terminated due to exception - running",
                                 "[TPM] Thread completed. Name - at rest"}));
}

TEST_F(ThreadTest, waitLogsEntryPlatformWaitAndCompletion) {
  LogRecorder log;
  Worker worker("w");
  worker.Start();
  Sleep(10);
  log.clear();
  worker.Wait();
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[DBG] [TPM] [0x] Entering wait ...", "[DBG] [TPM] WaitForSingleObject",
                   "[DBG] [TPM] [0x] The thread completed."}));
}

TEST_F(ThreadTest, lockLogsBeforeItWaits) {
  LogRecorder log;
  Worker worker("w");
  worker.Start();
  bool logged = false;
  host::CallHooks::instance().before(
      "WaitForSingleObject", 1, [&] { logged = log.contains("[DBG] [TPM] WaitForSingleObject"); });
  worker.Lock(vusl::kInfiniteMs);
  EXPECT_TRUE(logged);
}

TEST_F(ThreadTest, waitHasNoLimit) {
  Worker worker("w", [] { Sleep(4'000'000'000U); });
  worker.Start();
  worker.Wait();
  EXPECT_GE(clockMs(), 4'000'000'000);
  const std::string arguments = journal().calls("WaitForSingleObject").at(0).args;
  EXPECT_TRUE(arguments.ends_with(", 4294967295")) << arguments;
}

TEST_F(ThreadTest, lockEndsWithATimeoutWhileTheBodyRuns) {
  Worker worker("w", [] { Sleep(1000); });
  worker.Start();
  EXPECT_EQ(worker.Lock(100), WaitResult::kTimeout);
  EXPECT_TRUE(worker.isBodyRunning());
  EXPECT_EQ(worker.Lock(5000), WaitResult::kDone);
}

// Deliberate: the words are those of the event.
TEST_F(ThreadTest, failedWaitIsLoggedInTheWordsOfTheEvent) {
  LogRecorder log;
  Worker worker("w");
  log.clear();
  EXPECT_EQ(worker.Lock(0), WaitResult::kError);
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] WaitForSingleObject",
                                "[ERR] [TPM] [" + pointerText(static_cast<vusl::Thread*>(&worker)) +
                                    "] Event::Lock: Wait complete - error."}));
}

TEST_F(ThreadTest, failedWaitThrowsWithTheObjectsAddress) {
  Worker worker("w");
  worker.Start();
  faults().failOnce("WaitForSingleObject", 6);
  EXPECT_EQ(thrownBy<Exception>([&] { worker.Wait(); }),
            "Thread::Wait:The wait function failed for:" +
                pointerText(static_cast<vusl::Thread*>(&worker)));
  worker.Wait();
}

TEST_F(ThreadTest, lockOfACompletedThreadDoesNotWait) {
  LogRecorder log;
  Worker worker("w");
  worker.complete();
  log.clear();
  EXPECT_EQ(worker.Lock(vusl::kInfiniteMs), WaitResult::kDone);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Initial Complete"});
  EXPECT_TRUE(journal().calls("WaitForSingleObject").empty());
}

TEST_F(ThreadTest, finishedThreadDoesNotCountAsCompleted) {
  LogRecorder log;
  Worker worker("w");
  worker.Start();
  worker.Wait();
  log.clear();
  worker.Lock(0);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] WaitForSingleObject"});
}

TEST_F(ThreadTest, unlockDoesNothing) {
  Worker worker("w");
  const std::size_t before = journal().names().size();
  EXPECT_EQ(worker.Unlock(), WaitResult::kDone);
  EXPECT_EQ(journal().names().size(), before);
}

class TimingOut : public Worker {
 public:
  TimingOut() : Worker("w") {}
  WaitResult Lock(uint32_t /*timeoutMs*/) override { return WaitResult::kTimeout; }
};

TEST_F(ThreadTest, waitWhoseLockTimesOutLogsTheTimeoutInDecimal) {
  LogRecorder log;
  TimingOut worker;
  log.clear();
  worker.Wait();
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[DBG] [TPM] [0x] Entering wait ...",
                   "[DBG] [TPM] [0x] The thread has not completed within the specified timeout "
                   "4294967295(ms)"}));
}

// Each platform call refused once.

TEST_F(ThreadTest, refusedStartedEventThrowsOutOfTheConstructorAndLogsNothing) {
  LogRecorder log;
  faults().failOnce("CreateEventW", 8);
  EXPECT_EQ(thrownBy<Exception>([] { const Worker worker("w"); }),
            "Event::Event:Create event failed 8");
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(ThreadTest, refusedResetsAreNotLookedAt) {
  bool ran = false;
  faults().failFrom("ResetEvent", 6);
  Worker worker("w", [&] { ran = true; });
  worker.Start();
  worker.Wait();
  EXPECT_TRUE(ran);
  EXPECT_EQ(journal().calls("ResetEvent").size(), 2U);
}

TEST_F(ThreadTest, refusedCloseIsNotLookedAt) {
  LogRecorder log;
  {
    Worker worker("w");
    worker.Start();
    worker.Wait();
    log.clear();
    faults().failOnce("CloseHandle", 6);
  }
  EXPECT_EQ(log.withoutAddresses(), Texts{"[DBG] [TPM] [0x] Thread w deleted"});
}

TEST_F(ThreadTest, refusedLastSignalIsLoggedBehindTheDeletion) {
  LogRecorder log;
  {
    const Worker worker("w");
    log.clear();
    faults().failOnce("SetEvent", 6);
  }
  ASSERT_EQ(log.texts().size(), 2U);
  EXPECT_EQ(log.withoutAddresses()[0], "[DBG] [TPM] [0x] Thread w deleted");
  EXPECT_EQ(log.texts()[1].find("[ERR] [TPM] ~Event Unexpected error occured: "
                                "Event::signal:SetEvent failed, err: 6 for:0x"),
            0U);
}

TEST_F(ThreadTest, startAfterARefusedOneSucceeds) {
  bool ran = false;
  Worker worker("w", [&] { ran = true; });
  faults().failOnce("CreateThread", 8);
  EXPECT_ANY_THROW(worker.Start());
  worker.Start();
  worker.Wait();
  EXPECT_TRUE(ran);
}

TEST_F(ThreadTest, tenThousandNeverStartedLeaveNoHandle) {
  for (int i = 0; i < 10'000; ++i) {
    const Worker worker("w");
  }
  EXPECT_TRUE(ledger().stillOpen().empty());
}

TEST_F(ThreadTest, thousandStartedLeaveNoHandle) {
  for (int i = 0; i < 1'000; ++i) {
    Worker worker("w");
    worker.Start();
    worker.Wait();
  }
  EXPECT_TRUE(ledger().stillOpen().empty());
}

TEST_F(ThreadTest, nameIsCutAtNineBytesAlsoBehindAZeroCharacter) {
  LogRecorder log;
  const Worker worker(std::string("ab\0cdefghij", 11));
  EXPECT_EQ(log.withoutAddresses(), Texts{"[DBG] [TPM] [0x] Thread ab"});
}

TEST_F(ThreadTest, destructorClosesTheThreadsHandle) {
  {
    Worker worker("w");
    worker.Start();
    worker.Wait();
  }
  EXPECT_EQ(ledger().open("thread"), 0U);
  EXPECT_EQ(ledger().open("event"), 0U);
}

TEST_F(ThreadTest, destructorClosesTheThreadAheadOfTheStartedEvent) {
  {
    Worker worker("w");
    worker.Start();
    worker.Wait();
    journal().clear();
  }
  EXPECT_EQ(journal().namesOf({"CloseHandle", "SetEvent"}),
            (Texts{"CloseHandle", "SetEvent", "CloseHandle"}));
}

TEST_F(ThreadTest, destructorDoesNotWait) {
  {
    Worker worker("w");
    worker.Start();
    Sleep(10);
  }
  EXPECT_TRUE(journal().calls("WaitForSingleObject").empty());
}

TEST_F(ThreadTest, entryWithoutAThreadIsLoggedAndReturns0) {
  LogRecorder log;
  EXPECT_EQ(vusl::Thread::theThreadFunc(nullptr), 0U);
  EXPECT_EQ(log.texts(), Texts{"[FTL] [TPM] theThreadFunc Thread::theThreadFunc - NULL data"});
}

TEST_F(ThreadTest, entryReturns0) {
  Worker worker("w");
  EXPECT_EQ(vusl::Thread::theThreadFunc(static_cast<vusl::Thread*>(&worker)), 0U);
}

TEST_F(ThreadTest, entryReturns0AlsoAfterAnException) {
  Worker worker("w", [] { throw std::runtime_error("x"); });
  EXPECT_EQ(vusl::Thread::theThreadFunc(static_cast<vusl::Thread*>(&worker)), 0U);
  EXPECT_THROW(
      {
        worker.complete();
        worker.Wait();
      },
      std::runtime_error);
}

}  // namespace
