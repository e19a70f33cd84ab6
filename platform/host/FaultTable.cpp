#include "platform/host/FaultTable.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/host/windows/windows.h"

namespace host {
namespace {

using enum FaultKind;

// Errors that nothing else in the model gives, by their numbers.
constexpr DWORD kInvalidData = 13;
constexpr DWORD kLockViolation = 33;
constexpr DWORD kBrokenPipe = 109;
constexpr DWORD kNoSuchService = 1060;
constexpr DWORD kDeviceError = 1117;
constexpr DWORD kNoSystemResources = 1450;
constexpr DWORD kCallFailed = 1726;
constexpr DWORD kNoSuchDevice = 0x0d;
constexpr DWORD kDevicesFailed = 0x13;
constexpr DWORD kIllegalSequence = 42;
constexpr DWORD kNoSuchFile = 0x80070002;
constexpr DWORD kServerGone = 0x800706ba;
constexpr DWORD kComCallFailed = 0x800706be;
constexpr DWORD kObjectDisconnected = 0x80010108;
constexpr DWORD kChangedMode = 0x80010106;
constexpr DWORD kTooLate = 0x80010119;
constexpr DWORD kNotRegistered = 0x80040154;
constexpr DWORD kOutOfMemory = 0x8007000e;
constexpr DWORD kComDenied = 0x80070005;
constexpr DWORD kNoInterface = 0x80004002;
constexpr DWORD kFalse = 1;

// No memory, no rights, no resources: what making an object can end in.
constexpr DWORD kMaking[] = {ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY, kNoSystemResources};
// A failure whose last error something on the way set back to 0 is a failure all the same.
constexpr DWORD kMakingEvent[] = {ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY, ERROR_SUCCESS};
constexpr DWORD kInvalid[] = {EINVAL, ERANGE};
constexpr DWORD kNarrowing[] = {EINVAL, kIllegalSequence};
constexpr DWORD kNoHeap[] = {ENOMEM};
constexpr DWORD kNoEnvironment[] = {EINVAL, ENOMEM};
constexpr DWORD kNoFile[] = {ENOENT, EACCES};
constexpr DWORD kHandle[] = {ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED};
constexpr DWORD kNamed[] = {ERROR_ACCESS_DENIED, ERROR_ALREADY_EXISTS, ERROR_INVALID_PARAMETER};
constexpr DWORD kOpening[] = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED};
constexpr DWORD kSecurity[] = {ERROR_ACCESS_DENIED, ERROR_INVALID_PARAMETER};
constexpr DWORD kTokenQuery[] = {ERROR_ACCESS_DENIED, ERROR_INSUFFICIENT_BUFFER};
constexpr DWORD kPrivilege[] = {ERROR_NO_SUCH_PRIVILEGE, ERROR_ACCESS_DENIED};
constexpr DWORD kFileOpening[] = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED,
                                  ERROR_SHARING_VIOLATION};
constexpr DWORD kFileRemoving[] = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED};
// With no error a read ends halfway, and succeeds.
constexpr DWORD kReading[] = {kDeviceError, kLockViolation, ERROR_SUCCESS};
constexpr DWORD kWriting[] = {ERROR_DISK_FULL, ERROR_ACCESS_DENIED};
constexpr DWORD kSearching[] = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED};
constexpr DWORD kSearchEnding[] = {ERROR_NO_MORE_FILES, ERROR_ACCESS_DENIED};
constexpr DWORD kMessage[] = {ERROR_MR_MID_NOT_FOUND, ERROR_NOT_ENOUGH_MEMORY};
constexpr DWORD kModule[] = {ERROR_MOD_NOT_FOUND, ERROR_NOT_ENOUGH_MEMORY};
constexpr DWORD kModuleName[] = {ERROR_NOT_ENOUGH_MEMORY};
constexpr DWORD kProcedure[] = {ERROR_PROC_NOT_FOUND};
constexpr DWORD kResource[] = {ERROR_RESOURCE_NAME_NOT_FOUND};
constexpr DWORD kMemory[] = {ERROR_NOT_ENOUGH_MEMORY};
constexpr DWORD kInvalidParameter[] = {ERROR_INVALID_PARAMETER};
constexpr DWORD kText[] = {ERROR_INSUFFICIENT_BUFFER, ERROR_NO_UNICODE_TRANSLATION};
constexpr DWORD kWaiting[] = {ERROR_INVALID_HANDLE, ERROR_NOT_ENOUGH_MEMORY};
constexpr DWORD kLaunching[] = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED, ERROR_BAD_EXE_FORMAT};
constexpr DWORD kHandler[] = {kNoSuchService, ERROR_NOT_ENOUGH_MEMORY};
constexpr DWORD kDispatching[] = {ERROR_FAILED_SERVICE_CONTROLLER_CONNECT,
                                  ERROR_SERVICE_ALREADY_RUNNING};
constexpr DWORD kReporting[] = {ERROR_INVALID_HANDLE, kInvalidData, ERROR_SUCCESS};
constexpr DWORD kTracing[] = {ERROR_ACCESS_DENIED, ERROR_NOT_ENOUGH_MEMORY};
constexpr DWORD kRegistry[] = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED};
constexpr DWORD kDevices[] = {kNoSuchDevice, kDevicesFailed};
constexpr DWORD kFolder[] = {kNoSuchFile, kOutOfMemory};
constexpr DWORD kComStart[] = {kChangedMode, kOutOfMemory, kFalse};
constexpr DWORD kComSecurity[] = {kTooLate, kOutOfMemory};
constexpr DWORD kComMaking[] = {kNotRegistered, kOutOfMemory};
constexpr DWORD kComMemory[] = {kOutOfMemory};
constexpr DWORD kInterface[] = {kNoInterface, kObjectDisconnected};
constexpr DWORD kScheduler[] = {kComDenied, kServerGone};
constexpr DWORD kTaskLookup[] = {kNoSuchFile, kComDenied, kServerGone};
constexpr DWORD kMethod[] = {kOutOfMemory, kServerGone, kFalse};
// The other side has done what it was asked for, and its answer never came.
constexpr DWORD kAnswerLost[] = {kCallFailed};
constexpr DWORD kComAnswerLost[] = {kComCallFailed};
// The program runs, and something that has a say in it refuses it.
constexpr DWORD kLaunched[] = {ERROR_ACCESS_DENIED};
// Some sessions have the event, and one has no room for it.
constexpr DWORD kTracedInPart[] = {ERROR_NOT_ENOUGH_MEMORY};
// The service has run, and then the way to the manager is gone.
constexpr DWORD kDispatched[] = {kBrokenPipe};

constexpr std::array kTable = {
    FaultRow{"_itoa_s", kErrno, kInvalid},
    FaultRow{"calloc", kErrno, kNoHeap},
    FaultRow{"memcpy_s", kErrno, kInvalid},
    FaultRow{"strcat_s", kErrno, kInvalid},
    FaultRow{"strcpy_s", kErrno, kInvalid},
    FaultRow{"wcstombs_s", kErrno, kNarrowing},
    FaultRow{"AddSIDToBoundaryDescriptor", kLastError, kSecurity},
    FaultRow{"AddVectoredExceptionHandler", kLastError, kMaking},
    FaultRow{"AdjustTokenPrivileges", kLastError, kSecurity},
    FaultRow{"CM_Get_DevNode_Registry_PropertyW", kStatus, kDevices},
    FaultRow{"CM_Get_Device_ID_ListW", kStatus, kDevices},
    FaultRow{"CM_Get_Device_ID_List_SizeW", kStatus, kDevices},
    FaultRow{"CM_Locate_DevNodeW", kStatus, kDevices},
    FaultRow{"CM_Open_DevNode_Key", kStatus, kDevices},
    FaultRow{"CloseHandle", kLastError, kHandle},
    FaultRow{"ClosePrivateNamespace", kLastError, kHandle},
    FaultRow{"CoTaskMemFree", kNever, {}},
    FaultRow{"CreateBoundaryDescriptorW", kLastError, kMaking},
    FaultRow{"CreateEventW", kLastError, kMakingEvent},
    FaultRow{"CreateFileW", kLastError, kFileOpening},
    FaultRow{"CreateMutexW", kLastError, kMaking},
    FaultRow{"CreatePrivateNamespaceW", kLastError, kNamed},
    FaultRow{"CreateProcessW", kLastError, kLaunching, kLaunched},
    FaultRow{"CreateThread", kLastError, kMaking},
    FaultRow{"CreateWellKnownSid", kLastError, kSecurity},
    FaultRow{"DeleteCriticalSection", kNever, {}},
    FaultRow{"DeleteFileW", kLastError, kFileRemoving},
    FaultRow{"EnterCriticalSection", kNever, {}},
    FaultRow{"EventRegister", kStatus, kTracing},
    FaultRow{"EventSetInformation", kStatus, kTracing},
    FaultRow{"EventUnregister", kStatus, kTracing},
    FaultRow{"EventWriteTransfer", kStatus, kTracing, kTracedInPart},
    FaultRow{"FileTimeToSystemTime", kLastError, kHandle},
    FaultRow{"FindClose", kLastError, kHandle},
    FaultRow{"FindFirstFileW", kLastError, kSearching},
    FaultRow{"FindNextFileW", kLastError, kSearchEnding},
    FaultRow{"FormatMessageW", kLastError, kMessage},
    FaultRow{"FreeLibrary", kLastError, kHandle},
    FaultRow{"GetConsoleMode", kLastError, kHandle},
    FaultRow{"GetCurrentProcess", kNever, {}},
    FaultRow{"GetCurrentThreadId", kNever, {}},
    FaultRow{"GetFileTime", kLastError, kHandle},
    FaultRow{"GetLastError", kNever, {}},
    FaultRow{"GetLocalTime", kNever, {}},
    FaultRow{"GetModuleFileNameW", kLastError, kModuleName},
    FaultRow{"GetModuleHandleW", kLastError, kModule},
    FaultRow{"GetProcAddress", kLastError, kProcedure},
    FaultRow{"GetProcessHeap", kLastError, kMemory},
    FaultRow{"GetSidSubAuthority", kLastError, kSecurity},
    FaultRow{"GetSidSubAuthorityCount", kLastError, kSecurity},
    FaultRow{"GetStdHandle", kLastError, kHandle},
    FaultRow{"GetTokenInformation", kLastError, kTokenQuery},
    FaultRow{"GetUserDefaultLangID", kNever, {}},
    FaultRow{"HeapAlloc", kLastError, kMemory},
    FaultRow{"HeapFree", kLastError, kInvalidParameter},
    FaultRow{"InitializeCriticalSectionAndSpinCount", kLastError, kMaking},
    FaultRow{"LeaveCriticalSection", kNever, {}},
    FaultRow{"LoadLibraryExW", kLastError, kModule},
    FaultRow{"LoadLibraryW", kLastError, kModule},
    FaultRow{"LoadStringW", kLastError, kResource},
    FaultRow{"LocalFree", kLastError, kInvalidParameter},
    FaultRow{"LookupPrivilegeValueW", kLastError, kPrivilege},
    FaultRow{"MoveFileW", kLastError, kFileRemoving},
    FaultRow{"MultiByteToWideChar", kLastError, kText},
    FaultRow{"OpenEventW", kLastError, kOpening},
    FaultRow{"OpenProcessToken", kLastError, kSecurity},
    FaultRow{"OutputDebugStringW", kNever, {}},
    FaultRow{"PathAppendW", kLastError, kInvalidParameter},
    FaultRow{"PathRemoveFileSpecW", kLastError, kInvalidParameter},
    FaultRow{"RaiseException", kNever, {}},
    FaultRow{"ReadFile", kLastError, kReading},
    FaultRow{"RegCloseKey", kStatus, kRegistry},
    FaultRow{"RegOpenKeyExW", kStatus, kRegistry},
    FaultRow{"RegQueryValueExW", kStatus, kRegistry},
    FaultRow{"RegisterServiceCtrlHandlerW", kLastError, kHandler},
    FaultRow{"ReleaseMutex", kLastError, kHandle},
    FaultRow{"RemoveVectoredExceptionHandler", kNever, {}},
    FaultRow{"ResetEvent", kLastError, kHandle},
    FaultRow{"SHGetKnownFolderPath", kHresult, kFolder},
    FaultRow{"SetConsoleMode", kLastError, kHandle},
    FaultRow{"SetDllDirectoryW", kLastError, kMemory},
    FaultRow{"SetEvent", kLastError, kHandle},
    FaultRow{"SetFilePointer", kLastError, kHandle},
    FaultRow{"SetLastError", kNever, {}},
    FaultRow{"SetServiceStatus", kLastError, kReporting, kAnswerLost},
    FaultRow{"Sleep", kNever, {}},
    FaultRow{"StartServiceCtrlDispatcherW", kLastError, kDispatching, kDispatched},
    FaultRow{"SystemTimeToTzSpecificLocalTime", kLastError, kHandle},
    FaultRow{"VerSetConditionMask", kNever, {}},
    FaultRow{"VerifyVersionInfoW", kLastError, kInvalidParameter},
    FaultRow{"WaitForMultipleObjects", kLastError, kWaiting},
    FaultRow{"WaitForSingleObject", kLastError, kWaiting},
    FaultRow{"WriteFile", kLastError, kWriting},
    FaultRow{"_dupenv_s", kErrno, kNoEnvironment},
    FaultRow{"_stat64i32", kErrno, kNoFile},
    FaultRow{"remove", kErrno, kNoFile},
    FaultRow{"rename", kErrno, kNoFile},
    FaultRow{"CoCreateInstance", kHresult, kComMaking},
    FaultRow{"CoInitializeEx", kHresult, kComStart},
    FaultRow{"CoInitializeSecurity", kHresult, kComSecurity},
    FaultRow{"CoUninitialize", kNever, {}},
    FaultRow{"SysAllocString", kHresult, kComMemory},
    FaultRow{"SysAllocStringLen", kHresult, kComMemory},
    FaultRow{"SysFreeString", kNever, {}},
    FaultRow{"SysStringLen", kNever, {}},
    FaultRow{"VariantClear", kHresult, kComMemory},
    FaultRow{"VariantInit", kNever, {}},
    FaultRow{"IAction::get_Id", kHresult, kMethod},
    FaultRow{"IAction::get_Type", kHresult, kMethod},
    FaultRow{"IAction::put_Id", kHresult, kMethod},
    FaultRow{"IActionCollection::Clear", kHresult, kMethod},
    FaultRow{"IActionCollection::Create", kHresult, kMethod},
    FaultRow{"IActionCollection::Remove", kHresult, kMethod},
    FaultRow{"IActionCollection::get_Context", kHresult, kMethod},
    FaultRow{"IActionCollection::get_Count", kHresult, kMethod},
    FaultRow{"IActionCollection::get_Item", kHresult, kMethod},
    FaultRow{"IActionCollection::get_XmlText", kHresult, kMethod},
    FaultRow{"IActionCollection::get__NewEnum", kHresult, kMethod},
    FaultRow{"IActionCollection::put_Context", kHresult, kMethod},
    FaultRow{"IActionCollection::put_XmlText", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_Delay", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_Enabled", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_EndBoundary", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_ExecutionTimeLimit", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_Id", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_Repetition", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_StartBoundary", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_Subscription", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_Type", kHresult, kMethod},
    FaultRow{"IEventTrigger::get_ValueQueries", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_Delay", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_Enabled", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_EndBoundary", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_ExecutionTimeLimit", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_Id", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_Repetition", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_StartBoundary", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_Subscription", kHresult, kMethod},
    FaultRow{"IEventTrigger::put_ValueQueries", kHresult, kMethod},
    FaultRow{"IExecAction::get_Arguments", kHresult, kMethod},
    FaultRow{"IExecAction::get_Id", kHresult, kMethod},
    FaultRow{"IExecAction::get_Path", kHresult, kMethod},
    FaultRow{"IExecAction::get_Type", kHresult, kMethod},
    FaultRow{"IExecAction::get_WorkingDirectory", kHresult, kMethod},
    FaultRow{"IExecAction::put_Arguments", kHresult, kMethod},
    FaultRow{"IExecAction::put_Id", kHresult, kMethod},
    FaultRow{"IExecAction::put_Path", kHresult, kMethod},
    FaultRow{"IExecAction::put_WorkingDirectory", kHresult, kMethod},
    FaultRow{"IIdleSettings::get_IdleDuration", kHresult, kMethod},
    FaultRow{"IIdleSettings::get_RestartOnIdle", kHresult, kMethod},
    FaultRow{"IIdleSettings::get_StopOnIdleEnd", kHresult, kMethod},
    FaultRow{"IIdleSettings::get_WaitTimeout", kHresult, kMethod},
    FaultRow{"IIdleSettings::put_IdleDuration", kHresult, kMethod},
    FaultRow{"IIdleSettings::put_RestartOnIdle", kHresult, kMethod},
    FaultRow{"IIdleSettings::put_StopOnIdleEnd", kHresult, kMethod},
    FaultRow{"IIdleSettings::put_WaitTimeout", kHresult, kMethod},
    FaultRow{"IPrincipal::get_DisplayName", kHresult, kMethod},
    FaultRow{"IPrincipal::get_GroupId", kHresult, kMethod},
    FaultRow{"IPrincipal::get_Id", kHresult, kMethod},
    FaultRow{"IPrincipal::get_LogonType", kHresult, kMethod},
    FaultRow{"IPrincipal::get_RunLevel", kHresult, kMethod},
    FaultRow{"IPrincipal::get_UserId", kHresult, kMethod},
    FaultRow{"IPrincipal::put_DisplayName", kHresult, kMethod},
    FaultRow{"IPrincipal::put_GroupId", kHresult, kMethod},
    FaultRow{"IPrincipal::put_Id", kHresult, kMethod},
    FaultRow{"IPrincipal::put_LogonType", kHresult, kMethod},
    FaultRow{"IPrincipal::put_RunLevel", kHresult, kMethod},
    FaultRow{"IPrincipal::put_UserId", kHresult, kMethod},
    FaultRow{"IRegisteredTask::GetInstances", kHresult, kMethod},
    FaultRow{"IRegisteredTask::GetRunTimes", kHresult, kMethod},
    FaultRow{"IRegisteredTask::GetSecurityDescriptor", kHresult, kMethod},
    FaultRow{"IRegisteredTask::Run", kHresult, kMethod},
    FaultRow{"IRegisteredTask::RunEx", kHresult, kMethod},
    FaultRow{"IRegisteredTask::SetSecurityDescriptor", kHresult, kMethod},
    FaultRow{"IRegisteredTask::Stop", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_Definition", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_Enabled", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_LastRunTime", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_LastTaskResult", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_Name", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_NextRunTime", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_NumberOfMissedRuns", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_Path", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_State", kHresult, kMethod},
    FaultRow{"IRegisteredTask::get_Xml", kHresult, kMethod},
    FaultRow{"IRegisteredTask::put_Enabled", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_Author", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_Date", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_Description", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_Documentation", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_SecurityDescriptor", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_Source", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_URI", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_Version", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::get_XmlText", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_Author", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_Date", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_Description", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_Documentation", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_SecurityDescriptor", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_Source", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_URI", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_Version", kHresult, kMethod},
    FaultRow{"IRegistrationInfo::put_XmlText", kHresult, kMethod},
    FaultRow{"ITaskDefinition::get_Actions", kHresult, kMethod},
    FaultRow{"ITaskDefinition::get_Data", kHresult, kMethod},
    FaultRow{"ITaskDefinition::get_Principal", kHresult, kMethod},
    FaultRow{"ITaskDefinition::get_RegistrationInfo", kHresult, kMethod},
    FaultRow{"ITaskDefinition::get_Settings", kHresult, kMethod},
    FaultRow{"ITaskDefinition::get_Triggers", kHresult, kMethod},
    FaultRow{"ITaskDefinition::get_XmlText", kHresult, kMethod},
    FaultRow{"ITaskDefinition::put_Actions", kHresult, kMethod},
    FaultRow{"ITaskDefinition::put_Data", kHresult, kMethod},
    FaultRow{"ITaskDefinition::put_Principal", kHresult, kMethod},
    FaultRow{"ITaskDefinition::put_RegistrationInfo", kHresult, kMethod},
    FaultRow{"ITaskDefinition::put_Settings", kHresult, kMethod},
    FaultRow{"ITaskDefinition::put_Triggers", kHresult, kMethod},
    FaultRow{"ITaskDefinition::put_XmlText", kHresult, kMethod},
    FaultRow{"ITaskFolder::CreateFolder", kHresult, kMethod},
    FaultRow{"ITaskFolder::DeleteFolder", kHresult, kMethod},
    FaultRow{"ITaskFolder::DeleteTask", kHresult, kTaskLookup, kComAnswerLost},
    FaultRow{"ITaskFolder::GetFolder", kHresult, kMethod},
    FaultRow{"ITaskFolder::GetFolders", kHresult, kMethod},
    FaultRow{"ITaskFolder::GetSecurityDescriptor", kHresult, kMethod},
    FaultRow{"ITaskFolder::GetTask", kHresult, kTaskLookup},
    FaultRow{"ITaskFolder::GetTasks", kHresult, kMethod},
    FaultRow{"ITaskFolder::RegisterTask", kHresult, kMethod},
    FaultRow{"ITaskFolder::RegisterTaskDefinition", kHresult, kScheduler, kComAnswerLost},
    FaultRow{"ITaskFolder::SetSecurityDescriptor", kHresult, kMethod},
    FaultRow{"ITaskFolder::get_Name", kHresult, kMethod},
    FaultRow{"ITaskFolder::get_Path", kHresult, kMethod},
    FaultRow{"ITaskService::Connect", kHresult, kScheduler},
    FaultRow{"ITaskService::GetFolder", kHresult, kScheduler},
    FaultRow{"ITaskService::GetRunningTasks", kHresult, kMethod},
    FaultRow{"ITaskService::NewTask", kHresult, kScheduler},
    FaultRow{"ITaskService::get_Connected", kHresult, kMethod},
    FaultRow{"ITaskService::get_ConnectedDomain", kHresult, kMethod},
    FaultRow{"ITaskService::get_ConnectedUser", kHresult, kMethod},
    FaultRow{"ITaskService::get_HighestVersion", kHresult, kMethod},
    FaultRow{"ITaskService::get_TargetServer", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_AllowDemandStart", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_AllowHardTerminate", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_Compatibility", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_DeleteExpiredTaskAfter", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_DisallowStartIfOnBatteries", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_Enabled", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_ExecutionTimeLimit", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_Hidden", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_IdleSettings", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_MultipleInstances", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_NetworkSettings", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_Priority", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_RestartCount", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_RestartInterval", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_RunOnlyIfIdle", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_RunOnlyIfNetworkAvailable", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_StartWhenAvailable", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_StopIfGoingOnBatteries", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_WakeToRun", kHresult, kMethod},
    FaultRow{"ITaskSettings::get_XmlText", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_AllowDemandStart", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_AllowHardTerminate", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_Compatibility", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_DeleteExpiredTaskAfter", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_DisallowStartIfOnBatteries", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_Enabled", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_ExecutionTimeLimit", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_Hidden", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_IdleSettings", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_MultipleInstances", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_NetworkSettings", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_Priority", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_RestartCount", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_RestartInterval", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_RunOnlyIfIdle", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_RunOnlyIfNetworkAvailable", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_StartWhenAvailable", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_StopIfGoingOnBatteries", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_WakeToRun", kHresult, kMethod},
    FaultRow{"ITaskSettings::put_XmlText", kHresult, kMethod},
    FaultRow{"ITrigger::get_Enabled", kHresult, kMethod},
    FaultRow{"ITrigger::get_EndBoundary", kHresult, kMethod},
    FaultRow{"ITrigger::get_ExecutionTimeLimit", kHresult, kMethod},
    FaultRow{"ITrigger::get_Id", kHresult, kMethod},
    FaultRow{"ITrigger::get_Repetition", kHresult, kMethod},
    FaultRow{"ITrigger::get_StartBoundary", kHresult, kMethod},
    FaultRow{"ITrigger::get_Type", kHresult, kMethod},
    FaultRow{"ITrigger::put_Enabled", kHresult, kMethod},
    FaultRow{"ITrigger::put_EndBoundary", kHresult, kMethod},
    FaultRow{"ITrigger::put_ExecutionTimeLimit", kHresult, kMethod},
    FaultRow{"ITrigger::put_Id", kHresult, kMethod},
    FaultRow{"ITrigger::put_Repetition", kHresult, kMethod},
    FaultRow{"ITrigger::put_StartBoundary", kHresult, kMethod},
    FaultRow{"ITriggerCollection::Clear", kHresult, kMethod},
    FaultRow{"ITriggerCollection::Create", kHresult, kMethod},
    FaultRow{"ITriggerCollection::Remove", kHresult, kMethod},
    FaultRow{"ITriggerCollection::get_Count", kHresult, kMethod},
    FaultRow{"ITriggerCollection::get_Item", kHresult, kMethod},
    FaultRow{"ITriggerCollection::get__NewEnum", kHresult, kMethod},
    FaultRow{"IUnknown::AddRef", kNever, {}},
    FaultRow{"IUnknown::QueryInterface", kHresult, kInterface},
    FaultRow{"IUnknown::Release", kNever, {}},
};

}  // namespace

std::span<const FaultRow> faultTable() {
  return kTable;
}

const FaultRow* faultRowOf(std::string_view call) {
  const auto found = std::find_if(kTable.begin(), kTable.end(),
                                  [&](const FaultRow& row) { return row.call == call; });
  return found == kTable.end() ? nullptr : &*found;
}

}  // namespace host
