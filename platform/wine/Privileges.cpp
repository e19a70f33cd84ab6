#include "platform/wine/Privileges.h"

namespace wine {
namespace {

struct Privilege {
  const wchar_t* name;
  DWORD id;
};

// With the ids that Windows gives them.
constexpr Privilege kLeftOut[] = {
    {L"SeUnsolicitedInputPrivilege", 6},
    {L"SeTrustedCredManAccessPrivilege", 31},
    {L"SeRelabelPrivilege", 32},
    {L"SeIncreaseWorkingSetPrivilege", 33},
    {L"SeTimeZonePrivilege", 34},
    {L"SeCreateSymbolicLinkPrivilege", 35},
    {L"SeDelegateSessionUserImpersonatePrivilege", 36},
};

}  // namespace

BOOL WINAPI lookUpPrivilege(LPCWSTR system, LPCWSTR name, PLUID id) {
  const DWORD before = GetLastError();
  if (LookupPrivilegeValueW(system, name, id)) {
    return TRUE;
  }
  for (const Privilege& privilege : kLeftOut) {
    if (name != nullptr && lstrcmpiW(name, privilege.name) == 0) {
      *id = {privilege.id, 0};
      SetLastError(before);
      return TRUE;
    }
  }
  return FALSE;
}

}  // namespace wine
