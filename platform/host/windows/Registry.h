#pragma once

#include "platform/host/windows/Types.h"

// The registry and the configuration manager's device nodes.

inline const HKEY HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(std::uintptr_t{0x80000000});
inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(std::uintptr_t{0x80000001});
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t{0x80000002});
inline const HKEY HKEY_USERS = reinterpret_cast<HKEY>(std::uintptr_t{0x80000003});
inline const HKEY HKEY_CURRENT_CONFIG = reinterpret_cast<HKEY>(std::uintptr_t{0x80000005});

using REGSAM = DWORD;
inline constexpr REGSAM KEY_QUERY_VALUE = 0x1;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WOW64_64KEY = 0x100;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size);
LSTATUS RegCloseKey(HKEY key);

using CONFIGRET = DWORD;
using DEVINST = DWORD;
using PDEVINST = DEVINST*;
using DEVINSTID_W = WCHAR*;
using REGDISPOSITION = ULONG;

inline constexpr CONFIGRET CR_SUCCESS = 0;
inline constexpr CONFIGRET CR_OUT_OF_MEMORY = 2;
inline constexpr CONFIGRET CR_INVALID_POINTER = 3;
inline constexpr CONFIGRET CR_INVALID_FLAG = 4;
inline constexpr CONFIGRET CR_INVALID_DEVNODE = 5;
inline constexpr CONFIGRET CR_NO_SUCH_DEVNODE = 0x0D;
inline constexpr CONFIGRET CR_BUFFER_SMALL = 0x1A;
inline constexpr CONFIGRET CR_NO_SUCH_VALUE = 0x25;
inline constexpr CONFIGRET CR_NO_SUCH_REGISTRY_KEY = 0x2E;
inline constexpr CONFIGRET CR_ACCESS_DENIED = 0x33;

inline constexpr ULONG CM_GETIDLIST_FILTER_PRESENT = 0x100;
inline constexpr ULONG CM_GETIDLIST_FILTER_CLASS = 0x200;
inline constexpr ULONG CM_LOCATE_DEVNODE_NORMAL = 0;
inline constexpr ULONG CM_DRP_HARDWAREID = 2;
inline constexpr REGDISPOSITION RegDisposition_OpenExisting = 1;
inline constexpr ULONG CM_REGISTRY_SOFTWARE = 1;

CONFIGRET CM_Get_Device_ID_List_SizeW(PULONG length, PCWSTR filter, ULONG flags);
CONFIGRET CM_Get_Device_ID_ListW(PCWSTR filter, WCHAR* buffer, ULONG length, ULONG flags);
CONFIGRET CM_Locate_DevNodeW(PDEVINST device, DEVINSTID_W id, ULONG flags);
CONFIGRET CM_Get_DevNode_Registry_PropertyW(DEVINST device, ULONG property, PULONG type,
                                            PVOID buffer, PULONG size, ULONG flags);
CONFIGRET CM_Open_DevNode_Key(DEVINST device, REGSAM access, ULONG hardwareProfile,
                              REGDISPOSITION disposition, PHKEY key, ULONG flags);
