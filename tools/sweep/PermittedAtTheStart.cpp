// What failures may come to from the static objects to the report of RUNNING.

#include <array>

#include "tools/sweep/PermittedRows.h"

namespace sweep::rows {
namespace {

constexpr std::string_view kBrokenConfig =
    "[ERR] [TPM] Corrupted config. Default values will be used.";
constexpr std::string_view kNoPrivate = "[ERR] [TPM] Unable to initialize service. Error message:";
constexpr std::string_view kNoNamespace = "[DBG] [TPM] Error during private namespace creation!";
constexpr std::string_view kNotAssociated =
    "[DBG] [TPM] Cannot associate Local Admin SID to Boundary Descriptor!";
constexpr std::string_view kNoRecord =
    "[FTL] [TPM] Exception ocurred: Failed to alloc memory for drop privileges";
constexpr std::string_view kNotDropped = "[ERR] [TPM] Dropping Privileges: Failure";
constexpr std::string_view kRecordNotFreed = "[ERR] [TPM] HeapFree failed, error code = {}";
constexpr std::string_view kRecordOfNoHeap = "[ERR] [TPM] HeapFree failed, error code = 6";
constexpr std::string_view kNotClosed = "[ERR] [TPM] CloseHandle failed, error code = {}";
// Lines are logged from the end of the log set-up on.
constexpr Phases kLogging = in(kEntering, kDropping, kStarting, kRunning, kStopping, kStopped);
constexpr DWORD kNotByTheManager = ERROR_FAILED_SERVICE_CONTROLLER_CONNECT;

constexpr Permission noNamespace(std::string_view call, std::string_view why) {
  return withCode(Code::kMinusOne, row(call, in(kStarting), to(kErrorCode, kOtherCode), why,
                                       kNoNamespace, kNoPrivate));
}

constexpr std::array kRows = {
    // Nothing catches what the making of static objects throws.
    row("CreateMutexW", in(kLoading), to(kTerminate)),
    row("InitializeCriticalSectionAndSpinCount", in(kLoading), to(kTerminate)),

    // The configuration's file. What vanishes between a look and the next is a broken rule of the
    // file's own, and so is what cannot be copied: nobody expects it. A file that vanishes only
    // when its size is asked for is an empty one, and what a read leaves out is zeros.
    row("CreateFileW", in(kEntering), kDefaults),
    row("CreateFileW", in(kStarting), kDefaultsTold, kBrokenConfig),
    row("SetFilePointer", in(kEntering), kDefaults),
    row("SetFilePointer", in(kStarting), kDefaultsTold, kBrokenConfig),
    row("ReadFile", in(kEntering), kDefaults),
    row("ReadFile", in(kStarting), kDefaultsTold, kBrokenConfig),
    withError(ERROR_SUCCESS, row("ReadFile", in(kStarting), kDefaults)),
    row("FindFirstFileW", in(kEntering), kDefaults | kNoLog),
    row("FindFirstFileW", in(kStarting), kDefaultsTold,
        "[DBG] [TPM] [0x] Could not open config file: ",
        "[DBG] [TPM] Default values will be used."),
    row("FindFirstFileW", in(kStarting), kDefaultsTold, kBrokenConfig),
    withError(ERROR_FILE_NOT_FOUND, row("FindFirstFileW", in(kStarting), kDefaults)),
    row("FindFirstFileW", in(kStarting), to(kTerminate)),
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
    row("EventWriteTransfer", kLogging, to(kUnnoticed)),
    only(Only::kWithTraces, row("EventWriteTransfer", kLogging, to(kTold))),

    // The privileges: whatever fails, the service goes on with the token that it has; but memory
    // for them is an exception of the standard library, which ends the entry.
    row("OpenProcessToken", in(kDropping), to(kTold),
        "[ERR] [TPM] OpenProcessToken failed, error code: {}", kNotDropped),
    row("LookupPrivilegeValueW", in(kDropping), to(kTold),
        "[DBG] [TPM] LookupPrivilegeValue for * failed, error code = {} ("),
    row("AdjustTokenPrivileges", in(kDropping), to(kTold),
        "[ERR] [TPM] AdjustTokenPrivileges failed, error code = {}", kNotDropped),
    row("HeapAlloc", in(kDropping), kNoLog, kNoRecord),
    row("GetProcessHeap", in(kDropping), kNoLog, kNoRecord),
    row("calloc", in(kDropping), kNoLog, kNoRecord),
    row("GetProcessHeap", in(kDropping), to(kTold), kRecordOfNoHeap),
    row("HeapFree", in(kDropping), to(kTold), kRecordNotFreed),
    row("CloseHandle", in(kDropping), to(kTold), kNotClosed),

    // What fails from the log set-up on fails here too, and what fails from here on fails later.
    fromThenOn(row("HeapAlloc", in(kEntering), kNoLog, kNoRecord)),
    fromThenOn(row("GetProcessHeap", in(kEntering), kNoLog, kNoRecord)),
    fromThenOn(row("calloc", in(kEntering), kNoLog, kNoRecord)),
    fromThenOn(row("HeapFree", in(kEntering), to(kTold), kRecordNotFreed)),
    fromThenOn(row("GetProcessHeap", in(kDropping), to(kFault), kRecordOfNoHeap)),
    fromThenOn(row("CloseHandle", in(kDropping), kDefaultsTold | to(kOtherCode), kNotClosed)),

    // The service manager.
    withError(kNotByTheManager, row("StartServiceCtrlDispatcherW", in(kEntering), to(kUsage))),
    row("StartServiceCtrlDispatcherW", in(kEntering), to(kRefused),
        "[FTL] [TPM] Service did not start. ({}) Examine log for details",
        "[FTL] [TPM] Exception ocurred: "),
    // It comes back with the failure when the service has ended, and not before; one that does not
    // serve fails with an error of its own.
    only(Only::kNotServing,
         whenDone(row("StartServiceCtrlDispatcherW", in(kEntering), to(kUnnoticed)))),
    row("RegisterServiceCtrlHandlerW", in(kEntering), to(kTerminate),
        "[FTL] [TPM] Error occured while registrering service control handler", kLeavesMain),
    once(row("SetServiceStatus", kSettingUp, kServiceFails, kLeavesMain)),
    fromThenOn(row("SetServiceStatus", kSettingUp, to(kTerminate), kLeavesMain)),

    // A second exception, out of what handles the first.
    only(Only::kFailingAnyway, row("SetServiceStatus", kSettingUp | kWorking, to(kTerminate))),

    // The lock of the service's object, and its namespace.
    row("CreateMutexW", in(kStarting), kServiceFails,
        "[FTL] [TPM] Exception occured in ServiceMain function Mutex::Mutex():CreateMutex failed: "
        "err: {}"),
    noNamespace("CreateBoundaryDescriptorW", kNotAssociated),
    noNamespace("CreateWellKnownSid", "[DBG] [TPM] Cannot create Local Admin SID!"),
    noNamespace("AddSIDToBoundaryDescriptor", kNotAssociated),
    noNamespace("CreatePrivateNamespaceW", "[DBG] [TPM] Cannot create private namespace!"),
};

constexpr std::array kLettingGo = {
    row("CloseHandle", in(kEntering), kDefaults),
    row("CloseHandle", in(kStarting), kDefaultsTold, kBrokenConfig),
    row("CloseHandle", in(kLoading, kEntering, kStarting) | kWorking | in(kStopped),
        to(kUnnoticed)),
    row("CloseHandle", in(kLoading, kEntering, kStarting) | kWorking | in(kStopped), to(kOtherCode),
        kLeavesMain),
    row("ClosePrivateNamespace", in(kStarting) | kWorking | in(kStopped), to(kTold),
        "[DBG] [TPM] Cannot close private namespace!"),
    row("ClosePrivateNamespace", in(kStarting) | kWorking | in(kStopped), to(kOtherCode),
        "[DBG] [TPM] Cannot close private namespace!", kLeavesMain),
    row("EventUnregister", in(kLoading, kEntering, kDropping, kStarting) | kWorking | in(kStopped),
        to(kUnnoticed)),
    row("FindClose", kSettingUp, to(kUnnoticed)),
    row("FreeLibrary", kWorking | in(kStopped), to(kUnnoticed)),
    row("HeapFree", kSettingUp | kWorking, to(kUnnoticed)),
    row("LocalFree", in(kDropping, kStarting) | kWorking | in(kStopped), to(kUnnoticed)),
    row("RegCloseKey", kSettingUp | kWorking, to(kUnnoticed)),
};

}  // namespace

std::span<const Permission> ofTheStart() {
  return kRows;
}

std::span<const Permission> ofLettingGo() {
  return kLettingGo;
}

}  // namespace sweep::rows
