// The peer of the service's start: a service that does nothing but report RUNNING and STOPPED.

#include "bench/windows/Stamps.h"

namespace {

stamps::Shared* shared = nullptr;
SERVICE_STATUS_HANDLE status = nullptr;

void report(DWORD state) {
  SERVICE_STATUS record{};
  record.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  record.dwCurrentState = state;
  SetServiceStatus(status, &record);
}

void WINAPI ignoreControl(DWORD) {}

void WINAPI doNothing(DWORD, wchar_t**) {
  stamps::stamp(shared, stamps::kServiceMain);
  status = RegisterServiceCtrlHandlerW(L"", ignoreControl);
  report(SERVICE_RUNNING);
  stamps::stamp(shared, stamps::kRunning);
  report(SERVICE_STOPPED);
}

}  // namespace

int wmain() {
  shared = stamps::openShared();
  stamps::stamp(shared, stamps::kDispatcher);
  wchar_t name[] = L"";
  const SERVICE_TABLE_ENTRYW services[] = {{name, doNothing}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(services) ? 0 : 1;
}
