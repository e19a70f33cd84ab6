#pragma once

#include <string>
#include <vector>

#include "platform/host/windows/Registry.h"

namespace host {

// A device node as the configuration manager shows it.
struct DeviceNode {
  std::wstring instanceId;                // "SWD\\DRIVERENUM\\..."
  std::wstring classGuid;                 // "{5c4c3332-344d-483c-8739-259e934c9cc8}"
  std::vector<std::wstring> hardwareIds;  // in the order of the property
  bool present = true;
  std::wstring softwareKey;             // path in the registry; empty if there is none
  CONFIGRET locateResult = CR_SUCCESS;  // what locating the node answers
};

}  // namespace host
