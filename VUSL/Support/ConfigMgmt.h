#pragma once

#include <string>

#include "VUSL/Support/ConfigMemory.h"

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
  // holds a key twice; the store is then empty.
  void reloadSettings() override;

  // Returns the line, line end included, that stands for a setting in a file written by us.
  virtual std::string formatSettingLine(std::string key, std::string value);

 private:
  bool silent = true;
  std::string configFileName;
};
