#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/TypeName.h"

// The only access to settings. A setting is text until it is read; each read decides between the
// stored value, the caller's default and failure. A store belongs to the thread that made it and
// has no lock.
//
// Each read returns whether the output now holds a usable value, and never throws for a missing or
// bad one. A default answers for an absent key alone: a key that is present with an unusable value
// gives false, and the output keeps its earlier value. The allowed list and the default may be
// null; an empty allowed list rejects every present value.
class IConfig {
 public:
  virtual ~IConfig() = default;

  // Replaces `matches` with every (key, value) pair whose key begins with `prefix`, in key order.
  // Returns whether there are any.
  virtual bool getSettingsByPrefix(const std::string& prefix,
                                   std::vector<std::pair<std::string, std::string>>* matches) = 0;

  // Reads a signed 32-bit integer between two bounds that are both allowed. The default is not
  // held against the bounds.
  virtual bool getIntInRange(const std::string& key, int32_t* value, int32_t minimum,
                             int32_t maximum, const int32_t* defaultValue) = 0;

  // Reads as `getInt` does, in the platform's `long`: 32 bits where the system runs, 64 bits on
  // the native build, so only there does a number beyond 32 bits convert.
  virtual bool getLong(const std::string& key, long* value, const std::list<long>* allowed,
                       const long* defaultValue) = 0;

  // Reads a signed 32-bit decimal integer: white space before it is skipped, a sign is accepted,
  // and what follows the digits is ignored.
  virtual bool getInt(const std::string& key, int32_t* value, const std::list<int32_t>* allowed,
                      const int32_t* defaultValue) = 0;

  // Reads text. The allowed words are compared exactly, case included.
  virtual bool getString(const std::string& key, std::string* value,
                         const std::list<std::string>* allowed,
                         const std::string* defaultValue) = 0;

  // Inserts or overwrites one setting in memory. Returns false, and no exception, if that failed.
  virtual bool setSetting(std::string key, std::string value) = 0;

  // Keeps its place in the interface; no class supports it. Throws `Exception`.
  virtual void unsupportedSettingsOperation() = 0;

  // Makes the memory state durable. Returns whether it is. A store with nowhere to put it throws
  // `Exception`.
  virtual bool saveSettings() = 0;

  // Replaces the memory state from where it is kept. A store without such a place throws
  // `Exception`.
  virtual void reloadSettings() = 0;

 protected:
  IConfig() = default;
  IConfig(const IConfig&) = default;
  IConfig& operator=(const IConfig&) = default;
};

template <>
struct TypeName<IConfig> {
  static constexpr const char* text = "class IConfig";
};
