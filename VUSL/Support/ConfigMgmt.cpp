#include "VUSL/Support/ConfigMgmt.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <map>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

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

// The next line of `content`, which keeps what follows it. Both are pieces of the same text.
std::string_view takeLine(std::string_view& content) {
  const std::size_t end = content.find('\n');
  const std::string_view line = content.substr(0, end);
  content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
  return line;
}

// Where a piece of a file's text stands. A file has less than 4 GiB, so this is half of a view.
struct Piece {
  uint32_t at;
  uint32_t size;
};

struct FileSetting {
  Piece key;
  Piece value;
};

// The text of a file, whose pieces are noted and found again.
struct FileText {
  std::string_view text;

  Piece note(std::string_view piece) const {
    if (piece.empty()) {
      return {0, 0};
    }
    return {static_cast<uint32_t>(piece.data() - text.data()), static_cast<uint32_t>(piece.size())};
  }
  std::string_view at(Piece piece) const { return text.substr(piece.at, piece.size); }
};

// By key, those of the same key as they stand in the file.
void sortByKey(std::deque<FileSetting>& settings, const FileText& file) {
  std::sort(settings.begin(), settings.end(),
            [&](const FileSetting& left, const FileSetting& right) {
              const int difference = file.at(left.key).compare(file.at(right.key));
              return difference != 0 ? difference < 0 : left.key.at < right.key.at;
            });
}

// Of the keys that are there twice the one whose second line comes first in the file.
std::optional<Piece> findRepeated(const std::deque<FileSetting>& sorted, const FileText& file) {
  std::optional<Piece> first;
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    const Piece key = sorted[i].key;
    if (file.at(key) == file.at(sorted[i - 1].key) && (!first || key.at < first->at)) {
      first = key;
    }
  }
  return first;
}

// Reads the settings of a file's text, and lists them in the order of the file in `report`, which
// is null if nobody wants them. The first wrong line of the file is the one that is told.
//
// They are sorted before the map is made: one that grows by a million keys in any order spends
// most of its time waiting for memory.
SettingMap parse(std::string_view content, std::string* report) {
  const FileText file{content};
  std::deque<FileSetting> found;
  std::optional<std::string_view> badLine;
  while (!content.empty() && !badLine) {
    const ConfigLine line = parseConfigLine(takeLine(content));
    if (line.kind == ConfigLine::Kind::kNoEquals) {
      badLine = line.text;
    } else if (line.kind == ConfigLine::Kind::kSetting) {
      found.push_back({file.note(line.key), file.note(line.value)});
      if (report != nullptr) {
        report->append("  ").append(line.key).append("=").append(line.value).append("\n");
      }
    }
  }
  sortByKey(found, file);
  if (const auto repeated = findRepeated(found, file)) {
    throw Exception() << "Check config file. Key already exist: "
                      << std::string(file.at(*repeated));
  }
  if (badLine) {
    throw Exception() << "Check config file. Error while parsing line beginning with: "
                      << std::string(badLine->substr(0, kShownOfBadLine));
  }
  SettingMap parsed;
  for (const FileSetting& setting : found) {
    parsed.emplace_hint(parsed.end(), file.at(setting.key), file.at(setting.value));
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

// A setting that a save has to write.
struct ConfigMgmt::PendingSetting {
  std::string key;
  std::string value;
  bool isWritten;
};

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
  settings = parse(content.view(), silent ? nullptr : &report);
  if (!silent) {
    LogItem("reloadSettings").info() << report;
  }
}

// In one block: as many nodes of a map would cost a fifth of the save.
std::vector<ConfigMgmt::PendingSetting> ConfigMgmt::pendingSettings() const {
  std::vector<PendingSetting> pending;
  pending.reserve(settings.size());
  for (const auto& [key, value] : settings) {
    pending.push_back({key, value, false});
  }
  return pending;
}

// The reader refuses a file with a line that is no setting or with a key twice; the writer carries
// the one over and drops the other. That is deliberate: a save keeps what a person wrote and never
// complains about it.
std::string ConfigMgmt::updatedContent(std::string_view content,
                                       std::vector<PendingSetting>& pending) {
  const auto isBefore = [](const PendingSetting& setting, std::string_view key) {
    return setting.key < key;
  };
  std::string updated;
  while (!content.empty()) {
    const ConfigLine line = parseConfigLine(takeLine(content));
    if (line.kind == ConfigLine::Kind::kNoKey) {
      continue;
    }
    if (line.kind != ConfigLine::Kind::kSetting) {
      updated.append(line.text).append("\n");
      continue;
    }
    const auto setting = std::lower_bound(pending.begin(), pending.end(), line.key, isBefore);
    if (setting == pending.end() || setting->key != line.key || setting->isWritten) {
      continue;
    }
    if (!silent) {
      LogItem() << LogAddress(this) << "Updated line: " << setting->key << "=" << setting->value;
    }
    updated += formatSettingLine(setting->key, setting->value);
    setting->isWritten = true;
  }
  for (const PendingSetting& setting : pending) {
    if (setting.isWritten) {
      continue;
    }
    if (!silent) {
      LogItem() << LogAddress(this) << "New line: " << setting.key << "=" << setting.value;
    }
    updated += formatSettingLine(setting.key, setting.value);
  }
  return updated;
}

bool ConfigMgmt::saveSettings() {
  if (configFileName.empty()) {
    throw AssertException("configFileName must not be empty");
  }
  const std::string newName = configFileName + kNewSuffix;
  std::vector<PendingSetting> pending = pendingSettings();
  vusl::File configFile(vusl::Widen(configFileName));
  vusl::File newFile(vusl::Widen(newName));
  try {
    std::stringstream content;
    configFile.readAll(content);
    writeAfresh(newFile, updatedContent(content.view(), pending));
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
  return std::move(key.append(" = \"").append(value).append("\"\n"));
}
