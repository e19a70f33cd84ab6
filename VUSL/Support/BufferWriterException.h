#pragma once

#include <string>

#include "VUSL/Support/Exception.h"

namespace vusl {

// A buffer lacks room for what was to be written into it.
class BufferWriterException : public ExceptionStream<BufferWriterException, Exception> {
 public:
  // `location` names the place of the failure; empty for none.
  explicit BufferWriterException(const std::string& location) : ExceptionStream(location) {}
};

}  // namespace vusl
