#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/host/Choices.h"

namespace host {

// Time on the machine's clock, counted from the machine's start.
using Nanoseconds = std::int64_t;
inline constexpr Nanoseconds kNanosecondsPerMillisecond = 1'000'000;
inline constexpr Nanoseconds kForever = INT64_MAX;

// One thread of the machine. Owned by the scheduler for the life of the process, so that a report
// can name threads that have ended.
struct Thread {
  enum class State { kReady, kBlocked, kDone };

  std::uint32_t id = 0;
  std::string name;
  State state = State::kReady;
  // What a blocked thread waits for: looked at afresh at every decision, never cached.
  std::function<bool()> ready;
  // For reports: the thread that holds what this one waits for, null if nobody does. May be empty.
  std::function<const Thread*()> holder;
  Nanoseconds deadline = kForever;
  std::string waitingFor;
  std::atomic<const char*> lastCall{""};
  // Let everybody else go first, until all of them wait.
  bool held = false;
  // The word the thread parks on while others have the turn.
  std::atomic<std::uint32_t> turn{0};
};

// Who runs, and what time it is.
//
// In virtual time threads are real but take turns: exactly one runs, each platform call is a point
// where the turn may pass, and the clock jumps to the next deadline when all wait. The same seed
// gives the same run. In real time threads run side by side and a wait waits.
class Scheduler {
 public:
  enum class Mode { kVirtual, kReal };

  static Scheduler& instance();

  // Makes the calling thread the machine's first. Called once for a process, before any other
  // operation; `restart` begins a new run with one thread left.
  void start(Mode mode, std::uint64_t seed);

  // Sets clock and choices back for another test in the same process. All other threads must have
  // ended.
  void restart(Mode mode, std::uint64_t seed);

  Mode mode() const { return mode_; }
  Nanoseconds now() const;

  // The machine's thread that the caller is; a thread that the machine does not know is an error
  // of the harness and ends the process.
  static Thread& current();
  static bool isKnown();

  // The machine sleeps: time passes in which nobody runs. `outside` is no thread of the machine's
  // own and finds its deadlines passed; so does everybody if waits count on. Otherwise waits go on
  // where they stood, as they always do in real time. The caller holds the guard.
  void suspend(Nanoseconds span, bool waitsCountOn, const Thread* outside);

  // A point where the turn may pass. `call` names the platform call for reports (a literal).
  void yield(const char* call);

  // Lets the clock run on while the caller works; in real time nothing happens.
  void spend(Nanoseconds duration);

  // Blocks the caller until `ready` holds or the clock reaches `deadline`; true if `ready` held.
  // `ready` runs with the guard held, on whatever thread has the turn; so does `holder`, which
  // names for a report who holds what the caller waits for. The caller holds the guard.
  bool block(const std::string& waitingFor, const std::function<bool()>& ready,
             Nanoseconds deadline, const std::function<const Thread*()>& holder = nullptr);

  // Lets all others go first, until each of them waits.
  void standBack();

  // Starts a thread of the machine. The body must not throw.
  Thread& spawn(const std::string& name, std::function<void()> body);

  // True when the thread's body has ended. Asked with the guard held.
  bool hasEnded(const Thread& thread) const { return thread.state == Thread::State::kDone; }

  // Each thread with its wait, who holds what it waits for and its last call, one a line, for
  // reports.
  std::string describeThreads() const;

  // What to do when nobody can ever go on; by default the report goes to the standard error and
  // the process ends with status 70.
  void setDeadlockHandler(std::function<void(const std::string& report)> handler);

  // What to do when threads make this many calls in virtual time without the clock ever having to
  // jump: the run spins. Unless told, nobody looks.
  void setEndlessLoopHandler(unsigned calls, std::function<void()> handler);

  // Whether each thread but the caller has ended or waits, without a deadline, for something that
  // is not there.
  bool everyoneElseWaitsForEver() const;

  // Guards the machine's state: a real lock in real time; with turns, from a sanitizer's sight.
  class Guard {
   public:
    Guard();
    ~Guard();
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
  };

  // Tells waiting threads that the state changed (a release, a signal, an end).
  void changed();

 private:
  Scheduler() = default;

  Thread& adopt(const std::string& name);
  void run(Thread& thread, const std::function<void()>& body);
  std::vector<Thread*> runnable();
  Thread* pick();
  void passTurn(Thread& self, Thread& next);
  void park(Thread& self);
  bool jump();
  bool blockInTurns(Thread& self);
  bool blockInRealTime(Thread& self);
  [[noreturn]] void deadlock();

  Mode mode_ = Mode::kVirtual;
  std::vector<std::unique_ptr<Thread>> threads_;
  Choices choices_{0};
  Nanoseconds virtualNow_ = 0;
  std::atomic<Nanoseconds> realStart_ = 0;
  unsigned callsInTurn_ = 0;
  unsigned callsSinceJump_ = 0;
  unsigned endlessLoopCalls_ = 0;
  std::function<void(const std::string&)> deadlockHandler_;
  std::function<void()> endlessLoopHandler_;
  std::mutex lock_;
  std::condition_variable stateChanged_;
};

}  // namespace host
