#pragma once

#include <optional>

#include "platform/host/ResourceFile.h"

namespace fuzz {

// A library of strings that is loaded without a drive, while the object lives: the platform's calls
// for loading a library of this name, for reading its strings and for letting it go are answered
// from memory, and all others by the model. There is one at a time.
class QuickLibrary {
 public:
  // Nothing stands for a file that is no library. Both must outlive the object.
  QuickLibrary(const wchar_t* path, const std::optional<host::ResourceFile>& content,
               LANGID language);
  ~QuickLibrary();
  QuickLibrary(const QuickLibrary&) = delete;
  QuickLibrary& operator=(const QuickLibrary&) = delete;
};

}  // namespace fuzz
