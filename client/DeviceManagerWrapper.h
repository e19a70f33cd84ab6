#pragma once

#include <cstdint>

#include "platform/win32.h"

namespace vusl {

// A thin face over the platform's device nodes and registry, virtual so that the search for the
// client stack's device can be exercised without a platform.
//
// Each operation returns the platform's status, 0 for success, unless it says otherwise.
class DeviceManagerWrapper {
 public:
  DeviceManagerWrapper() = default;
  DeviceManagerWrapper(const DeviceManagerWrapper&) = delete;
  DeviceManagerWrapper& operator=(const DeviceManagerWrapper&) = delete;
  virtual ~DeviceManagerWrapper() = default;

  // Opens the subkey `name` for reading, at a second try in the 64-bit view.
  // Returns 0, or 5 when both tries fail, whatever the platform's own status was.
  virtual std::uint32_t OpenSubKey(HKEY parent, const wchar_t* name, HKEY& out);

  // Opens the existing software key of a device.
  virtual std::uint32_t OpenDevNodeKey(DEVINST devInst, HKEY& out);

  // Reads a device's hardware ids, a sequence of wide strings.
  // `sizeInOut`: the buffer's size in bytes; receives the size of the ids.
  virtual std::uint32_t GetDeviceHardwareID(DEVINST devInst, void* buffer, ULONG& sizeInOut);

  // Finds the device node of a device id.
  virtual std::uint32_t LocateDevNode(DEVINST& out, wchar_t* deviceId);

  // Lists the ids of the present devices of a class.
  //
  // `classGuidText`: the class's GUID in braces.
  // `listOut`: receives a sequence of wide strings closed by an empty one, to be freed
  // by the caller with the process heap; null on failure.
  // Returns 0 with a null list when memory runs out.
  virtual std::uint32_t GetDeviceList(const wchar_t* classGuidText, wchar_t*& listOut);
};

}  // namespace vusl
