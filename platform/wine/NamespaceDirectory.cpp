#include "platform/wine/NamespaceDirectory.h"

#include <winternl.h>

// Not in this toolchain's headers; the platform has it in ntdll.dll.
extern "C" NTSTATUS NTAPI NtCreateDirectoryObject(PHANDLE, ACCESS_MASK, POBJECT_ATTRIBUTES);

namespace wine {
namespace {

constexpr NTSTATUS kNameIsTaken = static_cast<NTSTATUS>(0xC0000035);
constexpr ACCESS_MASK kAllOfADirectory = 0xF000F;

}  // namespace

DWORD createNamespaceDirectory(const std::wstring& alias, HANDLE& directory) {
  DWORD session = 0;
  if (!ProcessIdToSessionId(GetCurrentProcessId(), &session)) {
    return GetLastError();
  }
  const std::wstring path =
      L"\\Sessions\\" + std::to_wstring(session) + L"\\BaseNamedObjects\\" + alias;
  UNICODE_STRING name{};
  RtlInitUnicodeString(&name, path.c_str());
  OBJECT_ATTRIBUTES attributes{};
  attributes.Length = sizeof(attributes);
  attributes.ObjectName = &name;
  const NTSTATUS status = NtCreateDirectoryObject(&directory, kAllOfADirectory, &attributes);
  if (status == kNameIsTaken) {
    return ERROR_ALREADY_EXISTS;
  }
  return status == 0 ? ERROR_SUCCESS : RtlNtStatusToDosError(status);
}

}  // namespace wine
