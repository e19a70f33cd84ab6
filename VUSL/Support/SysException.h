#pragma once

#include <string>

#include "VUSL/Support/Exception.h"
#include "platform/win32.h"

// A failed call to Windows. The thread's last error is taken when the object is built, so nothing
// may come between the failed call and the building that could change it.
//
// `what()` is the streamed text alone and never holds the system's words for the error: an object
// with no location and no text logs as an empty string. The system's words are for `errorText()`.
class SysException : public ExceptionStream<SysException, Exception> {
 public:
  SysException();

  // `location` names the place of the failure; empty for none.
  explicit SysException(const std::string& location);

  // The streamed text followed, with nothing between, by the system's text for the error as it
  // comes, line end included. If the system has no text: that of the string resource 101 in the
  // user's language, "0x" and the error in lower-case hexadecimal.
  // Resets the base name that `ResourceLoader` shares; call it on one thread at a time.
  // Throws `Exception` if the system's text cannot be narrowed, and `ResourceMissingException` if
  // the resource is needed and missing.
  virtual const std::string& errorText();

  // `errorText()` as a C string, valid until the next call or the end of the object.
  virtual const char* errorTextCStr();

 private:
  DWORD lastError;
  std::string errorTextCache;
};
