#pragma once

#include <cstdint>
#include <iosfwd>

#include "VUSL/Support/Text.h"
#include "VUSL/SupportCore/FileBase.h"
#include "platform/win32.h"

class Buffer;

namespace vusl {

// A file of the platform, opened when first needed, appended to when written, closed at the end.
// It has no lock: whoever shares one takes a lock of their own. A failure of the platform is an
// `Exception` with the error code in its text, a wrong use an `AssertException`.
class File : public FileBase {
 public:
  // `path`: where the file is. Opens nothing.
  explicit File(const string_t& path);

  // Closes the file. A failure is logged.
  ~File() override;

  uint32_t getSize() const override;

  // Returns the low 32 bits of the size of the file at `path`, 0 if there is none.
  static uint32_t getSize(const string_t& path);

  bool exists() const override;
  void close() override;

  // Reads from the start of the file, which must hold at least `size` bytes. A file that does not
  // exist is created by reading 0 bytes of it.
  void read(void* data, unsigned int size) override;

  // Appends `size` bytes. The file is created if need be and stays open.
  void write(const void* data, unsigned int size);

  // Opens the file, creating it if need be; does nothing if it is open, whatever its access.
  // `access`: the platform's access rights. `moveMethod`: where to stand: FILE_BEGIN or
  //     FILE_END.
  void open(DWORD access, DWORD moveMethod);

  // Closes and deletes the file.
  void remove();

  // Closes the file and moves it. This object keeps standing for the old path.
  void rename(const string_t& newName);

  // Allocates `destination`, which must be empty, and fills it with the whole file, which must
  // exist. An empty file leaves it as it was. If reading fails, `destination` stays allocated and
  // holds zeros.
  void readAll(Buffer& destination);

  // Appends the whole file, which must exist, to a stream, and closes the file. Throws
  // `std::bad_alloc` if the stream finds no memory for it.
  void readAll(std::stringstream& destination);

  // Returns whether the file is open.
  bool isOpen() const { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }

 private:
  string_t name;
  HANDLE handle = nullptr;
};

}  // namespace vusl
