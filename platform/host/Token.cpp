#include "platform/host/Token.h"

#include <algorithm>

#include "platform/host/Text.h"

namespace host {
namespace {

struct Privilege {
  DWORD number;
  const wchar_t* name;
};

// The platform's numbers. The last one is obsolete, and its number only ours.
constexpr Privilege kPrivileges[] = {
    {2, L"SeCreateTokenPrivilege"},
    {3, L"SeAssignPrimaryTokenPrivilege"},
    {4, L"SeLockMemoryPrivilege"},
    {5, L"SeIncreaseQuotaPrivilege"},
    {6, L"SeMachineAccountPrivilege"},
    {7, L"SeTcbPrivilege"},
    {8, L"SeSecurityPrivilege"},
    {9, L"SeTakeOwnershipPrivilege"},
    {10, L"SeLoadDriverPrivilege"},
    {11, L"SeSystemProfilePrivilege"},
    {12, L"SeSystemtimePrivilege"},
    {13, L"SeProfileSingleProcessPrivilege"},
    {14, L"SeIncreaseBasePriorityPrivilege"},
    {15, L"SeCreatePagefilePrivilege"},
    {16, L"SeCreatePermanentPrivilege"},
    {17, L"SeBackupPrivilege"},
    {18, L"SeRestorePrivilege"},
    {19, L"SeShutdownPrivilege"},
    {20, L"SeDebugPrivilege"},
    {21, L"SeAuditPrivilege"},
    {22, L"SeSystemEnvironmentPrivilege"},
    {23, L"SeChangeNotifyPrivilege"},
    {24, L"SeRemoteShutdownPrivilege"},
    {25, L"SeUndockPrivilege"},
    {26, L"SeSyncAgentPrivilege"},
    {27, L"SeEnableDelegationPrivilege"},
    {28, L"SeManageVolumePrivilege"},
    {29, L"SeImpersonatePrivilege"},
    {30, L"SeCreateGlobalPrivilege"},
    {31, L"SeTrustedCredManAccessPrivilege"},
    {32, L"SeRelabelPrivilege"},
    {33, L"SeIncreaseWorkingSetPrivilege"},
    {34, L"SeTimeZonePrivilege"},
    {35, L"SeCreateSymbolicLinkPrivilege"},
    {36, L"SeDelegateSessionUserImpersonatePrivilege"},
    {37, L"SeUnsolicitedInputPrivilege"},
};

constexpr BYTE kSidRevision = 1;
constexpr BYTE kNtAuthority = 5;
constexpr DWORD kBuiltinDomain = 32;
constexpr DWORD kAdministrators = 544;
constexpr DWORD kLocalSystem = 18;

}  // namespace

Token::Token() : privileges(allPrivileges()) {}

const std::set<std::wstring>& Token::allPrivileges() {
  static const auto* all = [] {
    auto* names = new std::set<std::wstring>;
    for (const Privilege& privilege : kPrivileges) {
      names->insert(privilege.name);
    }
    return names;
  }();
  return *all;
}

DWORD Token::numberOf(std::wstring_view name) {
  for (const Privilege& privilege : kPrivileges) {
    if (equalIgnoringCase(privilege.name, name)) {
      return privilege.number;
    }
  }
  return 0;
}

std::wstring Token::nameOf(DWORD number) {
  for (const Privilege& privilege : kPrivileges) {
    if (privilege.number == number) {
      return privilege.name;
    }
  }
  return {};
}

bool Token::isInside(const std::string& sid) const {
  return (administrator && sid == administratorsSid()) ||
         (integrityLevel == SECURITY_MANDATORY_SYSTEM_RID && sid == localSystemSid());
}

std::string makeSid(BYTE authority, const std::vector<DWORD>& subAuthorities) {
  constexpr std::size_t kAuthorityBytes = 6;
  std::string sid;
  sid += static_cast<char>(kSidRevision);
  sid += static_cast<char>(subAuthorities.size());
  sid.append(kAuthorityBytes - 1, '\0');
  sid += static_cast<char>(authority);
  for (const DWORD subAuthority : subAuthorities) {
    sid.append(reinterpret_cast<const char*>(&subAuthority), sizeof subAuthority);
  }
  return sid;
}

std::string administratorsSid() {
  return makeSid(kNtAuthority, {kBuiltinDomain, kAdministrators});
}

std::string localSystemSid() {
  return makeSid(kNtAuthority, {kLocalSystem});
}

}  // namespace host
