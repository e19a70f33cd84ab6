// The surroundings as the model gives them.

#include "platform/host/Call.h"
#include "platform/host/Machine.h"
#include "tests/contract/Surroundings.h"
#include "tests/support/ResourceLibrary.h"

namespace contract {
namespace {

constexpr wchar_t kKey[] = L"HKLM\\Software\\Contract";

std::wstring keyPath(const std::wstring& name) {
  return name.empty() ? kKey : kKey + (L"\\" + name);
}

}  // namespace

void prepare() {
  host::resetMachine();
  host::machine().drive.createFolder(L"C:\\contract");
  host::machine().registry.createKey(kKey);
  host::machine().debugListener = false;
  host::setLastError(kUntouched);
}

std::wstring pathOf(const std::wstring& name) {
  return L"C:\\contract\\" + name;
}

void putFile(const std::wstring& name, const std::string& bytes) {
  host::machine().drive.write(pathOf(name), bytes);
}

void putFolder(const std::wstring& name) {
  host::machine().drive.createFolder(pathOf(name));
}

std::optional<std::string> contentOf(const std::wstring& name) {
  return host::machine().drive.read(pathOf(name));
}

void putProgram(const std::wstring& name) {
  host::machine().drive.linkIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", pathOf(name));
}

void putLibrary(const std::wstring& name) {
  host::machine().drive.linkIn(STANDINS_DIR "/talsClient.dll", pathOf(name));
}

void putStrings(const std::wstring& name) {
  host::machine().drive.write(pathOf(name), host::resourceLibrary({{101, u"text"}}));
}

void enterFolder(const std::wstring& name) {
  host::machine().currentDirectory = pathOf(name);
}

void putKey(const std::wstring& name) {
  host::machine().registry.createKey(keyPath(name));
}

void putValue(const std::wstring& key, const std::wstring& name, DWORD type,
              const std::string& bytes) {
  host::machine().registry.setValue(keyPath(key), name, type, bytes);
}

void deleteKey(const std::wstring& name) {
  host::machine().registry.deleteKey(keyPath(name));
}

void putDevices(const std::vector<Device>& devices) {
  for (const Device& device : devices) {
    host::machine().devices.push_back(
        {device.id, device.classGuid, device.hardwareIds, device.present,
         device.softwareKey.empty() ? L"" : keyPath(device.softwareKey), CR_SUCCESS});
  }
}

void putVariable(const std::wstring& name, const std::wstring& value) {
  host::machine().environment[name] = value;
}

void setDebugListener(bool isThere) {
  host::machine().debugListener = isThere;
}

std::vector<std::wstring> debugLinesHeard() {
  return host::machine().debugOutput;
}

std::int64_t milliseconds() {
  return host::Scheduler::instance().now() / host::kNanosecondsPerMillisecond;
}

}  // namespace contract
