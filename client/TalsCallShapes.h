#pragma once

#include <cstdint>

#include "client/talsStatus.h"

// The shapes of those entry points of the client library that this program calls. The table holds
// every entry untyped; the ones without a shape here are never called.

// talsInit, talsInitHUB and talsInitQX1. `argument`: always null here.
using TalsInitEntry = talsStatus (*)(void* argument);

// The library's own handle for the length of a transaction. Nothing is done with it here but
// passing it on.
using TalsCaidHandle = void*;

// talsCaidProtect. `caid`: receives the handle. Anything but STATUS_OK is a failure that leaves
// nothing to release.
using TalsCaidProtectEntry = talsStatus (*)(TalsCaidHandle* caid);

// talsCaidDestroy. `caid`: a handle from talsCaidProtect, which ends here.
using TalsCaidDestroyEntry = talsStatus (*)(TalsCaidHandle caid);

// What the library reports the steps of a transaction to, on any thread of its own.
// `state`: the number of the step.
using TalsProgressCallback = void (*)(std::uint32_t state);

// What a recertification asks for. The permit family takes it as bytes.
struct TalsRecertificationRequest {
  std::uint32_t keyType;
};

// talsUsePermit: carries out the transaction that `request` asks for and returns when it is over.
// `caid`: the handle from talsCaidProtect. `request`: valid for the length of the call.
// `requestSize`: in bytes. `progress`: not called after the return.
using TalsUsePermitEntry = talsStatus (*)(TalsCaidHandle caid, const void* request,
                                          std::uint32_t requestSize, TalsProgressCallback progress);
