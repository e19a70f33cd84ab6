#include <atomic>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/Settings.h"
#include "VUSL/Support/Text.h"
#include "platform/win32.h"
#include "service/TPMEnrollment.h"

namespace TPMEnrollmentService {

namespace {

constexpr wchar_t kBoundaryName[] = L"TPMEnrollmentServiceBoundary";
constexpr wchar_t kStopEventName[] = L"TPMEnrollmentService\\StopEvent";
constexpr wchar_t kTpmEventName[] = L"Global\\TpmEnrollmentEvent";

constexpr std::int32_t kRegistered = 0;
constexpr std::int32_t kNotRegistered = -2;

}  // namespace

HANDLE TPMEnrollment::s_eventHandles[2] = {nullptr, nullptr};
HANDLE TPMEnrollment::s_boundaryDescriptor = nullptr;
HANDLE TPMEnrollment::s_privateNamespace = nullptr;

std::uint32_t TPMEnrollment::CreateServicePrivateNamespace() {
  // The result is not tested: a null descriptor is refused two steps on.
  s_boundaryDescriptor = CreateBoundaryDescriptorW(kBoundaryName, 0);

  BYTE administrators[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof(administrators);
  if (!CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators, &size)) {
    const DWORD error = GetLastError();
    LogItem().debug() << "Cannot create Local Admin SID!";
    return error;
  }
  if (!AddSIDToBoundaryDescriptor(&s_boundaryDescriptor, administrators)) {
    const DWORD error = GetLastError();
    LogItem().debug() << "Cannot associate Local Admin SID to Boundary Descriptor!";
    return error;
  }
  const vusl::string_t alias = vusl::Widen(settings::kServiceName);
  // Deliberate: a namespace that an earlier instance left behind is a failure like any other.
  // Opening it instead would share the stop event with whoever holds it.
  s_privateNamespace = CreatePrivateNamespaceW(nullptr, s_boundaryDescriptor, alias.c_str());
  if (s_privateNamespace == nullptr) {
    const DWORD error = GetLastError();
    LogItem().debug() << "Cannot create private namespace!";
    return error;
  }
  return ERROR_SUCCESS;
}

std::uint32_t TPMEnrollment::CreateStopEvent() {
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, kStopEventName);
  const DWORD error = event == nullptr ? GetLastError() : ERROR_SUCCESS;
  // `Stop` reads the handle on another thread, without a lock.
  std::atomic_ref(s_eventHandles[0]).store(event, std::memory_order_relaxed);
  if (event == nullptr) {
    LogItem().error() << "Cannot create event with error: " << error;
    return error;
  }
  LogItem().debug() << "Registering STOP event completed!";
  return ERROR_SUCCESS;
}

void TPMEnrollment::Stop() {
  LogItem().debug() << "Stopping service...";
  // Deliberate: RUNNING is reported before the stop event exists, so a stop that comes between the
  // two finds a null handle and is lost. Creating the event earlier would change the order of the
  // start, and a failure of it would no longer be the result of the run.
  SetEvent(std::atomic_ref(s_eventHandles[0]).load(std::memory_order_relaxed));
}

std::int32_t TPMEnrollment::RegisterVTMEvent() {
  s_eventHandles[1] = OpenEventW(SYNCHRONIZE, FALSE, kTpmEventName);
  std::int32_t retries = m_eventOpenRetries;
  while (s_eventHandles[1] == nullptr && retries > 0) {
    --retries;
    // Deliberate: the event resets itself, so this test consumes the stop and the wait of the loop
    // will not see it.
    if (WaitForSingleObject(s_eventHandles[0], 0) == WAIT_OBJECT_0) return kNotRegistered;
    // The last error is the one that stands after the test above.
    LogItem().debug() << "Cannot open event with error: " << GetLastError();
    LogItem().debug() << "Next try in 5 sec. Tries left : " << retries;
    Sleep(m_eventRetryDelayMs);
    s_eventHandles[1] = OpenEventW(SYNCHRONIZE, FALSE, kTpmEventName);
  }
  if (s_eventHandles[1] == nullptr) {
    LogItem().debug() << "Event not registered by the system.";
    return kNotRegistered;
  }
  LogItem().debug() << "Event opened successfully!";
  LogItem().debug() << "Registering VTM event completed!";
  return kRegistered;
}

void TPMEnrollment::CloseEventChannels() {
  // A handle that was never opened is closed like the other; the platform refuses a null one.
  CloseHandle(s_eventHandles[0]);
  CloseHandle(s_eventHandles[1]);
  if (s_privateNamespace == nullptr) return;
  if (!ClosePrivateNamespace(s_privateNamespace, PRIVATE_NAMESPACE_FLAG_DESTROY)) {
    LogItem().debug() << "Cannot close private namespace!";
  }
}

}  // namespace TPMEnrollmentService
