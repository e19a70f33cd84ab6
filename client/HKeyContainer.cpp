#include "client/HKeyContainer.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <string_view>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/Text.h"
#include "client/DeviceManagerWrapper.h"
#include "client/GetDeviceHKEY.h"

namespace {

constexpr std::uint32_t kRequiredUsage = 1;
constexpr wchar_t kStackSubKey[] = L"tALS Client";
constexpr char kNoDeviceKey[] = "Could not obtain hkey for device.";

// Closes the key of the stack's device, which is needed only while its subkey is opened.
class DeviceKey {
 public:
  explicit DeviceKey(HKEY key) : key_(key) {}
  ~DeviceKey() {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  DeviceKey(const DeviceKey&) = delete;
  DeviceKey& operator=(const DeviceKey&) = delete;

  HKEY get() const { return key_; }

 private:
  HKEY key_;
};

// Frees the list of devices, which is needed only while it is searched.
class DeviceList {
 public:
  DeviceList() = default;
  ~DeviceList() {
    if (list != nullptr) HeapFree(GetProcessHeap(), 0, list);
  }
  DeviceList(const DeviceList&) = delete;
  DeviceList& operator=(const DeviceList&) = delete;

  wchar_t* list = nullptr;
};

HKEY FindDeviceKey(vusl::DeviceManagerWrapper& wrapper) {
  DeviceList devices;
  return GetDeviceHKEY(wrapper, devices.list);
}

// The longest narrow text that `wide` begins with: a character without a narrow form becomes 0, and
// a narrow text ends there.
std::string NarrowBeginning(std::wstring_view wide) {
  std::string narrow;
  for (const wchar_t character : wide) {
    if (!vusl::HasNarrowForm(character)) break;
    narrow.push_back(static_cast<char>(character));
  }
  return narrow;
}

}  // namespace

bool IsPredefinedRootKey(HKEY key) {
  return key == HKEY_CLASSES_ROOT || key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE ||
         key == HKEY_USERS || key == HKEY_CURRENT_CONFIG;
}

// Deliberate: every failure, a wrong usage included, ends in the same words. Those who report a
// missing stack rely on there being one text; the others reach the log at most.
HKeyContainer::HKeyContainer(std::uint32_t usage) {
  try {
    openStackKey(usage);
  } catch (...) {
    throw Exception() << kStackNotInstalled;
  }
}

HKeyContainer::~HKeyContainer() {
  if (!IsPredefinedRootKey(openKey)) RegCloseKey(openKey);
}

void HKeyContainer::openStackKey(std::uint32_t usage) {
  if (usage != kRequiredUsage) throw Exception() << "Usage for UWD must be specified!";

  vusl::DeviceManagerWrapper wrapper;
  const DeviceKey deviceKey(FindDeviceKey(wrapper));
  if (deviceKey.get() == nullptr) throw Exception() << kNoDeviceKey;
  LogItem("HKeyContainer").debug()
      << "Registry entry for device " << kStackHardwareId << " has been obtained";

  if (wrapper.OpenSubKey(deviceKey.get(), kStackSubKey, openKey) == ERROR_SUCCESS) return;
  LogItem().error() << "Couldn't find <" << kStackSubKey << "> in device registry.";
  throw Exception() << kNoDeviceKey;
}

std::uint32_t HKeyContainer::GetValueString(HKEY key, const std::string& name, std::string& out) {
  const vusl::string_t wideName = vusl::Widen(name);
  DWORD size = 0;
  LSTATUS status = RegQueryValueExW(key, wideName.c_str(), nullptr, nullptr, nullptr, &size);
  if (status != ERROR_SUCCESS) {
    LogItem("GetValueString").debug() << "GetValueString failed.";
    return static_cast<std::uint32_t>(status);
  }

  const DWORD allocated = size;
  const std::unique_ptr<void, void (*)(void*)> buffer(
      std::calloc(1, std::size_t{size} + sizeof(wchar_t)), std::free);
  if (buffer == nullptr) {
    LogItem().error() << "Malloc failed! GetValueString can't retrieve value.";
    return ERROR_MORE_DATA;
  }

  // A failure is returned but does not stop the steps below: they then work on the zeroed buffer.
  status = RegQueryValueExW(key, wideName.c_str(), nullptr, nullptr,
                            static_cast<LPBYTE>(buffer.get()), &size);
  // An incomplete last character is not read, also when the value has shrunk meanwhile.
  const std::size_t wholeCharacters = std::min(allocated, size) / sizeof(wchar_t);
  const auto* const text = static_cast<const wchar_t*>(buffer.get());
  const std::wstring_view value(text, wcsnlen(text, wholeCharacters));

  out = NarrowBeginning(value);
  // Deliberate: the whole program works on narrow paths, so an install directory that has no narrow
  // form is refused. Converting it would start programs and load libraries from another directory.
  if (out.size() != value.size()) {
    throw Exception() << "Unicode installation path detected, terminating process.";
  }
  LogItem().debug() << "GetValueString success. Value=<" << out << ">.";
  return static_cast<std::uint32_t>(status);
}
