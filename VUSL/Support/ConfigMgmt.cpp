#include "VUSL/Support/ConfigMgmt.h"

#include <cstdint>
#include <cstdio>
#include <istream>
#include <map>
#include <sstream>
#include <utility>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/ConfigLine.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/MissingFileError.h"
#include "VUSL/Support/Text.h"
#include "VUSL/SupportCore/File.h"
#include "platform/win32.h"

namespace {

constexpr char kNewSuffix[] = ".new";
constexpr char kBackupSuffix[] = ".bak";
constexpr std::size_t kShownOfBadLine = 20;

using SettingMap = std::map<std::string, std::string>;

// Reads the settings of a file's text, and lists them in the order of the file in `report`, which
// is null if nobody wants them.
SettingMap parse(std::istream& content, std::string* report) {
  SettingMap parsed;
  std::string rawLine;
  while (content.good()) {
    std::getline(content, rawLine);
    const ConfigLine line = parseConfigLine(rawLine);
    if (line.kind == ConfigLine::Kind::kNoEquals) {
      throw Exception() << "Check config file. Error while parsing line beginning with: "
                        << std::string(line.text.substr(0, kShownOfBadLine));
    }
    if (line.kind != ConfigLine::Kind::kSetting) {
      continue;
    }
    const auto [setting, isNew] = parsed.emplace(line.key, line.value);
    if (!isNew) {
      throw Exception() << "Check config file. Key already exist: " << setting->first;
    }
    if (report != nullptr) {
      report->append("  ").append(line.key).append("=").append(setting->second).append("\n");
    }
  }
  return parsed;
}

bool exists(const std::string& path) {
  struct _stat64i32 status {};
  return _stat64i32(path.c_str(), &status) == 0;
}

// A file object only ever appends, and a save that failed may have left its file behind. That is
// why the size is held against the text: an old file that was not seen, or a drive that took less
// than it was given and called it a success, must not take the place of the settings.
void writeAfresh(vusl::File& file, const std::string& content) {
  if (file.exists()) {
    file.remove();
  }
  file.write(content.data(), static_cast<unsigned int>(content.size()));
  file.close();
  if (const uint32_t size = file.getSize(); size != content.size()) {
    throw Exception() << "New file has " << size << " bytes instead of " << content.size();
  }
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
  settings = parse(content, silent ? nullptr : &report);
  if (!silent) {
    LogItem("reloadSettings").info() << report;
  }
}

// The reader refuses a file with a line that is no setting or with a key twice; the writer carries
// the one over and drops the other. That is deliberate: a save keeps what a person wrote and never
// complains about it.
std::string ConfigMgmt::updatedContent(std::istream& content,
                                       std::map<std::string, std::string> pending) {
  std::string updated;
  std::string rawLine;
  while (content.good() && std::getline(content, rawLine)) {
    const ConfigLine line = parseConfigLine(rawLine);
    if (line.kind != ConfigLine::Kind::kSetting && line.kind != ConfigLine::Kind::kNoKey) {
      updated.append(line.text).append("\n");
      continue;
    }
    const auto setting = pending.find(std::string(line.key));
    if (line.kind == ConfigLine::Kind::kNoKey || setting == pending.end()) {
      continue;
    }
    if (!silent) {
      LogItem() << LogAddress(this) << "Updated line: " << setting->first << "=" << setting->second;
    }
    updated += formatSettingLine(setting->first, setting->second);
    pending.erase(setting);
  }
  for (const auto& [key, value] : pending) {
    if (!silent) {
      LogItem() << LogAddress(this) << "New line: " << key << "=" << value;
    }
    updated += formatSettingLine(key, value);
  }
  return updated;
}

bool ConfigMgmt::saveSettings() {
  if (configFileName.empty()) {
    throw AssertException("configFileName must not be empty");
  }
  const std::string newName = configFileName + kNewSuffix;
  SettingMap pending = settings;
  vusl::File configFile(vusl::Widen(configFileName));
  vusl::File newFile(vusl::Widen(newName));
  try {
    std::stringstream content;
    configFile.readAll(content);
    writeAfresh(newFile, updatedContent(content, std::move(pending)));
  } catch (const AssertException& e) {
    // The exchange is tried all the same. That is deliberate: a missing file is reported by the
    // renaming, after the old backup has gone.
    LogItem().error() << LogAddress(this)
                      << "Error occured when trying open old config file: " << e.what();
  } catch (const Exception& e) {
    LogItem().error() << LogAddress(this)
                      << "Error occured when trying to update config file: " << e.what();
    discardNewFile(newFile, newName);
    configFile.close();
    return false;
  } catch (...) {
    LogItem().error() << LogAddress(this)
                      << "Internal error occured when trying to update config file.";
    discardNewFile(newFile, newName);
    configFile.close();
    return false;
  }
  return exchangeFiles(newName);
}

// What was closed already stays: it may be whole, and the next save replaces it.
void ConfigMgmt::discardNewFile(vusl::File& newFile, const std::string& newName) const {
  if (!newFile.isOpen()) {
    return;
  }
  newFile.close();
  if (exists(newName) && std::remove(newName.c_str()) != 0) {
    LogItem().error() << LogAddress(this)
                      << "Error occured when trying to remove temporary config file: " << newName;
  }
}

// Nothing is rolled back: whatever fails, the old content is whole under one of the names.
bool ConfigMgmt::exchangeFiles(const std::string& newName) const {
  const std::string backupName = configFileName + kBackupSuffix;
  if (exists(backupName) && std::remove(backupName.c_str()) != 0) {
    LogItem().error() << LogAddress(this)
                      << "Error occured when trying to remove old backup config file: "
                      << backupName;
    return false;
  }
  return renameFile(configFileName, backupName) && renameFile(newName, configFileName);
}

bool ConfigMgmt::renameFile(const std::string& from, const std::string& to) const {
  if (std::rename(from.c_str(), to.c_str()) == 0) {
    return true;
  }
  LogItem().error() << LogAddress(this) << "Error occured when trying to rename file: " << from
                    << " to: " << to;
  return false;
}

std::string ConfigMgmt::formatSettingLine(std::string key, std::string value) {
  return key + " = \"" + value + "\"\n";
}
