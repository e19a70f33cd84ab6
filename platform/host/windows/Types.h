#pragma once

#include <cstddef>
#include <cstdint>
#include <cwchar>

// Calling conventions and the like have no meaning in the model.
#define WINAPI
#define CALLBACK
#define NTAPI
#define APIENTRY

using BYTE = std::uint8_t;
using UCHAR = std::uint8_t;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using DWORD = std::uint32_t;
using ULONG = std::uint32_t;
using UINT = std::uint32_t;
using INT = std::int32_t;
using LONG = std::int32_t;
using BOOL = int;
using BOOLEAN = std::uint8_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using DWORD64 = std::uint64_t;
using DWORDLONG = std::uint64_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using WCHAR = wchar_t;
using HRESULT = std::int32_t;
using LSTATUS = LONG;
using LANGID = WORD;

using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using PBYTE = BYTE*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = wchar_t*;
using PWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using PCWSTR = const wchar_t*;
using LPDWORD = DWORD*;
using PDWORD = DWORD*;
using PUCHAR = UCHAR*;
using PULONG = ULONG*;
using PLONG = LONG*;
using LPLONG = LONG*;
using LPBOOL = BOOL*;

using HANDLE = void*;
using PHANDLE = HANDLE*;
using HLOCAL = HANDLE;

// Kinds of handle that have a type of their own on Windows as well.
struct HKEY__;
using HKEY = HKEY__*;
using PHKEY = HKEY*;
struct HINSTANCE__;
using HMODULE = HINSTANCE__*;
using HINSTANCE = HMODULE;
using FARPROC = std::intptr_t (*)();

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});
inline constexpr DWORD MAX_PATH = 260;

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_OUTOFMEMORY = 14;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NOT_OWNER = 288;
inline constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr DWORD ERROR_SERVICE_ALREADY_RUNNING = 1056;
inline constexpr DWORD ERROR_SERVICE_CANNOT_ACCEPT_CTRL = 1061;
inline constexpr DWORD ERROR_SERVICE_NOT_ACTIVE = 1062;
inline constexpr DWORD ERROR_FAILED_SERVICE_CONTROLLER_CONNECT = 1063;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr DWORD ERROR_OLD_WIN_VERSION = 1150;
inline constexpr DWORD ERROR_NOT_ALL_ASSIGNED = 1300;
inline constexpr DWORD ERROR_NO_SUCH_PRIVILEGE = 1313;
inline constexpr DWORD ERROR_INVALID_SID = 1337;
inline constexpr DWORD ERROR_RESOURCE_NAME_NOT_FOUND = 1814;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);

constexpr bool SUCCEEDED(HRESULT result) {
  return result >= 0;
}
constexpr bool FAILED(HRESULT result) {
  return result < 0;
}

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
using CLSID = GUID;
using IID = GUID;
using LPCGUID = const GUID*;
using REFKNOWNFOLDERID = const GUID&;

struct LUID {
  DWORD LowPart;
  LONG HighPart;
};
using PLUID = LUID*;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

struct OVERLAPPED;
using LPOVERLAPPED = OVERLAPPED*;
