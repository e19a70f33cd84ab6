#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/host/windows/Registry.h"

namespace host {

// The registry as a program of 32 bits left it: keys that only the 64-bit view shows. Part of the
// machine, and fresh with each fresh machine.
class RegistryViews {
 public:
  // A key and what is below it is opened with KEY_WOW64_64KEY alone; to all others it is missing.
  // `path`: with the short name of its root, "HKLM\\Software\\X".
  void showOnlyIn64Bit(std::wstring_view path) { only64Bit_.emplace_back(path); }

  bool shows(std::wstring_view path, REGSAM access) const;

 private:
  std::vector<std::wstring> only64Bit_;
};

RegistryViews& registryViews();

}  // namespace host
