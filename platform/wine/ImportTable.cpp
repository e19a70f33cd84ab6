#include "platform/wine/ImportTable.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "platform/wine/DeviceList.h"
#include "platform/wine/NamespaceDirectory.h"
#include "platform/wine/Privileges.h"

namespace wine {
namespace {

struct Boundary {
  std::wstring name;
  std::vector<std::string> sids;
};

template <class Value>
Value fails(DWORD error, Value value) {
  SetLastError(error);
  return value;
}

HANDLE WINAPI createBoundary(LPCWSTR name, ULONG) {
  if (name == nullptr || *name == L'\0') {
    return fails<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
  }
  return new Boundary{name, {}};
}

BOOL WINAPI addSid(HANDLE* boundary, PSID sid) {
  if (boundary == nullptr || *boundary == nullptr) {
    return fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  if (!IsValidSid(sid)) {
    return fails(ERROR_INVALID_SID, FALSE);
  }
  static_cast<Boundary*>(*boundary)->sids.emplace_back(static_cast<const char*>(sid),
                                                       GetLengthSid(sid));
  return TRUE;
}

bool isInside(const std::string& sid) {
  std::string copy = sid;
  BOOL isMember = FALSE;
  return CheckTokenMembership(nullptr, copy.data(), &isMember) && isMember;
}

HANDLE WINAPI createNamespace(LPSECURITY_ATTRIBUTES, LPVOID descriptor, LPCWSTR alias) {
  if (descriptor == nullptr || alias == nullptr || *alias == L'\0') {
    return fails<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
  }
  const auto* const boundary = static_cast<const Boundary*>(descriptor);
  if (isNamespaceRefused() || !std::ranges::all_of(boundary->sids, isInside)) {
    return fails<HANDLE>(ERROR_ACCESS_DENIED, nullptr);
  }
  HANDLE made = nullptr;
  const DWORD error = createNamespaceDirectory(alias, made);
  return error == ERROR_SUCCESS ? made : fails<HANDLE>(error, nullptr);
}

BOOLEAN WINAPI closeNamespace(HANDLE opened, ULONG) {
  return CloseHandle(opened) ? TRUE : FALSE;
}

template <class Function>
ULONG_PTR addressOf(Function* function) {
  return reinterpret_cast<ULONG_PTR>(function);
}

// The entries of one library's names in the program's import table.
ULONG_PTR replaceIn(unsigned char* image, const IMAGE_IMPORT_DESCRIPTOR& library, const char* name,
                    ULONG_PTR standIn) {
  const auto* wanted =
      reinterpret_cast<const IMAGE_THUNK_DATA*>(image + library.OriginalFirstThunk);
  auto* entry = reinterpret_cast<IMAGE_THUNK_DATA*>(image + library.FirstThunk);
  for (; wanted->u1.AddressOfData != 0; ++wanted, ++entry) {
    if (IMAGE_SNAP_BY_ORDINAL(wanted->u1.Ordinal)) {
      continue;
    }
    const auto* const imported =
        reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(image + wanted->u1.AddressOfData);
    DWORD before = 0;
    if (std::strcmp(reinterpret_cast<const char*>(imported->Name), name) != 0 ||
        !VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &before)) {
      continue;
    }
    const ULONG_PTR original = entry->u1.Function;
    entry->u1.Function = standIn;
    VirtualProtect(entry, sizeof(*entry), before, &before);
    return original;
  }
  return 0;
}

}  // namespace

ULONG_PTR replaceImport(const char* name, ULONG_PTR standIn) {
  auto* const image = reinterpret_cast<unsigned char*>(GetModuleHandleW(nullptr));
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
  const DWORD imports =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  if (imports == 0) {
    return 0;
  }
  const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(image + imports);
  for (; library->Name != 0; ++library) {
    if (const ULONG_PTR original = replaceIn(image, *library, name, standIn)) {
      return original;
    }
  }
  return 0;
}

void replaceImports() {
  replaceImport("CreateBoundaryDescriptorW", addressOf(createBoundary));
  replaceImport("AddSIDToBoundaryDescriptor", addressOf(addSid));
  replaceImport("CreatePrivateNamespaceW", addressOf(createNamespace));
  replaceImport("ClosePrivateNamespace", addressOf(closeNamespace));
  replaceImport("LookupPrivilegeValueW", addressOf(lookUpPrivilege));
}

}  // namespace wine
