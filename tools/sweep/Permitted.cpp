#include "tools/sweep/Permitted.h"

#include <algorithm>
#include <array>
#include <vector>

#include "platform/host/windows/windows.h"

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
constexpr Outcomes kServiceFails = to(kErrorCode, kOtherCode, kErrorAsZero);
// The launch is given up and its goal stays open: the next TPM event tries again, if one comes.
constexpr Outcomes kLaunchFails = to(kTold, kRunsOn);
// The configuration counts as missing or broken. The defaults may be what it says; where they are
// not, other lines are logged and waits last longer, and what the script does on lines comes or
// not.
constexpr Outcomes kDefaults = to(kUnnoticed, kTold, kRunsOn, kEndsSooner);
// The same where the line that tells of it is required.
constexpr Outcomes kDefaultsTold = to(kTold, kRunsOn, kEndsSooner);
// The log cannot be set up: the process ends in silence.
constexpr Outcomes kNoLog = to(kRefused);

constexpr std::string_view kLeavesMain = "Exception occured in ServiceMain function";
constexpr std::string_view kLeavesHandler = "Exception occured in ServiceControlHandler function";
constexpr std::string_view kLeavesLaunch = "[Run] Exception occured: ";
constexpr std::string_view kNotLaunched = "Cannot run OrvixVTMEKRecertification.exe process.";
constexpr std::string_view kProcessFailed = "Process exception occured: Last error code: ";
constexpr std::string_view kRunFailed = "Service stopped with error: ";
constexpr std::string_view kUnknownPrivilege = "LookupPrivilegeValue for ";
constexpr std::string_view kNoPrivate = "Unable to initialize service. Error message:";
constexpr std::string_view kBrokenConfig = "Corrupted config. Default values will be used.";

// A call, its phases, what it may come to, and the text of a line that tells of it.
constexpr Permission row(std::string_view calls, Phases phases, Outcomes outcomes,
                         std::string_view told = {}) {
  return {calls, phases, outcomes, told};
}

constexpr Permission once(Permission row) {
  row.times = Times::kOnce;
  return row;
}

constexpr Permission fromThenOn(Permission row) {
  row.times = Times::kFromThenOn;
  return row;
}

constexpr Permission withError(DWORD error, Permission row) {
  row.error = error;
  return row;
}

constexpr Permission only(Only place, Permission row) {
  row.only = place;
  return row;
}

constexpr Permission withCode(Code code, Permission row) {
  row.code = code;
  return row;
}

constexpr Phases kSettingUp = in(kEntering, kStarting);
constexpr DWORD kNotByTheManager = ERROR_FAILED_SERVICE_CONTROLLER_CONNECT;
constexpr DWORD kNoSuchTask = 0x80070002;

// Static objects, the log set-up, the privileges, the start.
constexpr std::array kStart = {
    // Nothing catches what the making of static objects throws.
    row("CreateMutexW", in(kLoading), to(kTerminate)),
    row("InitializeCriticalSectionAndSpinCount", in(kLoading), to(kTerminate)),

    // The configuration's file. What vanishes between a look and the next is a broken rule of the
    // file's own, and so is what cannot be copied: nobody expects it. A file that vanishes only
    // when its size is asked for is an empty one.
    row("CreateFileW", in(kEntering), kDefaults),
    row("CreateFileW", in(kStarting), kDefaultsTold, kBrokenConfig),
    row("SetFilePointer", in(kEntering), kDefaults),
    row("SetFilePointer", in(kStarting), kDefaultsTold, kBrokenConfig),
    row("ReadFile", in(kEntering), kDefaults),
    row("ReadFile", in(kStarting), kDefaultsTold, kBrokenConfig),
    row("FindFirstFileW", in(kEntering), kDefaults | kNoLog),
    row("FindFirstFileW", in(kStarting), kDefaults | to(kTerminate)),
    row("memcpy_s", in(kEntering), kNoLog),
    row("memcpy_s", in(kStarting), to(kTerminate)),
    // A variable that cannot be read counts as absent, and then the stack is asked.
    row("_dupenv_s", kSettingUp, to(kUnnoticed)),
    only(Only::kWithVariables, row("_dupenv_s", in(kEntering), kDefaults | kNoLog)),
    only(Only::kWithVariables, row("_dupenv_s", in(kStarting), kDefaults)),
    only(Only::kWithVariables, row("_dupenv_s", in(kStarting), kServiceFails, kLeavesMain)),

    // The outlets of the log.
    row("EventRegister", in(kEntering), kNoLog),
    row("EventSetInformation", in(kEntering), to(kUnnoticed)),
    row("EventWriteTransfer", kAlways, to(kUnnoticed)),
    only(Only::kWithTraces, row("EventWriteTransfer", kAlways, to(kTold))),

    // The privileges: whatever fails, the service goes on with the token that it has; but memory
    // for them is an exception of the standard library, which ends the entry.
    row("OpenProcessToken", in(kDropping), to(kTold), "OpenProcessToken failed, error code: "),
    row("LookupPrivilegeValueW", in(kDropping), to(kTold), kUnknownPrivilege),
    row("AdjustTokenPrivileges", in(kDropping), to(kTold),
        "AdjustTokenPrivileges failed, error code = "),
    row("HeapAlloc", in(kDropping), kNoLog,
        "Exception ocurred: Failed to alloc memory for drop privileges"),
    row("GetProcessHeap", in(kDropping), kNoLog,
        "Exception ocurred: Failed to alloc memory for drop privileges"),
    row("calloc", in(kDropping), kNoLog,
        "Exception ocurred: Failed to alloc memory for drop privileges"),
    row("GetProcessHeap", in(kDropping), to(kTold), "HeapFree failed, error code = "),
    row("HeapFree", in(kDropping), to(kTold), "HeapFree failed, error code = "),
    row("CloseHandle", in(kDropping), to(kTold), "CloseHandle failed, error code = "),

    // What fails from the log set-up on fails here too, and what fails from here on fails later.
    fromThenOn(row("HeapAlloc", in(kEntering), kNoLog,
                   "Exception ocurred: Failed to alloc memory for drop privileges")),
    fromThenOn(row("GetProcessHeap", in(kEntering), kNoLog,
                   "Exception ocurred: Failed to alloc memory for drop privileges")),
    fromThenOn(row("calloc", in(kEntering), kNoLog,
                   "Exception ocurred: Failed to alloc memory for drop privileges")),
    fromThenOn(row("HeapFree", in(kEntering), to(kTold), "HeapFree failed, error code = ")),
    fromThenOn(row("GetProcessHeap", in(kDropping), to(kFault), "HeapFree failed, error code = ")),
    fromThenOn(row("CloseHandle", in(kDropping), kDefaultsTold | to(kOtherCode),
                   "CloseHandle failed, error code = ")),

    // The service manager.
    withError(kNotByTheManager, row("StartServiceCtrlDispatcherW", in(kEntering), to(kUsage))),
    row("StartServiceCtrlDispatcherW", in(kEntering), to(kRefused),
        "Service did not start. (1056) Examine log for details"),
    row("RegisterServiceCtrlHandlerW", in(kEntering), to(kTerminate),
        "Error occured while registrering service control handler"),
    once(row("SetServiceStatus", kSettingUp, kServiceFails, kLeavesMain)),
    fromThenOn(row("SetServiceStatus", kSettingUp, to(kTerminate), kLeavesMain)),

    // A second exception, out of what handles the first.
    only(Only::kFailingAnyway, row("SetServiceStatus", kSettingUp | kWorking, to(kTerminate))),

    // The lock of the service's object, and its namespace.
    row("CreateMutexW", in(kStarting), kServiceFails, kLeavesMain),
    withCode(Code::kMinusOne, row("CreateBoundaryDescriptorW", in(kStarting),
                                  to(kErrorCode, kOtherCode), kNoPrivate)),
    withCode(Code::kMinusOne,
             row("CreateWellKnownSid", in(kStarting), to(kErrorCode, kOtherCode), kNoPrivate)),
    withCode(Code::kMinusOne, row("AddSIDToBoundaryDescriptor", in(kStarting),
                                  to(kErrorCode, kOtherCode), kNoPrivate)),
    withCode(Code::kMinusOne,
             row("CreatePrivateNamespaceW", in(kStarting), to(kErrorCode, kOtherCode), kNoPrivate)),
};

// Where the stack is: asked for by the log set-up, by the initialisation, by the loading of the
// client library and by the launch.
constexpr std::array kStack = {
    row("CM_*", in(kEntering), kNoLog),
    row("CM_*", in(kStarting) | kWorking, kServiceFails, kLeavesMain),
    row("CM_*", kWorking, kLaunchFails, kLeavesLaunch),
    // What fails for another device than the stack's is passed over; that may be the one that kept
    // the search from the stack's.
    only(Only::kWithDevices, row("CM_Locate_DevNodeW", in(kEntering), to(kUnnoticed))),
    only(Only::kWithDevices,
         row("CM_Locate_DevNodeW", in(kStarting) | kWorking, to(kTold, kEndsSooner),
             "CM_Locate_DevNode failed with status = ")),
    only(Only::kWithDevices,
         row("CM_Get_DevNode_Registry_PropertyW", in(kEntering), to(kUnnoticed))),
    only(Only::kWithDevices,
         row("CM_Get_DevNode_Registry_PropertyW", in(kStarting) | kWorking, to(kTold, kEndsSooner),
             "GetDeviceHardwareID failed with status = ")),
    row("RegQueryValueExW", in(kEntering), kNoLog),
    row("RegQueryValueExW", in(kStarting) | kWorking, kServiceFails, kLeavesMain),
    row("RegQueryValueExW", kWorking, kLaunchFails, kLeavesLaunch),
    // There are two tries.
    once(row("RegOpenKeyExW", kSettingUp | kWorking, to(kUnnoticed))),
    fromThenOn(row("RegOpenKeyExW", in(kEntering), kNoLog)),
    fromThenOn(row("RegOpenKeyExW", in(kStarting) | kWorking, kServiceFails, kLeavesMain)),
    fromThenOn(row("RegOpenKeyExW", kWorking, kLaunchFails, kLeavesLaunch)),
    // Memory for the device list is not looked at; for a value it is a failed read, and for a
    // platform string an exception that nobody catches.
    row("HeapAlloc", kSettingUp | kWorking, to(kFault)),
    row("GetProcessHeap", kSettingUp | kWorking, to(kFault, kUnnoticed)),
    row("calloc", kSettingUp | kWorking, to(kFault)),
    row("calloc", in(kEntering), kNoLog),
    row("calloc", in(kStarting) | kWorking, kServiceFails, kLeavesMain),
    row("calloc", kWorking, kLaunchFails, kLeavesLaunch),
    row("calloc", kWorking, to(kTerminate)),
};

constexpr std::array kWork = {
    // Of STOPPED; or the handler's of STOP_PENDING, and the stop is lost if it was the first.
    once(row("SetServiceStatus", kWorking, kServiceFails, kLeavesMain)),
    fromThenOn(row("SetServiceStatus", kWorking, to(kTerminate), kLeavesMain)),
    row("SetServiceStatus", kWorking, to(kTold, kRunsOn, kEndless), kLeavesHandler),

    // The events and the waits. Without a stop event, and with no error either, the wait fails
    // without end, if the run comes to one. Another event is that of the client caller's thread.
    withCode(Code::kTheError, row("CreateEventW", kWorking, to(kErrorCode, kOtherCode),
                                  "Cannot create event with error: ")),
    row("CreateEventW", kWorking, kServiceFails, kLeavesMain),
    withError(ERROR_SUCCESS, row("CreateEventW", kWorking, to(kTold, kEndless),
                                 "Cannot create event with error: 0")),
    row("OpenEventW", kWorking, to(kTold, kRunsOn), "Cannot open event with error: "),
    once(row("WaitForMultipleObjects", kWorking, to(kTold),
             "Waiting for event failed with error: ")),
    fromThenOn(row("WaitForMultipleObjects", kWorking, to(kTold, kEndless),
                   "Waiting for event failed with error: ")),
    // The lock at the beginning of the run; the look at the stop event during the tries, whose
    // error is told in place of the try's; the handler's lock.
    row("WaitForSingleObject", kWorking, kServiceFails, kLeavesMain),
    row("WaitForSingleObject", kWorking, to(kTold), "Cannot open event with error: "),
    row("WaitForSingleObject", kWorking, to(kTold), kLeavesHandler),
    row("ReleaseMutex", kWorking, to(kTold, kRunsOn), "ScopedLock dtor: Unlock failed for: "),
    row("SetEvent", kWorking, to(kTold), "~Event Unexpected error occured: "),
    // The handler does not look at it, and the stop is lost; the event may not be there anyway.
    row("SetEvent", in(kStopping), to(kUnnoticed, kTold, kRunsOn, kEndless)),
    row("ResetEvent", kWorking, to(kUnnoticed)),

    // The client's libraries: what is missing is an exception that the service's main function does
    // not catch; an entry that is missing faults when it is called. Languages may be missing.
    row("SetDllDirectoryW", kWorking, to(kUnnoticed)),
    row("LoadLibraryW", kWorking, to(kTerminate), "Failed to load a library. "),
    row("LoadLibraryExW", kWorking, to(kTerminate), "Failed to load a library. "),
    row("LoadLibraryExW", kWorking, to(kTold, kUnnoticed)),
    row("GetProcAddress", kWorking, to(kTold, kFault), "Failed to get procedure address."),

    // The recertification program.
    row("CreateProcessW", kWorking, kLaunchFails, kNotLaunched),

    // Texts of the system: an empty one stands in their place. For -1 there is none anyway.
    row("FormatMessageW", in(kStarting), to(kUnnoticed)),
    row("FormatMessageW", in(kDropping), to(kTold), kUnknownPrivilege),
    row("FormatMessageW", kAlways, to(kTold), kRunFailed),
    row("FormatMessageW", kWorking, to(kTold), kProcessFailed),
    row("calloc", in(kStarting), to(kUnnoticed)),
    row("calloc", in(kDropping), to(kTold), kUnknownPrivilege),
    row("calloc", kAlways, to(kTold), kRunFailed),
    row("calloc", kWorking, to(kTold), kProcessFailed),
};

// The scheduled task. No failure is more than lines of the log; but where a task is there already
// no result is looked at, and what is used then is null.
constexpr std::array kTask = {
    row("GetModuleFileNameW", kWorking, to(kTold), "GetModulePath failed"),
    row("PathRemoveFileSpecW", kWorking, to(kTold, kUnnoticed)),
    row("VerifyVersionInfoW", kWorking, to(kTold, kUnnoticed)),
    row("CoInitializeEx", kWorking, to(kTold), "CoInitializeEx failed: "),
    row("CoInitializeSecurity", kWorking, to(kTold), "CoInitializeSecurity failed: "),
    row("CoCreateInstance", kWorking, to(kTold), "Failed to create an instance of ITaskService: "),
    row("SysAllocString*", kWorking, to(kTerminate)),
    row("VariantClear", kWorking, to(kUnnoticed)),
    row("ITaskService::Connect", kWorking, to(kTold), "ITaskService::Connect failed: "),
    row("ITaskService::GetFolder", kWorking, to(kTold), "Cannot get Root folder pointer: "),
    row("ITaskService::NewTask", kWorking, to(kTold),
        "Failed to CoCreate an instance of the TaskService class:"),
    row("ITaskFolder::GetTask", kWorking, to(kTold), "Failed to Get Existing Task: "),
    withError(kNoSuchTask, row("ITaskFolder::GetTask", kWorking, to(kTold, kUnnoticed))),
    // A task that is still there may be started.
    row("ITaskFolder::DeleteTask", kWorking, to(kUnnoticed, kTold)),
    row("ITaskFolder::RegisterTaskDefinition", kWorking, to(kTold), "Error saving the Task : "),
    row("IRegisteredTask::get_Definition", kWorking, to(kFault)),
    row("ITaskDefinition::get_RegistrationInfo", kWorking, to(kTold),
        "Cannot get identification pointer: "),
    row("ITaskDefinition::get_Principal", kWorking, to(kTold), "Cannot get principal pointer: "),
    row("ITaskDefinition::get_Settings", kWorking, to(kTold), "Cannot get settings pointer: "),
    row("ITaskDefinition::get_Triggers", kWorking, to(kTold), "Cannot get trigger collection: "),
    row("ITaskDefinition::get_Actions", kWorking, to(kTold),
        "Cannot get Task collection pointer: "),
    only(Only::kWithATask, row("ITaskDefinition::get_Actions", kWorking, to(kFault))),
    row("IRegistrationInfo::put_Author", kWorking, to(kTold), "Cannot put identification info: "),
    row("IRegistrationInfo::put_Date", kWorking, to(kUnnoticed)),
    row("IPrincipal::put_LogonType", kWorking, to(kTold), "Cannot put principal info logon type: "),
    row("ITaskSettings::get_IdleSettings", kWorking, to(kTold),
        "Cannot get idle setting information: "),
    row("ITaskSettings::put_IdleSettings", kWorking, to(kTold), "Cannot put setting information: "),
    // Not looked at; the scheduler itself may refuse to save what is left, or start it otherwise.
    row("ITaskSettings::put_*", kWorking, to(kUnnoticed, kTold)),
    row("IIdleSettings::put_RestartOnIdle", kWorking, to(kTold),
        "Cannot put idle setting information: "),
    row("IIdleSettings::put_IdleDuration", kWorking, to(kUnnoticed)),
    row("IIdleSettings::put_WaitTimeout", kWorking, to(kUnnoticed)),
    row("IIdleSettings::put_StopOnIdleEnd", kWorking, to(kUnnoticed)),
    row("ITriggerCollection::Create", kWorking, to(kTold), "Cannot create trigger: "),
    row("IEventTrigger::put_Enabled", kWorking, to(kUnnoticed)),
    row("IEventTrigger::put_Subscription", kWorking, to(kTold),
        "Cannot add start boundary to trigger: "),
    row("IActionCollection::Create", kWorking, to(kTold), "Cannot create the action: "),
    row("IActionCollection::get_Item", kWorking, to(kFault)),
    row("IUnknown::QueryInterface", kWorking, to(kTold), "QueryInterface call failed for I"),
    only(Only::kWithATask, row("IUnknown::QueryInterface", kWorking, to(kFault))),
    row("IExecAction::put_Path", kWorking, to(kTold), "Cannot put action path: "),
    // Of a task that is pointed at another place: it keeps the old one.
    only(Only::kWithATaskToMend, row("IExecAction::put_Path", kWorking, to(kUnnoticed, kTold))),
    row("IExecAction::get_Path", kWorking, to(kFault)),
};

// What is let go: nothing depends on it. Only a file and the token say so. But the exit code after
// an exception is the last error, and that is then this one.
constexpr std::array kLettingGo = {
    row("CloseHandle", in(kEntering), kDefaults),
    row("CloseHandle", in(kStarting), kDefaultsTold, kBrokenConfig),
    row("CloseHandle", kAlways & ~in(kDropping), to(kUnnoticed, kOtherCode)),
    row("ClosePrivateNamespace", kAlways, to(kTold, kOtherCode), "Cannot close private namespace!"),
    row("EventUnregister", kAlways, to(kUnnoticed)),
    row("FindClose", kSettingUp, to(kUnnoticed)),
    row("FreeLibrary", kWorking | in(kStopped), to(kUnnoticed)),
    row("HeapFree", kSettingUp | kWorking, to(kUnnoticed)),
    row("LocalFree", kAlways, to(kUnnoticed)),
    row("RegCloseKey", kSettingUp | kWorking, to(kUnnoticed)),
};

constexpr std::array kExplanations = {
    Explanation{"CM_*", "tals stack not installed"},
    Explanation{"CM_*", "GetDeviceHKEY GetDeviceList failed"},
    Explanation{"CM_Get_Device_ID_List_SizeW",
                "GetDeviceList CM_Get_Device_ID_List_Size failed with status = "},
    Explanation{"CM_Get_Device_ID_ListW", "CM_Get_Device_ID_List failed with status = "},
    Explanation{"CM_Open_DevNode_Key", "CM_Open_DevNode_Key failed with status = "},
    // A stop that comes in the pause ahead of STOPPED, when an exception has ended the work, finds
    // no service any more.
    Explanation{"*", "ServiceControlHandler function Singleton::getInstance():NULL instance of ",
                kLeavesMain},
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
  static const std::vector<Permission> all = [] {
    std::vector<Permission> rows;
    for (const std::span<const Permission> part :
         {std::span<const Permission>(kStart), std::span<const Permission>(kStack),
          std::span<const Permission>(kWork), std::span<const Permission>(kTask),
          std::span<const Permission>(kLettingGo)}) {
      rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
  }();
  return all;
}

std::span<const Explanation> explanations() {
  return kExplanations;
}

std::span<const Unbalanced> unbalanced() {
  return kUnbalanced;
}

bool isAbout(const Permission& row, std::string_view call, host::Phase phase) {
  return isAmong(call, row.calls) && (row.phases & in(phase)) != 0;
}

bool permits(const Permission& row, Outcome outcome) {
  return (row.outcomes & to(outcome)) != 0;
}

bool isExplained(std::string_view call, std::string_view line,
                 const std::vector<std::string>& errors) {
  const auto isThere = [&](std::string_view text) {
    return std::any_of(errors.begin(), errors.end(), [&](const std::string& error) {
      return error.find(text) != std::string::npos;
    });
  };
  return std::any_of(kExplanations.begin(), kExplanations.end(), [&](const Explanation& row) {
    return isAmong(call, row.calls) && line.find(row.text) != std::string_view::npos &&
           (row.beside.empty() || isThere(row.beside));
  });
}

bool isToldAnyway(std::string_view call, host::Phase phase,
                  const std::vector<std::string>& plainLines) {
  const auto rows = permissions();
  return std::any_of(rows.begin(), rows.end(), [&](const Permission& row) {
    return isAbout(row, call, phase) && permits(row, kTold) && !row.told.empty() &&
           std::any_of(plainLines.begin(), plainLines.end(), [&](const std::string& line) {
             return line.find(row.told) != std::string::npos;
           });
  });
}

bool isBalanced(std::string_view call, std::string_view line) {
  return std::any_of(kUnbalanced.begin(), kUnbalanced.end(), [&](const Unbalanced& row) {
    return isAmong(call, row.calls) && line == row.line;
  });
}

}  // namespace sweep
