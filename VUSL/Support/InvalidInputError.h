#pragma once

#include <cstdint>

#include "VUSL/Support/ResourceException.h"

namespace vusl {

// A parameter of the command line is wrong; the parameters name it.
class InvalidInputError : public ResourceExceptionStream<InvalidInputError, ResourceException> {
 public:
  explicit InvalidInputError(int32_t id) : ResourceExceptionStream(id) {}
};

}  // namespace vusl
