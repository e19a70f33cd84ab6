#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/windows/Registry.h"

namespace host {

// The registry: keys and values by path, "HKLM\Software\X". Names ignore case and keep it.
class RegistryStore {
 public:
  struct Value {
    DWORD type = REG_SZ;
    std::string bytes;
  };

  void createKey(std::wstring_view path);
  // Stored with its terminator, as the platform's own tools do.
  void setText(std::wstring_view path, std::wstring_view name, std::wstring_view text);
  void setValue(std::wstring_view path, std::wstring_view name, DWORD type, std::string bytes);
  void deleteKey(std::wstring_view path);
  void deleteValue(std::wstring_view path, std::wstring_view name);

  bool hasKey(std::wstring_view path) const;
  const Value* value(std::wstring_view path, std::wstring_view name) const;

 private:
  using Values = std::map<std::wstring, Value>;
  std::map<std::wstring, Values> keys_;  // folded path -> folded name -> value
};

}  // namespace host
