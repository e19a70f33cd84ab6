#pragma once

#include <string>

#include "VUSL/Support/Text.h"
#include "platform/win32.h"

// Owner of one loaded library.
//
// An object that stands is loaded: a failed load throws out of the constructor. No lock is taken.
// Loading with an empty directory changes the search order of the whole process, so it must not
// run at the same time as other library loads.
class SOloader {
 public:
  // Loads a library.
  //
  // `name`: the library's name; the platform appends its default extension.
  // `directory`: the library's directory, in which its own dependencies are searched for
  // first; empty to let the platform search for the bare name.
  // Throws MissingFileError with string resource 250 and the library asked for.
  SOloader(const vusl::string_t& name, const vusl::string_t& directory);

  // Unloads the library.
  ~SOloader();

  SOloader(const SOloader&) = delete;
  SOloader& operator=(const SOloader&) = delete;

  // Finds an exported procedure.
  //
  // `name`: the exported name.
  // Returns its address, never null.
  // Throws SysException with the platform's last error when the name is not exported.
  FARPROC getProcedure(const std::string& name) const;

 private:
  void checkLoaded(const vusl::string_t& asked) const;

  HMODULE module = nullptr;
};
