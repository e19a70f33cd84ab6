#pragma once

#include <string_view>

// A line of the configuration file, taken apart. Its texts are pieces of the line that was given,
// and live as long as that does.
struct ConfigLine {
  enum class Kind {
    kBlank,
    kComment,
    kNoEquals,  // neither of them and no setting either
    kNoKey,     // a setting without a key, "= value"
    kSetting,
  };

  Kind kind = Kind::kBlank;
  std::string_view text;   // the line without white space at its ends
  std::string_view key;    // of a setting
  std::string_view value;  // of a setting, decoded
};

// Takes a line apart. White space is tab, LF, CR and blank, so a CR at the line's end falls away.
ConfigLine parseConfigLine(std::string_view line);
