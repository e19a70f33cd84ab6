// The registry of a run under Wine, in the form in which Wine keeps it.

#include <cstdio>

#include "platform/host/Text.h"
#include "tools/runner/WinePlan.h"

namespace runner {
namespace {

constexpr wchar_t kSoftwareComponents[] = L"{5c4c3332-344d-483c-8739-259e934c9cc8}";
constexpr wchar_t kStackDevice[] = L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT\\7&1A2B3C4D&0&0";
constexpr wchar_t kStackHardwareId[] = L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT";
constexpr wchar_t kStackSoftwareKey[] =
    L"System\\CurrentControlSet\\Control\\Class\\{5c4c3332-344d-483c-8739-259e934c9cc8}\\0000";
constexpr wchar_t kDescription[] = L"Software\\Wine\\TPMEnrollmentService";
constexpr wchar_t kSchedulerServer[] =
    L"Software\\Classes\\CLSID\\{0f87369f-a4e5-4cfc-bd3e-73e6154572dd}\\InprocServer32";
constexpr wchar_t kEnvironment[] =
    L"System\\CurrentControlSet\\Control\\Session Manager\\Environment";

// What is kept for a user stands in another file, and nothing of it is needed.
constexpr std::wstring_view kMachineRoot = L"HKLM\\";

std::string escaped(std::wstring_view text, char quote) {
  std::string escapedText;
  for (const wchar_t c : text) {
    if (c == L'\\' || c == static_cast<wchar_t>(quote)) {
      escapedText += '\\';
    }
    if (c >= 0x20 && c < 0x7f) {
      escapedText += static_cast<char>(c);
    } else {
      // Always four digits, so that none of the text behind it is taken for a fifth.
      char code[8];
      std::snprintf(code, sizeof code, "\\x%04x", static_cast<unsigned>(c) & 0xffff);
      escapedText += code;
    }
  }
  return escapedText;
}

class RegistryText {
 public:
  // A key below the machine's root.
  void key(std::wstring_view path) { text += "\n[" + escaped(path, ']') + "] 1700000000\n"; }
  void value(std::wstring_view name, std::wstring_view data) {
    text += '"' + escaped(name, '"') + "\"=\"" + escaped(data, '"') + "\"\n";
  }

  void defaultValue(std::wstring_view data) { text += "@=\"" + escaped(data, '"') + "\"\n"; }

  std::string text;
};

std::wstring withoutRoot(const std::wstring& key) {
  return host::foldCase(key).starts_with(host::foldCase(kMachineRoot))
             ? key.substr(kMachineRoot.size())
             : key;
}

void addDevice(RegistryText& registry, std::size_t index, const host::ScenarioDevice& device) {
  registry.key(std::wstring(kDescription) + L"\\Devices\\" + std::to_wstring(index));
  registry.value(L"Id", device.instanceId);
  registry.value(L"Class", device.classGuid);
  for (std::size_t i = 0; i < device.hardwareIds.size(); ++i) {
    registry.value(L"HardwareId" + std::to_wstring(i), device.hardwareIds[i]);
  }
  registry.value(L"SoftwareKey", withoutRoot(device.softwareKey));
  registry.value(L"Present", device.present ? L"yes" : L"no");
}

}  // namespace

std::string wineRegistry(const host::Scenario& scenario) {
  RegistryText registry;
  for (const host::ScenarioRegistryKey& key : scenario.registry) {
    registry.key(withoutRoot(key.key));
    for (const auto& [name, data] : key.values) {
      registry.value(name, data);
    }
  }
  std::size_t index = 0;
  for (const host::ScenarioDevice& device : scenario.devices) {
    addDevice(registry, index++, device);
  }
  if (scenario.stackDirectory) {
    addDevice(registry, index,
              {kStackDevice, kSoftwareComponents, {kStackHardwareId}, kStackSoftwareKey, true});
    registry.key(std::wstring(kStackSoftwareKey) + L"\\tALS Client");
    registry.value(L"InstallDir64", *scenario.stackDirectory);
  }
  if (!scenario.administrator) {
    // Every user of Wine is an administrator, so the refusal that others meet is asked for.
    registry.key(kDescription);
    registry.value(L"NamespaceRefused", L"yes");
  }
  registry.key(kSchedulerServer);
  registry.defaultValue(fileBesideProgram(scenario, L"tasks.dll"));
  registry.key(kEnvironment);
  for (const auto& [name, data] : scenario.environment) {
    registry.value(name, data);
  }
  return registry.text;
}

}  // namespace runner
