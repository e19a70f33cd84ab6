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

struct Replacement {
  const char* name;
  ULONG_PTR standIn;
};

template <class Function>
ULONG_PTR addressOf(Function* function) {
  return reinterpret_cast<ULONG_PTR>(function);
}

void replace(IMAGE_THUNK_DATA& entry, ULONG_PTR standIn) {
  DWORD before = 0;
  if (!VirtualProtect(&entry, sizeof(entry), PAGE_READWRITE, &before)) {
    return;
  }
  entry.u1.Function = standIn;
  VirtualProtect(&entry, sizeof(entry), before, &before);
}

}  // namespace

void replaceImports() {
  const Replacement replacements[] = {
      {"CreateBoundaryDescriptorW", addressOf(createBoundary)},
      {"AddSIDToBoundaryDescriptor", addressOf(addSid)},
      {"CreatePrivateNamespaceW", addressOf(createNamespace)},
      {"ClosePrivateNamespace", addressOf(closeNamespace)},
      {"LookupPrivilegeValueW", addressOf(lookUpPrivilege)},
  };
  auto* const image = reinterpret_cast<unsigned char*>(GetModuleHandleW(nullptr));
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
  const DWORD imports =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  if (imports == 0) {
    return;
  }
  const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(image + imports);
  for (; library->Name != 0; ++library) {
    const auto* name =
        reinterpret_cast<const IMAGE_THUNK_DATA*>(image + library->OriginalFirstThunk);
    auto* entry = reinterpret_cast<IMAGE_THUNK_DATA*>(image + library->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++entry) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
        continue;
      }
      const auto* const imported =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(image + name->u1.AddressOfData);
      for (const Replacement& replacement : replacements) {
        if (std::strcmp(reinterpret_cast<const char*>(imported->Name), replacement.name) == 0) {
          replace(*entry, replacement.standIn);
        }
      }
    }
  }
}

}  // namespace wine
