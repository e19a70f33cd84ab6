#pragma once

#include <string>

#include "VUSL/Support/ConfigMgmt.h"

namespace config_check {

// A configuration file, read as the service reads it.
struct CheckedFile {
  enum class Outcome {
    kRead,
    kFolder,     // it is one; the service sees no settings, and no fault either
    kMissing,    // the service uses its defaults
    kCorrupted,  // the service says so, and uses its defaults
  };

  std::string name;  // as the person calls it
  Outcome outcome = Outcome::kRead;
  std::string complaint;   // of a corrupted file: what the product's reader says
  std::string unreadable;  // why there is no content, if the file is there; else empty
  std::string content;
  // What the service has of the file; empty unless it was read.
  ConfigMgmt settings;
};

// `name`: what the person calls the file. `path`: where the product finds it, in UTF-8.
CheckedFile readCheckedFile(const std::string& name, const std::string& path);

}  // namespace config_check
