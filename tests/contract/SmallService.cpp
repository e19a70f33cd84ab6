#include "tests/contract/SmallService.h"

namespace contract {
namespace {

std::vector<std::string>* saw = nullptr;
SERVICE_STATUS_HANDLE statusHandle = nullptr;
HANDLE stopEvent = nullptr;
DWORD mainThread = 0;

BOOL report(DWORD state) {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
  status.dwWaitHint = 1000;
  return SetServiceStatus(statusHandle, &status);
}

void WINAPI handleControl(DWORD control) {
  saw->push_back("control " + std::to_string(control) +
                 (GetCurrentThreadId() == mainThread ? " on the dispatcher's thread" : ""));
  if (control == SERVICE_CONTROL_STOP) {
    report(SERVICE_STOP_PENDING);
    SetEvent(stopEvent);
  }
}

void WINAPI serviceMain(DWORD count, LPWSTR*) {
  saw->push_back("started with " + std::to_string(count) +
                 (GetCurrentThreadId() == mainThread ? "" : " on a thread of its own"));
  statusHandle = RegisterServiceCtrlHandlerW(L"", handleControl);
  saw->push_back(statusHandle != nullptr ? "handler taken" : "handler refused");
  saw->push_back(report(SERVICE_START_PENDING) ? "report taken" : "report refused");
  Sleep(300);
  report(SERVICE_RUNNING);
  WaitForSingleObject(stopEvent, INFINITE);
  report(SERVICE_STOPPED);
  Sleep(300);
  saw->push_back("main function leaves");
}

}  // namespace

void dispatch(std::vector<std::string>& seen) {
  saw = &seen;
  mainThread = GetCurrentThreadId();
  stopEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  wchar_t name[] = L"";
  const SERVICE_TABLE_ENTRYW table[] = {{name, serviceMain}, {nullptr, nullptr}};
  const BOOL first = StartServiceCtrlDispatcherW(table);
  seen.push_back("dispatcher " + std::to_string(first));
  const BOOL second = StartServiceCtrlDispatcherW(table);
  seen.push_back("dispatcher " + std::to_string(second) + " " + std::to_string(GetLastError()));
  CloseHandle(stopEvent);
}

}  // namespace contract
