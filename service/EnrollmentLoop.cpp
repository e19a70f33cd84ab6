#include <memory>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/ScopedLock.h"
#include "client/TalsClientLoader.h"
#include "client/talsClientCaller.h"
#include "client/talsStatus.h"
#include "platform/win32.h"
#include "service/TPMEnrollment.h"
#include "service/TPMEnrollmentProcessException.h"
#include "task/TaskLifecycle.h"

namespace TPMEnrollmentService {

namespace {

constexpr char kRun[] = "Run";
constexpr char kInitFailed[] = "Init(EPID cert provisioning) transaction failed with error : ";

constexpr std::uint32_t kMethod1 = 1;
constexpr std::uint32_t kMethod2 = 2;

constexpr DWORD kStopSignalled = WAIT_OBJECT_0;
constexpr DWORD kTpmSignalled = WAIT_OBJECT_0 + 1;

bool IsAtLeastWindows10() {
  OSVERSIONINFOEXW wanted = {};
  wanted.dwOSVersionInfoSize = sizeof(wanted);
  wanted.dwMajorVersion = 10;
  constexpr DWORD kFields = VER_MAJORVERSION | VER_MINORVERSION | VER_BUILDNUMBER;
  ULONGLONG conditions = VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL);
  conditions = VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
  conditions = VerSetConditionMask(conditions, VER_BUILDNUMBER, VER_GREATER_EQUAL);
  return VerifyVersionInfoW(&wanted, kFields, conditions) != FALSE;
}

}  // namespace

void TPMEnrollment::SetRunning(bool running) {
  const vusl::ScopedLock lock(m_runningLock);
  m_running.store(running, std::memory_order_relaxed);
}

std::uint32_t TPMEnrollment::Run() {
  SetRunning(true);
  const std::uint32_t stopEventError = CreateStopEvent();
  if (stopEventError != ERROR_SUCCESS) {
    SetRunning(false);
    return stopEventError;
  }

  talsClientCaller caller("");
  caller.loader = std::make_unique<TalsClientLoader>("");
  LogItem().info() << LogTag(this, kRun) << "Starting talsInit...";
  Progress progress;
  while (RunPass(caller, progress)) {
  }
  // Deliberate: outside the lock and ahead of the caller's end. The control handler may call the
  // service stopped while the client library is still being closed; the other order would hold up
  // the stop by as long as the library takes.
  m_running.store(false, std::memory_order_relaxed);
  return 0;
}

bool TPMEnrollment::RunPass(talsClientCaller& caller, Progress& progress) {
  if (!progress.method1Done) progress.method1Done = RunInitTransaction(caller, kMethod1);
  if (progress.method1Done && !progress.recertificationArranged && s_eventHandles[1] == nullptr) {
    ArrangeRecertification(progress);
  }
  if (!progress.method2Done) progress.method2Done = RunInitTransaction(caller, kMethod2);
  if (progress.allGoalsStand()) return false;
  // A stop ends the run whatever stands.
  if (WaitForEvents(progress) == AfterWait::kStop) return false;
  return !progress.allGoalsStand();
}

bool TPMEnrollment::RunInitTransaction(talsClientCaller& caller, std::uint32_t method) {
  LogItem().debug() << "Running Init for method: " << method;
  talsStatus status = STATUS_ERROR;
  try {
    status = caller.executeSync(method, 0);
  } catch (...) {
    LogItem().debug() << kInitFailed << status;
    return false;
  }
  // Deliberate: every other status counts as done, the errors among them. A platform that is not
  // supported or a key that is revoked would otherwise be retried for ever.
  if (status != STATUS_CONNECTION_ERROR) return true;
  LogItem().debug() << kInitFailed << status;
  return false;
}

void TPMEnrollment::ArrangeRecertification(Progress& progress) {
  LogItem().debug() << "Registering to TPM Event...";
  if (RegisterVTMEvent() == 0) {
    ++progress.handleCount;
    DeleteTask();
    return;
  }
  LogItem().debug() << "Scheduling VTM Task ...";
  if (IsAtLeastWindows10()) ScheduleTask();
  // Deliberate: an older system has no task to be arranged, and the goal is taken as met. So it is
  // where the task could not be arranged: nobody here can tell, and the next start looks again.
  progress.recertificationArranged = true;
}

TPMEnrollment::AfterWait TPMEnrollment::WaitForEvents(Progress& progress) {
  try {
    LogItem().debug() << "Waiting for signaled event, with timeout = " << s_waitTimeoutMs / 1000
                      << " seconds.";
    const DWORD result = WaitForMultipleObjects(progress.handleCount, s_eventHandles, FALSE,
                                                static_cast<DWORD>(s_waitTimeoutMs));
    LogItem().debug() << LogTag(this, kRun) << "Waiting over. dwObject value: " << result;
    return ActOnWaitResult(result, progress);
  } catch (const TPMEnrollmentProcessException& failure) {
    LogItem().error() << LogTag(this, kRun) << "Process exception occured: " << failure.what();
    LogItem().debug() << LogTag(this, kRun) << "Service is going to continue.";
  } catch (const Exception& failure) {
    LogItem().error() << LogTag(this, kRun) << "Exception occured: " << failure.what();
  } catch (...) {
    LogItem().error() << LogTag(this, kRun) << "Unknown exception occured.";
  }
  return AfterWait::kGoOn;
}

TPMEnrollment::AfterWait TPMEnrollment::ActOnWaitResult(DWORD result, Progress& progress) {
  switch (result) {
    case kStopSignalled:
      LogItem().debug() << LogTag(this, kRun) << "Stop service event signaled.";
      return AfterWait::kStop;
    case kTpmSignalled:
      LogItem().debug() << LogTag(this, kRun) << "Tpm event signaled.";
      RunVTMEKRecertification();
      progress.recertificationArranged = true;
      break;
    case WAIT_TIMEOUT:
      LogItem().debug() << LogTag(this, kRun) << "Waiting for event timed out";
      break;
    case WAIT_FAILED:
      // Deliberate: no pause and no limit. A wait that keeps failing is to fill the log.
      LogItem().error() << LogTag(this, kRun)
                        << "Waiting for event failed with error: " << GetLastError();
      break;
    default:
      break;
  }
  return AfterWait::kGoOn;
}

}  // namespace TPMEnrollmentService
