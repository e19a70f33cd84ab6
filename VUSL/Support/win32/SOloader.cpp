#include "VUSL/Support/win32/SOloader.h"

#include <cstdint>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/MissingFileError.h"
#include "VUSL/Support/Settings.h"
#include "VUSL/Support/SysException.h"
#include "VUSL/Support/Text.h"

namespace {

constexpr std::int32_t kFileMissingResource = 250;
constexpr char kProcedureLocation[] = "VUSL\\Support\\win32\\SOloader:74";

}  // namespace

SOloader::SOloader(const vusl::string_t& name, const vusl::string_t& directory) {
  if (directory.empty()) {
    // Deliberate: the setting belongs to the whole process and is never put back. It keeps the
    // current directory in the search order, whatever was set before, for later loads too.
    SetDllDirectoryW(L".");
    module = LoadLibraryW(name.c_str());
    checkLoaded(name);
    return;
  }
  // The directory is used as it stands: the platform takes two backslashes for one.
  const vusl::string_t path = directory + vusl::Widen(settings::kPathSeparator) + name;
  LogItem().debug() << "Use LOAD_WITH_ALTERED_SEARCH_PATH flag to load library: " << path;
  module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  checkLoaded(path);
}

SOloader::~SOloader() {
  if (module == nullptr) return;
  FreeLibrary(module);
  // Volatile, because a plain store to an object that is about to end would be left out.
  static_cast<volatile HMODULE&>(module) = nullptr;
}

FARPROC SOloader::getProcedure(const std::string& name) const {
  const FARPROC procedure = GetProcAddress(module, name.c_str());
  if (procedure != nullptr) return procedure;
  const DWORD error = GetLastError();
  throw SysException(kProcedureLocation) << "Failed to get procedure address."
                                         << "Name= " << name << ". "
                                         << "Error= " << error;
}

void SOloader::checkLoaded(const vusl::string_t& asked) const {
  if (module != nullptr) return;
  const DWORD error = GetLastError();
  const std::string name = vusl::Narrow(asked);
  LogItem().debug() << LogAddress(this) << "Failed to load a library. "
                    << "Name= " << name << ". "
                    << "Error= " << error;
  throw MissingFileError(kFileMissingResource) << name;
}
