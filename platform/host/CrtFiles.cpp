// The C runtime's calls on files of the machine's drive, on narrow names.

#include <sys/stat.h>

#include <cstdio>
#include <system_error>

#include "platform/host/Call.h"
#include "platform/host/FileObject.h"
#include "platform/host/Machine.h"

extern "C" {
int __real_remove(const char* path);
int __real_rename(const char* path, const char* newPath);
int __wrap_remove(const char* path);
int __wrap_rename(const char* path, const char* newPath);
}

namespace {

int errnoFor(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
      return EACCES;
    case ERROR_ALREADY_EXISTS:
      return EEXIST;
    default:
      return EINVAL;
  }
}

int finish(host::Call& call, DWORD error) {
  if (error == ERROR_SUCCESS) {
    return call.returns(0);
  }
  host::setLastError(error);
  errno = errnoFor(error);
  return call.returns(-1);
}

// No path of the machine begins with a slash: such a one is native, as those of the test framework
// are.
bool isNative(const char* path) {
  return path != nullptr && *path == '/';
}

}  // namespace

int _stat64i32(const char* path, struct _stat64i32* status) {
  host::Call call("_stat64i32", path);
  if (call.faulted()) {
    return finish(call, call.fault());
  }
  const host::Scheduler::Guard guard;
  DWORD error = 0;
  const auto place = host::machine().drive.locate(host::toWide(path), &error);
  struct stat native {};
  if (error != ERROR_SUCCESS || stat(place->c_str(), &native) != 0) {
    return finish(call, error != ERROR_SUCCESS ? error : ERROR_FILE_NOT_FOUND);
  }
  status->st_mode = S_ISDIR(native.st_mode) ? _S_IFDIR : _S_IFREG;
  status->st_size = static_cast<std::int32_t>(native.st_size);
  return call.returns(0);
}

int __wrap_remove(const char* path) {
  if (isNative(path)) {
    return __real_remove(path);
  }
  host::Call call("remove", path);
  if (call.faulted()) {
    return finish(call, call.fault());
  }
  const host::Scheduler::Guard guard;
  return finish(call, host::deleteFile(host::toWide(path).c_str()));
}

int __wrap_rename(const char* path, const char* newPath) {
  if (isNative(path)) {
    return __real_rename(path, newPath);
  }
  host::Call call("rename", path, newPath);
  if (call.faulted()) {
    return finish(call, call.fault());
  }
  const host::Scheduler::Guard guard;
  return finish(call, host::moveFile(host::toWide(path).c_str(), host::toWide(newPath).c_str()));
}
