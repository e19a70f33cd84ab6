#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "VUSL/Support/IConfig.h"

// The settings that the service reads, and what it makes of their values.
namespace config_check {

// Stands between what is wrong with a word and the word that may have been meant.
inline constexpr char kDidYouMean[] = "; did you mean ";

// The two places of the service that read the configuration, each for itself.
enum class Reader { kLogSetup, kService };

// What the service makes of a setting.
struct Verdict {
  std::string value;       // what counts, in words
  bool isDefault = false;  // because the setting is absent or of no use
  std::vector<std::string> warnings;
};

// A setting that the service reads, and how it reads it.
struct KnownSetting {
  const char* key;
  Reader reader;
  const char* remark;  // stands behind the value; may be empty
  // Asks for the setting as the service does.
  Verdict (*judge)(IConfig& settings);
};

// All of them, in the order in which they are shown.
const std::array<KnownSetting, 4>& knownSettings();

// Null for a key that the service does not read.
const KnownSetting* findKnownSetting(std::string_view key);

// The key that a person may have meant by an unknown one, with a hint; empty if none is near.
std::string nearestKnownKey(std::string_view key);

}  // namespace config_check
