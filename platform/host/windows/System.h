#pragma once

#include "platform/host/windows/Types.h"

// Last errors, the heap, versions, messages, clocks, code pages, the console and debug output.

DWORD GetLastError();
void SetLastError(DWORD error);

inline constexpr DWORD HEAP_ZERO_MEMORY = 0x8;
HANDLE GetProcessHeap();
LPVOID HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size);
BOOL HeapFree(HANDLE heap, DWORD flags, LPVOID memory);
HLOCAL LocalFree(HLOCAL memory);

struct OSVERSIONINFOEXW {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
  WORD wServicePackMajor;
  WORD wServicePackMinor;
  WORD wSuiteMask;
  BYTE wProductType;
  BYTE wReserved;
};
using LPOSVERSIONINFOEXW = OSVERSIONINFOEXW*;

inline constexpr DWORD VER_MINORVERSION = 0x1;
inline constexpr DWORD VER_MAJORVERSION = 0x2;
inline constexpr DWORD VER_BUILDNUMBER = 0x4;
inline constexpr BYTE VER_EQUAL = 1;
inline constexpr BYTE VER_GREATER = 2;
inline constexpr BYTE VER_GREATER_EQUAL = 3;

ULONGLONG VerSetConditionMask(ULONGLONG mask, DWORD type, BYTE condition);
BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW version, DWORD typeMask, DWORDLONG conditionMask);

inline constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD id, DWORD language, LPWSTR buffer,
                     DWORD size, void* arguments);
LANGID GetUserDefaultLangID();

inline constexpr UINT CP_UTF8 = 65001;
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR buffer,
                        int size);

void GetLocalTime(LPSYSTEMTIME time);
void OutputDebugStringW(LPCWSTR text);

inline constexpr DWORD STD_INPUT_HANDLE = 0xFFFFFFF6;
inline constexpr DWORD STD_OUTPUT_HANDLE = 0xFFFFFFF5;
inline constexpr DWORD ENABLE_ECHO_INPUT = 0x4;
HANDLE GetStdHandle(DWORD which);
BOOL GetConsoleMode(HANDLE console, LPDWORD mode);
BOOL SetConsoleMode(HANDLE console, DWORD mode);
