#include "service/ServiceHost.h"

#include <atomic>
#include <iostream>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/GetSystemErrorText.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/Settings.h"
#include "VUSL/Support/Singleton.h"
#include "VUSL/Support/SysException.h"
#include "VUSL/Support/Text.h"
#include "service/ProcessHardening.h"
#include "service/TPMEnrollment.h"

using TPMEnrollmentService::TPMEnrollment;

namespace {

constexpr DWORD kWaitHintMs = 5000;
constexpr DWORD kStopPollMs = 5000;
constexpr DWORD kPauseBeforeStoppedMs = 2000;

SERVICE_STATUS_HANDLE s_statusHandle = nullptr;

// Deliberate: filled in place by both threads with no lock. Each report stores every field, and the
// service control manager copies the record during the call.
SERVICE_STATUS s_serviceStatus = {};

// One thread may store a field while the other does, or while its record is copied.
void Store(DWORD& field, DWORD value) {
  std::atomic_ref(field).store(value, std::memory_order_relaxed);
}

// Never reset, so the check-points of stopping go on from those of starting. Atomic because the
// service's threads have no lock in common; nothing is ordered by it.
std::atomic<std::uint32_t> s_checkPoint{1};

// Runs the enrollment to its end. Returns the exit code of the service.
DWORD InitAndRun(TPMEnrollment& enrollment) {
  const std::int32_t initResult = enrollment.Init();
  if (initResult != 0) {
    const DWORD exitCode = static_cast<DWORD>(initResult);
    LogItem().error() << "Unable to initialize service. Error message: "
                      << GetSystemErrorText(exitCode);
    return exitCode;
  }
  ReportServiceStatus(SERVICE_RUNNING, 0);
  LogItem().debug() << "Service started.";

  const std::uint32_t runResult = enrollment.Run();
  if (CountsAsSuccess(runResult)) {
    LogItem().debug() << "Service stopped successfully";
    return 0;
  }
  LogItem().debug() << "Service stopped with error: " << GetSystemErrorText(runResult);
  return runResult;
}

}  // namespace

void PrintUsage(const wchar_t* programName) {
  std::wcout << L"Orvix TPM Enrollment Service [Version: " << kServiceVersion << L"]" << std::endl
             << std::endl
             << L"Usage: " << programName << L" parameter" << std::endl
             << std::endl
             << L"The following parameters are allowed:" << std::endl
             << L"    -" << kHelpOption << L" -- print this message" << std::endl;
}

void StartDispatcher(const wchar_t* programName) {
  LogItem().info() << "Starting the service control dispatcher.";
  InitializeSecurity();

  // A process with one service of its own may leave that service's name empty.
  wchar_t noName[] = L"";
  const SERVICE_TABLE_ENTRYW services[] = {{noName, ServiceMain}, {nullptr, nullptr}};
  if (StartServiceCtrlDispatcherW(services)) return;

  const DWORD error = GetLastError();
  if (error == ERROR_FAILED_SERVICE_CONTROLLER_CONNECT) {
    PrintUsage(programName);
    return;
  }
  LogItem().fatal() << "Service did not start. (" << error << ") Examine log for details";
  throw SysException();
}

void WINAPI ServiceMain(DWORD, wchar_t**) {
  s_statusHandle = RegisterServiceCtrlHandlerW(vusl::Widen(settings::kServiceName).c_str(),
                                               ServiceControlHandler);
  try {
    if (s_statusHandle == nullptr) {
      LogItem().fatal() << "Error occured while registrering service control handler";
      throw SysException();
    }
    ReportServiceStatus(SERVICE_START_PENDING, 0);
    TPMEnrollment enrollment;
    const Singleton<TPMEnrollment> published(&enrollment);
    // Deliberate: STOPPED is reported while the object still holds its events and its namespace.
    ReportServiceStatus(SERVICE_STOPPED, InitAndRun(enrollment));
  } catch (const Exception& failure) {
    LogItem().fatal() << "Exception occured in ServiceMain function " << failure.what();
    // Deliberate: the exit code is whatever the last error happens to be here, not a code of the
    // exception.
    ReportServiceStatus(SERVICE_STOPPED, GetLastError());
  }
}

void WINAPI ServiceControlHandler(DWORD control) {
  if (control != SERVICE_CONTROL_STOP) return;
  try {
    ReportServiceStatus(SERVICE_STOP_PENDING, 0);
    Singleton<TPMEnrollment>::getInstance()->Stop();
    // Deliberate: the pointer is read anew on each turn, with no lock, because the service's thread
    // clears it; that test is all the protection there is.
    for (;;) {
      const TPMEnrollment* const enrollment = Singleton<TPMEnrollment>::instanceOrNull();
      if (enrollment == nullptr || !enrollment->IsRunning()) return;
      ReportServiceStatus(SERVICE_STOP_PENDING, 0);
      Sleep(kStopPollMs);
    }
  } catch (const Exception& failure) {
    LogItem().error() << "Exception occured in ServiceControlHandler function " << failure.what();
  }
}

void ReportServiceStatus(DWORD state, DWORD exitCode) {
  DWORD controlsAccepted = SERVICE_ACCEPT_STOP;
  DWORD checkPoint = 0;
  switch (state) {
    case SERVICE_START_PENDING:
      controlsAccepted = 0;
      checkPoint = s_checkPoint.fetch_add(1, std::memory_order_relaxed);
      break;
    case SERVICE_RUNNING:
      break;
    case SERVICE_STOPPED:
      // Deliberate: the pause stands ahead of every report of STOPPED, failures included.
      Sleep(kPauseBeforeStoppedMs);
      break;
    default:
      checkPoint = s_checkPoint.fetch_add(1, std::memory_order_relaxed);
      break;
  }

  Store(s_serviceStatus.dwServiceType, SERVICE_WIN32_OWN_PROCESS);
  Store(s_serviceStatus.dwCurrentState, state);
  Store(s_serviceStatus.dwControlsAccepted, controlsAccepted);
  Store(s_serviceStatus.dwWin32ExitCode, exitCode);
  Store(s_serviceStatus.dwServiceSpecificExitCode, 0);
  Store(s_serviceStatus.dwCheckPoint, checkPoint);
  Store(s_serviceStatus.dwWaitHint, kWaitHintMs);
  if (!SetServiceStatus(s_statusHandle, &s_serviceStatus)) throw SysException();
}

bool CountsAsSuccess(std::uint32_t runResult) {
  constexpr std::uint32_t kBit1 = 2;
  return ((runResult + 2) & ~kBit1) == 0;
}
