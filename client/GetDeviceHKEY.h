#pragma once

#include "client/DeviceManagerWrapper.h"
#include "platform/win32.h"

// The platform's software-component class, the filter of the device list.
inline constexpr wchar_t kSoftwareComponentClass[] = L"{5c4c3332-344d-483c-8739-259e934c9cc8}";

// The hardware id of the client stack's device.
inline constexpr wchar_t kStackHardwareId[] = L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT";

// Finds the client stack's device among the present software components and opens its software
// key. The first device whose first hardware id is the stack's decides: if its key cannot be
// opened, no other device is tried.
//
// `wrapper`: the platform.
// `deviceList`: receives the device list, to be freed by the caller with the process heap;
// null when it could not be had.
// Returns the open key, to be closed by the caller, or null.
HKEY GetDeviceHKEY(vusl::DeviceManagerWrapper& wrapper, wchar_t*& deviceList);
