#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "VUSL/Support/ConfigMemory.h"

namespace vusl {
class File;
}

// The settings of one text file, `key = "value"` a line. It belongs to the thread that made it,
// and so does the file while it is being read. Assigning copies settings, file name and silence,
// so that a store that was built from a file can take the place of an empty one.
class ConfigMgmt : public ConfigMemory {
 public:
  // No settings, no file. Touches nothing.
  ConfigMgmt() = default;

  // Reads the file. `fileName`: the file's full path, in UTF-8.
  // `isSilent`: whether the lines that only trace the reading are left out of the log.
  // Throws what `reloadSettings` throws.
  ConfigMgmt(const std::string& fileName, bool isSilent);

  // Replaces the settings by the file's. Throws `MissingFileError` (its parameter is the name) if
  // there is no file, and `Exception` if the file cannot be read, holds a line without "=" or
  // holds a key twice. Of a file that changes while it is read, `AssertException` if it vanishes
  // and `std::runtime_error` if it shrinks. Whatever is thrown, the store is then empty.
  void reloadSettings() override;

  // Writes the settings to the file, which must exist. Comments, blank lines and lines without "="
  // stay, trimmed; each setting keeps its place in the written form, and new ones go to the end in
  // key order. Lines whose key this store does not hold, and lines without a key, are dropped.
  //
  // The text is written to <file>.new; then <file>.bak is removed, the file becomes <file>.bak and
  // <file>.new the file. Returns whether all of it succeeded; failures are logged and nothing is
  // rolled back. Without a file it returns false and has cost the old backup. Nothing is flushed,
  // so a power cut can tear the new file; the old one is then whole in <file>.bak. A value with a
  // quote is written as it is, and so is read back only up to that quote. Throws `AssertException`
  // if the store has no file name, and `Exception` if a file that failed before cannot be closed
  // either.
  bool saveSettings() override;

  // Returns the line, line end included, that stands for a setting in a file written by us.
  virtual std::string formatSettingLine(std::string key, std::string value);

 private:
  struct PendingSetting;

  // A copy of the settings in key order, none of them written yet.
  std::vector<PendingSetting> pendingSettings() const;
  // Returns the text that a file with `content` gets. Logs each setting unless silent.
  // `pending`: the settings that are to stand in it, in key order; they are marked as written.
  std::string updatedContent(std::string_view content, std::vector<PendingSetting>& pending);
  void discardNewFile(vusl::File& newFile, const std::string& newName) const;
  bool exchangeFiles(const std::string& newName) const;
  bool renameFile(const std::string& from, const std::string& to) const;

  bool silent = true;
  std::string configFileName;
};
