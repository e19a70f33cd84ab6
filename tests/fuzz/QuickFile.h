#pragma once

#include <string_view>

namespace fuzz {

// A file that is read without a drive, while the object lives: the platform's calls for reading a
// file of this name are answered from memory, and all others by the model. Without it nearly all of
// a run that reads one is the model's. There is one at a time.
class QuickFile {
 public:
  // Both must outlive the object.
  QuickFile(const wchar_t* path, std::string_view content);
  ~QuickFile();
  QuickFile(const QuickFile&) = delete;
  QuickFile& operator=(const QuickFile&) = delete;

  // Whether every handle that was given out was closed.
  static bool isClosed();
};

}  // namespace fuzz
