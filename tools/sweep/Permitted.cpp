#include "tools/sweep/Permitted.h"

#include <algorithm>
#include <array>

namespace sweep {
namespace {

using enum host::Phase;
using enum Outcome;

constexpr Phases in(host::Phase phase) {
  return 1U << static_cast<unsigned>(phase);
}

template <class... More>
constexpr Phases in(host::Phase phase, More... more) {
  return in(phase) | in(more...);
}

constexpr Outcomes to(Outcome outcome) {
  return 1U << static_cast<unsigned>(outcome);
}

template <class... More>
constexpr Outcomes to(Outcome outcome, More... more) {
  return to(outcome) | to(more...);
}

constexpr Phases kAlways = ~0U;
// What Run does, also while a stop is under way.
constexpr Phases kWorking = in(kRunning, kStopping);

// An exception leaves the service's work: STOPPED with whatever the last error is, 0 among others.
constexpr Outcomes kServiceFails = to(kErrorCode, kOtherCode, kTold, kEndsSooner);
// The launch is given up and its goal stays open: the next TPM event tries again, if one comes.
constexpr Outcomes kLaunchFails = to(kTold, kRunsOn);
// The configuration counts as missing or broken, and the defaults may be what it says.
constexpr Outcomes kDefaults = to(kUnnoticed, kTold, kRunsOn, kEndsSooner);
// The log cannot be set up: the process ends in silence.
constexpr Outcomes kNoLog = to(kRefused);

constexpr std::array kPermissions = {
    // Static objects: nothing catches what their making throws.
    Permission{"CreateMutexW", in(kLoading), to(kTerminate)},
    Permission{"InitializeCriticalSectionAndSpinCount", in(kLoading), to(kTerminate)},

    // Where the stack is: asked for by the log set-up, by the initialisation, by the loading of the
    // client library and by the launch.
    // What fails for another device than the stack's is passed over.
    Permission{"CM_Locate_DevNodeW", in(kEntering, kStarting) | kWorking, to(kUnnoticed, kTold)},
    Permission{"CM_Get_DevNode_Registry_PropertyW", in(kEntering, kStarting) | kWorking,
               to(kUnnoticed, kTold)},
    Permission{"CM_*", in(kEntering), kNoLog},
    Permission{"CM_*", in(kStarting), kServiceFails},
    Permission{"CM_*", kWorking, kServiceFails | kLaunchFails},
    Permission{"RegQueryValueExW", in(kEntering), kNoLog},
    Permission{"RegQueryValueExW", in(kStarting), kServiceFails},
    Permission{"RegQueryValueExW", kWorking, kServiceFails | kLaunchFails},
    // The first try of two may fail unseen.
    Permission{"RegOpenKeyExW", in(kEntering), kNoLog | to(kUnnoticed)},
    Permission{"RegOpenKeyExW", in(kStarting), kServiceFails | to(kUnnoticed)},
    Permission{"RegOpenKeyExW", kWorking, kServiceFails | kLaunchFails | to(kUnnoticed)},
    // Memory for the device list is not looked at; for the privileges it is an exception of the
    // standard library, which ends the entry; for a value it is a failed read.
    Permission{"HeapAlloc", in(kEntering), to(kFault, kRefused)},
    Permission{"HeapAlloc", in(kStarting) | kWorking, to(kFault)},
    Permission{"GetProcessHeap", in(kEntering), to(kFault, kRefused, kTold, kUnnoticed)},
    Permission{"GetProcessHeap", in(kStarting) | kWorking, to(kFault, kUnnoticed)},
    Permission{"calloc", in(kEntering), to(kFault, kRefused, kTold)},
    Permission{"calloc", in(kStarting), to(kFault) | kServiceFails},
    // A platform string without memory is an exception that nobody catches.
    Permission{"calloc", kWorking, to(kFault, kTerminate) | kServiceFails | kLaunchFails},

    // The configuration's file. What vanishes between a look and the next is a broken rule of the
    // file's own, and so is what cannot be copied: nobody expects it.
    Permission{"CreateFileW", in(kEntering, kStarting), kDefaults},
    Permission{"SetFilePointer", in(kEntering, kStarting), kDefaults},
    Permission{"ReadFile", in(kEntering, kStarting), kDefaults},
    Permission{"FindFirstFileW", in(kEntering), kDefaults | kNoLog},
    Permission{"FindFirstFileW", in(kStarting), kDefaults | to(kTerminate)},
    Permission{"memcpy_s", in(kEntering), kNoLog},
    Permission{"memcpy_s", in(kStarting), to(kTerminate)},
    // A variable that cannot be read counts as absent, and then the stack is asked.
    Permission{"_dupenv_s", in(kEntering), kDefaults | kNoLog},
    Permission{"_dupenv_s", in(kStarting), kDefaults | kServiceFails},

    // The outlets of the log.
    Permission{"EventRegister", in(kEntering), kNoLog},
    Permission{"EventSetInformation", in(kEntering), to(kUnnoticed)},
    Permission{"EventWriteTransfer", kAlways, to(kTold, kUnnoticed)},

    // The privileges: whatever fails, the service goes on with the token that it has.
    Permission{"OpenProcessToken", in(kEntering), to(kTold)},
    Permission{"LookupPrivilegeValueW", in(kEntering), to(kTold, kUnnoticed)},
    Permission{"AdjustTokenPrivileges", in(kEntering), to(kTold)},

    // The service manager.
    Permission{"StartServiceCtrlDispatcherW", in(kEntering), to(kUsage, kRefused)},
    Permission{"RegisterServiceCtrlHandlerW", in(kEntering), to(kTerminate)},
    Permission{"SetServiceStatus", in(kEntering, kStarting), kServiceFails | to(kTerminate)},
    // Of STOPPED; or the handler's of STOP_PENDING, and the stop is lost.
    Permission{"SetServiceStatus", kWorking, kServiceFails | to(kTerminate, kRunsOn, kEndless)},

    // The lock of the service's object, and its namespace.
    Permission{"CreateMutexW", in(kStarting), kServiceFails},
    Permission{"CreateBoundaryDescriptorW", in(kStarting), to(kErrorCode, kOtherCode, kTold)},
    Permission{"CreateWellKnownSid", in(kStarting), to(kErrorCode, kOtherCode, kTold)},
    Permission{"AddSIDToBoundaryDescriptor", in(kStarting), to(kErrorCode, kOtherCode, kTold)},
    Permission{"CreatePrivateNamespaceW", in(kStarting), to(kErrorCode, kOtherCode, kUnnoticed)},

    // The events and the waits. Without a stop event, and with no error either, the wait fails
    // without end.
    Permission{"CreateEventW", kWorking, kServiceFails | to(kEndless)},
    Permission{"OpenEventW", kWorking, to(kTold, kUnnoticed, kRunsOn)},
    Permission{"WaitForMultipleObjects", kWorking, to(kTold, kEndless)},
    Permission{"WaitForSingleObject", kWorking, kServiceFails},
    Permission{"ReleaseMutex", kWorking, to(kTold, kRunsOn)},
    Permission{"SetEvent", kWorking, to(kTold, kRunsOn, kEndless)},
    // The handler does not look at it, and the event may not be there anyway.
    Permission{"SetEvent", in(kStopping), to(kUnnoticed)},
    Permission{"ResetEvent", kWorking, to(kUnnoticed)},

    // The client's libraries: what is missing is an exception that the service's main function does
    // not catch; an entry that is missing faults when it is called.
    Permission{"SetDllDirectoryW", kWorking, to(kUnnoticed)},
    Permission{"LoadLibraryW", kWorking, to(kTerminate)},
    Permission{"LoadLibraryExW", kWorking, to(kTerminate, kTold, kUnnoticed)},
    Permission{"GetProcAddress", kWorking, to(kTold, kUnnoticed, kFault)},

    // The recertification program.
    Permission{"CreateProcessW", kWorking, kLaunchFails},

    // Texts of the system, and ours in their place.
    Permission{"FormatMessageW", kAlways, to(kTold, kUnnoticed)},

    // The scheduled task. No failure is more than lines of the log; but where a task is there
    // already no result is looked at, and what is used then is null.
    Permission{"GetModuleFileNameW", kWorking, to(kTold, kUnnoticed)},
    Permission{"PathRemoveFileSpecW", kWorking, to(kTold, kUnnoticed)},
    Permission{"VerifyVersionInfoW", kWorking, to(kTold, kUnnoticed)},
    Permission{"CoInitializeEx", kWorking, to(kTold)},
    Permission{"CoInitializeSecurity", kWorking, to(kTold)},
    Permission{"CoCreateInstance", kWorking, to(kTold)},
    Permission{"SysAllocString*", kWorking, to(kTerminate)},
    Permission{"VariantClear", kWorking, to(kUnnoticed)},
    Permission{"ITaskService::*", kWorking, to(kTold)},
    Permission{"ITaskFolder::GetTask", kWorking, to(kTold, kUnnoticed)},
    Permission{"ITaskFolder::DeleteTask", kWorking, to(kUnnoticed, kTold)},
    Permission{"ITaskFolder::RegisterTaskDefinition", kWorking, to(kTold)},
    Permission{"IRegisteredTask::get_Definition", kWorking, to(kFault)},
    Permission{"ITaskDefinition::*", kWorking, to(kTold)},
    Permission{"ITaskDefinition::get_Actions", kWorking, to(kFault)},
    Permission{"IRegistrationInfo::put_Author", kWorking, to(kTold)},
    Permission{"IRegistrationInfo::put_Date", kWorking, to(kUnnoticed)},
    Permission{"IPrincipal::put_LogonType", kWorking, to(kTold)},
    Permission{"ITaskSettings::get_IdleSettings", kWorking, to(kTold)},
    Permission{"ITaskSettings::put_IdleSettings", kWorking, to(kTold)},
    // Not looked at; the scheduler itself may refuse to save what is left, or start it otherwise.
    Permission{"ITaskSettings::put_*", kWorking, to(kUnnoticed, kTold)},
    Permission{"IIdleSettings::put_RestartOnIdle", kWorking, to(kTold)},
    Permission{"IIdleSettings::put_IdleDuration", kWorking, to(kUnnoticed)},
    Permission{"IIdleSettings::put_WaitTimeout", kWorking, to(kUnnoticed)},
    Permission{"IIdleSettings::put_StopOnIdleEnd", kWorking, to(kUnnoticed)},
    Permission{"ITriggerCollection::Create", kWorking, to(kTold)},
    Permission{"IEventTrigger::put_Enabled", kWorking, to(kUnnoticed)},
    Permission{"IEventTrigger::put_Subscription", kWorking, to(kTold)},
    Permission{"IActionCollection::Create", kWorking, to(kTold)},
    Permission{"IActionCollection::get_Item", kWorking, to(kFault)},
    Permission{"IUnknown::QueryInterface", kWorking, to(kTold, kFault)},
    Permission{"IExecAction::put_Path", kWorking, to(kTold, kUnnoticed)},
    Permission{"IExecAction::get_Path", kWorking, to(kFault)},

    // What is let go: nothing depends on it. Only a file and the token say so. But the exit code
    // after an exception is the last error, and that is then this one.
    Permission{"CloseHandle", in(kEntering, kStarting), kDefaults},
    Permission{"CloseHandle", kAlways, to(kUnnoticed, kOtherCode)},
    Permission{"ClosePrivateNamespace", kAlways, to(kTold, kOtherCode)},
    Permission{"EventUnregister", in(kEntering, kStopped), to(kUnnoticed)},
    Permission{"FindClose", in(kEntering, kStarting), to(kUnnoticed)},
    Permission{"FreeLibrary", kWorking | in(kStopped), to(kUnnoticed)},
    Permission{"HeapFree", in(kEntering), to(kUnnoticed, kTold)},
    Permission{"HeapFree", in(kStarting) | kWorking, to(kUnnoticed)},
    Permission{"LocalFree", kAlways, to(kUnnoticed)},
    Permission{"RegCloseKey", in(kEntering, kStarting) | kWorking, to(kUnnoticed)},
};

constexpr std::array kExplanations = {
    Explanation{"CM_*", "tals stack not installed"},
    Explanation{"CM_*", "GetDeviceHKEY GetDeviceList failed"},
    Explanation{"CM_Get_Device_ID_List_SizeW",
                "GetDeviceList CM_Get_Device_ID_List_Size failed with status = "},
    Explanation{"CM_Get_Device_ID_ListW", "CM_Get_Device_ID_List failed with status = "},
    Explanation{"CM_Open_DevNode_Key", "CM_Open_DevNode_Key failed with status = "},
    // A stop that comes in the pause ahead of STOPPED finds no service any more.
    Explanation{"*", "ServiceControlHandler function Singleton::getInstance():NULL instance of "},
    Explanation{"RegOpenKeyExW", "Couldn't find <tALS Client> in device registry."},
    Explanation{"RegOpenKeyExW", "tals stack not installed"},
    Explanation{"RegQueryValueExW", "tals stack not installed"},
    Explanation{"RegQueryValueExW",
                "Cannot read tALS Client installation directory from registry."},
    Explanation{"HeapAlloc", "GetDeviceList HeapAlloc failed"},
    Explanation{"HeapAlloc", "Failed to alloc memory for drop privileges"},
    Explanation{"GetProcessHeap", "GetDeviceList HeapAlloc failed"},
    Explanation{"GetProcessHeap", "Failed to alloc memory for drop privileges"},
    Explanation{"GetProcessHeap", "HeapFree failed, error code = 6"},
    Explanation{"HeapFree", "HeapFree failed, error code = 87"},
    Explanation{"calloc", "GetDeviceList HeapAlloc failed"},
    Explanation{"calloc", "Failed to alloc memory for drop privileges"},
    Explanation{"calloc", "Malloc failed! GetValueString can't retrieve value."},
    Explanation{"calloc", "Cannot read tALS Client installation directory from registry."},
    Explanation{"calloc", "tals stack not installed"},
    Explanation{"CloseHandle", "Corrupted config. Default values will be used."},
    Explanation{"CloseHandle", "CloseHandle failed, error code = "},
    Explanation{"CreateFileW", "Corrupted config. Default values will be used."},
    Explanation{"SetFilePointer", "Corrupted config. Default values will be used."},
    Explanation{"ReadFile", "Corrupted config. Default values will be used."},
    Explanation{"FindFirstFileW", "Corrupted config. Default values will be used."},
    Explanation{"memcpy_s", "writeRaw memcpy_s failed"},
    Explanation{"OpenProcessToken", "OpenProcessToken failed, error code: "},
    Explanation{"OpenProcessToken", "Dropping Privileges: Failure"},
    Explanation{"AdjustTokenPrivileges", "AdjustTokenPrivileges failed, error code = "},
    Explanation{"AdjustTokenPrivileges", "Dropping Privileges: Failure"},
    Explanation{"StartServiceCtrlDispatcherW", "Service did not start. (1056) Examine log"},
    Explanation{"StartServiceCtrlDispatcherW", "Exception ocurred:"},
    Explanation{"RegisterServiceCtrlHandlerW",
                "Error occured while registrering service control handler"},
    Explanation{"RegisterServiceCtrlHandlerW", "Exception occured in ServiceMain function"},
    Explanation{"SetServiceStatus", "Exception occured in ServiceMain function"},
    Explanation{"SetServiceStatus", "Exception occured in ServiceControlHandler function"},
    Explanation{"CreateMutexW", "Mutex::Mutex():CreateMutex failed: err: "},
    Explanation{"CreateBoundaryDescriptorW", "Unable to initialize service. Error message:"},
    Explanation{"CreateWellKnownSid", "Unable to initialize service. Error message:"},
    Explanation{"AddSIDToBoundaryDescriptor", "Unable to initialize service. Error message:"},
    Explanation{"CreatePrivateNamespaceW", "Unable to initialize service. Error message:"},
    Explanation{"CreateEventW", "Cannot create event with error: "},
    Explanation{"CreateEventW", "Event::Event:Create event failed "},
    Explanation{"CreateEventW", "Waiting for event failed with error: "},
    Explanation{"WaitForMultipleObjects", "Waiting for event failed with error: "},
    Explanation{"WaitForSingleObject", "ScopedLock:Lock failed for "},
    Explanation{"FormatMessageW", "Process exception occured: Last error code: "},
    Explanation{"calloc", "Process exception occured: Last error code: "},
    Explanation{"ReleaseMutex", "ScopedLock:Lock failed for "},
    Explanation{"ReleaseMutex", "ScopedLock dtor: Unlock failed for: "},
    Explanation{"SetEvent",
                "~Event Unexpected error occured: Event::signal:SetEvent failed, err: "},
    Explanation{"CreateProcessW", "Cannot run OrvixVTMEKRecertification.exe process."},
    Explanation{"CreateProcessW", "Process exception occured: Last error code: "},
};

constexpr std::array kToldAnyway = {
    Explanation{"CreateProcessW", "Cannot run OrvixVTMEKRecertification.exe process."},
    Explanation{"ITaskService::Connect", "ITaskService::Connect failed: 80070005"},
};

constexpr std::array kUnbalanced = {
    Unbalanced{"CloseHandle", "event from CreateEventW is still open"},
    Unbalanced{"CloseHandle", "event from OpenEventW is still open"},
    Unbalanced{"CloseHandle", "file from CreateFileW is still open"},
    Unbalanced{"CloseHandle", "mutex from CreateMutexW is still open"},
    Unbalanced{"CloseHandle", "token from OpenProcessToken is still open"},
    Unbalanced{"ClosePrivateNamespace", "namespace from CreatePrivateNamespaceW is still open"},
    Unbalanced{"EventUnregister", "provider from EventRegister is still open"},
    Unbalanced{"FindClose", "find from FindFirstFileW is still open"},
    Unbalanced{"FreeLibrary", "module from LoadLibraryExW is still open"},
    Unbalanced{"LocalFree", "allocation from FormatMessageW is still open"},
    Unbalanced{"GetProcessHeap", "allocation from HeapAlloc is still open"},
    Unbalanced{"HeapFree", "allocation from HeapAlloc is still open"},
    Unbalanced{"RegCloseKey", "key from CM_Open_DevNode_Key is still open"},
    Unbalanced{"RegCloseKey", "key from RegOpenKeyExW is still open"},
};

bool isAmong(std::string_view call, std::string_view calls) {
  if (calls.ends_with('*')) {
    calls.remove_suffix(1);
    return call.starts_with(calls);
  }
  return call == calls;
}

}  // namespace

std::span<const Permission> permissions() {
  return kPermissions;
}

std::span<const Explanation> explanations() {
  return kExplanations;
}

std::span<const Unbalanced> unbalanced() {
  return kUnbalanced;
}

bool isPermitted(std::string_view call, host::Phase phase, Outcome outcome) {
  return std::any_of(kPermissions.begin(), kPermissions.end(), [&](const Permission& row) {
    return isAmong(call, row.calls) && (row.phases & in(phase)) != 0 &&
           (row.outcomes & to(outcome)) != 0;
  });
}

bool isExplained(std::string_view call, std::string_view line) {
  return std::any_of(kExplanations.begin(), kExplanations.end(), [&](const Explanation& row) {
    return isAmong(call, row.calls) && line.find(row.text) != std::string_view::npos;
  });
}

bool isToldAnyway(std::string_view call, const std::vector<std::string>& plainLines) {
  return std::any_of(kToldAnyway.begin(), kToldAnyway.end(), [&](const Explanation& row) {
    return isAmong(call, row.calls) &&
           std::any_of(plainLines.begin(), plainLines.end(), [&](const std::string& line) {
             return line.find(row.text) != std::string::npos;
           });
  });
}

bool isBalanced(std::string_view call, std::string_view line) {
  return std::any_of(kUnbalanced.begin(), kUnbalanced.end(), [&](const Unbalanced& row) {
    return isAmong(call, row.calls) && line == row.line;
  });
}

}  // namespace sweep
