// Files of the machine's drive.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <vector>

#include "platform/host/Call.h"
#include "platform/host/DriveLimits.h"
#include "platform/host/FileObject.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kErrorGeneralFailure = 31;
constexpr DWORD kErrorWriteProtected = 19;
constexpr DWORD kErrorTooManyOpenFiles = 4;
constexpr DWORD kErrorFileExists = 80;
constexpr mode_t kFileMode = 0644;
constexpr std::int64_t kFourGiB = std::int64_t{1} << 32U;

std::vector<std::weak_ptr<FileObject>>& openFiles() {
  static auto* files = new std::vector<std::weak_ptr<FileObject>>;
  return *files;
}

bool asksToWrite(DWORD access) {
  return (access & (GENERIC_WRITE | FILE_APPEND_DATA)) != 0;
}

// Whether what is open already and what is asked for let each other be.
bool sharingAllows(const fs::path& path, DWORD access, DWORD share) {
  const bool reads = (access & GENERIC_READ) != 0;
  const bool writes = asksToWrite(access);
  for (const auto& weak : openFiles()) {
    const auto file = weak.lock();
    if (file == nullptr || file->path != path) {
      continue;
    }
    if ((reads && (file->share & FILE_SHARE_READ) == 0) ||
        (writes && (file->share & FILE_SHARE_WRITE) == 0) ||
        (file->mayRead() && (share & FILE_SHARE_READ) == 0) ||
        (file->mayAppend() && (share & FILE_SHARE_WRITE) == 0)) {
      return false;
    }
  }
  return true;
}

// An open file can be neither deleted nor moved, unless its opener allowed for that.
bool isHeldOpen(const fs::path& path) {
  for (const auto& weak : openFiles()) {
    const auto file = weak.lock();
    if (file != nullptr && file->path == path && (file->share & FILE_SHARE_DELETE) == 0) {
      return true;
    }
  }
  return false;
}

// Where a file stands, or would stand if it were made, and what there is now.
struct Target {
  fs::path path;
  bool exists = false;
  DWORD error = ERROR_SUCCESS;  // with one the path means nothing
};

Target targetOf(LPCWSTR name) {
  if (name == nullptr) {
    return {{}, false, ERROR_PATH_NOT_FOUND};
  }
  DWORD error = 0;
  const auto place = machine().drive.locate(name, &error);
  if (!place) {
    return {{}, false, error};
  }
  return {*place, error == ERROR_SUCCESS, ERROR_SUCCESS};
}

// What the disposition says about a file that is there, or is not.
DWORD checkDisposition(DWORD disposition, bool exists) {
  switch (disposition) {
    case CREATE_NEW:
      return exists ? kErrorFileExists : ERROR_SUCCESS;
    case OPEN_EXISTING:
      return exists ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    case CREATE_ALWAYS:
    case OPEN_ALWAYS:
      return ERROR_SUCCESS;
    default:
      return ERROR_INVALID_PARAMETER;
  }
}

int nativeFlags(DWORD access, DWORD disposition) {
  const bool writes = asksToWrite(access);
  int flags = O_CLOEXEC | (writes ? O_RDWR : O_RDONLY);
  flags |= disposition == OPEN_EXISTING ? 0 : O_CREAT;
  flags |= disposition == CREATE_ALWAYS ? O_TRUNC : 0;
  return flags;
}

// Where the pointer would come to; below 0 if that is before the file's start.
std::int64_t destination(const FileObject& file, std::int64_t distance, DWORD method) {
  if (method == FILE_BEGIN) {
    return distance;
  }
  if (method == FILE_CURRENT) {
    return file.pointer + distance;
  }
  struct stat native {};
  fstat(file.descriptor, &native);
  return native.st_size + distance;
}

std::uint64_t sizeOf(const fs::path& path) {
  struct stat native {};
  return stat(path.c_str(), &native) == 0 ? static_cast<std::uint64_t>(native.st_size) : 0;
}

// How far a write of `size` bytes at the pointer would reach behind the file's end.
std::uint64_t growthBy(const FileObject& file, DWORD size) {
  const std::int64_t end = destination(file, 0, FILE_END);
  return static_cast<std::uint64_t>(std::max<std::int64_t>(file.pointer + size - end, 0));
}

// The handle, with the last error that tells whether the file had been there.
HANDLE openFile(Call& call, const Target& target, DWORD access, DWORD share, DWORD disposition) {
  const std::uint64_t emptied =
      target.exists && disposition == CREATE_ALWAYS ? sizeOf(target.path) : 0;
  const int descriptor = openQuietly(target.path, nativeFlags(access, disposition), kFileMode);
  if (descriptor < 0) {
    return call.fails(errorForNative(errno), INVALID_HANDLE_VALUE);
  }
  driveLimits().giveBack(emptied);
  if (!target.exists) {
    Drive::stamp(target.path, machine().utcMs());
  } else if (disposition == CREATE_ALWAYS) {
    stampWrite(target.path, machine().utcMs());
  }
  auto file = std::make_shared<FileObject>(target.path, descriptor, access, share);
  std::erase_if(openFiles(), [](const auto& weak) { return weak.expired(); });
  openFiles().push_back(file);
  const bool reused = target.exists && (disposition == OPEN_ALWAYS || disposition == CREATE_ALWAYS);
  setLastError(reused ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return call.returns(HandleTable::instance().add(std::move(file), "CreateFileW"));
}

// Names come as the program gives them; a trailing separator asks for a folder.
bool asksForFolder(LPCWSTR name) {
  const std::wstring_view text(name);
  return !text.empty() && (text.back() == L'\\' || text.back() == L'/');
}

}  // namespace

void stampWrite(const fs::path& file, std::int64_t utcMs) {
  constexpr std::int64_t kEpochDistanceMs = 11'644'473'600'000;
  const std::int64_t nativeMs = utcMs - kEpochDistanceMs;
  const std::timespec times[] = {{0, UTIME_OMIT}, {nativeMs / 1000, nativeMs % 1000 * 1'000'000}};
  utimensat(AT_FDCWD, file.c_str(), times, 0);
}

int openQuietly(const fs::path& file, int flags, mode_t mode) {
  const int descriptor = open(file.c_str(), flags | O_NOATIME, mode);
  // Only a file's owner may ask for that.
  return descriptor < 0 && errno == EPERM ? open(file.c_str(), flags, mode) : descriptor;
}

FileObject::~FileObject() {
  close(descriptor);
}

DWORD errorForNative(int native) {
  switch (native) {
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EISDIR:
      return ERROR_ACCESS_DENIED;
    case EMFILE:
    case ENFILE:
      return kErrorTooManyOpenFiles;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ERROR_DISK_FULL;
    case EROFS:
      return kErrorWriteProtected;
    default:
      return kErrorGeneralFailure;
  }
}

DWORD deleteFile(LPCWSTR name) {
  const Target target = targetOf(name);
  if (target.error != ERROR_SUCCESS) {
    return target.error;
  }
  if (!target.exists) {
    return ERROR_FILE_NOT_FOUND;
  }
  std::error_code ignored;
  if (fs::is_directory(target.path, ignored)) {
    return ERROR_ACCESS_DENIED;
  }
  if (driveLimits().denies(target.path) || isReadOnly(target.path)) {
    return ERROR_ACCESS_DENIED;
  }
  if (isHeldOpen(target.path)) {
    return ERROR_SHARING_VIOLATION;
  }
  const std::uint64_t bytes = sizeOf(target.path);
  if (unlink(target.path.c_str()) != 0) {
    return errorForNative(errno);
  }
  driveLimits().giveBack(bytes);
  return ERROR_SUCCESS;
}

DWORD moveFile(LPCWSTR existingName, LPCWSTR newName) {
  const Target source = targetOf(existingName);
  if (source.error != ERROR_SUCCESS) {
    return source.error;
  }
  if (!source.exists) {
    return ERROR_FILE_NOT_FOUND;
  }
  const Target target = targetOf(newName);
  if (target.error != ERROR_SUCCESS) {
    return target.error;
  }
  if (target.exists && target.path != source.path) {
    return ERROR_ALREADY_EXISTS;
  }
  if (driveLimits().denies(source.path) || driveLimits().denies(target.path)) {
    return ERROR_ACCESS_DENIED;
  }
  if (isHeldOpen(source.path)) {
    return ERROR_SHARING_VIOLATION;
  }
  // A move onto itself changes at most the case of the name.
  const std::wstring absolute = Drive::normalized(newName, machine().currentDirectory);
  const fs::path place =
      target.path.parent_path() / toUtf8(absolute.substr(absolute.rfind(L'\\') + 1));
  std::error_code error;
  fs::rename(source.path, place, error);
  return error ? errorForNative(error.value()) : ERROR_SUCCESS;
}

}  // namespace host

using host::Call;
using host::FileObject;
using host::HandleTable;

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes,
                   DWORD disposition, DWORD flags, HANDLE templateFile) {
  Call call("CreateFileW", name, access, share, attributes, disposition, flags, templateFile);
  if (call.faulted()) {
    return call.returns(INVALID_HANDLE_VALUE);
  }
  const host::Scheduler::Guard guard;
  const host::Target target = host::targetOf(name);
  if (target.error != ERROR_SUCCESS) {
    return call.fails(target.error, INVALID_HANDLE_VALUE);
  }
  if (const DWORD error = host::checkDisposition(disposition, target.exists)) {
    return call.fails(error, INVALID_HANDLE_VALUE);
  }
  std::error_code ignored;
  if (std::filesystem::is_directory(target.path, ignored)) {
    return call.fails(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
  }
  if (host::asksForFolder(name)) {
    return call.fails(ERROR_INVALID_NAME, INVALID_HANDLE_VALUE);
  }
  const bool changes = host::asksToWrite(access) || disposition == CREATE_ALWAYS;
  if (host::driveLimits().denies(target.path) || (changes && host::isReadOnly(target.path))) {
    return call.fails(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
  }
  if (!host::sharingAllows(target.path, access, share)) {
    return call.fails(ERROR_SHARING_VIOLATION, INVALID_HANDLE_VALUE);
  }
  return host::openFile(call, target, access, share, disposition);
}

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD size, LPDWORD read, LPOVERLAPPED overlapped) {
  Call call("ReadFile", handle, size, overlapped);
  if (read != nullptr) {
    *read = 0;
  }
  if (call.faulted() && call.fault() != ERROR_SUCCESS) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  const auto file = HandleTable::instance().find<FileObject>(handle, "ReadFile");
  if (file == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  if (!file->mayRead()) {
    return call.fails(ERROR_ACCESS_DENIED, FALSE);
  }
  if (read == nullptr) {
    host::Ledger::instance().violation("ReadFile: nowhere to put the number of bytes");
  }
  // A read that is told to fail with no error ends halfway.
  size = call.faulted() ? size / 2 : size;
  DWORD done = 0;
  while (done < size) {
    const ssize_t got =
        pread(file->descriptor, static_cast<char*>(buffer) + done, size - done, file->pointer);
    if (got < 0 && errno != EINTR) {
      return call.fails(host::errorForNative(errno), FALSE);
    }
    if (got == 0) {
      break;
    }
    done += got > 0 ? static_cast<DWORD>(got) : 0;
    file->pointer += got > 0 ? got : 0;
  }
  if (read != nullptr) {
    *read = done;
  }
  return call.returns(TRUE);
}

BOOL WriteFile(HANDLE handle, LPCVOID buffer, DWORD size, LPDWORD written,
               LPOVERLAPPED overlapped) {
  Call call("WriteFile", handle, size, overlapped);
  if (written != nullptr) {
    *written = 0;
  }
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  const auto file = HandleTable::instance().find<FileObject>(handle, "WriteFile");
  if (file == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  if (!file->mayAppend()) {
    return call.fails(ERROR_ACCESS_DENIED, FALSE);
  }
  if (written == nullptr) {
    host::Ledger::instance().violation("WriteFile: nowhere to put the number of bytes");
  }
  if (!file->mayWrite()) {
    file->pointer = host::destination(*file, 0, FILE_END);
  }
  const std::uint64_t growth = host::growthBy(*file, size);
  const DWORD fitting = host::driveLimits().fitting(size, growth);
  if (fitting == 0 && size > 0) {
    return call.fails(ERROR_DISK_FULL, FALSE);
  }
  host::driveLimits().take(growth);
  DWORD done = 0;
  while (done < fitting) {
    const ssize_t put = pwrite(file->descriptor, static_cast<const char*>(buffer) + done,
                               fitting - done, file->pointer);
    if (put < 0 && errno != EINTR) {
      return call.fails(host::errorForNative(errno), FALSE);
    }
    done += put > 0 ? static_cast<DWORD>(put) : 0;
    file->pointer += put > 0 ? put : 0;
  }
  if (size > 0) {
    host::stampWrite(file->path, host::machine().utcMs());
  }
  if (written != nullptr) {
    *written = done;
  }
  return call.returns(TRUE);
}

DWORD SetFilePointer(HANDLE handle, LONG distance, PLONG distanceHigh, DWORD method) {
  Call call("SetFilePointer", handle, distance, distanceHigh, method);
  if (call.faulted()) {
    return call.returns(INVALID_SET_FILE_POINTER);
  }
  const host::Scheduler::Guard guard;
  const auto file = HandleTable::instance().find<FileObject>(handle, "SetFilePointer");
  if (file == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, INVALID_SET_FILE_POINTER);
  }
  if (method > FILE_END) {
    return call.fails(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
  }
  std::int64_t whole = distance;
  if (distanceHigh != nullptr) {
    // With a high word the low one has no sign of its own.
    whole = static_cast<std::int64_t>(static_cast<std::uint64_t>(*distanceHigh) << 32U |
                                      static_cast<DWORD>(distance));
  }
  const std::int64_t position = host::destination(*file, whole, method);
  if (position < 0) {
    return call.fails(ERROR_NEGATIVE_SEEK, INVALID_SET_FILE_POINTER);
  }
  // Without a place for its high word a position beyond 4 GiB cannot be told: nothing is moved.
  if (distanceHigh == nullptr && position >= host::kFourGiB) {
    return call.fails(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
  }
  file->pointer = position;
  if (distanceHigh != nullptr) {
    *distanceHigh = static_cast<LONG>(position >> 32U);
  }
  const auto low = static_cast<DWORD>(position);
  if (low == INVALID_SET_FILE_POINTER) {
    // This position looks like a failure; the last error tells it from one.
    host::setLastError(ERROR_SUCCESS);
  }
  return call.returns(low);
}

BOOL DeleteFileW(LPCWSTR name) {
  Call call("DeleteFileW", name);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  if (const DWORD error = host::deleteFile(name)) {
    return call.fails(error, FALSE);
  }
  return call.returns(TRUE);
}

BOOL MoveFileW(LPCWSTR existingName, LPCWSTR newName) {
  Call call("MoveFileW", existingName, newName);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  if (const DWORD error = host::moveFile(existingName, newName)) {
    return call.fails(error, FALSE);
  }
  return call.returns(TRUE);
}
