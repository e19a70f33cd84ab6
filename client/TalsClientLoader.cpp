#include "client/TalsClientLoader.h"

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/Settings.h"
#include "VUSL/Support/SysException.h"
#include "VUSL/Support/Text.h"
#include "client/HKeyContainer.h"

TalsClientLoader::TalsClientLoader(const std::string& /*reserved*/) {
  loadClientLibraries();
  for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
    entries.*lookup.slot = resolveEntry(lookup.name);
  }
}

void TalsClientLoader::loadClientLibraries() {
  const HKeyContainer stack(1);
  std::string directory;
  if (HKeyContainer::GetValueString(stack.key(), kInstallDirValue, directory) != 0) {
    throw Exception() << kStackNotInstalled;
  }
  // The bare names: the platform's library search appends its default extension.
  clientLibrary.emplace(vusl::Widen(settings::kClientName), vusl::Widen(directory));
  proxyLibrary.emplace(vusl::Widen(settings::kProxyName), vusl::Widen(directory));
}

// An absent entry is no error of the load: every entry is optional here, and one that is called all
// the same faults at the call.
TalsEntry TalsClientLoader::resolveEntry(const char* name) {
  try {
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): entries are resolved in loaded libraries
    return reinterpret_cast<TalsEntry>(clientLibrary->getProcedure(name));
  } catch (const SysException& error) {
    LogItem().debug() << error.what();
    return nullptr;
  }
}
