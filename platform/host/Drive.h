#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/host/windows/Types.h"

namespace host {

// Something could not be done to the drive; `what` names the machine's path and the reason.
struct DriveError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The machine's drive, kept in a folder: "C:\x" is <root>/C/x. Names ignore case and keep it.
// Paths here are the machine's: absolute ones, or ones relative to a given current directory.
class Drive {
 public:
  // A fresh folder below the system's temporary one, removed with the object; made on first use.
  Drive() = default;
  ~Drive();
  Drive(Drive&& other) noexcept;
  Drive& operator=(Drive&& other) noexcept;
  Drive(const Drive&) = delete;
  Drive& operator=(const Drive&) = delete;

  // Keeps the drive in this folder instead, which is not removed at the end.
  void keepIn(const std::filesystem::path& folder);
  const std::filesystem::path& root();

  // The file that a path of the machine stands for. The last component may be missing: the path is
  // given and `error` (if given) is 2. A missing folder before it gives nothing and 3, a name that
  // the platform does not allow nothing and 123. `error` is 0 for what exists.
  std::optional<std::filesystem::path> locate(std::wstring_view path, DWORD* error = nullptr);

  // For tests and scenarios. Folders are made as needed; a failure throws `DriveError`, from
  // `keepIn` and `root` too.
  void createFolder(std::wstring_view path);
  void write(std::wstring_view path, std::string_view bytes);
  void copyIn(const std::filesystem::path& source, std::wstring_view path);
  // A link to a file outside, for programs and libraries that are not to be copied each time.
  void linkIn(const std::filesystem::path& source, std::wstring_view path);
  std::optional<std::string> read(std::wstring_view path);
  bool exists(std::wstring_view path);
  void remove(std::wstring_view path);
  // Sets the times of a file's last write and last access, in milliseconds since 1601, UTC.
  void setTimes(std::wstring_view path, std::int64_t utcMs);
  // The same for a native path; a failure is not reported.
  static void stamp(const std::filesystem::path& file, std::int64_t utcMs);

  // Removes "." and "..", doubled and trailing separators, and makes a relative path absolute.
  // A component loses its trailing dots and blanks, as on the platform.
  static std::wstring normalized(std::wstring_view path, std::wstring_view currentDirectory);

 private:
  void discard();

  std::filesystem::path root_;
  bool temporary_ = true;
};

}  // namespace host
