#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/host/Call.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"

namespace host {

// The base of tests that call the platform: each starts with a fresh machine in virtual time, and
// the test's own thread is a thread of that machine.
class MachineTest : public ::testing::Test {
 protected:
  MachineTest() { resetMachine(); }

  static Journal& journal() { return Journal::instance(); }
  static Faults& faults() { return Faults::instance(); }
  static Ledger& ledger() { return Ledger::instance(); }
  // Milliseconds of virtual time since the test began.
  static std::int64_t clockMs() { return Scheduler::instance().now() / kNanosecondsPerMillisecond; }
};

// A second thread of the machine. Joined at the latest when it goes out of scope.
class TestThread {
 public:
  explicit TestThread(std::function<void()> body)
      : thread_(Scheduler::instance().spawn("test", std::move(body))) {}
  ~TestThread() { join(); }
  TestThread(const TestThread&) = delete;
  TestThread& operator=(const TestThread&) = delete;

  void join() {
    const Scheduler::Guard guard;
    Scheduler::instance().block(
        "a test's thread", [this] { return Scheduler::instance().hasEnded(thread_); }, kForever);
  }

 private:
  Thread& thread_;
};

}  // namespace host
