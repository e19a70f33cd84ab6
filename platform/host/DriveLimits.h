#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "platform/host/Drive.h"
#include "platform/host/windows/Types.h"

namespace host {

// What the machine's drive refuses: a disk that is full, and files that may not be used. Part of
// the machine, and fresh with each fresh machine. The calls on files ask it with the guard held;
// what tests and scenarios do through the `Drive` is not held to it.
class DriveLimits {
 public:
  // By how many bytes files may still grow; nothing for a disk that never fills. Files that are
  // deleted or emptied give their bytes back.
  std::optional<std::uint64_t> freeBytes;
  // A write for which there is not room enough fails with 112 and writes nothing. With this it
  // succeeds with as many bytes as there is room for, as drives with a quota or behind a network
  // do, and fails only when there is room for none.
  bool shortWrites = false;

  // Opening, deleting and moving what has this path, or is below it, is answered with 5; so is a
  // search in such a folder. A search for such a file finds it: its folder holds its name. Throws a
  // `DriveError` if the folder that it is to be in is missing.
  void deny(std::wstring_view path);
  void allow(std::wstring_view path);
  bool denies(const std::filesystem::path& place) const;

  // How many of `size` bytes fit in, of which `growth` lie behind the file's end.
  DWORD fitting(DWORD size, std::uint64_t growth) const;
  void take(std::uint64_t bytes);
  void giveBack(std::uint64_t bytes);

 private:
  // Native paths in one case, without a separator at the end.
  std::set<std::wstring> denied_;
};

DriveLimits& driveLimits();

// The file's attribute: it is neither written nor deleted, but may be moved. Throws a `DriveError`
// if there is no such file.
void setReadOnly(Drive& drive, std::wstring_view path, bool readOnly);
bool isReadOnly(const std::filesystem::path& place);

}  // namespace host
