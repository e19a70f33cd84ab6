#pragma once

#include "platform/host/windows/Types.h"

// Process tokens, privileges and security identifiers.

inline constexpr DWORD TOKEN_QUERY = 0x8;
inline constexpr DWORD TOKEN_ADJUST_PRIVILEGES = 0x20;
inline constexpr DWORD SE_PRIVILEGE_ENABLED = 0x2;
inline constexpr DWORD SE_PRIVILEGE_REMOVED = 0x4;
inline constexpr DWORD SECURITY_MAX_SID_SIZE = 68;
inline constexpr DWORD SECURITY_MANDATORY_LOW_RID = 0x1000;
inline constexpr DWORD SECURITY_MANDATORY_MEDIUM_RID = 0x2000;
inline constexpr DWORD SECURITY_MANDATORY_SYSTEM_RID = 0x4000;

using PSID = PVOID;

enum WELL_KNOWN_SID_TYPE { WinLocalSystemSid = 22, WinBuiltinAdministratorsSid = 26 };

// Only the class that the product asks for is known by name.
enum TOKEN_INFORMATION_CLASS { TokenIntegrityLevel = 25 };

struct LUID_AND_ATTRIBUTES {
  LUID Luid;
  DWORD Attributes;
};

struct TOKEN_PRIVILEGES {
  DWORD PrivilegeCount;
  LUID_AND_ATTRIBUTES Privileges[1];
};
using PTOKEN_PRIVILEGES = TOKEN_PRIVILEGES*;
static_assert(sizeof(TOKEN_PRIVILEGES) == 16);

struct SID_AND_ATTRIBUTES {
  PSID Sid;
  DWORD Attributes;
};

struct TOKEN_MANDATORY_LABEL {
  SID_AND_ATTRIBUTES Label;
};
using PTOKEN_MANDATORY_LABEL = TOKEN_MANDATORY_LABEL*;

BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token);
BOOL LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID luid);
BOOL AdjustTokenPrivileges(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES newState,
                           DWORD bufferLength, PTOKEN_PRIVILEGES previousState,
                           PDWORD returnLength);
BOOL GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS informationClass, LPVOID information,
                         DWORD length, PDWORD returnLength);
PUCHAR GetSidSubAuthorityCount(PSID sid);
PDWORD GetSidSubAuthority(PSID sid, DWORD index);
BOOL CreateWellKnownSid(WELL_KNOWN_SID_TYPE type, PSID domain, PSID sid, DWORD* size);
