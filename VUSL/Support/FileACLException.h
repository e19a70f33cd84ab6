#pragma once

#include <string>

#include "VUSL/Support/Exception.h"

// Stands as a type to be caught only: nothing in this system throws it.
class FileACLException : public Exception {
 public:
  FileACLException() = default;

  // `location` names the place of the failure; empty for none.
  explicit FileACLException(const std::string& location) : Exception(location) {}
};
