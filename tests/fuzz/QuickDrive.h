#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fuzz {

// A drive in memory, while the object lives: the platform's calls about files of one folder are
// answered from it, and all others by the model. Without it nearly all of a run that reads or
// writes a file is the model's. There is one at a time.
class QuickDrive {
 public:
  // `folder` with a separator at its end; it must outlive the object.
  explicit QuickDrive(std::wstring_view folder);
  ~QuickDrive();
  QuickDrive(const QuickDrive&) = delete;
  QuickDrive& operator=(const QuickDrive&) = delete;

  static void write(const wchar_t* path, std::string_view bytes);
  // Nothing if there is no such file.
  static std::optional<std::string> read(const wchar_t* path);

  // Whether every handle that was given out was closed.
  static bool isClosed();
};

}  // namespace fuzz
