#pragma once

#include <unistd.h>

#include <utility>

namespace runner {

// Owner of a file descriptor, closed with the object. Cannot be copied.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int value) : value_(value) {}
  ~Descriptor() { reset(); }
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      reset();
      value_ = std::exchange(other.value_, -1);
    }
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  // The descriptor, or -1 if there is none.
  int get() const { return value_; }
  bool isOpen() const { return value_ >= 0; }

  void reset() {
    if (value_ >= 0) {
      close(value_);
      value_ = -1;
    }
  }

 private:
  int value_ = -1;
};

}  // namespace runner
