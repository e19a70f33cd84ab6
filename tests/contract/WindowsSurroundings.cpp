// The surroundings as Windows gives them, below C:\contract. What tests need is beside the program:
// small.exe and client.dll.

#include "tests/contract/Surroundings.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "platform/wine/DebugListener.h"
#include "tests/support/ResourceLibrary.h"

namespace contract {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kFolder[] = L"C:\\contract";
constexpr wchar_t kKey[] = L"Software\\Contract";
constexpr wchar_t kDevices[] = L"Software\\Wine\\TPMEnrollmentService\\Devices";

[[noreturn]] void giveUp(const std::string& what) {
  throw std::runtime_error(what + ": " + std::to_string(GetLastError()));
}

void require(LSTATUS status, const char* what) {
  if (status != ERROR_SUCCESS) {
    SetLastError(static_cast<DWORD>(status));
    giveUp(what);
  }
}

std::wstring keyPath(const std::wstring& name) {
  return name.empty() ? kKey : kKey + (L"\\" + name);
}

void createKey(const std::wstring& path) {
  HKEY key = nullptr;
  require(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                          &key, nullptr),
          "RegCreateKeyExW");
  RegCloseKey(key);
}

void setText(const std::wstring& key, const std::wstring& name, const std::wstring& text) {
  require(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name.c_str(), REG_SZ, text.c_str(),
                          static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
          "RegSetKeyValueW");
}

fs::path besideProgram(const wchar_t* name) {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return fs::path(path).parent_path() / name;
}

void copyTo(const wchar_t* source, const std::wstring& name) {
  const fs::path target = pathOf(name);
  fs::create_directories(target.parent_path());
  fs::copy_file(besideProgram(source), target, fs::copy_options::overwrite_existing);
}

struct Listener {
  std::unique_ptr<wine::DebugListener> listener;
  std::mutex guard;
  std::vector<std::wstring> lines;
};

Listener& debugOutput() {
  static Listener all;
  return all;
}

}  // namespace

void prepare() {
  setDebugListener(false);
  debugOutput().lines.clear();
  SetCurrentDirectoryW(L"C:\\");
  fs::remove_all(kFolder);
  fs::create_directory(kFolder);
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kDevices);
  createKey(kKey);
  SetLastError(kUntouched);
}

std::wstring pathOf(const std::wstring& name) {
  return kFolder + (L"\\" + name);
}

void putFile(const std::wstring& name, const std::string& bytes) {
  std::ofstream file(fs::path(pathOf(name)), std::ios::binary);
  file << bytes << std::flush;
  if (!file) {
    giveUp("a file");
  }
}

void putFolder(const std::wstring& name) {
  fs::create_directories(pathOf(name));
}

std::optional<std::string> contentOf(const std::wstring& name) {
  std::ifstream file(fs::path(pathOf(name)), std::ios::binary);
  if (!file) {
    return std::nullopt;
  }
  return std::string(std::istreambuf_iterator<char>(file), {});
}

void putProgram(const std::wstring& name) {
  copyTo(L"small.exe", name);
}

void putLibrary(const std::wstring& name) {
  copyTo(L"client.dll", name);
}

void putStrings(const std::wstring& name) {
  putFile(name, host::resourceLibrary({{101, u"text"}}));
}

void enterFolder(const std::wstring& name) {
  if (!SetCurrentDirectoryW(pathOf(name).c_str())) {
    giveUp("SetCurrentDirectoryW");
  }
}

void putKey(const std::wstring& name) {
  createKey(keyPath(name));
}

void putValue(const std::wstring& key, const std::wstring& name, DWORD type,
              const std::string& bytes) {
  // What looks like a terminator behind the bytes would be stored with them.
  const std::string unended = bytes + "----";
  require(RegSetKeyValueW(HKEY_LOCAL_MACHINE, keyPath(key).c_str(), name.c_str(), type,
                          unended.data(), static_cast<DWORD>(bytes.size())),
          "RegSetKeyValueW");
}

void deleteKey(const std::wstring& name) {
  require(RegDeleteTreeW(HKEY_LOCAL_MACHINE, keyPath(name).c_str()), "RegDeleteTreeW");
}

void putDevices(const std::vector<Device>& devices) {
  int index = 0;
  for (const Device& device : devices) {
    const std::wstring key = std::wstring(kDevices) + L"\\" + std::to_wstring(index++);
    createKey(key);
    setText(key, L"Id", device.id);
    setText(key, L"Class", device.classGuid);
    for (std::size_t i = 0; i < device.hardwareIds.size(); ++i) {
      setText(key, L"HardwareId" + std::to_wstring(i), device.hardwareIds[i]);
    }
    setText(key, L"SoftwareKey", device.softwareKey.empty() ? L"" : keyPath(device.softwareKey));
    setText(key, L"Present", device.present ? L"yes" : L"no");
  }
}

void putVariable(const std::wstring& name, const std::wstring& value) {
  _wputenv_s(name.c_str(), value.c_str());
}

void setDebugListener(bool isThere) {
  Listener& all = debugOutput();
  all.listener.reset();
  if (isThere) {
    all.listener = std::make_unique<wine::DebugListener>([&all](const std::string& line, DWORD) {
      const std::lock_guard lock(all.guard);
      all.lines.emplace_back(line.begin(), line.end());
    });
  }
}

std::vector<std::wstring> debugLinesHeard() {
  const std::lock_guard lock(debugOutput().guard);
  return debugOutput().lines;
}

void leaveTheServiceManager() {}

std::int64_t milliseconds() {
  using std::chrono::duration_cast;
  return duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace contract
