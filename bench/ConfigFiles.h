#pragma once

#include <cstdint>
#include <string>

// The files that the rows of the configuration load and save. They lie in a folder of this
// process's own that lives as long as the object does.
class ConfigFiles {
 public:
  // Throws `std::filesystem::filesystem_error` if the folder cannot be made.
  ConfigFiles();
  ~ConfigFiles();
  ConfigFiles(const ConfigFiles&) = delete;
  ConfigFiles& operator=(const ConfigFiles&) = delete;

  // The path of a fresh file with `count` lines `key = "value"`, their keys in an order that is
  // drawn, the same in each run. `heading`: what stands before them, line end included.
  // Throws `std::runtime_error` if the file does not take them.
  std::string make(const std::string& name, uint32_t count, const std::string& heading = "") const;

  // Key and value of a file's line number `index` in the order of the keys. Each value is a number.
  static std::string key(uint32_t index);
  static std::string value(uint32_t index);

 private:
  std::string folder;
};

// The one of this process, made on first use.
const ConfigFiles& configFiles();
