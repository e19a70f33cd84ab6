#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/IConfig.h"

// The settings in memory. A copy has settings of its own.
class ConfigMemory : public IConfig {
 public:
  bool getSettingsByPrefix(const std::string& prefix,
                           std::vector<std::pair<std::string, std::string>>* matches) override;
  bool getIntInRange(const std::string& key, int32_t* value, int32_t minimum, int32_t maximum,
                     const int32_t* defaultValue) override;
  bool getLong(const std::string& key, long* value, const std::list<long>* allowed,
               const long* defaultValue) override;
  bool getInt(const std::string& key, int32_t* value, const std::list<int32_t>* allowed,
              const int32_t* defaultValue) override;
  bool getString(const std::string& key, std::string* value, const std::list<std::string>* allowed,
                 const std::string* defaultValue) override;
  bool setSetting(std::string key, std::string value) override;

  // Throws `Exception` "Not supported.".
  void unsupportedSettingsOperation() override;

  // Throws `Exception` "Not supported.": memory is all there is.
  bool saveSettings() override;

  // Throws `Exception` "Not supported.": memory is all there is.
  void reloadSettings() override;

 protected:
  // Key and value, in byte-wise ascending order of the keys.
  std::map<std::string, std::string> settings;
};
