#pragma once

#include "platform/host/windows/Types.h"

// COM: its life in a process, the base of all interfaces, strings and variants. The interfaces are
// pure, with the platform's order of slots; no destructor takes a slot, and none can be called from
// outside: an object ends with its last release.

using REFIID = const IID&;
using REFCLSID = const CLSID&;
using SHORT = std::int16_t;
using VARTYPE = USHORT;
using VARIANT_BOOL = SHORT;
using OLECHAR = WCHAR;
using BSTR = OLECHAR*;
using LPOLESTR = OLECHAR*;
using DATE = double;
using LCID = DWORD;
using DISPID = LONG;
using PSECURITY_DESCRIPTOR = PVOID;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF);
inline constexpr HRESULT RPC_E_CHANGED_MODE = static_cast<HRESULT>(0x80010106);
inline constexpr HRESULT RPC_E_TOO_LATE = static_cast<HRESULT>(0x80010119);
inline constexpr HRESULT DISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154);
inline constexpr HRESULT CO_E_NOTINITIALIZED = static_cast<HRESULT>(0x800401F0);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);

// 0 stays 0; any other code of Windows becomes a failure of the facility 7.
constexpr HRESULT HRESULT_FROM_WIN32(DWORD error) {
  return error == 0 ? S_OK : static_cast<HRESULT>((error & 0xFFFFU) | 0x80070000U);
}

constexpr bool operator==(const GUID& left, const GUID& right) {
  for (std::size_t i = 0; i < sizeof left.Data4; ++i) {
    if (left.Data4[i] != right.Data4[i]) {
      return false;
    }
  }
  return left.Data1 == right.Data1 && left.Data2 == right.Data2 && left.Data3 == right.Data3;
}
constexpr bool IsEqualGUID(const GUID& left, const GUID& right) {
  return left == right;
}

inline constexpr IID IID_IUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_IDispatch = {
    0x00020400, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

struct IUnknown {
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};
using LPUNKNOWN = IUnknown*;

struct ITypeInfo;
struct DISPPARAMS;
struct EXCEPINFO;
struct VARIANT;

struct IDispatch : IUnknown {
  virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
  virtual HRESULT GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                DISPID* ids) = 0;
  virtual HRESULT Invoke(DISPID member, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                         VARIANT* result, EXCEPINFO* exception, UINT* badArgument) = 0;

 protected:
  ~IDispatch() = default;
};

// Only the kinds that the product or its tests pass are known by name.
enum VARENUM : std::uint16_t {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_BOOL = 11,
  VT_UNKNOWN = 13
};

struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    SHORT iVal;
    VARIANT_BOOL boolVal;
    BSTR bstrVal;
    IUnknown* punkVal;
    IDispatch* pdispVal;
    PVOID byref;
    PVOID record[2];  // the largest member on the platform is a pair of pointers
  };
};
using VARIANTARG = VARIANT;
static_assert(sizeof(VARIANT) == 24);

BSTR SysAllocString(const OLECHAR* text);
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
void SysFreeString(BSTR text);
UINT SysStringLen(BSTR text);

void VariantInit(VARIANTARG* variant);
HRESULT VariantClear(VARIANTARG* variant);

enum COINIT : std::uint8_t { COINIT_MULTITHREADED = 0x0, COINIT_APARTMENTTHREADED = 0x2 };
enum CLSCTX : std::uint8_t { CLSCTX_INPROC_SERVER = 0x1, CLSCTX_LOCAL_SERVER = 0x4 };

inline constexpr DWORD RPC_C_AUTHN_LEVEL_PKT_PRIVACY = 6;
inline constexpr DWORD RPC_C_IMP_LEVEL_IMPERSONATE = 3;

struct SOLE_AUTHENTICATION_SERVICE;

HRESULT CoInitializeEx(LPVOID reserved, DWORD mode);
void CoUninitialize();
HRESULT CoInitializeSecurity(PSECURITY_DESCRIPTOR descriptor, LONG serviceCount,
                             SOLE_AUTHENTICATION_SERVICE* services, void* reserved1,
                             DWORD authenticationLevel, DWORD impersonationLevel,
                             void* authenticationList, DWORD capabilities, void* reserved3);
HRESULT CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID iid,
                         LPVOID* object);
