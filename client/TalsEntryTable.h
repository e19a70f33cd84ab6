#pragma once

#include <array>
#include <cstddef>

// An entry point of the client library whose shape is not part of the table. A caller casts it to
// the shape that it knows.
using TalsEntry = void (*)();

// The number of entry points that the client library is asked for.
inline constexpr std::size_t kTalsEntryCount = 21;

// The entry points of the client library, in slot order. A null slot is an entry that the loaded
// library does not export; no slot is tested before a call, so calling it faults.
//
// The live entries are talsInit, talsInitHUB and talsInitQX1. The permit family is talsGetPermit,
// talsUsePermit, talsCheckPermit, talsInstallPermit, talsRenewPermit and talsReleasePermit; its
// talsUsePermit, talsCaidProtect and talsCaidDestroy are called by the dormant recertification
// alone. client/TalsCallShapes.h has the shapes.
struct TalsEntryTable {
  TalsEntry talsGetPermit = nullptr;            // slot 1
  TalsEntry talsUsePermit = nullptr;            // slot 2
  TalsEntry talsPassThrough = nullptr;          // slot 3
  TalsEntry talsMessage = nullptr;              // slot 4
  TalsEntry talsMessage_Ex = nullptr;           // slot 5
  TalsEntry talsGetPlatformInfo = nullptr;      // slot 6
  TalsEntry talsGetPlatformType = nullptr;      // slot 7
  TalsEntry talsInit = nullptr;                 // slot 8
  TalsEntry talsInitHUB = nullptr;              // slot 9
  TalsEntry talsInitQX1 = nullptr;              // slot 10
  TalsEntry talsCheckPermit = nullptr;          // slot 11
  TalsEntry talsGetClientVersion = nullptr;     // slot 12
  TalsEntry talsGetGlobalAttribute = nullptr;   // slot 13
  TalsEntry talsInstallPermit = nullptr;        // slot 14
  TalsEntry talsRenewPermit = nullptr;          // slot 15
  TalsEntry talsReleasePermit = nullptr;        // slot 16
  TalsEntry talsDestroyPlatformInfo = nullptr;  // slot 17
  TalsEntry talsCaidProtect = nullptr;          // slot 18
  TalsEntry talsCaidDestroy = nullptr;          // slot 19
  TalsEntry talsConfigPrepare = nullptr;        // slot 20
  TalsEntry talsConfigDestroy = nullptr;        // slot 21
};

// One look-up: the name that the client library exports and the slot that its address goes to.
struct TalsEntryLookup {
  const char* name;
  TalsEntry TalsEntryTable::*slot;
};

// All look-ups in the order in which they are made. That is deliberately not the order of the
// slots: talsMessage and talsMessage_Ex are looked up late and sit in slots 4 and 5. Sorting the
// rows would change the order of the log lines about missing entries.
inline constexpr std::array<TalsEntryLookup, kTalsEntryCount> kTalsEntryLookups = {{
    {"talsGetPermit", &TalsEntryTable::talsGetPermit},
    {"talsUsePermit", &TalsEntryTable::talsUsePermit},
    {"talsPassThrough", &TalsEntryTable::talsPassThrough},
    {"talsGetPlatformInfo", &TalsEntryTable::talsGetPlatformInfo},
    {"talsGetPlatformType", &TalsEntryTable::talsGetPlatformType},
    {"talsInit", &TalsEntryTable::talsInit},
    {"talsInitHUB", &TalsEntryTable::talsInitHUB},
    {"talsInitQX1", &TalsEntryTable::talsInitQX1},
    {"talsCheckPermit", &TalsEntryTable::talsCheckPermit},
    {"talsGetClientVersion", &TalsEntryTable::talsGetClientVersion},
    {"talsGetGlobalAttribute", &TalsEntryTable::talsGetGlobalAttribute},
    {"talsInstallPermit", &TalsEntryTable::talsInstallPermit},
    {"talsRenewPermit", &TalsEntryTable::talsRenewPermit},
    {"talsReleasePermit", &TalsEntryTable::talsReleasePermit},
    {"talsDestroyPlatformInfo", &TalsEntryTable::talsDestroyPlatformInfo},
    {"talsMessage", &TalsEntryTable::talsMessage},
    {"talsMessage_Ex", &TalsEntryTable::talsMessage_Ex},
    {"talsCaidProtect", &TalsEntryTable::talsCaidProtect},
    {"talsCaidDestroy", &TalsEntryTable::talsCaidDestroy},
    {"talsConfigPrepare", &TalsEntryTable::talsConfigPrepare},
    {"talsConfigDestroy", &TalsEntryTable::talsConfigDestroy},
}};
