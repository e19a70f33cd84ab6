#pragma once

#include "platform/host/windows/Types.h"

// Libraries, their procedures and their string tables.

inline constexpr DWORD LOAD_LIBRARY_AS_DATAFILE = 0x2;
inline constexpr DWORD LOAD_WITH_ALTERED_SEARCH_PATH = 0x8;

HMODULE LoadLibraryW(LPCWSTR name);
HMODULE LoadLibraryExW(LPCWSTR name, HANDLE file, DWORD flags);
BOOL SetDllDirectoryW(LPCWSTR path);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL FreeLibrary(HMODULE module);
HMODULE GetModuleHandleW(LPCWSTR name);
DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size);
int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int size);
