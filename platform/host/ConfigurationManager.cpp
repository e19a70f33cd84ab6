// The machine's device nodes. The calls answer with a status of their own and leave the last error
// alone.

#include <cstring>

#include "platform/host/DeviceLists.h"
#include "platform/host/Machine.h"
#include "platform/host/RegistryKey.h"
#include "platform/host/Resets.h"
#include "platform/host/StatusCall.h"

namespace host {
namespace {

constexpr wchar_t kSoftwareComponentClass[] = L"{5c4c3332-344d-483c-8739-259e934c9cc8}";
constexpr wchar_t kClientHardwareId[] = L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT";
constexpr wchar_t kClientInstanceId[] = L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT\\7&1A2B3C4D&0&0";
constexpr wchar_t kClassKeys[] = L"HKLM\\SYSTEM\\CurrentControlSet\\Control\\Class\\";
constexpr wchar_t kClientSubkey[] = L"\\tALS Client";
constexpr wchar_t kInstallDirectory[] = L"InstallDir64";

// The node behind a number, which is its place in the list counted from 1.
const DeviceNode* nodeOf(DEVINST device) {
  const auto& devices = machine().devices;
  return device == 0 || device > devices.size() ? nullptr : &devices[device - 1];
}

CONFIGRET checkFilter(PCWSTR filter, ULONG flags) {
  if ((flags & ~(CM_GETIDLIST_FILTER_CLASS | CM_GETIDLIST_FILTER_PRESENT)) != 0) {
    return CR_INVALID_FLAG;
  }
  const bool byClass = (flags & CM_GETIDLIST_FILTER_CLASS) != 0;
  return byClass && filter == nullptr ? CR_INVALID_POINTER : CR_SUCCESS;
}

// The ids of the nodes that pass the filter, each with its terminator, and one terminator more;
// both are missing at the end of a list that is not closed.
std::wstring idList(PCWSTR filter, ULONG flags) {
  std::wstring list;
  for (const DeviceNode& node : machine().devices) {
    if (((flags & CM_GETIDLIST_FILTER_PRESENT) != 0 && !node.present) ||
        ((flags & CM_GETIDLIST_FILTER_CLASS) != 0 && !equalIgnoringCase(node.classGuid, filter))) {
      continue;
    }
    list += node.instanceId + L'\0';
  }
  if (!deviceLists().areClosed && !list.empty()) {
    list.pop_back();
    return list;
  }
  return list + L'\0';
}

CONFIGRET giveHardwareIds(const DeviceNode& node, ULONG* type, void* buffer, ULONG* size) {
  if (node.hardwareIds.empty()) {
    return CR_NO_SUCH_VALUE;
  }
  std::wstring ids;
  for (const std::wstring& id : node.hardwareIds) {
    ids += id + L'\0';
  }
  ids += L'\0';
  const auto needed = static_cast<ULONG>(ids.size() * sizeof(wchar_t));
  const ULONG room = *size;
  *size = needed;
  if (type != nullptr) {
    ++deviceLists().typesAskedFor;
    *type = REG_MULTI_SZ;
  }
  if (room < needed) {
    return CR_BUFFER_SMALL;
  }
  std::memcpy(buffer, ids.data(), needed);
  return CR_SUCCESS;
}

}  // namespace

DeviceLists& deviceLists() {
  static DeviceLists* const lists = [] {
    auto* made = new DeviceLists;
    atReset([made] { *made = DeviceLists(); });
    return made;
  }();
  return *lists;
}

void Machine::installStack(const std::wstring& directory) {
  const Scheduler::Guard guard;
  const std::wstring softwareKey = std::wstring(kClassKeys) + kSoftwareComponentClass + L"\\0000";
  std::erase_if(devices,
                [](const DeviceNode& node) { return node.instanceId == kClientInstanceId; });
  devices.push_back({.instanceId = kClientInstanceId,
                     .classGuid = kSoftwareComponentClass,
                     .hardwareIds = {kClientHardwareId},
                     .present = true,
                     .softwareKey = softwareKey,
                     .locateResult = CR_SUCCESS});
  registry.setText(softwareKey + kClientSubkey, kInstallDirectory, directory);
  drive.createFolder(directory);
}

}  // namespace host

using host::StatusCall;

CONFIGRET CM_Get_Device_ID_List_SizeW(PULONG length, PCWSTR filter, ULONG flags) {
  StatusCall call("CM_Get_Device_ID_List_SizeW", filter, flags);
  if (call.faulted()) {
    return call.returns<CONFIGRET>(call.fault());
  }
  if (length == nullptr) {
    return call.returns(CR_INVALID_POINTER);
  }
  *length = 0;
  if (const CONFIGRET wrong = host::checkFilter(filter, flags)) {
    return call.returns(wrong);
  }
  const host::Scheduler::Guard guard;
  *length = static_cast<ULONG>(host::idList(filter, flags).size());
  return call.returns(CR_SUCCESS);
}

CONFIGRET CM_Get_Device_ID_ListW(PCWSTR filter, WCHAR* buffer, ULONG length, ULONG flags) {
  StatusCall call("CM_Get_Device_ID_ListW", filter, length, flags);
  if (call.faulted()) {
    return call.returns<CONFIGRET>(call.fault());
  }
  if (buffer == nullptr || length == 0) {
    return call.returns(CR_INVALID_POINTER);
  }
  if (const CONFIGRET wrong = host::checkFilter(filter, flags)) {
    return call.returns(wrong);
  }
  const host::Scheduler::Guard guard;
  const std::wstring list = host::idList(filter, flags);
  if (length < list.size()) {
    return call.returns(CR_BUFFER_SMALL);
  }
  list.copy(buffer, list.size());
  return call.returns(CR_SUCCESS);
}

CONFIGRET CM_Locate_DevNodeW(PDEVINST device, DEVINSTID_W id, ULONG flags) {
  StatusCall call("CM_Locate_DevNodeW", static_cast<const wchar_t*>(id), flags);
  if (call.faulted()) {
    return call.returns<CONFIGRET>(call.fault());
  }
  if (device == nullptr || id == nullptr) {
    return call.returns(CR_INVALID_POINTER);
  }
  *device = 0;
  if (flags != CM_LOCATE_DEVNODE_NORMAL) {
    return call.returns(CR_INVALID_FLAG);
  }
  const host::Scheduler::Guard guard;
  const auto& devices = host::machine().devices;
  for (std::size_t i = 0; i < devices.size(); ++i) {
    if (!host::equalIgnoringCase(devices[i].instanceId, id)) {
      continue;
    }
    if (devices[i].locateResult != CR_SUCCESS) {
      return call.returns(devices[i].locateResult);
    }
    if (devices[i].present) {
      *device = static_cast<DEVINST>(i + 1);
      return call.returns(CR_SUCCESS);
    }
  }
  return call.returns(CR_NO_SUCH_DEVNODE);
}

CONFIGRET CM_Get_DevNode_Registry_PropertyW(DEVINST device, ULONG property, PULONG type,
                                            PVOID buffer, PULONG size, ULONG flags) {
  StatusCall call("CM_Get_DevNode_Registry_PropertyW", device, property,
                  size == nullptr ? 0U : *size, flags);
  if (call.faulted()) {
    return call.returns<CONFIGRET>(call.fault());
  }
  if (flags != 0) {
    return call.returns(CR_INVALID_FLAG);
  }
  if (size == nullptr || (buffer == nullptr && *size != 0)) {
    return call.returns(CR_INVALID_POINTER);
  }
  const host::Scheduler::Guard guard;
  const host::DeviceNode* node = host::nodeOf(device);
  if (node == nullptr) {
    return call.returns(CR_INVALID_DEVNODE);
  }
  if (property != CM_DRP_HARDWAREID) {
    *size = 0;
    return call.returns(CR_NO_SUCH_VALUE);
  }
  return call.returns(host::giveHardwareIds(*node, type, buffer, size));
}

CONFIGRET CM_Open_DevNode_Key(DEVINST device, REGSAM access, ULONG hardwareProfile,
                              REGDISPOSITION disposition, PHKEY key, ULONG flags) {
  StatusCall call("CM_Open_DevNode_Key", device, access, hardwareProfile, disposition, flags);
  if (key == nullptr) {
    return call.returns(CR_INVALID_POINTER);
  }
  *key = nullptr;
  if (call.faulted()) {
    return call.returns<CONFIGRET>(call.fault());
  }
  const host::Scheduler::Guard guard;
  const host::DeviceNode* node = host::nodeOf(device);
  if (node == nullptr) {
    return call.returns(CR_INVALID_DEVNODE);
  }
  // Of a node's keys only the software key is modelled, and that is never made anew.
  if (flags != CM_REGISTRY_SOFTWARE || disposition != RegDisposition_OpenExisting) {
    return call.returns(CR_INVALID_FLAG);
  }
  if (node->softwareKey.empty() || !host::machine().registry.hasKey(node->softwareKey)) {
    return call.returns(CR_NO_SUCH_REGISTRY_KEY);
  }
  *key = host::openRegistryKey(node->softwareKey, access, "CM_Open_DevNode_Key");
  return call.returns(CR_SUCCESS);
}
