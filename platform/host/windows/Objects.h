#pragma once

#include "platform/host/windows/Types.h"

// Events, mutexes, critical sections, waits, threads, processes and private namespaces.

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 0x80;
inline constexpr DWORD WAIT_ABANDONED_0 = 0x80;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;
inline constexpr DWORD SYNCHRONIZE = 0x00100000;
inline constexpr DWORD EVENT_MODIFY_STATE = 0x0002;
inline constexpr DWORD EVENT_ALL_ACCESS = 0x001F0003;
inline constexpr ULONG PRIVATE_NAMESPACE_FLAG_DESTROY = 1;
inline constexpr DWORD STILL_ACTIVE = 259;

struct CRITICAL_SECTION {
  void* state;
};
using LPCRITICAL_SECTION = CRITICAL_SECTION*;

using LPTHREAD_START_ROUTINE = DWORD (*)(LPVOID);

struct STARTUPINFOW {
  DWORD cb;
  LPWSTR lpReserved;
  LPWSTR lpDesktop;
  LPWSTR lpTitle;
  DWORD dwX;
  DWORD dwY;
  DWORD dwXSize;
  DWORD dwYSize;
  DWORD dwXCountChars;
  DWORD dwYCountChars;
  DWORD dwFillAttribute;
  DWORD dwFlags;
  WORD wShowWindow;
  WORD cbReserved2;
  LPBYTE lpReserved2;
  HANDLE hStdInput;
  HANDLE hStdOutput;
  HANDLE hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;

struct PROCESS_INFORMATION {
  HANDLE hProcess;
  HANDLE hThread;
  DWORD dwProcessId;
  DWORD dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                    LPCWSTR name);
HANDLE OpenEventW(DWORD access, BOOL inherit, LPCWSTR name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);
HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name);
BOOL ReleaseMutex(HANDLE mutex);
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds);
BOOL CloseHandle(HANDLE handle);

BOOL InitializeCriticalSectionAndSpinCount(LPCRITICAL_SECTION section, DWORD spinCount);
void EnterCriticalSection(LPCRITICAL_SECTION section);
void LeaveCriticalSection(LPCRITICAL_SECTION section);
void DeleteCriticalSection(LPCRITICAL_SECTION section);

HANDLE CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stackSize,
                    LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags, LPDWORD threadId);
DWORD GetCurrentThreadId();
HANDLE GetCurrentProcess();
void Sleep(DWORD milliseconds);

BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine,
                    LPSECURITY_ATTRIBUTES processAttributes, LPSECURITY_ATTRIBUTES threadAttributes,
                    BOOL inheritHandles, DWORD flags, LPVOID environment, LPCWSTR currentDirectory,
                    LPSTARTUPINFOW startupInfo, LPPROCESS_INFORMATION processInformation);

HANDLE CreateBoundaryDescriptorW(LPCWSTR name, ULONG flags);
BOOL AddSIDToBoundaryDescriptor(HANDLE* boundary, PVOID sid);
HANDLE CreatePrivateNamespaceW(LPSECURITY_ATTRIBUTES attributes, LPVOID boundary, LPCWSTR alias);
BOOLEAN ClosePrivateNamespace(HANDLE handle, ULONG flags);

// Structured exceptions, as far as a thread's name for the debugger needs them.
struct EXCEPTION_RECORD {
  DWORD ExceptionCode;
  DWORD ExceptionFlags;
  EXCEPTION_RECORD* ExceptionRecord;
  PVOID ExceptionAddress;
  DWORD NumberParameters;
  ULONG_PTR ExceptionInformation[15];
};
struct CONTEXT;
struct EXCEPTION_POINTERS {
  EXCEPTION_RECORD* ExceptionRecord;
  CONTEXT* ContextRecord;
};
inline constexpr LONG EXCEPTION_CONTINUE_EXECUTION = -1;
inline constexpr LONG EXCEPTION_CONTINUE_SEARCH = 0;
using PVECTORED_EXCEPTION_HANDLER = LONG (*)(EXCEPTION_POINTERS*);

void RaiseException(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* arguments);
PVOID AddVectoredExceptionHandler(ULONG first, PVECTORED_EXCEPTION_HANDLER handler);
ULONG RemoveVectoredExceptionHandler(PVOID handle);
