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

// The drive keeps one time for a file, that of its last write; it stands for the two others too.
FILETIME timeOf(const struct stat& native);

// The error for what a native call left in errno.
DWORD errorForNative(int native);

// What deleting and moving come to: 0 or the error. The caller holds the guard.
DWORD deleteFile(LPCWSTR name);
DWORD moveFile(LPCWSTR existingName, LPCWSTR newName);

}  // namespace host
