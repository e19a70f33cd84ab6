#include "client/FileUtils.h"

#include <algorithm>
#include <string_view>

#include "VUSL/Support/EnvironmentPath.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/Settings.h"
#include "VUSL/Support/Text.h"
#include "client/HKeyContainer.h"
#include "client/IntegrityLevel.h"
#include "platform/win32.h"

namespace talsUtils::FileUtils {

namespace {

constexpr std::uint32_t kLogDirectoryType = settings::kPathTypeLogDirectory;
constexpr std::uint32_t kConfDirectoryType = settings::kPathTypeConfDirectory;
constexpr char kVendorAndProduct[] = "Orvix\\tALS Client";

// A folder without a narrow form is refused like one that cannot be found: the program works on
// narrow paths, and a path with other characters in it would name another place.
std::string KnownFolder(REFKNOWNFOLDERID folder) {
  PWSTR found = nullptr;
  wchar_t path[MAX_PATH] = {};
  const bool resolved = SUCCEEDED(SHGetKnownFolderPath(folder, 0, nullptr, &found)) &&
                        PathAppendW(path, found) != FALSE;
  CoTaskMemFree(found);

  const std::wstring_view text(path);
  if (!resolved || !std::all_of(text.begin(), text.end(), vusl::HasNarrowForm)) {
    throw Exception() << "unable to determine path for given KNOWNFOLDERID";
  }
  return vusl::Narrow(path);
}

std::string LogDirectory() {
  const std::string base =
      KnownFolder(IsLowIntegrityLevel() ? FOLDERID_LocalAppDataLow : FOLDERID_LocalAppData);
  return base + settings::kPathSeparator + kVendorAndProduct + settings::kPathSeparator +
         settings::kLogDirectory + settings::kPathSeparator;
}

// The ".." is kept in the text: the directory is a sibling of the install directory.
std::string ConfigurationDirectory() {
  const HKeyContainer stack(1);
  std::string installDirectory;
  if (HKeyContainer::GetValueString(stack.key(), kInstallDirValue, installDirectory) != 0) {
    throw Exception() << kCannotReadInstallDir;
  }
  return installDirectory + settings::kPathSeparator + ".." + settings::kPathSeparator +
         settings::kConfDirectory + settings::kPathSeparator;
}

}  // namespace

std::string getTalsDirectory(std::uint32_t type, std::uint32_t /*reserved*/) {
  if (type != kLogDirectoryType && type != kConfDirectoryType) {
    throw Exception() << "talsUtils::FileUtils::getTalsDirectory"
                      << ": directory type not known: " << type;
  }
  std::string moved;
  if (getEnvironmentPath(static_cast<std::int32_t>(type), &moved) > 0) {
    return moved + settings::kPathSeparator;
  }
  return type == kLogDirectoryType ? LogDirectory() : ConfigurationDirectory();
}

}  // namespace talsUtils::FileUtils
