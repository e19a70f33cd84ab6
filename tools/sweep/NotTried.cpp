// Why some calls never fail in some phases: nobody makes them there.

#include <array>

#include "tools/sweep/Cells.h"
#include "tools/sweep/PermittedRows.h"

namespace sweep {
namespace rows {
namespace {

constexpr Phases kEvery = (1U << host::kPhases) - 1;

constexpr Phases allBut(Phases phases) {
  return kEvery & ~phases;
}

constexpr std::string_view kNoRun = "no run of the service makes the call; unit tests do";
constexpr std::string_view kAnothers = "the product calls another interface's method of this name";
constexpr std::string_view kRunAlone = "only the run makes the call";
constexpr std::string_view kOnceStarting = "the namespace is made once, while the service starts";
constexpr std::string_view kConfig =
    "the configuration is read by the log set-up and by the initialisation alone";
constexpr std::string_view kStack =
    "the stack is searched by the log set-up, the initialisation, the loading and the launch alone";
constexpr std::string_view kHeap =
    "memory is asked for from the entry on, and no more once STOPPED was told";
constexpr std::string_view kPrivileges = "privileges are dropped once";
constexpr std::string_view kManager = "the process turns to the service manager once";
constexpr std::string_view kProvider = "the trace provider is registered with the log's outlets";
constexpr std::string_view kWords =
    "the system's words are asked for when a privilege, the initialisation, the run or a launch "
    "fails, and no scenario's launch fails while a stop is under way";
constexpr std::string_view kTaskFound =
    "a task is looked at by the run, and no scenario's run finds one while a stop is under way";

constexpr std::array kNotTried = {
    NotTried{"AddVectoredExceptionHandler", kEvery, kNoRun},
    NotTried{"CreateThread", kEvery, kNoRun},
    NotTried{"DeleteFileW", kEvery, kNoRun},
    NotTried{"FileTimeToSystemTime", kEvery, kNoRun},
    NotTried{"FindNextFileW", kEvery, kNoRun},
    NotTried{"GetConsoleMode", kEvery, kNoRun},
    NotTried{"GetFileTime", kEvery, kNoRun},
    NotTried{"GetModuleHandleW", kEvery, kNoRun},
    NotTried{"GetSidSubAuthority*", kEvery, kNoRun},
    NotTried{"GetStdHandle", kEvery, kNoRun},
    NotTried{"GetTokenInformation", kEvery, kNoRun},
    NotTried{"LoadLibraryW", kEvery, kNoRun},
    NotTried{"LoadStringW", kEvery, kNoRun},
    NotTried{"MoveFileW", kEvery, kNoRun},
    NotTried{"MultiByteToWideChar", kEvery, kNoRun},
    NotTried{"PathAppendW", kEvery, kNoRun},
    NotTried{"SHGetKnownFolderPath", kEvery, kNoRun},
    NotTried{"SetConsoleMode", kEvery, kNoRun},
    NotTried{"SetDllDirectoryW", kEvery, kNoRun},
    NotTried{"SystemTimeToTzSpecificLocalTime", kEvery, kNoRun},
    NotTried{"WriteFile", kEvery, kNoRun},
    NotTried{"_itoa_s", kEvery, kNoRun},
    NotTried{"_stat64i32", kEvery, kNoRun},
    NotTried{"remove", kEvery, kNoRun},
    NotTried{"rename", kEvery, kNoRun},
    NotTried{"strcat_s", kEvery, kNoRun},
    NotTried{"strcpy_s", kEvery, kNoRun},
    NotTried{"wcstombs_s", kEvery, kNoRun},

    NotTried{"IEventTrigger::put_ExecutionTimeLimit", kEvery, kAnothers},
    NotTried{"IRegisteredTask::Run", kEvery, kAnothers},
    NotTried{"IRegisteredTask::Stop", kEvery, kAnothers},
    NotTried{"IRegisteredTask::get_Path", kEvery, kAnothers},
    NotTried{"IRegisteredTask::put_Enabled", kEvery, kAnothers},
    NotTried{"ITaskFolder::GetFolder", kEvery, kAnothers},
    NotTried{"ITaskFolder::get_Path", kEvery, kAnothers},
    NotTried{"ITrigger::*", kEvery, kAnothers},
    NotTried{"ITriggerCollection::get_Item", kEvery, kAnothers},

    NotTried{"CreateMutexW", allBut(in(kLoading, kStarting)),
             "locks are made with the static objects and with the service's object"},
    NotTried{"InitializeCriticalSectionAndSpinCount", allBut(in(kLoading)),
             "the section is a static object"},
    NotTried{"AddSIDToBoundaryDescriptor", allBut(in(kStarting)), kOnceStarting},
    NotTried{"CreateBoundaryDescriptorW", allBut(in(kStarting)), kOnceStarting},
    NotTried{"CreatePrivateNamespaceW", allBut(in(kStarting)), kOnceStarting},
    NotTried{"CreateWellKnownSid", allBut(in(kStarting)), kOnceStarting},
    NotTried{"EventRegister", allBut(in(kEntering)), kProvider},
    NotTried{"EventSetInformation", allBut(in(kEntering)), kProvider},
    NotTried{"EventUnregister", in(kLoading, kDropping, kStarting, kRunning),
             "the provider is let go at the end of the process"},
    NotTried{"EventWriteTransfer", in(kLoading), "the log's outlets are made by the entry"},
    NotTried{"EventWriteTransfer", in(kStopped),
             "no scenario with a trace session logs a line behind STOPPED"},
    NotTried{"RegisterServiceCtrlHandlerW", allBut(in(kEntering)), kManager},
    NotTried{"StartServiceCtrlDispatcherW", allBut(in(kEntering)), kManager},
    NotTried{"SetServiceStatus", in(kLoading, kDropping), "nobody reports ahead of the dispatcher"},
    NotTried{"AdjustTokenPrivileges", allBut(in(kDropping)), kPrivileges},
    NotTried{"LookupPrivilegeValueW", allBut(in(kDropping)), kPrivileges},
    NotTried{"OpenProcessToken", allBut(in(kDropping)), kPrivileges},
    NotTried{"CreateFileW", allBut(kSettingUp), kConfig},
    NotTried{"FindClose", allBut(kSettingUp), kConfig},
    NotTried{"FindFirstFileW", allBut(kSettingUp), kConfig},
    NotTried{"ReadFile", allBut(kSettingUp), kConfig},
    NotTried{"SetFilePointer", allBut(kSettingUp), kConfig},
    NotTried{"_dupenv_s", allBut(kSettingUp), kConfig},
    NotTried{"memcpy_s", allBut(kSettingUp), kConfig},
    NotTried{"CM_*", in(kLoading, kDropping, kStopped), kStack},
    NotTried{"RegCloseKey", in(kLoading, kDropping, kStopped), kStack},
    NotTried{"RegOpenKeyExW", in(kLoading, kDropping, kStopped), kStack},
    NotTried{"RegQueryValueExW", in(kLoading, kDropping, kStopped), kStack},
    NotTried{"GetProcessHeap", in(kLoading, kStopped), kHeap},
    NotTried{"HeapAlloc", in(kLoading, kStopped), kHeap},
    NotTried{"HeapFree", in(kLoading, kStopped), kHeap},
    NotTried{"calloc", in(kLoading, kStopped), kHeap},
    NotTried{"FormatMessageW", allBut(in(kDropping, kStarting, kRunning)), kWords},
    NotTried{"LocalFree", allBut(in(kDropping, kStarting, kRunning)), kWords},
    NotTried{"CloseHandle", in(kLoading), "nothing is closed ahead of the entry"},
    NotTried{"ClosePrivateNamespace", in(kLoading, kEntering, kDropping, kStarting),
             "the namespace is closed with the service's object, which outlives the start"},

    NotTried{"IActionCollection::get_Item", allBut(in(kRunning)), kTaskFound},
    NotTried{"IExecAction::get_Path", allBut(in(kRunning)), kTaskFound},
    NotTried{"IRegisteredTask::get_Definition", allBut(in(kRunning)), kTaskFound},

    NotTried{"Co*", allBut(kWorking), kRunAlone},
    NotTried{"CreateEventW", allBut(kWorking), kRunAlone},
    NotTried{"CreateProcessW", allBut(kWorking), kRunAlone},
    NotTried{"FreeLibrary", allBut(kWorking), kRunAlone},
    NotTried{"GetModuleFileNameW", allBut(kWorking), kRunAlone},
    NotTried{"GetProcAddress", allBut(kWorking), kRunAlone},
    NotTried{"IAction*", allBut(kWorking), kRunAlone},
    NotTried{"IEventTrigger::*", allBut(kWorking), kRunAlone},
    NotTried{"IExecAction::*", allBut(kWorking), kRunAlone},
    NotTried{"IIdleSettings::*", allBut(kWorking), kRunAlone},
    NotTried{"IPrincipal::*", allBut(kWorking), kRunAlone},
    NotTried{"IRegistrationInfo::*", allBut(kWorking), kRunAlone},
    NotTried{"ITask*", allBut(kWorking), kRunAlone},
    NotTried{"ITriggerCollection::*", allBut(kWorking), kRunAlone},
    NotTried{"IUnknown::*", allBut(kWorking), kRunAlone},
    NotTried{"LoadLibraryExW", allBut(kWorking), kRunAlone},
    NotTried{"OpenEventW", allBut(kWorking), kRunAlone},
    NotTried{"PathRemoveFileSpecW", allBut(kWorking), kRunAlone},
    NotTried{"ReleaseMutex", allBut(kWorking), kRunAlone},
    NotTried{"ResetEvent", allBut(kWorking), kRunAlone},
    NotTried{"SetEvent", allBut(kWorking), kRunAlone},
    NotTried{"SysAllocString", allBut(kWorking), kRunAlone},
    NotTried{"VerifyVersionInfoW", allBut(kWorking), kRunAlone},
    NotTried{"WaitFor*", allBut(kWorking), kRunAlone},
};

}  // namespace
}  // namespace rows

std::span<const NotTried> notTried() {
  return rows::kNotTried;
}

}  // namespace sweep
