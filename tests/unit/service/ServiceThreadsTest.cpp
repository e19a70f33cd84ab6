#include <algorithm>
#include <map>
#include <mutex>
#include <set>

#include "client/Progress.h"
#include "tests/unit/service/ServiceHostFixture.h"

namespace {

// Records on which thread each message is logged.
class ThreadRecorder : private LogOutlet {
 public:
  ThreadRecorder() { LogSink::process().attach(this, LogSink::kOutletChannel); }
  ~ThreadRecorder() override { LogSink::process().detach(this); }

  // The threads that logged a message with `text` in it.
  std::set<DWORD> threadsOf(const std::wstring& text) const {
    const std::lock_guard lock(guard_);
    std::set<DWORD> threads;
    for (const auto& [message, thread] : recorded_) {
      if (message.find(text) != std::wstring::npos) threads.insert(thread);
    }
    return threads;
  }

 private:
  void Log(const vusl::string_t&, const vusl::string_t&, const vusl::string_t& message,
           int) override {
    const std::lock_guard lock(guard_);
    recorded_.emplace_back(message, host::Scheduler::current().id);
  }

  mutable std::mutex guard_;
  std::vector<std::pair<std::wstring, DWORD>> recorded_;
};

// A life with everything in it: a connection error, a launch, a transaction's progress and a stop.
class ServiceThreadsTest : public ServiceHost {
 protected:
  void live() {
    installClient("talsInitQX1 = 8\n");
    host::machine().publishEvent(kTpmEvent);
    host::machine().drive.copyIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe",
                                 L"C:\\Orvix\\bin\\OrvixVTMEkRecertification.exe");
    journal().clear();
    host::TestThread platform([] {
      Sleep(20'000);
      onProgress(3);
      host::machine().signalEvent(kTpmEvent);
      Sleep(5'000);
      EXPECT_EQ(services().requestStop(), 0U);
    });
    StartDispatcher(kProgram);
    EXPECT_EQ(host::machine().programsStarted.size(), 1U);
    EXPECT_EQ(states().back(), SERVICE_STOPPED);
  }

  static std::set<DWORD> threadsOf(const std::string& call) {
    std::set<DWORD> threads;
    for (const host::JournalEntry& entry : journal().calls(call)) threads.insert(entry.thread);
    return threads;
  }

  // The most locks that each thread held at once.
  static std::map<DWORD, int> mostLocksHeld() {
    std::set<std::string> mutexes;
    for (const host::JournalEntry& entry : journal().calls("ReleaseMutex")) {
      mutexes.insert(entry.args);
    }
    std::map<DWORD, int> held;
    std::map<DWORD, int> most;
    for (const host::JournalEntry& entry : journal().entries()) {
      const std::string name = entry.name;
      const bool takesMutex = name == "WaitForSingleObject" &&
                              mutexes.contains(entry.args.substr(0, entry.args.find(',')));
      int change = 0;
      if (takesMutex || name == "EnterCriticalSection") change = 1;
      if (name == "ReleaseMutex" || name == "LeaveCriticalSection") change = -1;
      if (change == 0) continue;
      held[entry.thread] += change;
      most[entry.thread] = std::max(most[entry.thread], held[entry.thread]);
    }
    return most;
  }
};

TEST_F(ServiceThreadsTest, allTheWorkIsDoneOnTheServicesThread) {
  const ThreadRecorder recorder;
  live();
  const std::set<DWORD> service = threadsOf("RegisterServiceCtrlHandlerW");
  ASSERT_EQ(service.size(), 1U);
  EXPECT_NE(service, threadsOf("StartServiceCtrlDispatcherW"));
  for (const char* call :
       {"CreatePrivateNamespaceW", "CreateEventW", "OpenEventW", "LoadLibraryExW",
        "WaitForMultipleObjects", "CreateProcessW", "FreeLibrary", "ClosePrivateNamespace"}) {
    EXPECT_EQ(threadsOf(call), service) << call;
  }
  EXPECT_EQ(recorder.threadsOf(L"Reading config from file: "), service);
  EXPECT_EQ(recorder.threadsOf(L"tALS init status: "), service);
}

TEST_F(ServiceThreadsTest, stopIsHandledOnTheDispatchersThread) {
  const ThreadRecorder recorder;
  live();
  EXPECT_EQ(recorder.threadsOf(L"Stopping service..."), threadsOf("StartServiceCtrlDispatcherW"));
}

TEST_F(ServiceThreadsTest, threadOfTheClientCallerIsNeverStarted) {
  live();
  EXPECT_TRUE(journal().calls("CreateThread").empty());
}

// Three threads take locks here: the service's, the dispatcher's and the client library's own.
TEST_F(ServiceThreadsTest, noPathHoldsTwoLocksAtOnce) {
  live();
  const std::map<DWORD, int> most = mostLocksHeld();
  EXPECT_EQ(most.size(), 3U);
  for (const auto& [thread, locks] : most) EXPECT_EQ(locks, 1) << thread;
}

}  // namespace
