#include "VUSL/Support/ConfigMgmt.h"

#include <istream>
#include <map>
#include <sstream>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/MissingFileError.h"
#include "VUSL/Support/Text.h"
#include "VUSL/SupportCore/File.h"

namespace {

constexpr char kWhiteSpace[] = "\t\n\r ";
constexpr std::size_t kShownOfBadLine = 20;

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

// A quote ends the value even if the value did not begin with one. That is deliberate: files
// written by hand rely on what stands behind the closing quote, or behind a lone one, not being
// read.
std::string decodedValue(const std::string& text) {
  std::string value = trimmed(text);
  if (value.starts_with('"')) {
    value.erase(0, 1);
  }
  return value.substr(0, value.find('"'));
}

using SettingMap = std::map<std::string, std::string>;

// Reads the settings of a file's text, and lists them in the order of the file in `report`.
SettingMap parse(std::istream& content, std::string* report) {
  SettingMap parsed;
  std::string rawLine;
  while (content.good()) {
    std::getline(content, rawLine);
    const std::string line = trimmed(rawLine);
    if (line.empty() || line.starts_with('#')) {
      continue;
    }
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) {
      throw Exception() << "Check config file. Error while parsing line beginning with: "
                        << line.substr(0, kShownOfBadLine);
    }
    const std::string key = trimmed(line.substr(0, equals));
    if (key.empty()) {
      continue;
    }
    const std::string value = decodedValue(line.substr(equals + 1));
    if (!parsed.emplace(key, value).second) {
      throw Exception() << "Check config file. Key already exist: " << key;
    }
    *report += "  " + key + "=" + value + "\n";
  }
  return parsed;
}

}  // namespace

ConfigMgmt::ConfigMgmt(const std::string& fileName, bool isSilent)
    : silent(isSilent), configFileName(fileName) {
  if (!silent) {
    LogItem() << "ConfigMgmt constructor entry";
  }
  ConfigMgmt::reloadSettings();
}

void ConfigMgmt::reloadSettings() {
  if (!silent) {
    LogItem() << LogAddress(this) << "Starting reading config file: " << configFileName;
  }
  settings.clear();

  vusl::File file(vusl::Widen(configFileName));
  if (!file.exists()) {
    LogItem() << LogAddress(this) << "Could not open config file: " << configFileName;
    throw MissingFileError(0) << configFileName;
  }
  std::stringstream content;
  file.readAll(content);

  std::string report = "ConfigMgmt::reloadSettings:\n";
  settings = parse(content, &report);
  if (!silent) {
    LogItem("reloadSettings").info() << report;
  }
}

std::string ConfigMgmt::formatSettingLine(std::string key, std::string value) {
  return key + " = \"" + value + "\"\n";
}
