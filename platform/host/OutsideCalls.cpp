#include "platform/host/OutsideCalls.h"

#include <algorithm>
#include <array>

#include "platform/host/Call.h"

namespace host {
namespace {

// Methods of COM's objects are known by their two colons.
constexpr std::array<std::string_view, 26> kOutside = {
    "StartServiceCtrlDispatcherW",
    "RegisterServiceCtrlHandlerW",
    "SetServiceStatus",
    "AdjustTokenPrivileges",
    "CreateBoundaryDescriptorW",
    "AddSIDToBoundaryDescriptor",
    "CreatePrivateNamespaceW",
    "ClosePrivateNamespace",
    "CreateEventW",
    "OpenEventW",
    "SetEvent",
    "ResetEvent",
    "WaitForMultipleObjects",
    "CreateThread",
    "CreateProcessW",
    "LoadLibraryW",
    "LoadLibraryExW",
    "SetDllDirectoryW",
    "GetProcAddress",
    "FreeLibrary",
    "CoInitializeEx",
    "CoInitializeSecurity",
    "CoCreateInstance",
    "CoUninitialize",
    "DeleteFileW",
    "MoveFileW",
};

}  // namespace

bool isOutsideCall(std::string_view name) {
  return name.starts_with("CM_") || name.starts_with("Reg") ||
         name.find("::") != std::string_view::npos ||
         std::find(kOutside.begin(), kOutside.end(), name) != kOutside.end();
}

std::string callText(const JournalEntry& entry) {
  return entry.args.empty() ? entry.name : std::string(entry.name) + " " + entry.args;
}

}  // namespace host
