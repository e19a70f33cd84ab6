#include "client/GetDeviceHKEY.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <string_view>
#include <utility>

#include "VUSL/Support/LogItem.h"

namespace {

constexpr std::size_t kHardwareIdBytes = 4096;

void LogStatus(LogItem& item, const char* what, DWORD error, std::uint32_t status) {
  item << what << " failed with status = " << error << " for a " << status;
}

// The property can hold several ids; deliberately only the first is looked at. A stack whose device
// matches by a later id only is not to be taken.
bool IsStackDevice(vusl::DeviceManagerWrapper& wrapper, wchar_t* deviceId, DEVINST& devInst) {
  const std::uint32_t located = wrapper.LocateDevNode(devInst, deviceId);
  if (located != CR_SUCCESS) {
    const DWORD error = GetLastError();
    LogStatus(LogItem().info(), "CM_Locate_DevNode", error, located);
    return false;
  }

  std::array<wchar_t, kHardwareIdBytes / sizeof(wchar_t)> ids{};
  ULONG size = kHardwareIdBytes;
  const std::uint32_t read = wrapper.GetDeviceHardwareID(devInst, ids.data(), size);
  if (read != CR_SUCCESS) {
    const DWORD error = GetLastError();
    LogStatus(LogItem().info(), "GetDeviceHardwareID", error, read);
    return false;
  }
  // An incomplete last character is not read, and neither is what lies behind it.
  const std::size_t given = std::min(ids.size(), size / sizeof(wchar_t));
  return std::wstring_view(ids.data(), wcsnlen(ids.data(), given)) == kStackHardwareId;
}

// Closes a key that is not handed on: the line of the log may throw where memory is short.
class OpenedKey {
 public:
  OpenedKey() = default;
  ~OpenedKey() {
    if (key != nullptr) RegCloseKey(key);
  }
  OpenedKey(const OpenedKey&) = delete;
  OpenedKey& operator=(const OpenedKey&) = delete;

  HKEY handOn() { return std::exchange(key, nullptr); }

  HKEY key = nullptr;
};

HKEY OpenStackDeviceKey(vusl::DeviceManagerWrapper& wrapper, DEVINST devInst) {
  OpenedKey device;
  const std::uint32_t opened = wrapper.OpenDevNodeKey(devInst, device.key);
  if (opened == CR_SUCCESS) {
    LogItem().debug() << "Registry found for matched device.";
    return device.handOn();
  }
  const DWORD error = GetLastError();
  LogStatus(LogItem().error(), "CM_Open_DevNode_Key", error, opened);
  return device.handOn();
}

}  // namespace

HKEY GetDeviceHKEY(vusl::DeviceManagerWrapper& wrapper, wchar_t*& deviceList) {
  if (wrapper.GetDeviceList(kSoftwareComponentClass, deviceList) != CR_SUCCESS) {
    LogItem("GetDeviceHKEY").error() << "GetDeviceList failed";
    return nullptr;
  }

  for (wchar_t* id = deviceList; *id != L'\0'; id += wcslen(id) + 1) {
    LogItem().debug() << "Current device: " << static_cast<const wchar_t*>(id);
    DEVINST devInst = 0;
    if (IsStackDevice(wrapper, id, devInst)) return OpenStackDeviceKey(wrapper, devInst);
  }

  LogItem().debug() << "Device '" << kStackHardwareId << "' has not been found";
  return nullptr;
}
