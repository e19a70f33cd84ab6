// The configuration file: reading held against a reader that is as simple as can be, and writing
// against what a file becomes line by line. What was saved must read back as what it was.

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/ConfigMgmt.h"
#include "VUSL/Support/Exception.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/QuickDrive.h"

namespace fuzz {
namespace {

constexpr wchar_t kConfFolder[] = L"C:\\fuzz\\";
constexpr wchar_t kConfFile[] = L"C:\\fuzz\\a.conf";
constexpr wchar_t kConfBackup[] = L"C:\\fuzz\\a.conf.bak";
constexpr char kConfName[] = "C:\\fuzz\\a.conf";

using Settings = std::map<std::string, std::string>;

std::string stripped(const std::string& text) {
  constexpr char kWhite[] = "\t\n\r ";
  const std::size_t begin = text.find_first_not_of(kWhite);
  return begin == std::string::npos ? ""
                                    : text.substr(begin, text.find_last_not_of(kWhite) + 1 - begin);
}

std::vector<std::string> linesOf(const std::string& content) {
  std::vector<std::string> lines;
  std::istringstream stream(content);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(stripped(line));
  }
  return lines;
}

bool isSetting(const std::string& line) {
  return !line.empty() && line[0] != '#' && line.find('=') != std::string::npos;
}

std::string keyOf(const std::string& line) {
  return stripped(line.substr(0, line.find('=')));
}

std::string valueOf(const std::string& line) {
  std::string value = stripped(line.substr(line.find('=') + 1));
  if (!value.empty() && value[0] == '"') {
    value.erase(0, 1);
  }
  return value.substr(0, value.find('"'));
}

// What is wrong with the file, in the words of its exception; empty if nothing is.
std::string expectedRead(const std::string& content, Settings& settings) {
  for (const std::string& line : linesOf(content)) {
    if (line.empty() || line[0] == '#') {
      continue;
    }
    if (!isSetting(line)) {
      settings.clear();
      return "Check config file. Error while parsing line beginning with: " + line.substr(0, 20);
    }
    const std::string key = keyOf(line);
    if (!key.empty() && !settings.emplace(key, valueOf(line)).second) {
      settings.clear();
      return "Check config file. Key already exist: " + key;
    }
  }
  return {};
}

std::string expectedSaved(const std::string& content, Settings pending) {
  const auto written = [](const std::string& key, const std::string& value) {
    return key + " = \"" + value + "\"\n";
  };
  std::string saved;
  for (const std::string& line : linesOf(content)) {
    if (!isSetting(line)) {
      saved += line + "\n";
    } else if (const auto found = pending.find(keyOf(line)); found != pending.end()) {
      saved += written(found->first, found->second);
      pending.erase(found);
    }
  }
  for (const auto& [key, value] : pending) {
    saved += written(key, value);
  }
  return saved;
}

Settings settingsOf(ConfigMgmt& store) {
  std::vector<std::pair<std::string, std::string>> all;
  store.getSettingsByPrefix("", &all);
  return {all.begin(), all.end()};
}

// What the exception says; empty if there was none.
std::string toldBy(ConfigMgmt& store, bool isSilent) {
  try {
    store = ConfigMgmt(kConfName, isSilent);
    return {};
  } catch (const Exception& exception) {
    return exception.what();
  }
}

// The files of the model's drive.
struct ConfigFiles {
  DriveFile file{kConfFile};
  DriveFile backup{kConfBackup};
};

std::string contentOf(const ConfigFiles* onDrive) {
  return onDrive == nullptr ? QuickDrive::read(kConfFile).value_or("") : onDrive->file.read();
}

std::string backupOf(const ConfigFiles* onDrive) {
  return onDrive == nullptr ? QuickDrive::read(kConfBackup).value_or("") : onDrive->backup.read();
}

// `onDrive` is null if the files are those of the drive in memory.
void checkSave(ConfigMgmt& store, const ConfigFiles* onDrive, const std::string& content) {
  const Settings settings = settingsOf(store);
  require(store.saveSettings(), "a store that was read can be saved");
  require(settingsOf(store) == settings, "a save leaves the store as it was");
  const std::string saved = contentOf(onDrive);
  require(saved == expectedSaved(content, settings), "the saved file is the old one, line by line");
  require(backupOf(onDrive) == content, "the backup is the file as it was");

  ConfigMgmt again;
  require(toldBy(again, true).empty(), "what was saved can be read");
  require(settingsOf(again) == settings, "what was saved reads back as it was");
  require(again.saveSettings(), "a second save succeeds");
  require(contentOf(onDrive) == saved, "a second save changes nothing");
}

}  // namespace

void runConfigurationFile(std::string_view bytes) {
  static std::optional<ConfigFiles> files;
  if (isMachineFresh()) {
    files.emplace();
  }
  // One input in so many is written and saved too, and one in so many of these by way of the
  // model's drive: a run without it is some ten times as fast.
  constexpr unsigned kSavedOneIn = 4;
  constexpr unsigned kOnDriveOneIn = 64;
  Input input(bytes);
  const unsigned options = input.byte();
  const bool isSilent = (options & 1U) != 0;
  const bool isAdded = (options & 2U) != 0;
  const bool isSaved = isOneIn(kSavedOneIn, bytes);
  const bool isOnDrive = isOneIn(kOnDriveOneIn, bytes);
  const std::string content(input.rest());

  Settings expected;
  const std::string wrong = expectedRead(content, expected);
  std::optional<QuickDrive> quick(kConfFolder);
  QuickDrive::write(kConfFile, content);
  ConfigMgmt store;
  const std::string told = toldBy(store, isSilent);
  // A text that is told ends at its first zero.
  require(told == wrong.c_str(), "the first wrong line of the file is told");
  require(QuickDrive::isClosed(), "what was opened to read the file is closed");
  require(settingsOf(store) == expected, "the settings are those of the file");
  if (!isSaved || !wrong.empty()) {
    return;
  }
  if (isOnDrive) {
    quick.reset();
    files->backup.remove();
    files->file.write(content);
  }
  if (isAdded) {
    store.setSetting("Added", "one more");
  }
  checkSave(store, isOnDrive ? &*files : nullptr, content);
  require(isOnDrive || QuickDrive::isClosed(), "what was opened to save the file is closed");
}

}  // namespace fuzz
