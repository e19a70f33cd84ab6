// Searches for files, and the times of files.

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <system_error>
#include <vector>

#include "platform/host/Call.h"
#include "platform/host/DriveLimits.h"
#include "platform/host/FileObject.h"
#include "platform/host/Machine.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kStepsPerMs = 10'000;
constexpr std::uint64_t kStepsPerSecond = 10'000'000;
constexpr std::uint64_t kNanosecondsPerStep = 100;
// Between the platform's epoch, 1601, and the native one, 1970.
constexpr std::uint64_t kEpochDistanceSeconds = 11'644'473'600;
// The calendar ends in the year 30827.
constexpr DWORD kAttributeReadOnly = 1;
constexpr std::uint64_t kLastStep = 0x7FFF35F4F06C58F0;

struct Found {
  std::wstring name;
  fs::path path;
};

class SearchObject final : public KernelObject {
 public:
  const char* kind() const override { return "find"; }
  bool closedByCloseHandle() const override { return false; }

  std::vector<Found> found;
  std::size_t next = 0;
};

// "*" stands for any run of characters. "?" stands for one character, and for none at the end of
// the name or before a dot. A dot before a wildcard stands for the end of the name as well, so
// that "x.*" finds "x".
bool matches(std::wstring_view pattern, std::wstring_view name) {
  if (pattern.empty()) {
    return name.empty();
  }
  const wchar_t first = pattern.front();
  const std::wstring_view rest = pattern.substr(1);
  if (first == L'*') {
    for (std::size_t skipped = 0; skipped <= name.size(); ++skipped) {
      if (matches(rest, name.substr(skipped))) {
        return true;
      }
    }
    return false;
  }
  if (first == L'?') {
    const bool none = name.empty() || name.front() == L'.';
    return matches(rest, none ? name : name.substr(1));
  }
  if (name.empty()) {
    return first == L'.' && !rest.empty() && (rest.front() == L'*' || rest.front() == L'?') &&
           matches(rest, name);
  }
  return first == name.front() && matches(rest, name.substr(1));
}

// What the folder holds under the pattern, in the order of the names without regard to case.
std::vector<Found> list(const fs::path& folder, std::wstring_view pattern, bool isRoot) {
  std::vector<Found> all;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    all.push_back({toWide(it->path().filename().string()), it->path()});
  }
  std::sort(all.begin(), all.end(), [](const Found& left, const Found& right) {
    return foldCase(left.name) < foldCase(right.name);
  });
  if (!isRoot) {
    all.insert(all.begin(), {{L".", folder}, {L"..", folder.parent_path()}});
  }
  const std::wstring folded = foldCase(pattern);
  std::erase_if(all, [&](const Found& entry) { return !matches(folded, foldCase(entry.name)); });
  return all;
}

// A search over everything that the pattern names, or the error that it comes to.
struct Search {
  std::vector<Found> found;
  DWORD error = ERROR_SUCCESS;
};

Search search(std::wstring_view pattern) {
  if (pattern.empty()) {
    return {{}, ERROR_PATH_NOT_FOUND};
  }
  const std::size_t separator = pattern.find_last_of(L"\\/:");
  const std::size_t nameAt = separator == std::wstring_view::npos ? 0 : separator + 1;
  const std::wstring_view name = pattern.substr(nameAt);
  // What ends in a separator names a folder, and no entry of one.
  std::wstring folderName(nameAt == 0 ? L"." : pattern.substr(0, nameAt));
  DWORD error = 0;
  const auto folder = machine().drive.locate(folderName, &error);
  std::error_code ignored;
  if (error != ERROR_SUCCESS || !fs::is_directory(*folder, ignored)) {
    return {{}, error == ERROR_INVALID_NAME ? error : ERROR_PATH_NOT_FOUND};
  }
  if (driveLimits().denies(*folder)) {
    return {{}, ERROR_ACCESS_DENIED};
  }
  if (name.empty()) {
    return {{}, ERROR_FILE_NOT_FOUND};
  }
  // A folder may hold many entries: a name without wildcards is looked up and not searched for.
  const bool isPattern = name.find_first_of(L"*?") != std::wstring_view::npos;
  if (!isPattern && name.find_first_not_of(L'.') != std::wstring_view::npos) {
    const auto entry = machine().drive.locate(pattern, &error);
    if (entry && error == ERROR_SUCCESS) {
      return {{{toWide(entry->filename().string()), *entry}}, ERROR_SUCCESS};
    }
    return {{}, ERROR_FILE_NOT_FOUND};
  }
  const bool isRoot = folder->parent_path() == machine().drive.root();
  Search result{list(*folder, name == L"*.*" ? L"*" : name, isRoot), ERROR_SUCCESS};
  result.error = result.found.empty() ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
  return result;
}

void describe(const Found& entry, WIN32_FIND_DATAW* data) {
  struct stat native {};
  stat(entry.path.c_str(), &native);
  *data = {};
  const bool isFolder = S_ISDIR(native.st_mode);
  data->dwFileAttributes = isFolder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  data->dwFileAttributes |= isReadOnly(entry.path) ? kAttributeReadOnly : 0;
  data->ftCreationTime = creationTimeOf(native);
  data->ftLastAccessTime = accessTimeOf(native);
  data->ftLastWriteTime = writeTimeOf(native);
  const auto size = isFolder ? 0 : static_cast<std::uint64_t>(native.st_size);
  data->nFileSizeHigh = static_cast<DWORD>(size >> 32U);
  data->nFileSizeLow = static_cast<DWORD>(size);
  entry.name.copy(data->cFileName, MAX_PATH - 1);
}

FILETIME fileTime(const std::timespec& native) {
  const std::uint64_t steps =
      (static_cast<std::uint64_t>(native.tv_sec) + kEpochDistanceSeconds) * kStepsPerSecond +
      static_cast<std::uint64_t>(native.tv_nsec) / kNanosecondsPerStep;
  return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32U)};
}

std::uint64_t stepsOf(const FILETIME& time) {
  return static_cast<std::uint64_t>(time.dwHighDateTime) << 32U | time.dwLowDateTime;
}

}  // namespace

FILETIME creationTimeOf(const struct stat& native) {
  const FILETIME access = accessTimeOf(native);
  const FILETIME write = writeTimeOf(native);
  return stepsOf(write) < stepsOf(access) ? write : access;
}

FILETIME accessTimeOf(const struct stat& native) {
  return fileTime(native.st_atim);
}

FILETIME writeTimeOf(const struct stat& native) {
  return fileTime(native.st_mtim);
}

}  // namespace host

using host::Call;
using host::HandleTable;

HANDLE FindFirstFileW(LPCWSTR pattern, LPWIN32_FIND_DATAW data) {
  Call call("FindFirstFileW", pattern);
  if (call.faulted()) {
    return call.returns(INVALID_HANDLE_VALUE);
  }
  const host::Scheduler::Guard guard;
  host::Search search = host::search(pattern == nullptr ? L"" : pattern);
  if (search.error != ERROR_SUCCESS) {
    return call.fails(search.error, INVALID_HANDLE_VALUE);
  }
  auto object = std::make_shared<host::SearchObject>();
  object->found = std::move(search.found);
  host::describe(object->found[object->next++], data);
  return call.returns(HandleTable::instance().add(object, "FindFirstFileW"));
}

BOOL FindNextFileW(HANDLE handle, LPWIN32_FIND_DATAW data) {
  Call call("FindNextFileW", handle);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  const auto object = HandleTable::instance().find<host::SearchObject>(handle, "FindNextFileW");
  if (object == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  if (object->next == object->found.size()) {
    return call.fails(ERROR_NO_MORE_FILES, FALSE);
  }
  host::describe(object->found[object->next++], data);
  return call.returns(TRUE);
}

BOOL FindClose(HANDLE handle) {
  Call call("FindClose", handle);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  HandleTable& handles = HandleTable::instance();
  const auto object = handles.find(handle, "FindClose");
  if (object != nullptr && std::dynamic_pointer_cast<host::SearchObject>(object) == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  if (!handles.close(handle, "FindClose")) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  return call.returns(TRUE);
}

BOOL GetFileTime(HANDLE handle, FILETIME* creation, FILETIME* access, FILETIME* write) {
  Call call("GetFileTime", handle);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  const auto file = HandleTable::instance().find<host::FileObject>(handle, "GetFileTime");
  struct stat native {};
  if (file == nullptr || fstat(file->descriptor, &native) != 0) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  if (creation != nullptr) {
    *creation = host::creationTimeOf(native);
  }
  if (access != nullptr) {
    *access = host::accessTimeOf(native);
  }
  if (write != nullptr) {
    *write = host::writeTimeOf(native);
  }
  return call.returns(TRUE);
}

BOOL FileTimeToSystemTime(const FILETIME* fileTime, LPSYSTEMTIME systemTime) {
  Call call("FileTimeToSystemTime", fileTime == nullptr ? 0 : host::stepsOf(*fileTime));
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (fileTime == nullptr || systemTime == nullptr || host::stepsOf(*fileTime) > host::kLastStep) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  *systemTime =
      host::toSystemTime(static_cast<std::int64_t>(host::stepsOf(*fileTime) / host::kStepsPerMs));
  return call.returns(TRUE);
}

BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* zone, const SYSTEMTIME* universal,
                                     LPSYSTEMTIME local) {
  Call call("SystemTimeToTzSpecificLocalTime", zone);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  // Of the zones only the machine's own is modelled, which a null pointer stands for.
  if (zone != nullptr || universal == nullptr || local == nullptr) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  constexpr std::int64_t kMsPerMinute = 60'000;
  const std::int64_t ahead = host::machine().minutesAheadOfUtc * kMsPerMinute;
  *local = host::toSystemTime(host::toMilliseconds(*universal) + ahead);
  return call.returns(TRUE);
}
