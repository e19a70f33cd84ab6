#include "platform/wine/DeviceList.h"

namespace wine {
namespace {

constexpr wchar_t kDescription[] = L"Software\\Wine\\TPMEnrollmentService";

// The value's characters without the terminator that registry texts end with; empty if it is not
// there.
std::wstring textOf(const std::wstring& key, const wchar_t* name) {
  DWORD bytes = 0;
  constexpr DWORD kTexts = RRF_RT_REG_SZ | RRF_RT_REG_MULTI_SZ;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, kTexts, nullptr, nullptr, &bytes) !=
      ERROR_SUCCESS) {
    return {};
  }
  std::wstring text(bytes / sizeof(wchar_t), L'\0');
  if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, kTexts, nullptr, text.data(), &bytes) !=
      ERROR_SUCCESS) {
    return {};
  }
  text.resize(bytes / sizeof(wchar_t));
  if (!text.empty()) {
    text.pop_back();
  }
  return text;
}

bool isThere(const std::wstring& key) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) {
    return false;
  }
  RegCloseKey(opened);
  return true;
}

}  // namespace

std::vector<Device> readDevices() {
  std::vector<Device> devices;
  for (;;) {
    const std::wstring key =
        std::wstring(kDescription) + L"\\Devices\\" + std::to_wstring(devices.size());
    if (!isThere(key)) {
      return devices;
    }
    Device device;
    device.id = textOf(key, L"Id");
    device.classGuid = textOf(key, L"Class");
    for (int i = 0;; ++i) {
      const std::wstring id = textOf(key, (L"HardwareId" + std::to_wstring(i)).c_str());
      if (id.empty()) {
        break;
      }
      device.hardwareIds += id + L'\0';
    }
    device.hardwareIds += L'\0';
    device.softwareKey = textOf(key, L"SoftwareKey");
    device.present = textOf(key, L"Present") != L"no";
    devices.push_back(device);
  }
}

bool isNamespaceRefused() {
  return textOf(kDescription, L"NamespaceRefused") == L"yes";
}

}  // namespace wine
