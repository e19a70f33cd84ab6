#include "platform/host/ServiceManager.h"

#include "platform/host/Call.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/Races.h"

namespace host {
namespace {

// There is one service in the process, so one status handle.
SERVICE_STATUS_HANDLE theStatusHandle() {
  return reinterpret_cast<SERVICE_STATUS_HANDLE>(std::uintptr_t{0x5c0});
}

// What such a control means is the service's own affair, so there is nothing that it could say that
// it accepts.
bool isTheServicesOwn(DWORD control) {
  return control >= 128 && control <= 255;
}

DWORD acceptBitOf(DWORD control) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
      return SERVICE_ACCEPT_STOP;
    case SERVICE_CONTROL_PAUSE:
      return 2;
    case SERVICE_CONTROL_SHUTDOWN:
      return 4;
    default:
      return 0;
  }
}

}  // namespace

std::string ServiceManager::stateName(DWORD state) {
  switch (state) {
    case SERVICE_STOPPED:
      return "STOPPED";
    case SERVICE_START_PENDING:
      return "START_PENDING";
    case SERVICE_STOP_PENDING:
      return "STOP_PENDING";
    case SERVICE_RUNNING:
      return "RUNNING";
    default:
      return "state " + std::to_string(state);
  }
}

constexpr DWORD kInvalidServiceControl = 1052;

DWORD ServiceManager::request(DWORD control) {
  const Scheduler::Guard guard;
  if (statuses.empty() || handler == nullptr || statuses.back().dwCurrentState == SERVICE_STOPPED) {
    return ERROR_SERVICE_NOT_ACTIVE;
  }
  const SERVICE_STATUS& status = statuses.back();
  const bool isPending = status.dwCurrentState == SERVICE_START_PENDING ||
                         status.dwCurrentState == SERVICE_STOP_PENDING;
  // Every service is asked to report; of the platform's other controls it gets those that it said
  // it takes.
  if (control != SERVICE_CONTROL_INTERROGATE) {
    if (isPending) {
      return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
    }
    if (!isTheServicesOwn(control) && (status.dwControlsAccepted & acceptBitOf(control)) == 0) {
      return kInvalidServiceControl;
    }
  }
  queue.push_back(control);
  Scheduler::instance().changed();
  return ERROR_SUCCESS;
}

namespace {

// The entries of a dispatcher's table ahead of the one of nulls that ends it.
unsigned entriesOf(const SERVICE_TABLE_ENTRYW* table) {
  unsigned count = 0;
  while (table != nullptr &&
         (table[count].lpServiceName != nullptr || table[count].lpServiceProc != nullptr)) {
    ++count;
  }
  return count;
}

// The record stays the program's, and another of its threads may be filling it.
SERVICE_STATUS copyOf(const SERVICE_STATUS* status) {
  const Scheduler::Guard guard;
  return *status;
}

// The dispatcher's life: it hands over controls, one at a time and on its own thread, until the
// service's main function has left.
void dispatch(ServiceManager& services) {
  for (;;) {
    DWORD control = 0;
    LPHANDLER_FUNCTION handler = nullptr;
    {
      const Scheduler::Guard guard;
      Scheduler::instance().block(
          "the service manager",
          [&] {
            return !services.queue.empty() ||
                   Scheduler::instance().hasEnded(*services.serviceThread);
          },
          kForever);
      if (Scheduler::instance().hasEnded(*services.serviceThread)) {
        races::receive(services.serviceThread);
        return;
      }
      races::receive(&services);
      control = services.queue.front();
      services.queue.pop_front();
      handler = services.handler;
    }
    handler(control);
  }
}

}  // namespace
}  // namespace host

using host::Call;

BOOL StartServiceCtrlDispatcherW(const SERVICE_TABLE_ENTRYW* table) {
  Call call("StartServiceCtrlDispatcherW", table == nullptr ? nullptr : table->lpServiceName,
            host::entriesOf(table));
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  host::ServiceManager& services = host::machine().services;
  {
    const host::Scheduler::Guard guard;
    if (services.dispatcherCalled) {
      return call.fails(ERROR_SERVICE_ALREADY_RUNNING, FALSE);
    }
    if (!services.startedByManager) {
      return call.fails(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT, FALSE);
    }
    services.dispatcherCalled = true;
  }
  const LPSERVICE_MAIN_FUNCTIONW serviceMain = table->lpServiceProc;
  services.serviceThread = &host::Scheduler::instance().spawn("service", [&services, serviceMain] {
    std::wstring name = services.serviceName;
    LPWSTR arguments[] = {name.data(), nullptr};
    serviceMain(1, arguments);
  });
  host::dispatch(services);
  return call.failsWhenDone() ? call.fails(call.fault(), FALSE) : call.returns(TRUE);
}

SERVICE_STATUS_HANDLE RegisterServiceCtrlHandlerW(LPCWSTR name, LPHANDLER_FUNCTION handler) {
  Call call("RegisterServiceCtrlHandlerW", name);
  if (call.faulted()) {
    return call.returns<SERVICE_STATUS_HANDLE>(nullptr);
  }
  const host::Scheduler::Guard guard;
  host::machine().services.handler = handler;
  return call.returns(host::theStatusHandle());
}

BOOL SetServiceStatus(SERVICE_STATUS_HANDLE handle, LPSERVICE_STATUS status) {
  const SERVICE_STATUS told = host::copyOf(status);
  Call call("SetServiceStatus", handle, told.dwCurrentState, told.dwCheckPoint,
            told.dwWin32ExitCode);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (handle != host::theStatusHandle()) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  host::ServiceManager& services = host::machine().services;
  const BOOL answer = call.failsWhenDone() ? FALSE : TRUE;
  {
    // Two threads that report are told one after the other, in the order that is kept.
    const host::Scheduler::Guard guard;
    const SERVICE_STATUS taken = *status;
    services.statuses.push_back(taken);
    // A control is handed over because a report said that it is taken.
    if (taken.dwCurrentState != SERVICE_STOPPED) {
      host::races::publish(&services);
    }
    if (answer == FALSE) {
      host::setLastError(call.fault());
    }
    call.returns(answer);
    if (services.onStatus) {
      services.onStatus(taken);
    }
  }
  host::Scheduler::instance().yield("SetServiceStatus");
  return answer;
}
