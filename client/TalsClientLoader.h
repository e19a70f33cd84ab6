#pragma once

#include <optional>
#include <string>

#include "VUSL/Support/win32/SOloader.h"
#include "client/TalsClientLoaderBase.h"

// A loaded client stack: the client library with its 21 entry points, and the proxy library that
// only has to be present.
//
// Made on the thread of the enrollment loop and owned by the client caller. Destroying it unloads
// the proxy library first and then the client library.
class TalsClientLoader : public TalsClientLoaderBase {
 public:
  // Finds the install directory, loads both libraries and resolves the entry points.
  //
  // `reserved`: passed empty; not used for anything.
  // Throws Exception "tals stack not installed" when the stack's key or its install directory
  // cannot be read, and the refusal of HKeyContainer::GetValueString for a directory that
  // has no narrow form.
  // Throws MissingFileError when either library cannot be loaded; nothing stays loaded then.
  //
  // A missing entry point is logged at DEBUG level and leaves its slot null.
  explicit TalsClientLoader(const std::string& reserved);

 private:
  void loadClientLibraries();
  TalsEntry resolveEntry(const char* name);

  // The order of these two makes the proxy library go first.
  std::optional<SOloader> clientLibrary;
  std::optional<SOloader> proxyLibrary;
};
