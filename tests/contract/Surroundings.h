#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/win32.h"

// What tests of the contract find around them, made by the model in one build and by calls that the
// product does not make in the other.
namespace contract {

// Before each test: an empty folder for files, no key, no devices, last error 77.
void prepare();

// "C:\contract\<name>".
std::wstring pathOf(const std::wstring& name);
void putFile(const std::wstring& name, const std::string& bytes);
void putFolder(const std::wstring& name);
// The bytes of a file, or nothing if it is not there.
std::optional<std::string> contentOf(const std::wstring& name);
// A small program that ends soon; a library with the procedure "talsInit"; a library that holds
// nothing but the string 101, "text".
void putProgram(const std::wstring& name);
void putLibrary(const std::wstring& name);
void putStrings(const std::wstring& name);
// The current directory.
void enterFolder(const std::wstring& name);

// Below HKEY_LOCAL_MACHINE\Software\Contract.
void putKey(const std::wstring& name);
void putValue(const std::wstring& key, const std::wstring& name, DWORD type,
              const std::string& bytes);
void deleteKey(const std::wstring& name);

struct Device {
  std::wstring id;
  std::wstring classGuid;
  std::vector<std::wstring> hardwareIds;
  bool present = true;
  std::wstring softwareKey;  // below Contract; empty if there is none
};
void putDevices(const std::vector<Device>& devices);

void putVariable(const std::wstring& name, const std::wstring& value);

// Whether somebody listens to the debug output; nobody does at first.
void setDebugListener(bool isThere);
// What the listener heard.
std::vector<std::wstring> debugLinesHeard();

// From here on the process is one that no service manager started.
void leaveTheServiceManager();

// A clock that moves with the platform's waits.
std::int64_t milliseconds();

// What the last error is ahead of each test.
inline constexpr DWORD kUntouched = 77;

}  // namespace contract
