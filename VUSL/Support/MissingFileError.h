#pragma once

#include <cstdint>

#include "VUSL/Support/ResourceException.h"

// A file is not there; the first parameter is its name.
class MissingFileError : public ResourceExceptionStream<MissingFileError, ResourceException> {
 public:
  explicit MissingFileError(int32_t id) : ResourceExceptionStream(id) {}
};
