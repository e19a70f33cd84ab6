#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "platform/host/Scheduler.h"
#include "platform/host/windows/Services.h"

namespace host {

// The service manager's side of the service control protocol. It keeps what the process reports
// and hands controls to the dispatcher.
class ServiceManager {
 public:
  // Whether the process was started by the service manager; a console start otherwise.
  bool startedByManager = true;

  // Each status as it was reported.
  std::vector<SERVICE_STATUS> statuses;

  // What a caller of the control functions would see: 0 if the control was taken, 1061 if the
  // service takes none in its state, 1052 if it does not take this one, 1062 if it is not active.
  DWORD request(DWORD control);
  DWORD requestStop() { return request(SERVICE_CONTROL_STOP); }

  // Called for each report that was taken.
  std::function<void(const SERVICE_STATUS& status)> onStatus;

  // The state in words, as reports print it.
  static std::string stateName(DWORD state);

  // The dispatcher's side, used by the platform calls.
  bool dispatcherCalled = false;
  LPHANDLER_FUNCTION handler = nullptr;
  std::deque<DWORD> queue;
  Thread* serviceThread = nullptr;
  std::wstring serviceName = L"TPMEnrollmentService";
};

}  // namespace host
