// The service manager's tool, sc.exe, as the scripts of the package use it: Wine's own knows half
// of the verbs, and ends with 1 where the platform's ends with the error. Each call is written down
// in C:\sc-calls.txt. While C:\sc-refuses.txt is there, every verb but `query` answers as it does
// to somebody who has not the rights, because Wine separates none; if it names a verb and an error,
// as "start 1053", that verb alone fails so.
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

#include "platform/win32.h"

namespace {

constexpr wchar_t kCalls[] = L"C:\\sc-calls.txt";
constexpr wchar_t kRefuses[] = L"C:\\sc-refuses.txt";

int failed(const wchar_t* what, DWORD error) {
  std::wprintf(L"[SC] %ls FAILED %lu:\n\n", what, error);
  return static_cast<int>(error);
}

void writeDown(int argc, wchar_t** argv) {
  FILE* calls = _wfopen(kCalls, L"a");
  if (calls == nullptr) {
    return;
  }
  for (int i = 1; i < argc; ++i) {
    std::fwprintf(calls, L"%ls%ls", i > 1 ? L"|" : L"", argv[i]);
  }
  std::fwprintf(calls, L"\n");
  std::fclose(calls);
}

// The error with which the verb is to be refused, or 0.
DWORD refusalOf(const std::wstring& verb) {
  FILE* refuses = _wfopen(kRefuses, L"r");
  if (refuses == nullptr) {
    return ERROR_SUCCESS;
  }
  wchar_t named[32] = L"";
  DWORD error = 0;
  const bool isNamed = std::fwscanf(refuses, L"%31ls %lu", named, &error) == 2;
  std::fclose(refuses);
  if (isNamed) {
    return verb == named ? error : ERROR_SUCCESS;
  }
  return verb == L"query" ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// The value behind a key such as "start="; null if it is not among the arguments.
const wchar_t* valueOf(int argc, wchar_t** argv, const wchar_t* key) {
  for (int i = 3; i + 1 < argc; i += 2) {
    if (_wcsicmp(argv[i], key) == 0) {
      return argv[i + 1];
    }
  }
  return nullptr;
}

struct Registration {
  DWORD start = SERVICE_NO_CHANGE;
  const wchar_t* image;
  const wchar_t* account;
  const wchar_t* shownName;
  std::wstring dependencies;
};

Registration registrationOf(int argc, wchar_t** argv) {
  Registration told;
  if (const wchar_t* start = valueOf(argc, argv, L"start=")) {
    told.start = std::wcscmp(start, L"auto") == 0 ? SERVICE_AUTO_START : SERVICE_DEMAND_START;
  }
  told.image = valueOf(argc, argv, L"binPath=");
  told.account = valueOf(argc, argv, L"obj=");
  told.shownName = valueOf(argc, argv, L"DisplayName=");
  if (const wchar_t* dependencies = valueOf(argc, argv, L"depend=")) {
    // Closed by an empty one.
    told.dependencies = std::wstring(dependencies) + L'\0';
  }
  return told;
}

int create(SC_HANDLE manager, int argc, wchar_t** argv) {
  const Registration told = registrationOf(argc, argv);
  const wchar_t* depend = told.dependencies.empty() ? nullptr : told.dependencies.c_str();
  SC_HANDLE service = CreateServiceW(manager, argv[2], told.shownName, SERVICE_ALL_ACCESS,
                                     SERVICE_WIN32_OWN_PROCESS, told.start, SERVICE_ERROR_NORMAL,
                                     told.image, nullptr, nullptr, depend, told.account, nullptr);
  if (service == nullptr) {
    return failed(L"CreateService", GetLastError());
  }
  CloseServiceHandle(service);
  return 0;
}

int config(SC_HANDLE service, int argc, wchar_t** argv) {
  const Registration told = registrationOf(argc, argv);
  const wchar_t* depend = told.dependencies.empty() ? nullptr : told.dependencies.c_str();
  if (!ChangeServiceConfigW(service, SERVICE_WIN32_OWN_PROCESS, told.start, SERVICE_ERROR_NORMAL,
                            told.image, nullptr, nullptr, depend, told.account, nullptr,
                            told.shownName)) {
    return failed(L"ChangeServiceConfig", GetLastError());
  }
  return 0;
}

int describe(SC_HANDLE service, wchar_t* text) {
  SERVICE_DESCRIPTIONW description{text};
  if (!ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &description)) {
    return failed(L"ChangeServiceConfig2", GetLastError());
  }
  return 0;
}

int query(SC_HANDLE service, const wchar_t* name) {
  SERVICE_STATUS status{};
  if (!QueryServiceStatus(service, &status)) {
    return failed(L"QueryServiceStatus", GetLastError());
  }
  constexpr const wchar_t* kStates[] = {
      L"",        L"STOPPED",          L"START_PENDING", L"STOP_PENDING",
      L"RUNNING", L"CONTINUE_PENDING", L"PAUSE_PENDING", L"PAUSED"};
  std::wprintf(L"\nSERVICE_NAME: %ls \n", name);
  std::wprintf(L"        STATE              : %lu  %ls \n", status.dwCurrentState,
               kStates[status.dwCurrentState & 7]);
  std::wprintf(L"        WIN32_EXIT_CODE    : %lu  (0x%lx)\n", status.dwWin32ExitCode,
               status.dwWin32ExitCode);
  return 0;
}

int act(SC_HANDLE service, const std::wstring& verb, int argc, wchar_t** argv) {
  SERVICE_STATUS status{};
  if (verb == L"query") {
    return query(service, argv[2]);
  }
  if (verb == L"config") {
    return config(service, argc, argv);
  }
  if (verb == L"description" && argc > 3) {
    return describe(service, argv[3]);
  }
  if (verb == L"failure" || verb == L"failureflag") {
    // Wine keeps neither; what was asked for has been written down.
    return 0;
  }
  if (verb == L"start") {
    return StartServiceW(service, 0, nullptr) ? 0 : failed(L"StartService", GetLastError());
  }
  if (verb == L"stop") {
    return ControlService(service, SERVICE_CONTROL_STOP, &status)
               ? 0
               : failed(L"ControlService", GetLastError());
  }
  if (verb == L"delete") {
    return DeleteService(service) ? 0 : failed(L"DeleteService", GetLastError());
  }
  return failed(L"(unknown command)", ERROR_INVALID_PARAMETER);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  writeDown(argc, argv);
  if (argc < 3) {
    return failed(L"(usage)", ERROR_INVALID_PARAMETER);
  }
  const std::wstring verb = argv[1];
  if (const DWORD error = refusalOf(verb); error != ERROR_SUCCESS) {
    return failed(verb == L"create" ? L"OpenSCManager" : L"OpenService", error);
  }
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager == nullptr) {
    return failed(L"OpenSCManager", GetLastError());
  }
  int result = 0;
  if (verb == L"create") {
    result = create(manager, argc, argv);
  } else {
    SC_HANDLE service = OpenServiceW(manager, argv[2], SERVICE_ALL_ACCESS);
    if (service == nullptr) {
      result = failed(L"OpenService", GetLastError());
    } else {
      result = act(service, verb, argc, argv);
      CloseServiceHandle(service);
    }
  }
  CloseServiceHandle(manager);
  return result;
}
