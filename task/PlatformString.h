#pragma once

#include <string>

#include "platform/win32.h"

// A reference-counted BSTR: copies share one string of the platform, and the last of them frees it.
// Copies belong to one thread together.
class PlatformString {
 public:
  // Allocates a copy of `text`, which ends at its first zero character. The empty text is allocated
  // like any other. Throws ComError(E_OUTOFMEMORY) if there is no memory, the platform's or its
  // own.
  explicit PlatformString(const std::wstring& text);

  // Shares the string of `other`, and lets go of what it had before; the last copy frees it.
  PlatformString(const PlatformString& other);
  PlatformString& operator=(const PlatformString& other);
  ~PlatformString();

  // The string, never null; it stays this object's.
  BSTR Get() const { return m_shared->text; }

  // A VARIANT of type BSTR that borrows the string: it is not to be cleared, and not to be used
  // after this object.
  VARIANT AsVariant() const;

 private:
  struct Shared {
    BSTR text;
    unsigned references;
  };

  void release();

  Shared* m_shared;
};

// A VARIANT that holds nothing.
VARIANT EmptyVariant();
