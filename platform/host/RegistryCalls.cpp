// The registry's calls. All of them answer with their status and leave the last error alone.

#include <algorithm>
#include <cstring>

#include "platform/host/Machine.h"
#include "platform/host/RegistryKey.h"
#include "platform/host/RegistryViews.h"
#include "platform/host/Resets.h"
#include "platform/host/StatusCall.h"

namespace host {
namespace {

constexpr LSTATUS kErrorBadPathname = 161;
constexpr LSTATUS kErrorKeyDeleted = 1018;
// Both views at once cannot be asked for.
constexpr REGSAM kBothViews = 0x200 | KEY_WOW64_64KEY;

const wchar_t* rootName(HKEY key) {
  if (key == HKEY_CLASSES_ROOT) {
    return L"HKCR";
  }
  if (key == HKEY_CURRENT_USER) {
    return L"HKCU";
  }
  if (key == HKEY_LOCAL_MACHINE) {
    return L"HKLM";
  }
  if (key == HKEY_USERS) {
    return L"HKU";
  }
  return key == HKEY_CURRENT_CONFIG ? L"HKCC" : nullptr;
}

// Whether values may be read through an open key. Whoever opens a root may do all there.
bool mayQuery(HKEY key, const char* call) {
  const auto object = HandleTable::instance().find<RegistryKey>(key, call);
  return object == nullptr || (object->access & KEY_QUERY_VALUE) != 0;
}

// Hands out a value as it is stored: nothing is terminated or rounded here.
LSTATUS giveValue(const RegistryStore::Value& value, DWORD* type, BYTE* data, DWORD* size) {
  if (type != nullptr) {
    *type = value.type;
  }
  if (size == nullptr) {
    return ERROR_SUCCESS;
  }
  const DWORD room = *size;
  *size = static_cast<DWORD>(value.bytes.size());
  if (data == nullptr) {
    return ERROR_SUCCESS;
  }
  if (room < value.bytes.size()) {
    return ERROR_MORE_DATA;
  }
  std::memcpy(data, value.bytes.data(), value.bytes.size());
  return ERROR_SUCCESS;
}

}  // namespace

std::optional<std::wstring> registryPath(HKEY key, const char* call) {
  if (const wchar_t* root = rootName(key)) {
    return root;
  }
  const auto object = HandleTable::instance().find<RegistryKey>(key, call);
  return object == nullptr ? std::nullopt : std::optional(object->path);
}

HKEY openRegistryKey(const std::wstring& path, REGSAM access, const char* maker) {
  return static_cast<HKEY>(static_cast<void*>(
      HandleTable::instance().add(std::make_shared<RegistryKey>(path, access), maker)));
}

bool RegistryViews::shows(std::wstring_view path, REGSAM access) const {
  const auto hides = [&](const std::wstring& key) {
    return equalIgnoringCase(path.substr(0, key.size()), key) &&
           (path.size() == key.size() || path[key.size()] == L'\\');
  };
  return (access & KEY_WOW64_64KEY) != 0 ||
         std::none_of(only64Bit_.begin(), only64Bit_.end(), hides);
}

RegistryViews& registryViews() {
  static RegistryViews* const views = [] {
    auto* made = new RegistryViews;
    atReset([made] { *made = RegistryViews(); });
    return made;
  }();
  return *views;
}

}  // namespace host

using host::StatusCall;

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result) {
  StatusCall call("RegOpenKeyExW", key, subKey, options, access);
  if (result == nullptr) {
    return call.returns<LSTATUS>(ERROR_INVALID_PARAMETER);
  }
  *result = nullptr;
  if (call.faulted()) {
    return call.returns(static_cast<LSTATUS>(call.fault()));
  }
  if ((access & host::kBothViews) == host::kBothViews) {
    return call.returns<LSTATUS>(ERROR_INVALID_PARAMETER);
  }
  const host::Scheduler::Guard guard;
  const auto parent = host::registryPath(key, "RegOpenKeyExW");
  if (!parent) {
    return call.returns<LSTATUS>(ERROR_INVALID_HANDLE);
  }
  if (subKey == nullptr || *subKey == L'\0') {
    // A root is given as it is, any other key a second time.
    *result = host::rootName(key) != nullptr
                  ? key
                  : host::openRegistryKey(*parent, access, "RegOpenKeyExW");
    return call.returns<LSTATUS>(ERROR_SUCCESS);
  }
  if (*subKey == L'\\') {
    return call.returns(host::kErrorBadPathname);
  }
  const std::wstring path = *parent + L'\\' + subKey;
  if (!host::machine().registry.hasKey(path) || !host::registryViews().shows(path, access)) {
    return call.returns<LSTATUS>(ERROR_FILE_NOT_FOUND);
  }
  *result = host::openRegistryKey(path, access, "RegOpenKeyExW");
  return call.returns<LSTATUS>(ERROR_SUCCESS);
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size) {
  StatusCall call("RegQueryValueExW", key, name, size == nullptr ? 0U : *size);
  if (call.faulted()) {
    return call.returns(static_cast<LSTATUS>(call.fault()));
  }
  if (reserved != nullptr || (data != nullptr && size == nullptr)) {
    return call.returns<LSTATUS>(ERROR_INVALID_PARAMETER);
  }
  const host::Scheduler::Guard guard;
  const auto path = host::registryPath(key, "RegQueryValueExW");
  if (!path) {
    return call.returns<LSTATUS>(ERROR_INVALID_HANDLE);
  }
  const host::RegistryStore& registry = host::machine().registry;
  if (!registry.hasKey(*path)) {
    return call.returns(host::kErrorKeyDeleted);
  }
  if (!host::mayQuery(key, "RegQueryValueExW")) {
    return call.returns<LSTATUS>(ERROR_ACCESS_DENIED);
  }
  const auto* value = registry.value(*path, name == nullptr ? L"" : name);
  if (value == nullptr) {
    return call.returns<LSTATUS>(ERROR_FILE_NOT_FOUND);
  }
  return call.returns(host::giveValue(*value, type, data, size));
}

LSTATUS RegCloseKey(HKEY key) {
  StatusCall call("RegCloseKey", key);
  if (call.faulted()) {
    return call.returns(static_cast<LSTATUS>(call.fault()));
  }
  if (host::rootName(key) != nullptr) {
    return call.returns<LSTATUS>(ERROR_SUCCESS);
  }
  const host::Scheduler::Guard guard;
  host::HandleTable& handles = host::HandleTable::instance();
  const auto object = handles.find(key, "RegCloseKey");
  if (object != nullptr && std::dynamic_pointer_cast<host::RegistryKey>(object) == nullptr) {
    return call.returns<LSTATUS>(ERROR_INVALID_HANDLE);
  }
  if (!handles.close(key, "RegCloseKey")) {
    return call.returns<LSTATUS>(ERROR_INVALID_HANDLE);
  }
  return call.returns<LSTATUS>(ERROR_SUCCESS);
}
