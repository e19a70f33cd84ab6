// The entry of the library beside the program, for the runs that are measured: what the ordinary
// one does, and some of the program's calls leave a stamp on their way.

#include "bench/windows/Stamps.h"
#include "platform/wine/ImportTable.h"

namespace {

stamps::Shared* shared = nullptr;

decltype(&SetUnhandledExceptionFilter) setFilter = nullptr;
decltype(&EventRegister) registerProvider = nullptr;
decltype(&OpenProcessToken) openToken = nullptr;
decltype(&StartServiceCtrlDispatcherW) startDispatcher = nullptr;
decltype(&RegisterServiceCtrlHandlerW) registerHandler = nullptr;
decltype(&CreateWellKnownSid) createSid = nullptr;
decltype(&SetServiceStatus) setStatus = nullptr;

// The first call that the start of the C runtime makes.
LPTOP_LEVEL_EXCEPTION_FILTER WINAPI stampedFilter(LPTOP_LEVEL_EXCEPTION_FILTER filter) {
  stamps::stamp(shared, stamps::kEntry);
  return setFilter(filter);
}

ULONG WINAPI stampedRegister(LPCGUID id, PENABLECALLBACK callback, PVOID context, PREGHANDLE made) {
  stamps::stamp(shared, stamps::kLogSetUp);
  return registerProvider(id, callback, context, made);
}

BOOL WINAPI stampedOpenToken(HANDLE process, DWORD access, PHANDLE token) {
  stamps::stamp(shared, stamps::kPrivileges);
  return openToken(process, access, token);
}

BOOL WINAPI stampedDispatcher(const SERVICE_TABLE_ENTRYW* services) {
  stamps::stamp(shared, stamps::kDispatcher);
  if (shared->endsAtDispatcher != 0) {
    ExitProcess(0);
  }
  return startDispatcher(services);
}

SERVICE_STATUS_HANDLE WINAPI stampedHandler(LPCWSTR name, LPHANDLER_FUNCTION handler) {
  stamps::stamp(shared, stamps::kServiceMain);
  return registerHandler(name, handler);
}

// The first step of making the namespace that is the platform's own in these runs.
BOOL WINAPI stampedSid(WELL_KNOWN_SID_TYPE type, PSID domain, PSID made, DWORD* size) {
  stamps::stamp(shared, stamps::kNamespace);
  return createSid(type, domain, made, size);
}

// A process that is RUNNING has been measured; the manager must know that it has gone.
BOOL WINAPI stampedStatus(SERVICE_STATUS_HANDLE handle, LPSERVICE_STATUS status) {
  const BOOL done = setStatus(handle, status);
  if (status->dwCurrentState == SERVICE_START_PENDING) {
    stamps::stamp(shared, stamps::kStartPending);
  }
  if (status->dwCurrentState == SERVICE_RUNNING) {
    stamps::stamp(shared, stamps::kRunning);
    status->dwCurrentState = SERVICE_STOPPED;
    setStatus(handle, status);
    ExitProcess(0);
  }
  return done;
}

template <class Function>
void replace(const char* name, Function* standIn, Function** original) {
  *original =
      reinterpret_cast<Function*>(wine::replaceImport(name, reinterpret_cast<ULONG_PTR>(standIn)));
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) {
    return TRUE;
  }
  wine::replaceImports();
  shared = stamps::openShared();
  if (shared == nullptr) {
    return TRUE;
  }
  stamps::stamp(shared, stamps::kLoaded);
  replace("SetUnhandledExceptionFilter", stampedFilter, &setFilter);
  replace("EventRegister", stampedRegister, &registerProvider);
  replace("OpenProcessToken", stampedOpenToken, &openToken);
  replace("StartServiceCtrlDispatcherW", stampedDispatcher, &startDispatcher);
  replace("RegisterServiceCtrlHandlerW", stampedHandler, &registerHandler);
  replace("CreateWellKnownSid", stampedSid, &createSid);
  replace("SetServiceStatus", stampedStatus, &setStatus);
  return TRUE;
}
