#include "VUSL/SupportCore/File.h"

#include <cstring>
#include <exception>
#include <new>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/SharedTexts.h"
#include "VUSL/SupportCore/Buffer.h"
#include "VUSL/SupportCore/BufferWriter.h"

namespace vusl {

namespace {

constexpr DWORD kAppendAccess = GENERIC_READ | GENERIC_WRITE | FILE_APPEND_DATA;
constexpr DWORD kShareMode = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr char kInvalidData[] = "Invalid data passed";
constexpr char kLastError[] = "Last error: ";

}  // namespace

File::File(const string_t& path) : name(path) {}

File::~File() {
  try {
    // Only this class's own part of the object is left by now.
    File::close();
  } catch (const std::exception& e) {
    LogItem("~File").error() << kUnexpectedError << e.what();
  }
}

uint32_t File::getSize() const {
  return getSize(name);
}

uint32_t File::getSize(const string_t& path) {
  WIN32_FIND_DATAW data{};
  HANDLE const search = FindFirstFileW(path.c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) {
      return 0;
    }
    throw Exception("getSize") << "Failed to read size of file: " << Narrow(path)
                               << ", error: " << error;
  }
  FindClose(search);
  return data.nFileSizeLow;
}

bool File::exists() const {
  WIN32_FIND_DATAW data{};
  HANDLE const search = FindFirstFileW(name.c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) {
    return false;
  }
  FindClose(search);
  return true;
}

void File::open(DWORD access, DWORD moveMethod) {
  if (isOpen()) {
    return;
  }
  handle = CreateFileW(name.c_str(), access, kShareMode, nullptr, OPEN_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
  if (!isOpen()) {
    const DWORD error = GetLastError();
    throw Exception() << "Error when opening file " << Narrow(name) << " Last error: " << error;
  }
  if (SetFilePointer(handle, 0, nullptr, moveMethod) == INVALID_SET_FILE_POINTER) {
    // The end of a file of 4 GiB less one byte looks like a failure, and there is no error then.
    if (const DWORD error = GetLastError(); error != ERROR_SUCCESS) {
      throw Exception() << "Error when moving to end of file " << Narrow(name) << error;
    }
  }
}

void File::write(const void* data, unsigned int size) {
  if (data == nullptr) {
    throw AssertException(kInvalidData);
  }
  open(kAppendAccess, FILE_END);
  DWORD written = 0;
  if (WriteFile(handle, data, size, &written, nullptr) == FALSE) {
    const DWORD error = GetLastError();
    throw Exception() << "Error when writing " << size << " bytes to file " << Narrow(name)
                      << kLastError << error;
  }
}

void File::read(void* data, unsigned int size) {
  if (data == nullptr) {
    throw AssertException(kInvalidData);
  }
  if (size > getSize()) {
    throw AssertException("Invalid size passed");
  }
  close();
  open(GENERIC_READ, FILE_BEGIN);
  DWORD readSize = 0;
  if (ReadFile(handle, data, size, &readSize, nullptr) == FALSE) {
    const DWORD error = GetLastError();
    throw Exception() << "Error when reading file " << Narrow(name) << kLastError << error;
  }
}

void File::close() {
  if (!isOpen()) {
    return;
  }
  const BOOL closed = CloseHandle(handle);
  handle = nullptr;
  if (closed == FALSE) {
    const DWORD error = GetLastError();
    // "Error" has its capital here alone. That is deliberate: readers of the log search for it.
    throw Exception() << "Error when closing file " << Narrow(name) << "Last Error: " << error;
  }
}

void File::remove() {
  close();
  if (DeleteFileW(name.c_str()) == FALSE) {
    const DWORD error = GetLastError();
    throw Exception() << "Error when deleting file: " << Narrow(name) << kLastError << error;
  }
}

void File::rename(const string_t& newName) {
  close();
  if (MoveFileW(name.c_str(), newName.c_str()) == FALSE) {
    const DWORD error = GetLastError();
    throw Exception() << "Error when renaming file from " << Narrow(name) << " to "
                      << Narrow(newName) << kLastError << error;
  }
}

void File::readAll(Buffer& destination) {
  if (destination.data() != nullptr) {
    throw AssertException("Invalid destination passed");
  }
  if (!exists()) {
    throw AssertException("File does not exist");
  }
  const uint32_t size = getSize();
  if (size == 0) {
    return;
  }
  const auto clearDestination = [&] {
    if (destination.data() != nullptr) {
      std::memset(destination.data(), 0, destination.size());
    }
  };
  try {
    std::vector<unsigned char> scratch(size);
    destination.Alloc(size);
    read(scratch.data(), size);
    BufferWriter(destination).writeRaw(scratch.data(), size);
  } catch (const Exception& e) {
    clearDestination();
    throw Exception(e);
  } catch (...) {
    clearDestination();
    throw std::runtime_error("Unrecognized type of exception occured");
  }
}

void File::readAll(std::stringstream& destination) {
  Buffer content;
  readAll(content);
  close();
  if (content.data() == nullptr) {
    return;
  }
  const bool wasGood = destination.good();
  destination.write(reinterpret_cast<const char*>(content.data()), content.size());
  // A stream keeps to itself that its memory ran out, and the file would seem to be shorter.
  if (wasGood && destination.bad()) {
    throw std::bad_alloc();
  }
}

}  // namespace vusl
