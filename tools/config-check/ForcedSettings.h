#pragma once

#include <cstddef>
#include <functional>
#include <iosfwd>

#include "VUSL/Support/IConfig.h"
#include "tools/config-check/KnownSettings.h"

namespace config_check {

// Where a reader of the service has its settings from.
struct Source {
  IConfig* settings = nullptr;
  // Which of several files it is, from 1; 0 if there is one file only.
  std::size_t file = 0;
  // The line of a key in that file; 0 if the service has no setting of that key from it.
  std::function<std::size_t(const std::string& key)> lineOf;
};

// Prints the value in force of each setting that the service reads, and where it comes from.
void printForcedSettings(std::ostream& out, const std::function<Source(Reader)>& sourceOf);

}  // namespace config_check
