#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/windows/Security.h"

namespace host {

// The process's access token.
struct Token {
  Token();

  // Names of the privileges that the token holds; a removed one is gone for good. By default all
  // known names.
  std::set<std::wstring> privileges;
  // Names that this system's version does not know: looking them up fails with 1313.
  std::set<std::wstring> unknownPrivileges;
  // 0x4000 is the level of a service under the local system account.
  DWORD integrityLevel = SECURITY_MANDATORY_SYSTEM_RID;
  // Sub-authorities ahead of the level in its SID; a genuine label has none.
  std::vector<DWORD> integrityPrefix;
  // Bytes that the query of the level asks for beyond those that it fills.
  DWORD integritySlack = 0;
  // Whether the query of the level claims success when it is given no buffer.
  bool answersWithoutBuffer = false;
  // Whether the token is inside the built-in administrators' SID.
  bool administrator = true;
  // Opening the token succeeds and writes no handle: what the caller had there stays.
  bool givesNoHandle = false;

  // Every privilege's name that the platform knows.
  static const std::set<std::wstring>& allPrivileges();
  // A privilege's number, 0 for an unknown name; names ignore case.
  static DWORD numberOf(std::wstring_view name);
  // The name behind a number, empty if there is none.
  static std::wstring nameOf(DWORD number);

  // Whether the token is inside this SID: the administrators' or the local system's.
  bool isInside(const std::string& sid) const;
};

// The bytes of S-1-<authority>-<sub-authorities>: revision, count, six bytes of authority, and the
// sub-authorities of four bytes each.
std::string makeSid(BYTE authority, const std::vector<DWORD>& subAuthorities);
std::string administratorsSid();
std::string localSystemSid();

}  // namespace host
