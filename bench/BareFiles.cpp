// The file calls beneath the configuration, as thin as the system beneath allows: each is the one
// or two calls of that system that do the same. Over the model a look-up of a name walks the drive
// without regard to case, which for a small file costs more than all that is measured here.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/win32.h"

namespace {

constexpr mode_t kFileMode = 0644;

thread_local DWORD lastError = 0;

// What is measured here has ASCII paths alone.
std::string native(LPCWSTR path) {
  std::string text;
  for (; *path != L'\0'; ++path) text += static_cast<char>(*path);
  return text;
}

// Notes why the last call of the system failed, or that it did not.
bool succeeds(bool done) {
  lastError = done ? ERROR_SUCCESS : errno == ENOENT ? ERROR_FILE_NOT_FOUND : ERROR_ACCESS_DENIED;
  return done;
}

// A null handle is none, so descriptors are counted from 1.
HANDLE toHandle(int descriptor) {
  return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(descriptor) + 1);
}

int toDescriptor(HANDLE handle) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(handle) - 1);
}

}  // namespace

DWORD GetLastError() {
  return lastError;
}

// A search here is over with its first call: nothing is kept for it.
HANDLE FindFirstFileW(LPCWSTR path, LPWIN32_FIND_DATAW data) {
  struct stat status {};
  if (!succeeds(stat(native(path).c_str(), &status) == 0)) return INVALID_HANDLE_VALUE;
  data->nFileSizeLow = static_cast<DWORD>(status.st_size);
  return toHandle(0);
}

BOOL FindClose(HANDLE) {
  return TRUE;
}

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
  const int flags = O_CLOEXEC | O_CREAT | ((access & GENERIC_WRITE) != 0 ? O_RDWR : O_RDONLY);
  const int descriptor = open(native(path).c_str(), flags, kFileMode);
  return succeeds(descriptor >= 0) ? toHandle(descriptor) : INVALID_HANDLE_VALUE;
}

DWORD SetFilePointer(HANDLE file, LONG distance, PLONG, DWORD method) {
  const off_t place = lseek(toDescriptor(file), distance, method == FILE_END ? SEEK_END : SEEK_SET);
  return succeeds(place >= 0) ? static_cast<DWORD>(place) : INVALID_SET_FILE_POINTER;
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED) {
  const ssize_t got = read(toDescriptor(file), buffer, size);
  *done = got < 0 ? 0 : static_cast<DWORD>(got);
  return succeeds(got >= 0) ? TRUE : FALSE;
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED) {
  const ssize_t put = write(toDescriptor(file), buffer, size);
  *done = put < 0 ? 0 : static_cast<DWORD>(put);
  return succeeds(put >= 0) ? TRUE : FALSE;
}

BOOL CloseHandle(HANDLE file) {
  return succeeds(close(toDescriptor(file)) == 0) ? TRUE : FALSE;
}

BOOL DeleteFileW(LPCWSTR path) {
  return succeeds(unlink(native(path).c_str()) == 0) ? TRUE : FALSE;
}

BOOL MoveFileW(LPCWSTR path, LPCWSTR newPath) {
  return succeeds(std::rename(native(path).c_str(), native(newPath).c_str()) == 0) ? TRUE : FALSE;
}

int _stat64i32(const char* path, struct _stat64i32* status) {
  struct stat found {};
  if (!succeeds(stat(path, &found) == 0)) return -1;
  status->st_size = static_cast<decltype(status->st_size)>(found.st_size);
  return 0;
}
