#pragma once

#include <string>
#include <vector>

#include "platform/win32.h"

namespace wine {

// A device node, as a run's registry describes it.
struct Device {
  std::wstring id;
  std::wstring classGuid;
  // Each with its terminator, and one more behind the last.
  std::wstring hardwareIds;
  // Below HKEY_LOCAL_MACHINE; empty if the device has none.
  std::wstring softwareKey;
  bool present = true;
};

// The devices below HKLM\Software\Wine\TPMEnrollmentService\Devices, in the order of their subkeys
// "0", "1", ...: what the platform leaves out, described by whoever made the run's registry. Read
// anew with each call, so it may be used on any thread.
std::vector<Device> readDevices();

// What the same place says of the private namespace: whether creating one is refused.
bool isNamespaceRefused();

}  // namespace wine
