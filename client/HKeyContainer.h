#pragma once

#include <cstdint>
#include <string>

#include "platform/win32.h"

// The words of every failure to find the client stack.
inline constexpr char kStackNotInstalled[] = "tals stack not installed";

// The words of a stack whose key stands but whose install directory cannot be read.
inline constexpr char kCannotReadInstallDir[] =
    "Cannot read tALS Client installation directory from registry.";

// The registry value that holds the stack's install directory.
inline constexpr char kInstallDirValue[] = "InstallDir64";

// True for the platform's predefined root keys, which are not closed.
bool IsPredefinedRootKey(HKEY key);

// Owner of the open registry key of the client stack: the subkey "tALS Client" below the software
// key of the stack's device. Used on the thread that made it.
class HKeyContainer {
 public:
  // Finds the stack's device and opens its key.
  //
  // `usage`: must be 1.
  // Throws Exception "tals stack not installed" for every failure, a wrong usage included.
  explicit HKeyContainer(std::uint32_t usage);

  // Closes the key, unless it is one of the predefined root keys.
  ~HKeyContainer();

  HKeyContainer(const HKeyContainer&) = delete;
  HKeyContainer& operator=(const HKeyContainer&) = delete;

  // The open key; never null.
  HKEY key() const { return openKey; }

  // Reads a text value.
  //
  // `key`: an open key, as a rule this object's own.
  // `name`: the value's name.
  // `out`: receives the value; empty when the second of the two queries fails.
  // Returns 0 on success, the platform's status otherwise; 234 when memory runs out.
  // Throws Exception "Unicode installation path detected, terminating process." when the value
  // holds a character that has no narrow form. `out` then holds what stands before it.
  static std::uint32_t GetValueString(HKEY key, const std::string& name, std::string& out);

 private:
  void openStackKey(std::uint32_t usage);

  HKEY openKey = nullptr;
};
