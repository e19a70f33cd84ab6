#include "client/TalsClientLoaderBase.h"

TalsClientLoaderBase::~TalsClientLoaderBase() {
  // Volatile, because plain stores to an object that is about to end would be left out: a call
  // through a loader that is gone is to meet a null slot and not an unloaded library.
  for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
    static_cast<volatile TalsEntry&>(entries.*lookup.slot) = nullptr;
  }
}
