#include "platform/host/DriveLimits.h"

#include <sys/stat.h>

#include <algorithm>

#include "platform/host/Machine.h"
#include "platform/host/Text.h"

namespace host {
namespace {

constexpr mode_t kOwnerMayWrite = S_IWUSR;

std::wstring keyOf(const std::filesystem::path& place) {
  return foldCase(toWide(place.string()));
}

// Where the path is or would be.
std::filesystem::path placeOf(std::wstring_view path) {
  const auto place = machine().drive.locate(path);
  if (!place) {
    throw DriveError(toUtf8(path) + ": no such place");
  }
  return *place;
}

}  // namespace

void DriveLimits::deny(std::wstring_view path) {
  denied_.insert(keyOf(placeOf(path)));
}

void DriveLimits::allow(std::wstring_view path) {
  denied_.erase(keyOf(placeOf(path)));
}

bool DriveLimits::denies(const std::filesystem::path& place) const {
  if (denied_.empty()) {
    return false;
  }
  const std::wstring key = keyOf(place);
  return std::any_of(denied_.begin(), denied_.end(), [&](const std::wstring& denied) {
    return key == denied || key.starts_with(denied + L'/');
  });
}

DWORD DriveLimits::fitting(DWORD size, std::uint64_t growth) const {
  if (!freeBytes || growth <= *freeBytes) {
    return size;
  }
  const std::uint64_t missing = growth - *freeBytes;
  return shortWrites && missing < size ? static_cast<DWORD>(size - missing) : 0;
}

void DriveLimits::take(std::uint64_t bytes) {
  if (freeBytes) {
    *freeBytes -= std::min(bytes, *freeBytes);
  }
}

void DriveLimits::giveBack(std::uint64_t bytes) {
  if (freeBytes) {
    *freeBytes += bytes;
  }
}

DriveLimits& driveLimits() {
  static auto* limits = new DriveLimits;
  return *limits;
}

void setReadOnly(Drive& drive, std::wstring_view path, bool readOnly) {
  const auto place = drive.locate(path);
  struct stat native {};
  if (!place || stat(place->c_str(), &native) != 0) {
    throw DriveError(toUtf8(path) + ": no such file");
  }
  const mode_t mode = readOnly ? native.st_mode & ~kOwnerMayWrite : native.st_mode | kOwnerMayWrite;
  if (chmod(place->c_str(), mode) != 0) {
    throw DriveError(toUtf8(path) + ": its attributes cannot be set");
  }
}

bool isReadOnly(const std::filesystem::path& place) {
  struct stat native {};
  return stat(place.c_str(), &native) == 0 && S_ISREG(native.st_mode) &&
         (native.st_mode & kOwnerMayWrite) == 0;
}

}  // namespace host
