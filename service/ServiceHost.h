#pragma once

#include <cstdint>

#include "platform/win32.h"

// The process's dealings with the service control manager. The main thread calls the dispatcher and
// sits in it; the dispatcher calls `ServiceControlHandler` on that thread and `ServiceMain` on one
// of its own.

inline constexpr wchar_t kServiceVersion[] = L"1.79.13.0";

// The option of the command line that asks for the usage text, without its prefix.
inline constexpr wchar_t kHelpOption[] = L"help";

// Writes the usage text to the wide standard output. `programName` is the name that the program was
// called by.
void PrintUsage(const wchar_t* programName);

// Drops the process's privileges and enters the dispatcher; returns when the service has ended.
// In a process that the service control manager did not start it prints the usage text and returns.
// Throws SysException when the dispatcher fails otherwise, and what `InitializeSecurity` throws.
void StartDispatcher(const wchar_t* programName);

// The service's main function: creates the enrollment, runs it and reports the states. The
// arguments are not looked at. An Exception ends in STOPPED with the last error as exit code; any
// other kind, and a failure of that last report, ends the process abnormally.
void WINAPI ServiceMain(DWORD argc, wchar_t** argv);

// Acts on SERVICE_CONTROL_STOP alone. Returns when the run has ended, so it holds the dispatcher's
// thread until then. Exceptions are logged.
void WINAPI ServiceControlHandler(DWORD control);

// Sends a state (SERVICE_START_PENDING, ...) and the exit code to the service control manager. A
// report of SERVICE_STOPPED takes two seconds. Called on both threads with no lock.
// Throws SysException when the report is refused.
void ReportServiceStatus(DWORD state, DWORD exitCode);

// Whether a result of `TPMEnrollment::Run` is reported as success: 0 and -2.
bool CountsAsSuccess(std::uint32_t runResult);
