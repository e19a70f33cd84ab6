#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/host/Text.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"

// What the tests of the client room share: a machine with the client stack on it, the words of what
// was thrown, and single arguments of journaled calls.
namespace client_test {

inline constexpr wchar_t kInstallDirectory[] = L"C:\\Program Files\\Orvix\\tALS Client";

inline std::wstring installed(const std::wstring& fileName) {
  return std::wstring(kInstallDirectory) + L"\\" + fileName;
}

// Copies a library that the build made, such as "talsClientNone.dll", onto the machine's drive.
inline void copyLibrary(const std::string& standin, const std::wstring& path) {
  host::machine().drive.copyIn(std::filesystem::path(STANDINS_DIR) / standin, path);
}

// The stack with its device and key, and both libraries in its folder.
inline void installClient(const std::string& clientLibrary = "talsClient.dll") {
  host::machine().installStack(kInstallDirectory);
  copyLibrary(clientLibrary, installed(L"talsClient.dll"));
  copyLibrary("talsProxy.dll", installed(L"talsProxy.dll"));
}

inline void writeScript(const std::string& text) {
  host::machine().drive.write(installed(L"talsClient.script"), text);
}

// The registry path of the stack's key.
inline std::wstring stackKeyPath() {
  return host::machine().devices.at(0).softwareKey + L"\\tALS Client";
}

// The text of the `Thrown` that `action` throws.
template <class Thrown, class Action>
std::string textThrownBy(const Action& action) {
  try {
    action();
  } catch (const Thrown& thrown) {
    return thrown.what();
  }
  return "(nothing of this class was thrown)";
}

// The argument of a journaled call, counted from 0. Where a result is only written to, the journal
// leaves it out.
inline std::string argument(const host::JournalEntry& call, std::size_t index) {
  std::size_t begin = 0;
  for (; index > 0; --index) {
    const std::size_t end = call.args.find(", ", begin);
    if (end == std::string::npos) return "(no such argument)";
    begin = end + 2;
  }
  return call.args.substr(begin, call.args.find(", ", begin) - begin);
}

// Lets go of a library whose unloading was refused. It would be found by later tests.
inline void unloadWhatWasRefused() {
  for (const host::JournalEntry& call : host::Journal::instance().calls("FreeLibrary")) {
    if (!call.faulted) continue;
    FreeLibrary(reinterpret_cast<HMODULE>(std::stoull(argument(call, 0), nullptr, 16)));
  }
}

using Texts = std::vector<std::string>;

}  // namespace client_test
