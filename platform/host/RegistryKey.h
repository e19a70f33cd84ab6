#pragma once

#include <optional>
#include <string>

#include "platform/host/Handles.h"
#include "platform/host/windows/Registry.h"

namespace host {

// An open key: a place in the registry, and what it was opened for.
class RegistryKey final : public KernelObject {
 public:
  RegistryKey(std::wstring place, REGSAM granted) : path(std::move(place)), access(granted) {}

  const char* kind() const override { return "key"; }
  bool closedByCloseHandle() const override { return false; }

  const std::wstring path;
  const REGSAM access;
};

// The place that a predefined root or an open key stands for; nothing for any other value, and a
// violation under the name of `call` for a key that was closed before.
std::optional<std::wstring> registryPath(HKEY key, const char* call);

// A new open key for a path of the registry.
HKEY openRegistryKey(const std::wstring& path, REGSAM access, const char* maker);

}  // namespace host
