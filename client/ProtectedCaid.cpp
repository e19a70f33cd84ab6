#include "client/ProtectedCaid.h"

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"

namespace {

// False also if the library throws.
bool destroy(TalsEntry entry, TalsCaidHandle caid) {
  try {
    return reinterpret_cast<TalsCaidDestroyEntry>(entry)(caid) == STATUS_OK;
  } catch (...) {
    return false;
  }
}

}  // namespace

ProtectedCaid::ProtectedCaid(const TalsEntryTable& table) : entries(table) {
  const auto protect = reinterpret_cast<TalsCaidProtectEntry>(entries.talsCaidProtect);
  if (protect(&caid) != STATUS_OK) throw Exception() << "talsCaidProtect failed.";
}

ProtectedCaid::~ProtectedCaid() {
  if (!destroy(entries.talsCaidDestroy, caid)) LogItem().error() << "talsCaidDestroy failed.";
}
