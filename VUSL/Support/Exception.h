#pragma once

#include <string>

#include "VUSL/Support/BaseException.h"
#include "VUSL/Support/ExceptionStream.h"

// A failure told in English for the log: `throw Exception("Class::operation") << "text " << 5`
// reads "Class::operation:text 5".
class Exception : public ExceptionStream<Exception, BaseException> {
 public:
  Exception() = default;

  // `location` names the place of the failure; empty for none.
  explicit Exception(const std::string& location) : ExceptionStream(location) {}
};
