#include "client/DeviceManagerWrapper.h"

#include "VUSL/Support/LogItem.h"

namespace vusl {

namespace {

constexpr ULONG kPresentOfClass = CM_GETIDLIST_FILTER_CLASS | CM_GETIDLIST_FILTER_PRESENT;
constexpr ULONG kCurrentHardwareProfile = 0;
constexpr char kGetDeviceList[] = "GetDeviceList";

// Whoever walks through the list goes by its end marks alone. A platform that leaves them out would
// send them beyond the block; here it costs the last id two characters. The block was all zeros, so
// a list that is closed within it is not changed.
void CloseWithin(wchar_t* list, ULONG length) {
  constexpr ULONG kEndMarks = 2;
  for (ULONG i = 1; i <= kEndMarks && i <= length; ++i) list[length - i] = L'\0';
}

}  // namespace

std::uint32_t DeviceManagerWrapper::OpenSubKey(HKEY parent, const wchar_t* name, HKEY& out) {
  if (RegOpenKeyExW(parent, name, 0, KEY_READ, &out) == ERROR_SUCCESS) return ERROR_SUCCESS;
  if (RegOpenKeyExW(parent, name, 0, KEY_READ | KEY_WOW64_64KEY, &out) == ERROR_SUCCESS) {
    return ERROR_SUCCESS;
  }
  return ERROR_ACCESS_DENIED;
}

std::uint32_t DeviceManagerWrapper::OpenDevNodeKey(DEVINST devInst, HKEY& out) {
  return CM_Open_DevNode_Key(devInst, KEY_QUERY_VALUE, kCurrentHardwareProfile,
                             RegDisposition_OpenExisting, &out, CM_REGISTRY_SOFTWARE);
}

std::uint32_t DeviceManagerWrapper::GetDeviceHardwareID(DEVINST devInst, void* buffer,
                                                        ULONG& sizeInOut) {
  return CM_Get_DevNode_Registry_PropertyW(devInst, CM_DRP_HARDWAREID, nullptr, buffer, &sizeInOut,
                                           0);
}

std::uint32_t DeviceManagerWrapper::LocateDevNode(DEVINST& out, wchar_t* deviceId) {
  return CM_Locate_DevNodeW(&out, deviceId, CM_LOCATE_DEVNODE_NORMAL);
}

std::uint32_t DeviceManagerWrapper::GetDeviceList(const wchar_t* classGuidText, wchar_t*& listOut) {
  listOut = nullptr;

  ULONG length = 0;
  const CONFIGRET sized = CM_Get_Device_ID_List_SizeW(&length, classGuidText, kPresentOfClass);
  if (sized != CR_SUCCESS) {
    const DWORD error = GetLastError();
    LogItem(kGetDeviceList).error()
        << "CM_Get_Device_ID_List_Size failed with status = " << error << " for a " << sized;
    return sized;
  }

  void* const block =
      HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, std::size_t{length} * sizeof(wchar_t));
  if (block == nullptr) {
    LogItem(kGetDeviceList).error() << "HeapAlloc failed";
    // Deliberate: this reads as success with no list, and the search that follows faults on it. A
    // failure here would turn an exhausted heap into "the stack is not installed".
    return CR_SUCCESS;
  }
  listOut = static_cast<wchar_t*>(block);

  const CONFIGRET listed = CM_Get_Device_ID_ListW(classGuidText, listOut, length, kPresentOfClass);
  if (listed == CR_SUCCESS) {
    CloseWithin(listOut, length);
    return CR_SUCCESS;
  }

  const DWORD error = GetLastError();
  LogItem().error() << "CM_Get_Device_ID_List failed with status = " << error << " for a "
                    << listed;
  HeapFree(GetProcessHeap(), 0, listOut);
  listOut = nullptr;
  return listed;
}

}  // namespace vusl
