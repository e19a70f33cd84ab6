#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/host/Call.h"
#include "platform/host/Machine.h"

// The base of tests for the thread sanitizer. Their threads really run side by side, in real time;
// or they take turns in an order that a seed gives, and the sanitizer does not see the hand-off.
// Each test is a process of its own, so the machine is a fresh one.
class FreeRunTest : public ::testing::Test {
 protected:
  FreeRunTest() { host::Journal::instance().keepEntries(false); }
};

// A thread made and awaited with the platform's own calls, so that nothing but what the platform
// promises orders it with others. Awaited at the latest when it goes out of scope.
class PlatformThread {
 public:
  explicit PlatformThread(std::function<void()> work)
      : body_(std::move(work)), handle_(CreateThread(nullptr, 0, enter, this, 0, nullptr)) {}
  ~PlatformThread() {
    join();
    CloseHandle(handle_);
  }
  PlatformThread(const PlatformThread&) = delete;
  PlatformThread& operator=(const PlatformThread&) = delete;

  void join() { WaitForSingleObject(handle_, INFINITE); }

 private:
  static DWORD WINAPI enter(LPVOID self) {
    static_cast<PlatformThread*>(self)->body_();
    return 0;
  }

  std::function<void()> body_;
  HANDLE handle_;
};

// Runs `work` on so many threads at once, each told its number, and waits for all of them.
inline void runTogether(int threads, const std::function<void(int)>& work) {
  std::vector<std::unique_ptr<PlatformThread>> all;
  for (int number = 0; number < threads; ++number) {
    all.push_back(std::make_unique<PlatformThread>([&work, number] { work(number); }));
  }
}

// For a loop that waits for another thread without a platform call: where threads take turns, none
// would ever get one.
inline void letOthersRun() {
  if (host::Scheduler::instance().mode() == host::Scheduler::Mode::kVirtual) {
    Sleep(0);
  }
}
