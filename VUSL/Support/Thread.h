#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>

#include "VUSL/Support/Event.h"
#include "VUSL/Support/Waitable.h"
#include "platform/win32.h"

namespace vusl {

// A thread whose failure is not lost: an exception that leaves the body is logged on the thread,
// kept, and thrown again in whoever waits for it; if nobody ever does, the destructor reports it.
// The owner makes, starts, waits for and destroys the object; it must wait before destroying it.
class Thread : public Waitable {
 public:
  // The number of a name's characters that are kept, here and for the debugger.
  static constexpr std::size_t kMaxNameLength = 9;

  // `threadName`: the thread's name; what exceeds `kMaxNameLength` is cut off silently.
  // Starts nothing. Throws `Exception` if the started event cannot be made.
  explicit Thread(const std::string& threadName);

  // Lets go of the thread without waiting for it, and logs an exception that nobody fetched.
  ~Thread() override;

  // Waits for the thread's end. `timeoutMs`: milliseconds.
  // Returns `kError` if the wait failed, which is logged; that is so for a thread never started.
  WaitResult Lock(uint32_t timeoutMs) override;

  // Does nothing. Returns always `kDone`.
  WaitResult Unlock() override;

  // The thread's body, called once on the new thread. What it throws reaches `Wait`.
  virtual void Run() = 0;

  // Creates the thread and names it for a debugger; to be called once.
  // Throws `Exception` if the thread cannot be created.
  void Start();

  // Waits without limit for the thread, from any other thread, and throws what the body threw:
  // once, a second call finds nothing. Throws `Exception` if the wait itself failed.
  void Wait();

  // Returns whether `Run` is executing. False also for a thread just started whose body has not
  // yet begun.
  bool isBodyRunning() const { return bodyRunning.load(std::memory_order_relaxed); }

  // The entry of every thread. `parameter`: the `Thread`; null is logged. Returns always 0.
  static DWORD WINAPI theThreadFunc(LPVOID parameter);

 private:
  void runBody();
  void reportUnfetchedException();

  HANDLE threadHandle = nullptr;

 protected:
  // Tested by `Lock`: a derived class that sets it says that there is nothing left to wait for.
  // This flag and the next are read by other threads with no lock, by design: they are snapshots
  // that order nothing. Relaxed atomics keep exactly that meaning and are defined for the compiler.
  std::atomic<bool> completed{false};

 private:
  Event startedEvent;
  std::atomic<bool> bodyRunning{false};
  DWORD threadId = 0;
  std::exception_ptr pendingException;
  std::string name;
};

}  // namespace vusl
