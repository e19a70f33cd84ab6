#include "platform/wine/TokenPrivileges.h"

#include <cstddef>
#include <vector>

#include "platform/wine/Failed.h"
#include "platform/wine/Plan.h"

namespace wine {
namespace {

std::string nameOf(LUID id) {
  wchar_t name[64];
  DWORD length = sizeof name / sizeof name[0];
  if (!LookupPrivilegeNameW(nullptr, &id, name, &length)) {
    return "privilege " + std::to_string(id.LowPart);
  }
  return toUtf8(std::wstring(name, length));
}

}  // namespace

std::set<std::string> privilegesOf(HANDLE process) {
  HANDLE token = nullptr;
  if (!OpenProcessToken(process, TOKEN_QUERY, &token)) {
    failed("OpenProcessToken");
  }
  DWORD size = 0;
  GetTokenInformation(token, TokenPrivileges, nullptr, 0, &size);
  std::vector<std::byte> record(size);
  const BOOL isRead = GetTokenInformation(token, TokenPrivileges, record.data(), size, &size);
  CloseHandle(token);
  if (!isRead) {
    failed("GetTokenInformation");
  }
  const auto* const held = reinterpret_cast<const TOKEN_PRIVILEGES*>(record.data());
  std::set<std::string> names;
  for (DWORD i = 0; i < held->PrivilegeCount; ++i) {
    names.insert(nameOf(held->Privileges[i].Luid));
  }
  return names;
}

std::string tokenText(const std::set<std::string>& before, const std::set<std::string>& now) {
  std::string kept;
  for (const std::string& name : now) {
    kept += " " + name;
  }
  std::size_t removed = 0;
  for (const std::string& name : before) {
    removed += now.contains(name) ? 0U : 1U;
  }
  return "token: " + std::to_string(removed) + " privileges removed, kept" +
         (kept.empty() ? " none" : kept);
}

}  // namespace wine
