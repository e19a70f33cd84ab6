#pragma once

#include <string_view>

#include "platform/win32.h"

namespace fuzz {

// A value of the registry that is read without the model's store, while the object lives: a query
// of any value of its key is answered with these bytes, and all others by the model. There is one
// at a time.
class QuickValue {
 public:
  // The bytes must outlive the object.
  explicit QuickValue(std::string_view bytes);
  ~QuickValue();
  QuickValue(const QuickValue&) = delete;
  QuickValue& operator=(const QuickValue&) = delete;

  static HKEY key();
};

}  // namespace fuzz
