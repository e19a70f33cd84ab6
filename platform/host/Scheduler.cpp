#include "platform/host/Scheduler.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "platform/host/Races.h"
#include "platform/host/Schedule.h"
#include "platform/host/ThreadIds.h"

namespace host {
namespace {

// A thread keeps its turn for at most so many calls while another could run: without this a loop
// that never waits would starve everybody else.
constexpr unsigned kCallsInATurn = 1000;
// With a seed other than 0 the turn may pass at one in so many calls.
constexpr std::uint32_t kCallsBetweenChoices = 8;
constexpr int kDeadlockExitStatus = 70;

thread_local Thread* currentThread = nullptr;
// A guard within a guard is the outer one.
thread_local unsigned guardDepth = 0;

Nanoseconds steadyNow() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

void futexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected) {
  syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word), FUTEX_WAIT_PRIVATE, expected, nullptr,
          nullptr, 0);
}

void futexWake(std::atomic<std::uint32_t>& word) {
  syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word), FUTEX_WAKE_PRIVATE, 1, nullptr,
          nullptr, 0);
}

// The caller has nothing to wait for: it is as if the system gave it no processor.
void holdUp(Nanoseconds delay) {
  Scheduler& scheduler = Scheduler::instance();
  const Scheduler::Guard guard;
  scheduler.block(
      "a processor", [] { return false; }, scheduler.now() + delay);
}

// "thread 1a2c (main)"
std::string nameOf(const Thread& thread) {
  std::array<char, 32> id{};
  std::snprintf(id.data(), id.size(), "thread %x (", thread.id);
  return id.data() + thread.name + ")";
}

}  // namespace

// Never destroyed: the product's static objects still call the platform while the process ends.
Scheduler& Scheduler::instance() {
  static auto* scheduler = new Scheduler;
  return *scheduler;
}

void Scheduler::start(Mode mode, std::uint64_t seed) {
  adopt("main");
  restart(mode, seed);
}

void Scheduler::restart(Mode mode, std::uint64_t seed) {
  mode_ = mode;
  choices_ = Choices(seed);
  virtualNow_ = 0;
  realStart_ = steadyNow();
  callsInTurn_ = 0;
  callsSinceJump_ = 0;
  endlessLoopCalls_ = 0;
}

Thread& Scheduler::adopt(const std::string& name) {
  auto thread = std::make_unique<Thread>();
  thread->id = kFirstThreadId + kThreadIdStep * static_cast<std::uint32_t>(threads_.size());
  thread->name = name;
  threads_.push_back(std::move(thread));
  currentThread = threads_.back().get();
  return *currentThread;
}

Nanoseconds Scheduler::now() const {
  if (mode_ == Mode::kReal) {
    return steadyNow() - realStart_;
  }
  const Guard guard;
  return virtualNow_;
}

bool Scheduler::isKnown() {
  return currentThread != nullptr;
}

Thread& Scheduler::current() {
  if (currentThread == nullptr) {
    std::fputs("model: a thread that the machine did not start made a platform call\n", stderr);
    std::abort();
  }
  return *currentThread;
}

Scheduler::Guard::Guard() {
  if (guardDepth++ > 0) {
    return;
  }
  races::lookAway();
  if (instance().mode_ == Mode::kReal) {
    instance().lock_.lock();
  }
}

Scheduler::Guard::~Guard() {
  if (--guardDepth > 0) {
    return;
  }
  if (instance().mode_ == Mode::kReal) {
    instance().lock_.unlock();
  }
  races::lookAgain();
}

void Scheduler::changed() {
  if (mode_ == Mode::kReal) {
    stateChanged_.notify_all();
  }
}

void Scheduler::spend(Nanoseconds duration) {
  if (mode_ == Mode::kVirtual) {
    const Guard guard;
    virtualNow_ += duration;
  }
}

void Scheduler::suspend(Nanoseconds span, bool waitsCountOn, const Thread* outside) {
  if (mode_ == Mode::kReal) {
    realStart_ -= span;
    return;
  }
  virtualNow_ += span;
  callsSinceJump_ = 0;
  for (const auto& thread : threads_) {
    const bool isWaiting = thread->state == Thread::State::kBlocked && thread->deadline != kForever;
    if (!waitsCountOn && isWaiting && thread.get() != outside) {
      thread->deadline += span;
    }
  }
}

void Scheduler::yield(const char* call) {
  Thread& self = current();
  self.lastCall.store(call, std::memory_order_relaxed);
  if (mode_ == Mode::kReal) {
    return;
  }
  const Guard guard;
  ++callsInTurn_;
  if (++callsSinceJump_ == endlessLoopCalls_ && endlessLoopHandler_) {
    endlessLoopHandler_();
  }
  const bool turnIsOver = callsInTurn_ >= kCallsInATurn;
  Schedule& schedule = Schedule::instance();
  if (const Nanoseconds delay = schedule.holdUp(); delay > 0) {
    holdUp(delay);
  }
  const bool isDrawnHere =
      schedule.kind() == Schedule::Kind::kUniform || schedule.kind() == Schedule::Kind::kStall;
  if (isDrawnHere && !turnIsOver &&
      choices_.pick(kCallsBetweenChoices) != kCallsBetweenChoices - 1) {
    return;
  }
  std::vector<Thread*> candidates = runnable();
  if (turnIsOver && candidates.size() > 1) {
    std::erase(candidates, &self);
  }
  Thread* next = isDrawnHere
                     ? candidates[choices_.pick(static_cast<std::uint32_t>(candidates.size()))]
                     : schedule.atCall(candidates, self);
  if (isDrawnHere || turnIsOver) {
    callsInTurn_ = 0;
  }
  if (next != &self) {
    passTurn(self, *next);
  }
}

void Scheduler::standBack() {
  if (mode_ == Mode::kReal) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return;
  }
  const Guard guard;
  Thread& self = current();
  self.held = true;
  if (Thread* next = pick(); next != &self) {
    passTurn(self, *next);
  }
  self.held = false;
}

// All threads that could run now, in the order of their making, held ones only when there is
// nobody else.
std::vector<Thread*> Scheduler::runnable() {
  std::vector<Thread*> able;
  std::vector<Thread*> held;
  for (const auto& thread : threads_) {
    if (thread->state == Thread::State::kDone) {
      continue;
    }
    if (thread->state == Thread::State::kBlocked && thread->deadline > virtualNow_ &&
        !thread->ready()) {
      continue;
    }
    (thread->held ? held : able).push_back(thread.get());
  }
  return able.empty() ? held : able;
}

Thread* Scheduler::pick() {
  for (;;) {
    const std::vector<Thread*> candidates = runnable();
    if (!candidates.empty()) {
      Schedule& schedule = Schedule::instance();
      return schedule.kind() == Schedule::Kind::kUniform
                 ? candidates[choices_.pick(static_cast<std::uint32_t>(candidates.size()))]
                 : schedule.atWait(candidates);
    }
    if (!jump()) {
      deadlock();
    }
  }
}

// Moves the clock to the earliest deadline; false if nobody has one.
bool Scheduler::jump() {
  Nanoseconds earliest = kForever;
  for (const auto& thread : threads_) {
    if (thread->state == Thread::State::kBlocked && thread->deadline < earliest) {
      earliest = thread->deadline;
    }
  }
  if (earliest == kForever) {
    return false;
  }
  virtualNow_ = earliest;
  callsSinceJump_ = 0;
  return true;
}

void Scheduler::passTurn(Thread& self, Thread& next) {
  callsInTurn_ = 0;
  next.turn.store(1, std::memory_order_release);
  futexWake(next.turn);
  park(self);
}

void Scheduler::park(Thread& self) {
  while (self.turn.load(std::memory_order_acquire) == 0) {
    futexWait(self.turn, 0);
  }
  self.turn.store(0, std::memory_order_relaxed);
}

bool Scheduler::blockInTurns(Thread& self) {
  if (Thread* next = pick(); next != &self) {
    passTurn(self, *next);
  }
  return self.ready();
}

// The caller holds the guard, which is this lock.
bool Scheduler::blockInRealTime(Thread& self) {
  std::unique_lock<std::mutex> lock(lock_, std::adopt_lock);
  const auto ready = [&self] { return self.ready(); };
  bool held = true;
  if (self.deadline == kForever) {
    stateChanged_.wait(lock, ready);
  } else {
    const auto until =
        std::chrono::steady_clock::time_point(std::chrono::nanoseconds(realStart_ + self.deadline));
    held = stateChanged_.wait_until(lock, until, ready);
  }
  lock.release();
  return held;
}

bool Scheduler::block(const std::string& waitingFor, const std::function<bool()>& ready,
                      Nanoseconds deadline, const std::function<const Thread*()>& holder) {
  Thread& self = current();
  self.waitingFor = waitingFor;
  self.ready = ready;
  self.holder = holder;
  self.deadline = deadline;
  self.state = Thread::State::kBlocked;
  const bool held = mode_ == Mode::kVirtual ? blockInTurns(self) : blockInRealTime(self);
  self.state = Thread::State::kReady;
  self.ready = nullptr;
  self.holder = nullptr;
  return held;
}

Thread& Scheduler::spawn(const std::string& name, std::function<void()> body) {
  auto owned = std::make_unique<Thread>();
  Thread& thread = *owned;
  thread.name = name;
  {
    Guard guard;
    thread.id = kFirstThreadId + kThreadIdStep * static_cast<std::uint32_t>(threads_.size());
    threads_.push_back(std::move(owned));
  }
  std::thread([this, &thread, work = std::move(body)] { run(thread, work); }).detach();
  return thread;
}

void Scheduler::run(Thread& thread, const std::function<void()>& body) {
  currentThread = &thread;
  if (mode_ == Mode::kVirtual) {
    const Guard guard;
    park(thread);
  }
  body();
  const Guard guard;
  races::publish(&thread);
  thread.state = Thread::State::kDone;
  if (mode_ == Mode::kReal) {
    changed();
    return;
  }
  Thread* next = pick();
  callsInTurn_ = 0;
  next->turn.store(1, std::memory_order_release);
  futexWake(next->turn);
}

std::string Scheduler::describeThreads() const {
  const Guard guard;
  std::string report;
  for (const auto& thread : threads_) {
    report += nameOf(*thread) + ": ";
    if (thread->state == Thread::State::kDone) {
      report += "ended\n";
      continue;
    }
    report += thread->state == Thread::State::kBlocked ? "waits for " + thread->waitingFor
                                                       : std::string("runs");
    if (const Thread* holder = thread->holder ? thread->holder() : nullptr) {
      report += ", held by " + nameOf(*holder);
    }
    const char* lastCall = thread->lastCall.load(std::memory_order_relaxed);
    report += std::string(", last call ") + (*lastCall != '\0' ? lastCall : "none");
    report += "\n";
  }
  return report;
}

void Scheduler::setDeadlockHandler(std::function<void(const std::string& report)> handler) {
  deadlockHandler_ = std::move(handler);
}

void Scheduler::setEndlessLoopHandler(unsigned calls, std::function<void()> handler) {
  endlessLoopCalls_ = calls;
  endlessLoopHandler_ = std::move(handler);
}

bool Scheduler::everyoneElseWaitsForEver() const {
  const Guard guard;
  const Thread* self = currentThread;
  for (const auto& thread : threads_) {
    if (thread.get() == self || thread->state == Thread::State::kDone) {
      continue;
    }
    if (thread->state != Thread::State::kBlocked || thread->deadline != kForever ||
        thread->ready()) {
      return false;
    }
  }
  return true;
}

// A failed run is never unwound: the other threads stay parked.
void Scheduler::deadlock() {
  const std::string report = "deadlock: nobody can ever go on\n" + describeThreads();
  if (deadlockHandler_) {
    deadlockHandler_(report);
  }
  std::fputs(report.c_str(), stderr);
  std::fflush(nullptr);
  races::lookAgainAtEnd();
  _exit(kDeadlockExitStatus);
}

}  // namespace host
