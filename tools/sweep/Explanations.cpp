// Which lines of level ERROR and FATAL a failure explains, and what it may leave open.

#include <algorithm>
#include <array>

#include "tools/sweep/Permitted.h"

namespace sweep {
namespace {

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
                "Exception occured in ServiceMain function"},
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
    Explanation{"StartServiceCtrlDispatcherW", "Service did not start. ("},
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
    // Lives of the kind that the list of imbalances is about have these whatever failed: an event
    // was not opened, the namespace was come to, the launch came again, words were looked for.
    Unbalanced{"*", "CloseHandle: null is no handle"},
    Unbalanced{"*", "boundary from CreateBoundaryDescriptorW is still open"},
    Unbalanced{"*", "process from CreateProcessW is still open"},
    Unbalanced{"*", "thread from CreateProcessW is still open"},
    Unbalanced{"*", "module from LoadLibraryExW as data is still open"},
    // The rest of the list comes of one failure each; of a save, also when it is refused for what
    // was not set.
    Unbalanced{"EventRegister", "EventUnregister: provider 0x0 is unknown"},
    Unbalanced{"ITaskFolder::RegisterTaskDefinition",
               "CoUninitialize: the thread has not begun COM"},
    Unbalanced{"ITaskSettings::put_*", "CoUninitialize: the thread has not begun COM"},
    Unbalanced{"ITaskDefinition::get_RegistrationInfo",
               "CoUninitialize: the thread has not begun COM"},
    Unbalanced{"ITaskDefinition::get_RegistrationInfo",
               "ITaskDefinition::get_Settings: the ITaskDefinition was released before"},
    Unbalanced{"ITaskDefinition::get_RegistrationInfo",
               "IUnknown::Release: the ITaskFolder was released before"},
    Unbalanced{"ITaskDefinition::get_RegistrationInfo",
               "IUnknown::Release: the ITaskDefinition was released before"},
    Unbalanced{"ITaskSettings::get_IdleSettings",
               "reference from ITaskDefinition::get_Settings is still open"},
    Unbalanced{"IIdleSettings::put_RestartOnIdle",
               "reference from ITaskDefinition::get_Settings is still open"},
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

}  // namespace

std::span<const Explanation> explanations() {
  return kExplanations;
}

std::span<const Unbalanced> unbalanced() {
  return kUnbalanced;
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

bool isBalanced(std::string_view call, std::string_view line) {
  return std::any_of(kUnbalanced.begin(), kUnbalanced.end(), [&](const Unbalanced& row) {
    return isAmong(call, row.calls) && line == row.line;
  });
}

}  // namespace sweep
