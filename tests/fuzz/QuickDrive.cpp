#include "tests/fuzz/QuickDrive.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

#include "platform/host/FileObject.h"
#include "platform/host/Text.h"
#include "platform/win32.h"

// The platform's calls as the linker names them: those of the product come here first, and what is
// not about the folder goes on to the model. The C runtime's removing and renaming is the model's
// up to the last two.
extern "C" {
HANDLE __real__Z14FindFirstFileWPKwP16WIN32_FIND_DATAW(LPCWSTR, WIN32_FIND_DATAW*);
BOOL __real__Z9FindClosePv(HANDLE);
HANDLE __real__Z11CreateFileWPKwjjP19SECURITY_ATTRIBUTESjjPv(LPCWSTR, DWORD, DWORD,
                                                             SECURITY_ATTRIBUTES*, DWORD, DWORD,
                                                             HANDLE);
DWORD __real__Z14SetFilePointerPviPij(HANDLE, LONG, LONG*, DWORD);
BOOL __real__Z8ReadFilePvS_jPjP10OVERLAPPED(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*);
BOOL __real__Z9WriteFilePvPKvjPjP10OVERLAPPED(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*);
BOOL __real__Z11CloseHandlePv(HANDLE);
int __real__Z10_stat64i32PKcP10_stat64i32(const char*, struct _stat64i32*);
DWORD __real__ZN4host10deleteFileEPKw(LPCWSTR);
DWORD __real__ZN4host8moveFileEPKwS1_(LPCWSTR, LPCWSTR);

HANDLE __wrap__Z14FindFirstFileWPKwP16WIN32_FIND_DATAW(LPCWSTR, WIN32_FIND_DATAW*);
BOOL __wrap__Z9FindClosePv(HANDLE);
HANDLE __wrap__Z11CreateFileWPKwjjP19SECURITY_ATTRIBUTESjjPv(LPCWSTR, DWORD, DWORD,
                                                             SECURITY_ATTRIBUTES*, DWORD, DWORD,
                                                             HANDLE);
DWORD __wrap__Z14SetFilePointerPviPij(HANDLE, LONG, LONG*, DWORD);
BOOL __wrap__Z8ReadFilePvS_jPjP10OVERLAPPED(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*);
BOOL __wrap__Z9WriteFilePvPKvjPjP10OVERLAPPED(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*);
BOOL __wrap__Z11CloseHandlePv(HANDLE);
int __wrap__Z10_stat64i32PKcP10_stat64i32(const char*, struct _stat64i32*);
DWORD __wrap__ZN4host10deleteFileEPKw(LPCWSTR);
DWORD __wrap__ZN4host8moveFileEPKwS1_(LPCWSTR, LPCWSTR);
}

namespace fuzz {
namespace {

using Bytes = std::shared_ptr<std::string>;

struct OpenFile {
  Bytes bytes;
  std::size_t place = 0;
};

std::wstring_view theFolder;
std::map<std::wstring, Bytes, std::less<>> theFiles;
std::vector<std::unique_ptr<OpenFile>> theOpenFiles;

bool isQuick(LPCWSTR path) {
  return !theFolder.empty() && std::wstring_view(path).starts_with(theFolder);
}

// Null for a handle that is the model's.
OpenFile* openFile(HANDLE handle) {
  const auto found = std::find_if(theOpenFiles.begin(), theOpenFiles.end(),
                                  [&](const auto& open) { return open.get() == handle; });
  return found == theOpenFiles.end() ? nullptr : found->get();
}

HANDLE give(const Bytes& bytes) {
  theOpenFiles.push_back(std::make_unique<OpenFile>(OpenFile{bytes}));
  return theOpenFiles.back().get();
}

BOOL take(const OpenFile* file) {
  std::erase_if(theOpenFiles, [&](const auto& open) { return open.get() == file; });
  return TRUE;
}

Bytes find(LPCWSTR path) {
  const auto found = theFiles.find(std::wstring_view(path));
  return found == theFiles.end() ? nullptr : found->second;
}

DWORD remove(LPCWSTR path) {
  return theFiles.erase(path) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

DWORD move(LPCWSTR path, LPCWSTR to) {
  if (find(path) == nullptr) {
    return ERROR_FILE_NOT_FOUND;
  }
  if (find(to) != nullptr) {
    return ERROR_ALREADY_EXISTS;
  }
  auto node = theFiles.extract(path);
  node.key() = to;
  theFiles.insert(std::move(node));
  return ERROR_SUCCESS;
}

}  // namespace

QuickDrive::QuickDrive(std::wstring_view folder) {
  theFolder = folder;
}

QuickDrive::~QuickDrive() {
  theFolder = {};
  theFiles.clear();
  theOpenFiles.clear();
}

void QuickDrive::write(const wchar_t* path, std::string_view bytes) {
  theFiles[path] = std::make_shared<std::string>(bytes);
}

std::optional<std::string> QuickDrive::read(const wchar_t* path) {
  const Bytes bytes = find(path);
  return bytes == nullptr ? std::nullopt : std::optional(*bytes);
}

bool QuickDrive::isClosed() {
  return theOpenFiles.empty();
}

}  // namespace fuzz

HANDLE __wrap__Z14FindFirstFileWPKwP16WIN32_FIND_DATAW(LPCWSTR path, WIN32_FIND_DATAW* data) {
  if (!fuzz::isQuick(path)) {
    return __real__Z14FindFirstFileWPKwP16WIN32_FIND_DATAW(path, data);
  }
  const fuzz::Bytes bytes = fuzz::find(path);
  if (bytes == nullptr) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  *data = {};
  data->nFileSizeLow = static_cast<DWORD>(bytes->size());
  return fuzz::give(bytes);
}

BOOL __wrap__Z9FindClosePv(HANDLE search) {
  const fuzz::OpenFile* const file = fuzz::openFile(search);
  return file != nullptr ? fuzz::take(file) : __real__Z9FindClosePv(search);
}

HANDLE __wrap__Z11CreateFileWPKwjjP19SECURITY_ATTRIBUTESjjPv(LPCWSTR path, DWORD access,
                                                             DWORD share,
                                                             SECURITY_ATTRIBUTES* security,
                                                             DWORD creation, DWORD flags,
                                                             HANDLE pattern) {
  if (!fuzz::isQuick(path)) {
    return __real__Z11CreateFileWPKwjjP19SECURITY_ATTRIBUTESjjPv(path, access, share, security,
                                                                 creation, flags, pattern);
  }
  fuzz::Bytes& bytes = fuzz::theFiles[path];
  if (bytes == nullptr) {
    bytes = std::make_shared<std::string>();
  }
  return fuzz::give(bytes);
}

DWORD __wrap__Z14SetFilePointerPviPij(HANDLE handle, LONG distance, LONG* high, DWORD method) {
  fuzz::OpenFile* const file = fuzz::openFile(handle);
  if (file == nullptr) {
    return __real__Z14SetFilePointerPviPij(handle, distance, high, method);
  }
  file->place = method == FILE_END ? file->bytes->size() : 0;
  return static_cast<DWORD>(file->place);
}

BOOL __wrap__Z8ReadFilePvS_jPjP10OVERLAPPED(HANDLE handle, void* buffer, DWORD size, DWORD* read,
                                            OVERLAPPED* overlapped) {
  fuzz::OpenFile* const file = fuzz::openFile(handle);
  if (file == nullptr) {
    return __real__Z8ReadFilePvS_jPjP10OVERLAPPED(handle, buffer, size, read, overlapped);
  }
  *read = static_cast<DWORD>(std::min<std::size_t>(size, file->bytes->size() - file->place));
  std::memcpy(buffer, file->bytes->data() + file->place, *read);
  file->place += *read;
  return TRUE;
}

BOOL __wrap__Z9WriteFilePvPKvjPjP10OVERLAPPED(HANDLE handle, const void* data, DWORD size,
                                              DWORD* written, OVERLAPPED* overlapped) {
  fuzz::OpenFile* const file = fuzz::openFile(handle);
  if (file == nullptr) {
    return __real__Z9WriteFilePvPKvjPjP10OVERLAPPED(handle, data, size, written, overlapped);
  }
  file->bytes->replace(file->place, size, static_cast<const char*>(data), size);
  file->place += size;
  *written = size;
  return TRUE;
}

BOOL __wrap__Z11CloseHandlePv(HANDLE handle) {
  const fuzz::OpenFile* const file = fuzz::openFile(handle);
  return file != nullptr ? fuzz::take(file) : __real__Z11CloseHandlePv(handle);
}

int __wrap__Z10_stat64i32PKcP10_stat64i32(const char* path, struct _stat64i32* status) {
  const std::wstring wide = host::toWide(path);
  if (!fuzz::isQuick(wide.c_str())) {
    return __real__Z10_stat64i32PKcP10_stat64i32(path, status);
  }
  const fuzz::Bytes bytes = fuzz::find(wide.c_str());
  if (bytes == nullptr) {
    return -1;
  }
  *status = {};
  status->st_mode = _S_IFREG;
  status->st_size = static_cast<std::int32_t>(bytes->size());
  return 0;
}

DWORD __wrap__ZN4host10deleteFileEPKw(LPCWSTR path) {
  return fuzz::isQuick(path) ? fuzz::remove(path) : __real__ZN4host10deleteFileEPKw(path);
}

DWORD __wrap__ZN4host8moveFileEPKwS1_(LPCWSTR path, LPCWSTR to) {
  return fuzz::isQuick(path) ? fuzz::move(path, to) : __real__ZN4host8moveFileEPKwS1_(path, to);
}
