#include "service/ProcessHardening.h"

#include <cstddef>
#include <stdexcept>

#include "VUSL/Support/GetSystemErrorText.h"
#include "VUSL/Support/LogItem.h"
#include "platform/win32.h"

namespace {

// SeChangeNotifyPrivilege is left out: it is the one that the process keeps.
std::vector<std::wstring> PrivilegesToRemove() {
  return {
      L"SeUnsolicitedInputPrivilege",
      L"SeUndockPrivilege",
      L"SeTrustedCredManAccessPrivilege",
      L"SeTimeZonePrivilege",
      L"SeTcbPrivilege",
      L"SeTakeOwnershipPrivilege",
      L"SeSystemtimePrivilege",
      L"SeSystemProfilePrivilege",
      L"SeSystemEnvironmentPrivilege",
      L"SeSyncAgentPrivilege",
      L"SeShutdownPrivilege",
      L"SeSecurityPrivilege",
      L"SeRestorePrivilege",
      L"SeRemoteShutdownPrivilege",
      L"SeRelabelPrivilege",
      L"SeProfileSingleProcessPrivilege",
      L"SeManageVolumePrivilege",
      L"SeMachineAccountPrivilege",
      L"SeLockMemoryPrivilege",
      L"SeLoadDriverPrivilege",
      L"SeIncreaseWorkingSetPrivilege",
      L"SeIncreaseQuotaPrivilege",
      L"SeIncreaseBasePriorityPrivilege",
      L"SeImpersonatePrivilege",
      L"SeEnableDelegationPrivilege",
      L"SeDebugPrivilege",
      L"SeCreateTokenPrivilege",
      L"SeCreateSymbolicLinkPrivilege",
      L"SeCreatePermanentPrivilege",
      L"SeCreatePagefilePrivilege",
      L"SeCreateGlobalPrivilege",
      L"SeBackupPrivilege",
      L"SeAuditPrivilege",
      L"SeAssignPrimaryTokenPrivilege",
      L"SeDelegateSessionUserImpersonatePrivilege",
  };
}

bool OpenOwnToken(HANDLE& token) {
  token = INVALID_HANDLE_VALUE;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) {
    const DWORD error = GetLastError();
    LogItem().error() << "OpenProcessToken failed, error code: " << error;
    return false;
  }
  if (token == INVALID_HANDLE_VALUE) {
    LogItem().error() << "OpenProcessToken returned INVALID_HANDLE_VALUE.";
    return false;
  }
  return true;
}

std::vector<LUID> LookUp(const std::vector<std::wstring>& privileges) {
  std::vector<LUID> ids;
  for (const std::wstring& name : privileges) {
    LogItem().debug() << "Try to drop " << name.c_str();
    LUID id = {};
    if (LookupPrivilegeValueW(nullptr, name.c_str(), &id)) {
      ids.push_back(id);
      continue;
    }
    const DWORD error = GetLastError();
    LogItem().debug() << "LookupPrivilegeValue for " << name << " failed, error code = " << error
                      << " (" << GetSystemErrorText(error) << ")";
  }
  return ids;
}

void CloseToken(HANDLE token) {
  if (CloseHandle(token)) return;
  const DWORD error = GetLastError();
  LogItem().error() << "CloseHandle failed, error code = " << error;
}

// Closes the token, also where an exception leaves the work with it.
class OwnedToken {
 public:
  explicit OwnedToken(HANDLE opened) : token(opened) {}
  ~OwnedToken() { CloseToken(token); }
  OwnedToken(const OwnedToken&) = delete;
  OwnedToken& operator=(const OwnedToken&) = delete;

  HANDLE get() const { return token; }

 private:
  HANDLE token;
};

// The record ends with as many entries as there are ids; none leaves the count alone.
TOKEN_PRIVILEGES* AllocateRecord(const std::vector<LUID>& ids) {
  static_assert(sizeof(TOKEN_PRIVILEGES) == 16 && sizeof(LUID_AND_ATTRIBUTES) == 12);
  constexpr std::size_t kCountSize = offsetof(TOKEN_PRIVILEGES, Privileges);
  void* const memory = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY,
                                 ids.size() * sizeof(LUID_AND_ATTRIBUTES) + kCountSize);
  return static_cast<TOKEN_PRIVILEGES*>(memory);
}

// Owns the record of what is to be removed; null if there was no memory for it.
class OwnedRecord {
 public:
  explicit OwnedRecord(const std::vector<LUID>& ids) : record(AllocateRecord(ids)) {}
  ~OwnedRecord() {
    if (record == nullptr || HeapFree(GetProcessHeap(), 0, record)) return;
    const DWORD error = GetLastError();
    LogItem().error() << "HeapFree failed, error code = " << error;
  }
  OwnedRecord(const OwnedRecord&) = delete;
  OwnedRecord& operator=(const OwnedRecord&) = delete;

  TOKEN_PRIVILEGES* get() const { return record; }

 private:
  TOKEN_PRIVILEGES* record;
};

bool RemoveFromToken(HANDLE token, const std::vector<LUID>& ids, TOKEN_PRIVILEGES* record) {
  record->PrivilegeCount = static_cast<DWORD>(ids.size());
  LUID_AND_ATTRIBUTES* entry = record->Privileges;
  for (const LUID& id : ids) {
    entry->Luid = id;
    entry->Attributes = SE_PRIVILEGE_REMOVED;
    ++entry;
  }
  // After a success the last error is not looked at: it is 1300 for every privilege that the token
  // never held, and a token that holds few is the rule.
  if (AdjustTokenPrivileges(token, FALSE, record, 0, nullptr, nullptr)) {
    LogItem().debug() << "AdjustTokenPrivileges succeeded.";
    return true;
  }
  const DWORD error = GetLastError();
  LogItem().error() << "AdjustTokenPrivileges failed, error code = " << error;
  return false;
}

}  // namespace

void InitializeSecurity() {
  LogItem().debug() << "InitializeSecurity...";
  if (LimitPrivileges(PrivilegesToRemove())) {
    LogItem().debug() << "Dropping Privileges: Success";
    return;
  }
  LogItem().error() << "Dropping Privileges: Failure";
}

bool LimitPrivileges(std::vector<std::wstring> privileges) {
  LogItem().debug() << "Try to limit privileges";
  HANDLE opened = nullptr;
  if (!OpenOwnToken(opened)) return false;
  const OwnedToken token(opened);
  const std::vector<LUID> ids = LookUp(privileges);
  // Freed ahead of the token's closing.
  const OwnedRecord record(ids);
  if (record.get() == nullptr) {
    throw std::runtime_error("Failed to alloc memory for drop privileges");
  }
  return RemoveFromToken(token.get(), ids, record.get());
}
