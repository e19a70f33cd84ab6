#include "VUSL/Support/RollingDateFileLogOutlet.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <map>
#include <vector>

#include "VUSL/Support/BaseException.h"
#include "VUSL/Support/Exception.h"
#include "platform/win32.h"

namespace {

using Path = std::array<wchar_t, 520>;
using PathsByTime = std::multimap<uint64_t, vusl::string_t>;

Path PathFrom(const vusl::string_t& text) {
  Path path{};
  text.copy(path.data(), path.size() - 1);
  return path;
}

// The bare names of the plain files that match.
std::vector<vusl::string_t> ListFiles(const vusl::string_t& pattern) {
  std::vector<vusl::string_t> names;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW(pattern.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    const bool isDirectory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!isDirectory) names.emplace_back(found.cFileName);
  } while (FindNextFileW(search, &found) != 0);
  FindClose(search);
  return names;
}

// Sets `key` to the time of the last writing; leaves it alone if any of the file's times cannot be
// had.
void ReadKey(const vusl::string_t& path, uint64_t& key) {
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;
  FILETIME created{};
  FILETIME accessed{};
  FILETIME written{};
  const BOOL hasTimes = GetFileTime(file, &created, &accessed, &written);
  CloseHandle(file);
  if (hasTimes == 0) return;
  // Deliberate: the time of the last access must be a sound one too, though the files are sorted by
  // that of the last writing. Where one is not, the other is not trusted with a deletion.
  SYSTEMTIME universal{};
  SYSTEMTIME local{};
  if (FileTimeToSystemTime(&accessed, &universal) == 0) return;
  if (SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local) == 0) return;
  key = (uint64_t{written.dwHighDateTime} << 32) | written.dwLowDateTime;
}

PathsByTime SortByTime(const std::vector<vusl::string_t>& names, const vusl::string_t& directory) {
  PathsByTime paths;
  // Deliberate: one key for all files, so that a file whose times cannot be had takes those of the
  // file before it and stays in its place in the list.
  uint64_t key = 0;
  for (const vusl::string_t& name : names) {
    vusl::string_t path = name;
    if (!directory.empty()) {
      Path joined = PathFrom(directory);
      PathAppendW(joined.data(), name.c_str());
      path = joined.data();
    }
    ReadKey(path, key);
    paths.emplace(key, path);
  }
  return paths;
}

// Deletes the first `number` files and returns what failed, each entry followed by one blank. One
// that failed counts: nothing newer is deleted in its place.
vusl::string_t DeleteOldest(const PathsByTime& paths, int64_t number) {
  vusl::string_t failures;
  for (const auto& [time, path] : paths) {
    if (number-- <= 0) break;
    try {
      vusl::File file(path);
      if (file.exists()) file.remove();
    } catch (const BaseException& failure) {
      failures += path + L" reason: " + vusl::Widen(failure.what()) + L" ";
    } catch (...) {
      // Deliberate, with its spelling: readers of the log search for it.
      failures += path + L" reason: uknown ";
    }
  }
  return failures;
}

}  // namespace

void RollingDateFileLogOutlet::roll(const vusl::string_t& path, unsigned int) {
  // Nothing reads them. Deliberate: they are cleared all the same.
  rollFlagA = false;
  rollFlagB = false;
  // Deliberate: every file whose name begins so counts as an archive, whoever made it.
  const vusl::string_t pattern = logFileName + L"*";
  std::string stamp;
  timeStamp(stamp, "");
  file.rename(path + L"." + vusl::Widen(stamp));

  const std::vector<vusl::string_t> names = ListFiles(pattern);
  Path directory = PathFrom(logFileName);
  PathRemoveFileSpecW(directory.data());
  const PathsByTime paths = SortByTime(names, directory.data());
  // Cannot come, as equal keys are kept. Should it, deleting would be guesswork.
  if (paths.size() != names.size()) {
    throw Exception() << "Unable to decide which file shall be deleted.";
  }
  const int64_t surplus = static_cast<int64_t>(paths.size()) - int64_t{maxArchiveNumber} + 1;
  const vusl::string_t failures = DeleteOldest(paths, surplus);
  if (!failures.empty()) {
    throw Exception() << "Unable to remove file(s): " << vusl::Narrow(failures);
  }
}
