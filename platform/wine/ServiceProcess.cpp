#include "platform/wine/ServiceProcess.h"

#include <array>

#include "platform/wine/Failed.h"
#include "platform/wine/Plan.h"
#include "platform/wine/TokenPrivileges.h"

namespace wine {
namespace {

constexpr long long kNanosecondsPerSecond = 1'000'000'000;
// So long the platform's manager waits by itself for a program to become a service.
constexpr long long kUsualPatienceSeconds = 10;

std::string stateName(DWORD state) {
  static const char* const names[] = {"STOPPED", "START_PENDING", "STOP_PENDING", "RUNNING"};
  return state >= 1 && state <= 4 ? names[state - 1] : std::to_string(state);
}

SC_HANDLE registered(SC_HANDLE manager, const wchar_t* name, const std::wstring& commandLine) {
  SC_HANDLE const service = CreateServiceW(
      manager, name, name, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
      SERVICE_ERROR_NORMAL, commandLine.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
  if (service == nullptr) {
    failed("CreateServiceW");
  }
  return service;
}

SERVICE_STATUS_PROCESS statusOf(SC_HANDLE service) {
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<LPBYTE>(&status),
                       sizeof(status), &needed);
  return status;
}

// A program that is no service learns so at once only where the service that was started last has
// stopped; in a fresh session the platform lets it wait for ten seconds.
void startAndStopAnIdleService(SC_HANDLE manager) {
  std::array<wchar_t, MAX_PATH> self{};
  GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
  SC_HANDLE const idle =
      registered(manager, L"Idle", L"\"" + std::wstring(self.data()) + L"\" --idle");
  if (StartServiceW(idle, 0, nullptr)) {
    while (statusOf(idle).dwCurrentState != SERVICE_STOPPED) {
      Sleep(1);
    }
  }
  DeleteService(idle);
  CloseServiceHandle(idle);
}

}  // namespace

ServiceProcess::ServiceProcess(RunRecords& records,
                               std::function<void(const std::string&)> onStatus)
    : records_(records), onStatus_(std::move(onStatus)) {
  manager_ = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager_ == nullptr) {
    failed("OpenSCManagerW");
  }
}

ServiceProcess::~ServiceProcess() {
  if (control_.joinable()) {
    control_.join();
  }
  if (console_.joinable()) {
    console_.join();
  }
  if (process_ != nullptr) {
    CloseHandle(process_);
  }
  if (service_ != nullptr) {
    CloseServiceHandle(service_);
  }
  CloseServiceHandle(manager_);
}

void ServiceProcess::startByManager(const std::wstring& commandLine) {
  SC_HANDLE const service = registered(manager_, kServiceName, commandLine);
  // Until this call returns the manager answers no other one about the service, so a look by the
  // listener would keep the program from going on, and with it the call.
  const long long began = records_.nanoseconds();
  const BOOL isStarted = StartServiceW(service, 0, nullptr);
  const long long seconds = (records_.nanoseconds() - began) / kNanosecondsPerSecond;
  if (seconds >= kUsualPatienceSeconds) {
    records_.note("the start of the service took " + std::to_string(seconds) + " s");
  }
  if (!isStarted && process_ == nullptr) {
    failed("StartServiceW");
  }
  {
    const std::lock_guard<std::mutex> guard(looking_);
    service_ = service;
  }
  if (isStarted) {
    isProcess(statusOf(service_).dwProcessId);
  }
}

void ServiceProcess::isProcess(DWORD id) {
  const std::lock_guard<std::mutex> guard(looking_);
  if (process_ != nullptr) {
    return;
  }
  // The process's end is not noticed by this platform's manager, so it is watched itself.
  process_ = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_TERMINATE, FALSE, id);
  if (process_ == nullptr) {
    failed("OpenProcess");
  }
}

void ServiceProcess::startFromConsole(const std::wstring& program,
                                      const std::wstring& commandLine) {
  startAndStopAnIdleService(manager_);
  SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (!CreatePipe(&readEnd, &writeEnd, &inherited, 0)) {
    failed("CreatePipe");
  }
  SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = INVALID_HANDLE_VALUE;
  startup.hStdOutput = writeEnd;
  startup.hStdError = writeEnd;
  PROCESS_INFORMATION made{};
  std::wstring line = commandLine;
  const BOOL isMade = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0,
                                     nullptr, nullptr, &startup, &made);
  if (!isMade) {
    failed("CreateProcessW");
  }
  CloseHandle(writeEnd);
  CloseHandle(made.hThread);
  {
    const std::lock_guard<std::mutex> guard(looking_);
    if (process_ == nullptr) {
      process_ = made.hProcess;
    }
  }
  console_ = std::thread([this, readEnd] { readConsole(readEnd); });
}

void ServiceProcess::readConsole(HANDLE output) {
  std::string pending;
  std::array<char, 4096> piece{};
  DWORD size = 0;
  while (ReadFile(output, piece.data(), static_cast<DWORD>(piece.size()), &size, nullptr) &&
         size > 0) {
    pending.append(piece.data(), size);
    for (std::size_t end = 0; (end = pending.find('\n')) != std::string::npos;) {
      std::string line = pending.substr(0, end);
      if (!line.empty() && line.back() == '\r') {
        line.pop_back();
      }
      records_.record('C', line);
      pending.erase(0, end + 1);
    }
  }
  if (!pending.empty()) {
    records_.record('C', pending);
  }
  CloseHandle(output);
}

void ServiceProcess::look() {
  const std::lock_guard<std::mutex> guard(looking_);
  // While a control is on its way the manager answers nothing about the service, and a listener
  // that waited for it would keep the program from ending.
  if (service_ == nullptr || isControlled_) {
    return;
  }
  const SERVICE_STATUS_PROCESS status = statusOf(service_);
  std::string text;
  for (const DWORD field : {status.dwCurrentState, status.dwCheckPoint, status.dwWin32ExitCode,
                            status.dwControlsAccepted, status.dwWaitHint}) {
    text += (text.empty() ? "" : " ") + std::to_string(field);
  }
  // Before the program reports anything the manager has entries of its own, without a hint.
  if (status.dwWaitHint == 0 || text == lastStatus_) {
    return;
  }
  lastStatus_ = text;
  records_.record('S', text);
  onStatus_(stateName(status.dwCurrentState));
}

void ServiceProcess::control(DWORD number) {
  const std::string name =
      number == SERVICE_CONTROL_STOP ? std::string("stop") : "control " + std::to_string(number);
  const SERVICE_STATUS_PROCESS now = statusOf(service_);
  const bool isHandedOn =
      number == SERVICE_CONTROL_STOP && (now.dwControlsAccepted & SERVICE_ACCEPT_STOP) != 0;
  if (!isHandedOn || control_.joinable()) {
    // Refused at once, or handed to a handler that returns at once.
    SERVICE_STATUS status{};
    const BOOL done = ControlService(service_, number, &status);
    const DWORD error = GetLastError();
    records_.note("service manager: " + name +
                  (done ? " requested" : " refused, error " + std::to_string(error)));
    return;
  }
  records_.note("service manager: " + name + " requested");
  // The call returns when the program's handler does, which may take as long as the stop.
  isControlled_ = true;
  control_ = std::thread([this, number] {
    SERVICE_STATUS ignored{};
    ControlService(service_, number, &ignored);
    isControlled_ = false;
  });
}

std::set<std::string> ServiceProcess::privileges() const {
  return privilegesOf(process_);
}

std::optional<DWORD> ServiceProcess::exitCode() const {
  if (WaitForSingleObject(process_, 0) != WAIT_OBJECT_0) {
    return std::nullopt;
  }
  DWORD code = 0;
  GetExitCodeProcess(process_, &code);
  return code;
}

void ServiceProcess::end() {
  TerminateProcess(process_, 1);
}

void ServiceProcess::endConsole() {
  if (console_.joinable()) {
    console_.join();
  }
}

namespace {

SERVICE_STATUS_HANDLE idleHandle = nullptr;

void report(DWORD state) {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  SetServiceStatus(idleHandle, &status);
}

void WINAPI ignoreControl(DWORD) {}

void WINAPI idle(DWORD, wchar_t**) {
  idleHandle = RegisterServiceCtrlHandlerW(L"Idle", ignoreControl);
  report(SERVICE_RUNNING);
  report(SERVICE_STOPPED);
}

}  // namespace

void liveAsIdleService(DWORD beforehandMs) {
  Sleep(beforehandMs);
  wchar_t name[] = L"Idle";
  const SERVICE_TABLE_ENTRYW services[] = {{name, idle}, {nullptr, nullptr}};
  StartServiceCtrlDispatcherW(services);
}

}  // namespace wine
