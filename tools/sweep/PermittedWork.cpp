// What failures may come to in the search for the client stack, and while the service works.

#include <array>

#include "tools/sweep/PermittedRows.h"

namespace sweep::rows {
namespace {

constexpr std::string_view kNoStack =
    "[FTL] [TPM] Exception occured in ServiceMain function tals stack not installed";
constexpr std::string_view kNoStackToLaunch =
    "[ERR] [TPM] [0x] [Run] Exception occured: tals stack not installed";
constexpr std::string_view kNoDirectory =
    "[FTL] [TPM] Exception occured in ServiceMain function Cannot read tALS Client installation "
    "directory from registry.";
constexpr std::string_view kNoDirectoryToLaunch =
    "[ERR] [TPM] [0x] [Run] Exception occured: Cannot read tALS Client installation directory from "
    "registry.";
constexpr std::string_view kNoList = "[ERR] [TPM] GetDeviceHKEY GetDeviceList failed";
constexpr std::string_view kNotSized =
    "[ERR] [TPM] GetDeviceList CM_Get_Device_ID_List_Size failed with status = # for a {}";
constexpr std::string_view kNotListed =
    "[ERR] [TPM] CM_Get_Device_ID_List failed with status = # for a {}";
constexpr std::string_view kNotLocated =
    "[INF] [TPM] CM_Locate_DevNode failed with status = # for a {}";
constexpr std::string_view kNoHardwareId =
    "[INF] [TPM] GetDeviceHardwareID failed with status = # for a {}";
constexpr std::string_view kNotFound =
    "[DBG] [TPM] Device 'SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT' has not been found";
constexpr std::string_view kNoDeviceKey =
    "[ERR] [TPM] CM_Open_DevNode_Key failed with status = # for a {}";
constexpr std::string_view kNoSubKey =
    "[ERR] [TPM] Couldn't find <tALS Client> in device registry.";
constexpr std::string_view kNoSize = "[DBG] [TPM] GetValueString GetValueString failed.";
constexpr std::string_view kNoValue = "[DBG] [TPM] GetValueString success. Value=<>.";
constexpr std::string_view kNoMemoryForValue =
    "[ERR] [TPM] Malloc failed! GetValueString can't retrieve value.";
constexpr std::string_view kNoMemoryForList = "[ERR] [TPM] GetDeviceList HeapAlloc failed";

// While the log is set up nobody is told, and the log set-up fails; from then on the failure is
// told by these lines.
constexpr Permission noStack(std::string_view call, std::string_view why,
                             std::string_view further = {}) {
  return row(call, in(kStarting) | kWorking, kServiceFails, why, further, kNoStack);
}
constexpr Permission noStackToLaunch(std::string_view call, std::string_view why,
                                     std::string_view further = {}) {
  return row(call, kWorking, kLaunchFails, why, further, kNoStackToLaunch);
}
constexpr Permission noDirectory(std::string_view call, std::string_view why) {
  return row(call, in(kStarting), kServiceFails, why, kNoDirectory);
}
constexpr Permission noDirectoryToLoad(std::string_view call, std::string_view why) {
  return row(call, kWorking, kServiceFails, why, kNoStack);
}
constexpr Permission noDirectoryToLaunch(std::string_view call, std::string_view why) {
  return row(call, kWorking, kLaunchFails, why, kNoDirectoryToLaunch);
}

constexpr std::array kStack = {
    row("CM_*", in(kEntering), kNoLog),
    noStack("CM_Get_Device_ID_List_SizeW", kNotSized, kNoList),
    noStackToLaunch("CM_Get_Device_ID_List_SizeW", kNotSized, kNoList),
    noStack("CM_Get_Device_ID_ListW", kNotListed, kNoList),
    noStackToLaunch("CM_Get_Device_ID_ListW", kNotListed, kNoList),
    noStack("CM_Locate_DevNodeW", kNotLocated, kNotFound),
    noStackToLaunch("CM_Locate_DevNodeW", kNotLocated, kNotFound),
    noStack("CM_Get_DevNode_Registry_PropertyW", kNoHardwareId, kNotFound),
    noStackToLaunch("CM_Get_DevNode_Registry_PropertyW", kNoHardwareId, kNotFound),
    noStack("CM_Open_DevNode_Key", kNoDeviceKey),
    noStackToLaunch("CM_Open_DevNode_Key", kNoDeviceKey),
    // What fails for another device than the stack's is passed over; that may be the one that kept
    // the search from the stack's.
    only(Only::kWithDevices, row("CM_Locate_DevNodeW", in(kEntering), to(kUnnoticed))),
    only(Only::kWithDevices,
         row("CM_Locate_DevNodeW", in(kStarting) | kWorking, to(kTold, kEndsSooner), kNotLocated)),
    only(Only::kWithDevices,
         row("CM_Get_DevNode_Registry_PropertyW", in(kEntering), to(kUnnoticed))),
    only(Only::kWithDevices, row("CM_Get_DevNode_Registry_PropertyW", in(kStarting) | kWorking,
                                 to(kTold, kEndsSooner), kNoHardwareId)),
    row("RegQueryValueExW", in(kEntering), kNoLog),
    noDirectory("RegQueryValueExW", kNoSize),
    noDirectoryToLoad("RegQueryValueExW", kNoSize),
    noDirectoryToLaunch("RegQueryValueExW", kNoSize),
    noDirectory("RegQueryValueExW", kNoValue),
    noDirectoryToLoad("RegQueryValueExW", kNoValue),
    noDirectoryToLaunch("RegQueryValueExW", kNoValue),
    // There are two tries.
    once(row("RegOpenKeyExW", kSettingUp | kWorking, to(kUnnoticed))),
    fromThenOn(row("RegOpenKeyExW", in(kEntering), kNoLog)),
    fromThenOn(noStack("RegOpenKeyExW", kNoSubKey)),
    fromThenOn(noStackToLaunch("RegOpenKeyExW", kNoSubKey)),
    // Memory for the device list is not looked at; for a value it is a failed read, and for a
    // platform string an exception that nobody catches. While the log is set up nobody is told.
    row("HeapAlloc", in(kEntering), to(kFault)),
    row("HeapAlloc", in(kStarting) | kWorking, to(kFault), kNoMemoryForList),
    row("GetProcessHeap", in(kEntering), to(kFault)),
    row("GetProcessHeap", in(kStarting) | kWorking, to(kFault), kNoMemoryForList),
    row("GetProcessHeap", kSettingUp | kWorking, to(kUnnoticed)),
    row("calloc", in(kEntering), to(kFault)),
    row("calloc", in(kStarting) | kWorking, to(kFault), kNoMemoryForList),
    row("calloc", in(kEntering), kNoLog),
    noDirectory("calloc", kNoMemoryForValue),
    noDirectoryToLoad("calloc", kNoMemoryForValue),
    noDirectoryToLaunch("calloc", kNoMemoryForValue),
    row("calloc", kWorking, to(kTerminate)),
    // Nor is the memory for the path that a task which is found gives.
    only(Only::kWithATask, row("calloc", kWorking, to(kFault))),
};

constexpr std::string_view kUnknownPrivilege = "[DBG] [TPM] LookupPrivilegeValue for ";
constexpr std::string_view kNoStopEvent = "[ERR] [TPM] Cannot create event with error: {}";
constexpr std::string_view kRunFailed = "[DBG] [TPM] Service stopped with error: ";
constexpr std::string_view kWaitFailed =
    "[ERR] [TPM] [0x] [Run] Waiting for event failed with error: ";
constexpr std::string_view kWaited =
    "[DBG] [TPM] [0x] [Run] Waiting over. dwObject value: 4294967295";
constexpr std::string_view kNotOpened = "[DBG] [TPM] Cannot open event with error: {}";
constexpr std::string_view kNextTry = "[DBG] [TPM] Next try in 5 sec. Tries left : ";
constexpr std::string_view kNotLoaded = "[DBG] [TPM] [0x] Failed to load a library. *Error= {}";
constexpr std::string_view kProcessFailed =
    "[ERR] [TPM] [0x] [Run] Process exception occured: Last error code: ";

constexpr std::array kWork = {
    // Of STOPPED; or the handler's of STOP_PENDING, and the stop is lost if it was the first.
    once(row("SetServiceStatus", kWorking, kServiceFails, kLeavesMain)),
    fromThenOn(row("SetServiceStatus", kWorking, to(kTerminate), kLeavesMain)),
    row("SetServiceStatus", kWorking, to(kTold, kRunsOn, kEndless), kLeavesHandler),

    // Behind STOPPED: of a handler that comes too late, or of a second STOPPED, which nothing
    // catches.
    row("SetServiceStatus", in(kStopped), to(kTold, kEndsSooner), kLeavesHandler),
    only(Only::kFailingAnyway, row("SetServiceStatus", in(kStopped), to(kTerminate))),

    // The events and the waits. Without a stop event, and with no error either, the wait fails
    // without end, if the run comes to one. Another event is that of the client caller's thread.
    withCode(Code::kTheError,
             row("CreateEventW", kWorking, to(kErrorCode, kOtherCode), kNoStopEvent, kRunFailed)),
    row("CreateEventW", kWorking, kServiceFails,
        "[FTL] [TPM] Exception occured in ServiceMain function Event::Event:Create event failed "
        "{}"),
    withError(ERROR_SUCCESS, row("CreateEventW", kWorking, to(kTold), kNoStopEvent)),
    withError(ERROR_SUCCESS,
              row("CreateEventW", kWorking, to(kEndless), kNoStopEvent, kWaited, kWaitFailed)),
    // A failure of the last try leaves no line of its own.
    row("OpenEventW", kWorking, to(kTold, kRunsOn), kNotOpened, kNextTry),
    row("OpenEventW", kWorking, to(kTold, kRunsOn),
        "[DBG] [TPM] Event not registered by the system.", "[DBG] [TPM] Scheduling VTM Task ..."),
    // A stop that the next look takes ends the tries without a line.
    row("OpenEventW", in(kStopping), to(kUnnoticed)),
    once(row("WaitForMultipleObjects", kWorking, to(kTold), kWaited,
             "[ERR] [TPM] [0x] [Run] Waiting for event failed with error: {}")),
    fromThenOn(row("WaitForMultipleObjects", kWorking, to(kTold, kEndless), kWaited,
                   "[ERR] [TPM] [0x] [Run] Waiting for event failed with error: {}")),
    // The lock at the beginning of the run; the look at the stop event during the tries, whose
    // error is told in place of the try's; the handler's lock.
    row("WaitForSingleObject", kWorking, kServiceFails,
        "[FTL] [TPM] Exception occured in ServiceMain function ScopedLock:Lock failed for "),
    row("WaitForSingleObject", kWorking, to(kTold), kNotOpened),
    row("WaitForSingleObject", kWorking, to(kTold),
        "[ERR] [TPM] Exception occured in ServiceControlHandler function ScopedLock:Lock failed "
        "for "),
    row("ReleaseMutex", kWorking, to(kTold, kRunsOn),
        "[FTL] [TPM] [0x] ScopedLock dtor: Unlock failed for: "),
    row("SetEvent", kWorking, to(kTold),
        "[ERR] [TPM] ~Event Unexpected error occured: Event::signal:SetEvent failed, err: {}"),
    // The handler does not look at it, and the stop is lost; the event may not be there anyway.
    row("SetEvent", in(kStopping), to(kUnnoticed, kTold, kRunsOn, kEndless)),
    row("ResetEvent", kWorking, to(kUnnoticed)),

    // The client's libraries: what is missing is an exception that the service's main function does
    // not catch; an entry that is missing faults when it is called. Languages may be missing.
    row("SetDllDirectoryW", kWorking, to(kUnnoticed)),
    row("LoadLibraryW", kWorking, to(kTerminate), kNotLoaded),
    row("LoadLibraryExW", kWorking, to(kTerminate), kNotLoaded),
    row("LoadLibraryExW", kWorking, to(kTold, kUnnoticed)),
    row("GetProcAddress", kWorking, to(kTold, kFault),
        "[DBG] [TPM] *Failed to get procedure address.Name= *Error= {}"),

    // The recertification program.
    row("CreateProcessW", kWorking, kLaunchFails,
        "[ERR] [TPM] [0x] [RunVTMEKRecertification] Cannot run OrvixVTMEKRecertification.exe "
        "process.",
        "[ERR] [TPM] [0x] [Run] Process exception occured: Last error code: {} : ",
        "[DBG] [TPM] [0x] [Run] Service is going to continue."),

    // Texts of the system: an empty one stands in their place. For -1 there is none anyway.
    row("FormatMessageW", in(kStarting), to(kUnnoticed)),
    row("FormatMessageW", in(kDropping), to(kTold), kUnknownPrivilege),
    row("FormatMessageW", in(kDropping, kStarting) | kWorking, to(kTold), kRunFailed),
    row("FormatMessageW", kWorking, to(kTold), kProcessFailed),
    row("calloc", in(kStarting), to(kUnnoticed)),
    row("calloc", in(kDropping), to(kTold), kUnknownPrivilege),
    row("calloc", in(kDropping, kStarting) | kWorking, to(kTold), kRunFailed),
    row("calloc", kWorking, to(kTold), kProcessFailed),
};

}  // namespace

std::span<const Permission> ofTheStack() {
  return kStack;
}

std::span<const Permission> ofTheWork() {
  return kWork;
}

}  // namespace sweep::rows
