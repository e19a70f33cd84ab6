#pragma once

#include <atomic>
#include <cstdint>

#include "VUSL/Support/IRunning.h"
#include "VUSL/Support/Mutex.h"
#include "VUSL/Support/TypeName.h"
#include "platform/win32.h"

class talsClientCaller;

namespace TPMEnrollmentService {

// The enrollment: runs the client library's two transactions to their end and sees to the
// recertification of the TPM's endorsement key, until all three goals stand or a stop comes.
//
// One object exists in a process, a local of the service's main function; its handles are
// process-wide. Everything runs on the service's thread but `Stop` and `IsRunning`, which the
// control handler calls on the dispatcher's thread.
class TPMEnrollment : public vusl::IRunning {
 public:
  // Throws Exception when the lock cannot be created.
  TPMEnrollment();

  // Closes the events and the private namespace.
  ~TPMEnrollment() override;

  TPMEnrollment(const TPMEnrollment&) = delete;
  TPMEnrollment& operator=(const TPMEnrollment&) = delete;

  // Reads the configuration and creates the private namespace; called once, before RUNNING is
  // reported. Returns 0, also when called again after a success, or -1 when the namespace could
  // not be created, whatever the platform's error was. A missing or broken configuration file
  // means defaults. Throws Exception when the configuration's directory is not known.
  std::int32_t Init();

  // Does the work; called once, after RUNNING was reported. Returns 0 after a stop or when all
  // goals stand, or the platform's error when the stop event could not be created. Lets out what
  // loading the client library throws: MissingFileError or Exception.
  std::uint32_t Run();

  // Signals the stop event and returns at once. Any thread.
  void Stop();

  // Whether `Run` is in progress. Any thread. Throws Exception when the lock cannot be taken.
  bool IsRunning() const override;

  // Starts the recertification program of the client stack and does not wait for it. Throws
  // TPMEnrollmentProcessException with the platform's error when the start fails, and Exception
  // when the stack or its directory is not known.
  void RunVTMEKRecertification();

  // Opens the TPM event for waiting. Returns 0 when it is open, -2 when it was never published or
  // a stop came during the tries; that stop is then consumed.
  std::int32_t RegisterVTMEvent();

  // Creates the namespace of the stop event, open to administrators. Returns 0, or the platform's
  // error of the step that failed; an existing namespace of that name is such a failure.
  std::uint32_t CreateServicePrivateNamespace();

 private:
  // The unit tests' window on the members below.
  friend class TPMEnrollmentPeer;

  // What one call of `Run` has reached.
  struct Progress {
    bool method1Done = false;
    bool method2Done = false;
    bool recertificationArranged = false;
    // How many of `s_eventHandles` the wait covers: the stop event alone, or both.
    DWORD handleCount = 1;

    bool allGoalsStand() const { return method1Done && method2Done && recertificationArranged; }
  };
  enum class AfterWait { kGoOn, kStop };

  // Sets `s_waitTimeoutMs` from the configuration.
  void ReadParameters();

  // Runs the Init transaction of method 1 or 2. Returns whether it counts as done: all but a
  // connection error or an exception do. Throws nothing.
  bool RunInitTransaction(talsClientCaller& caller, std::uint32_t method);

  // Creates the stop event. Returns 0 or the platform's error, which may itself read 0.
  std::uint32_t CreateStopEvent();
  void SetRunning(bool running);
  // One pass of the loop. Returns false when the loop is to be left.
  bool RunPass(talsClientCaller& caller, Progress& progress);
  void ArrangeRecertification(Progress& progress);
  // Waits once and acts on the result. Throws nothing: failures are logged.
  AfterWait WaitForEvents(Progress& progress);
  AfterWait ActOnWaitResult(DWORD result, Progress& progress);
  static void CloseEventChannels();

  // A later `Init` does nothing once this is set.
  bool m_initialized;
  // Cleared at the end of `Run` outside the lock, so the type itself has to keep the two threads
  // apart; nothing is ordered by it.
  std::atomic<bool> m_running;
  mutable vusl::Mutex m_runningLock;
  // Tries of `RegisterVTMEvent` after its first, and the pause before each.
  std::int32_t m_eventOpenRetries;
  std::uint32_t m_eventRetryDelayMs;

  // The stop event, then the TPM event: adjacent and in this order, as the wait takes them. Null
  // until created.
  static HANDLE s_eventHandles[2];
  static std::int32_t s_waitTimeoutMs;
  // Never deleted: the platform keeps it to the end of the process.
  static HANDLE s_boundaryDescriptor;
  static HANDLE s_privateNamespace;
  static STARTUPINFOW s_startupInfo;
  static PROCESS_INFORMATION s_processInfo;
};

}  // namespace TPMEnrollmentService

template <>
struct TypeName<TPMEnrollmentService::TPMEnrollment> {
  static constexpr const char* text = "class TPMEnrollmentService::TPMEnrollment";
};
