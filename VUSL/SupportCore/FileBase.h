#pragma once

#include <cstdint>

namespace vusl {

// What every kind of file can do. Used by one thread at a time; failures are exceptions.
class FileBase {
 public:
  virtual ~FileBase() = default;

  // Returns the low 32 bits of the size in bytes, 0 for a file that does not exist.
  virtual uint32_t getSize() const = 0;

  // Returns whether the file exists.
  virtual bool exists() const = 0;

  // Closes the file if it is open.
  virtual void close() = 0;

  // Fills `data` with the first `size` bytes of the file.
  virtual void read(void* data, unsigned int size) = 0;

 protected:
  FileBase() = default;
  FileBase(const FileBase&) = delete;
  FileBase& operator=(const FileBase&) = delete;
};

}  // namespace vusl
