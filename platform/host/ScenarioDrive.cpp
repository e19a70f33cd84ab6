// What a scenario's machine has on its drive when the first life begins.

#include <array>
#include <system_error>

#include "platform/host/Drive.h"
#include "platform/host/DriveLimits.h"
#include "platform/host/Scenario.h"
#include "platform/host/Text.h"

namespace host {
namespace {

namespace fs = std::filesystem;

// A file of the stack's folder and the stand-in that it is a link to.
struct StackFile {
  std::wstring name;
  std::string standIn;
};

std::vector<StackFile> stackFiles(const Scenario& scenario) {
  std::vector<StackFile> files;
  if (!scenario.clientLibrary.empty()) {
    files.push_back({L"talsClient.dll", scenario.clientLibrary + ".dll"});
  }
  if (!scenario.proxyLibrary.empty()) {
    files.push_back({L"talsProxy.dll", scenario.proxyLibrary + ".dll"});
  }
  if (scenario.recertificationProgram) {
    files.push_back({L"OrvixVTMEkRecertification.exe", scenario.recertificationCrashes
                                                           ? "OrvixVTMEkRecertificationCrashes.exe"
                                                           : "OrvixVTMEkRecertification.exe"});
  }
  return files;
}

std::optional<std::string> makeFolder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) {
    return folder.string() + ": " + error.message();
  }
  return std::nullopt;
}

// May throw a `DriveError`.
std::optional<std::string> fillDrive(const Scenario& scenario, const fs::path& drive,
                                     const fs::path& standIns) {
  Drive files;
  files.keepIn(drive);
  if (scenario.stackDirectory) {
    files.createFolder(*scenario.stackDirectory);
    for (const StackFile& file : stackFiles(scenario)) {
      const fs::path standIn = standIns / file.standIn;
      std::error_code ignored;
      if (!fs::is_regular_file(standIn, ignored)) {
        return "there is no stand-in " + standIn.string();
      }
      files.linkIn(standIn, *scenario.stackDirectory + L"\\" + file.name);
    }
    files.write(*scenario.stackDirectory + L"\\talsClient.script", scenario.clientScript);
  }
  for (const ScenarioFile& file : scenario.files) {
    files.write(file.path, file.bytes);
  }
  for (const std::wstring& path : scenario.readOnlyFiles) {
    setReadOnly(files, path, true);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> prepareDrive(const Scenario& scenario, const fs::path& drive,
                                        const fs::path& standIns) {
  if (auto reason = makeFolder(drive)) {
    return reason;
  }
  try {
    return fillDrive(scenario, drive, standIns);
  } catch (const DriveError& error) {
    return error.what();
  }
}

}  // namespace host
