#pragma once

#include <string>

#include "VUSL/Support/BaseException.h"

// A broken rule of our own: a null outlet, an invalid position. It is a sibling of `Exception`, so
// a clause for `Exception` does not catch it.
class AssertException : public BaseException {
 public:
  // `what()` returns exactly `text`.
  explicit AssertException(const std::string& text) : BaseException(text) {}
};
