#pragma once

#include <cstdint>

// Owns one block of bytes. It belongs to one thread.
class Buffer {
 public:
  Buffer() = default;
  ~Buffer();

  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  // Allocates the block, uncleared. `size`: its length in bytes.
  // Throws `AssertException` if there is a block already, which then stays, and `std::bad_alloc`.
  void Alloc(unsigned int size);

  // Frees the block. `size` keeps its value.
  void Free();

  // Returns the block, null if there is none; this object keeps it.
  unsigned char* data() { return data_; }
  const unsigned char* data() const { return data_; }

  // Returns the length in bytes of the block allocated last.
  uint32_t size() const { return size_; }

 private:
  unsigned char* data_ = nullptr;
  uint32_t size_ = 0;
};
