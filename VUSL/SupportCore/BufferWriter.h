#pragma once

#include <cstdint>

#include "VUSL/SupportCore/Buffer.h"
#include "platform/win32.h"

// Fills a block of bytes from its start, never beyond its end. It does not own the block and
// belongs to the block's thread.
class BufferWriter {
 public:
  // Writes into the block of `target`, which must outlive this object and keep its block.
  explicit BufferWriter(Buffer& target);

  // Writes into `targetSize` bytes at `target`.
  BufferWriter(void* target, uint32_t targetSize);

  // Appends `size` bytes. Returns this writer.
  // Throws `AssertException` if the position lies beyond the end, `vusl::BufferWriterException` if
  // the bytes do not fit, and `std::exception` if they cannot be copied, which is logged. The
  // position stays then.
  BufferWriter& writeRaw(const void* source, unsigned int size);

  // Returns where the next byte goes.
  uint32_t currentPos() const { return currentPos_; }

  // Moves to another position; the next write checks it.
  void setCurrentPos(uint32_t position) { currentPos_ = position; }

 private:
  [[noreturn]] static void failForPosition();
  [[noreturn]] static void failForRoom(unsigned int size, uint32_t room);
  [[noreturn]] static void failToCopy();

  unsigned char* data;
  uint32_t currentPos_ = 0;
  uint32_t capacity;
};

// Here, with its failures apart: the caller's compiler then keeps the position at hand, and a write
// that succeeds pays nothing for the texts of those that do not. For 1 KiB the two were a third of
// the copy.
inline BufferWriter& BufferWriter::writeRaw(const void* source, unsigned int size) {
  if (currentPos_ > capacity) failForPosition();
  const uint32_t room = capacity - currentPos_;
  if (size > room) failForRoom(size, room);
  if (memcpy_s(data + currentPos_, room, source, size) != 0) failToCopy();
  currentPos_ += size;
  return *this;
}
