#pragma once

#include <string>
#include <vector>

namespace client_test {

// The client library's entries in the order in which they are looked up.
inline const std::vector<std::string> kLookUpOrder = {
    "talsGetPermit",
    "talsUsePermit",
    "talsPassThrough",
    "talsGetPlatformInfo",
    "talsGetPlatformType",
    "talsInit",
    "talsInitHUB",
    "talsInitQX1",
    "talsCheckPermit",
    "talsGetClientVersion",
    "talsGetGlobalAttribute",
    "talsInstallPermit",
    "talsRenewPermit",
    "talsReleasePermit",
    "talsDestroyPlatformInfo",
    "talsMessage",
    "talsMessage_Ex",
    "talsCaidProtect",
    "talsCaidDestroy",
    "talsConfigPrepare",
    "talsConfigDestroy",
};

}  // namespace client_test
