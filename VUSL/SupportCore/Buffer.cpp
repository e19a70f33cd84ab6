#include "VUSL/SupportCore/Buffer.h"

#include "VUSL/Support/AssertException.h"

Buffer::~Buffer() {
  Free();
}

void Buffer::Alloc(unsigned int size) {
  if (data_ != nullptr) {
    throw AssertException("Alloc may be called only on not initialized Buffer");
  }
  size_ = size;
  data_ = new unsigned char[size];
}

void Buffer::Free() {
  delete[] data_;
  data_ = nullptr;
}
