#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>

#include "platform/host/Handles.h"
#include "platform/host/windows/Files.h"

namespace host {

// An open file of the machine's drive. Owns the native descriptor.
class FileObject final : public KernelObject {
 public:
  FileObject(std::filesystem::path nativePath, int native, DWORD granted, DWORD shared)
      : path(std::move(nativePath)), descriptor(native), access(granted), share(shared) {}
  ~FileObject() override;
  FileObject(const FileObject&) = delete;
  FileObject& operator=(const FileObject&) = delete;

  const char* kind() const override { return "file"; }

  bool mayRead() const { return (access & GENERIC_READ) != 0; }
  // To write is to put bytes where the pointer is; to append alone puts them at the end.
  bool mayWrite() const { return (access & GENERIC_WRITE) != 0; }
  bool mayAppend() const { return mayWrite() || (access & FILE_APPEND_DATA) != 0; }

  const std::filesystem::path path;
  const int descriptor;
  const DWORD access;
  const DWORD share;
  std::int64_t pointer = 0;
};

// A file's times. Reading a file does not touch its last access, as is the platform's default, so
// that time is the creation's too, unless the last write is earlier: then that is. So a clock that
// is set back ahead of a write moves the creation too, for which nobody asks.
FILETIME creationTimeOf(const struct stat& native);
FILETIME accessTimeOf(const struct stat& native);
FILETIME writeTimeOf(const struct stat& native);

// Sets the time of the last write alone, in milliseconds since 1601, UTC. A failure is not
// reported.
void stampWrite(const std::filesystem::path& file, std::int64_t utcMs);

// Opens natively without moving the time of the last access.
int openQuietly(const std::filesystem::path& file, int flags, mode_t mode = 0);

// The error for what a native call left in errno.
DWORD errorForNative(int native);

// What deleting and moving come to: 0 or the error. The caller holds the guard.
DWORD deleteFile(LPCWSTR name);
DWORD moveFile(LPCWSTR existingName, LPCWSTR newName);

}  // namespace host
