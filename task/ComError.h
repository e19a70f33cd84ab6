#pragma once

#include "platform/win32.h"

// A failure of COM that is told as an exception, by value. It is of no family: only a handler for
// everything catches it, and none of this room does.
class ComError {
 public:
  explicit ComError(HRESULT error) : m_error(error) {}

  HRESULT Error() const { return m_error; }

 private:
  HRESULT m_error;
};
