// Process tokens, privileges and security identifiers.

#include <cstring>

#include "platform/host/Call.h"
#include "platform/host/Handles.h"
#include "platform/host/Machine.h"

namespace host {
namespace {

constexpr BYTE kLabelAuthority = 16;
constexpr DWORD kIntegrityEnabled = 0x60;
// A SID's bytes before its sub-authorities; the second one is their number.
constexpr std::size_t kSidHead = 8;
constexpr std::size_t kSidCountAt = 1;

class TokenObject final : public KernelObject {
 public:
  explicit TokenObject(DWORD granted) : access(granted) {}
  const char* kind() const override { return "token"; }

  const DWORD access;
};

// The error that the handle is refused with: it is no open token, or was opened for less.
DWORD refusal(HANDLE handle, DWORD access, const char* call) {
  const auto token = HandleTable::instance().find<TokenObject>(handle, call);
  if (token == nullptr) {
    return ERROR_INVALID_HANDLE;
  }
  return (token->access & access) == access ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// The entries lie one after the other behind the head, which has room for one of them.
LUID_AND_ATTRIBUTES entryAt(const TOKEN_PRIVILEGES* state, DWORD index) {
  LUID_AND_ATTRIBUTES entry;
  std::memcpy(&entry,
              reinterpret_cast<const char*>(state) + offsetof(TOKEN_PRIVILEGES, Privileges) +
                  index * sizeof entry,
              sizeof entry);
  return entry;
}

// True if the token held every privilege that the record names.
bool adjust(const TOKEN_PRIVILEGES* state) {
  std::set<std::wstring>& held = machine().token.privileges;
  bool all = true;
  for (DWORD i = 0; i < state->PrivilegeCount; ++i) {
    const LUID_AND_ATTRIBUTES entry = entryAt(state, i);
    const auto privilege = held.find(Token::nameOf(entry.Luid.LowPart));
    if (privilege == held.end() || entry.Luid.HighPart != 0) {
      all = false;
    } else if ((entry.Attributes & SE_PRIVILEGE_REMOVED) != 0) {
      held.erase(privilege);
    }
  }
  return all;
}

// Tells what the token is left with.
void noteToken(std::size_t heldBefore) {
  const auto& held = machine().token.privileges;
  std::string kept;
  for (const std::wstring& name : held) {
    kept += " " + toUtf8(name);
  }
  machine().note("token: " + std::to_string(heldBefore - held.size()) +
                 " privileges removed, kept" + (kept.empty() ? " none" : kept));
}

}  // namespace
}  // namespace host

using host::Call;

BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token) {
  Call call("OpenProcessToken", process, access);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (token == nullptr) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  // The process's own pseudo handle is the only process whose token is modelled.
  if (process != reinterpret_cast<HANDLE>(std::intptr_t{-1})) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  if (host::machine().token.givesNoHandle) {
    return call.returns(TRUE);
  }
  const host::Scheduler::Guard guard;
  *token = host::HandleTable::instance().add(std::make_shared<host::TokenObject>(access),
                                             "OpenProcessToken");
  return call.returns(TRUE);
}

BOOL LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID luid) {
  Call call("LookupPrivilegeValueW", system, name);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (name == nullptr || luid == nullptr) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  const host::Scheduler::Guard guard;
  const DWORD number = host::Token::numberOf(name);
  if (number == 0 || host::machine().token.unknownPrivileges.contains(name)) {
    return call.fails(ERROR_NO_SUCH_PRIVILEGE, FALSE);
  }
  *luid = {number, 0};
  return call.returns(TRUE);
}

BOOL AdjustTokenPrivileges(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES newState,
                           DWORD bufferLength, PTOKEN_PRIVILEGES previousState,
                           PDWORD returnLength) {
  Call call("AdjustTokenPrivileges", token, disableAll,
            newState == nullptr ? 0U : newState->PrivilegeCount, bufferLength, previousState,
            returnLength);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  if (const DWORD error = host::refusal(token, TOKEN_ADJUST_PRIVILEGES, "AdjustTokenPrivileges")) {
    return call.fails(error, FALSE);
  }
  // The state before is not modelled.
  if (previousState != nullptr || (newState == nullptr && disableAll == FALSE)) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  // The call succeeds all the same: only the last error tells that a privilege was not held.
  const std::size_t heldBefore = host::machine().token.privileges.size();
  const bool all = disableAll != FALSE || host::adjust(newState);
  host::noteToken(heldBefore);
  host::setLastError(all ? ERROR_SUCCESS : ERROR_NOT_ALL_ASSIGNED);
  return call.returns(TRUE);
}

BOOL GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS informationClass, LPVOID information,
                         DWORD length, PDWORD returnLength) {
  Call call("GetTokenInformation", token, static_cast<int>(informationClass), length);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  if (const DWORD error = host::refusal(token, TOKEN_QUERY, "GetTokenInformation")) {
    return call.fails(error, FALSE);
  }
  if (informationClass != TokenIntegrityLevel || returnLength == nullptr) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  const host::Token& own = host::machine().token;
  std::vector<DWORD> subAuthorities = own.integrityPrefix;
  subAuthorities.push_back(own.integrityLevel);
  const std::string sid = host::makeSid(host::kLabelAuthority, subAuthorities);
  *returnLength =
      static_cast<DWORD>(sizeof(TOKEN_MANDATORY_LABEL) + sid.size()) + own.integritySlack;
  if (information == nullptr && own.answersWithoutBuffer) {
    return call.returns(TRUE);
  }
  if (information == nullptr || length < *returnLength) {
    return call.fails(ERROR_INSUFFICIENT_BUFFER, FALSE);
  }
  // The SID lies in the same buffer, behind the record that points to it.
  char* const sidPlace = static_cast<char*>(information) + sizeof(TOKEN_MANDATORY_LABEL);
  const TOKEN_MANDATORY_LABEL label{{sidPlace, host::kIntegrityEnabled}};
  std::memcpy(information, &label, sizeof label);
  std::memcpy(sidPlace, sid.data(), sid.size());
  return call.returns(TRUE);
}

PUCHAR GetSidSubAuthorityCount(PSID sid) {
  Call call("GetSidSubAuthorityCount", sid);
  if (call.faulted()) {
    return call.returns<PUCHAR>(nullptr);
  }
  host::setLastError(ERROR_SUCCESS);
  return call.returns(static_cast<PUCHAR>(sid) + host::kSidCountAt);
}

PDWORD GetSidSubAuthority(PSID sid, DWORD index) {
  Call call("GetSidSubAuthority", sid, index);
  if (call.faulted()) {
    return call.returns<PDWORD>(nullptr);
  }
  host::setLastError(ERROR_SUCCESS);
  void* const place = static_cast<char*>(sid) + host::kSidHead + index * sizeof(DWORD);
  return call.returns(static_cast<PDWORD>(place));
}

BOOL CreateWellKnownSid(WELL_KNOWN_SID_TYPE type, PSID domain, PSID sid, DWORD* size) {
  Call call("CreateWellKnownSid", static_cast<int>(type), domain, size == nullptr ? 0U : *size);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const bool known = type == WinBuiltinAdministratorsSid || type == WinLocalSystemSid;
  if (size == nullptr || !known) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  const std::string bytes =
      type == WinBuiltinAdministratorsSid ? host::administratorsSid() : host::localSystemSid();
  const DWORD room = *size;
  *size = static_cast<DWORD>(bytes.size());
  if (room < bytes.size()) {
    return call.fails(ERROR_INSUFFICIENT_BUFFER, FALSE);
  }
  if (sid == nullptr) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  std::memcpy(sid, bytes.data(), bytes.size());
  return call.returns(TRUE);
}
