// The calls of the configuration manager that the product makes, answered from the run's registry:
// the platform under which the program is run has no such devices.

#include <cstring>

#include "platform/wine/DeviceList.h"

namespace {

std::wstring idList(const wchar_t* classGuid, ULONG flags) {
  std::wstring list;
  for (const wine::Device& device : wine::readDevices()) {
    const bool isOfClass = lstrcmpiW(device.classGuid.c_str(), classGuid) == 0;
    if (isOfClass && (device.present || (flags & CM_GETIDLIST_FILTER_PRESENT) == 0)) {
      list += device.id + L'\0';
    }
  }
  return list + L'\0';
}

const wine::Device* nodeOf(const std::vector<wine::Device>& devices, DEVINST node) {
  return node == 0 || node > devices.size() ? nullptr : &devices[node - 1];
}

}  // namespace

extern "C" {

CONFIGRET WINAPI CM_Get_Device_ID_List_SizeW(PULONG length, PCWSTR filter, ULONG flags) {
  if (length == nullptr || filter == nullptr) {
    return CR_INVALID_POINTER;
  }
  *length = static_cast<ULONG>(idList(filter, flags).size());
  return CR_SUCCESS;
}

CONFIGRET WINAPI CM_Get_Device_ID_ListW(PCWSTR filter, PWCHAR buffer, ULONG length, ULONG flags) {
  if (buffer == nullptr || filter == nullptr) {
    return CR_INVALID_POINTER;
  }
  const std::wstring list = idList(filter, flags);
  if (length < list.size()) {
    return CR_BUFFER_SMALL;
  }
  list.copy(buffer, list.size());
  return CR_SUCCESS;
}

CONFIGRET WINAPI CM_Locate_DevNodeW(PDEVINST node, DEVINSTID_W id, ULONG flags) {
  if (node == nullptr || id == nullptr) {
    return CR_INVALID_POINTER;
  }
  *node = 0;
  if (flags != CM_LOCATE_DEVNODE_NORMAL) {
    return CR_INVALID_FLAG;
  }
  const std::vector<wine::Device> devices = wine::readDevices();
  for (std::size_t i = 0; i < devices.size(); ++i) {
    if (devices[i].present && lstrcmpiW(devices[i].id.c_str(), id) == 0) {
      *node = static_cast<DEVINST>(i + 1);
      return CR_SUCCESS;
    }
  }
  return CR_NO_SUCH_DEVNODE;
}

CONFIGRET WINAPI CM_Get_DevNode_Registry_PropertyW(DEVINST node, ULONG property, PULONG type,
                                                   PVOID buffer, PULONG size, ULONG) {
  if (size == nullptr || (buffer == nullptr && *size != 0)) {
    return CR_INVALID_POINTER;
  }
  const std::vector<wine::Device> devices = wine::readDevices();
  const wine::Device* const device = nodeOf(devices, node);
  if (device == nullptr) {
    return CR_INVALID_DEVNODE;
  }
  if (property != CM_DRP_HARDWAREID || device->hardwareIds.size() == 1) {
    *size = 0;
    return CR_NO_SUCH_VALUE;
  }
  const auto needed = static_cast<ULONG>(device->hardwareIds.size() * sizeof(wchar_t));
  const bool fits = *size >= needed;
  *size = needed;
  if (!fits) {
    return CR_BUFFER_SMALL;
  }
  if (type != nullptr) {
    *type = REG_MULTI_SZ;
  }
  std::memcpy(buffer, device->hardwareIds.data(), needed);
  return CR_SUCCESS;
}

CONFIGRET WINAPI CM_Open_DevNode_Key(DEVINST node, REGSAM access, ULONG, REGDISPOSITION disposition,
                                     PHKEY key, ULONG flags) {
  if (key == nullptr) {
    return CR_INVALID_POINTER;
  }
  *key = nullptr;
  const std::vector<wine::Device> devices = wine::readDevices();
  const wine::Device* const device = nodeOf(devices, node);
  if (device == nullptr) {
    return CR_INVALID_DEVNODE;
  }
  if (flags != CM_REGISTRY_SOFTWARE || disposition != RegDisposition_OpenExisting) {
    return CR_INVALID_FLAG;
  }
  if (device->softwareKey.empty() || RegOpenKeyExW(HKEY_LOCAL_MACHINE, device->softwareKey.c_str(),
                                                   0, access, key) != ERROR_SUCCESS) {
    return CR_NO_SUCH_REGISTRY_KEY;
  }
  return CR_SUCCESS;
}

}  // extern "C"
