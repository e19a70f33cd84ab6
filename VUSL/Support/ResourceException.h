#pragma once

#include "VUSL/Support/BaseException.h"
#include "VUSL/Support/ResourceExceptionStream.h"

// The branch of failures that are told to an end user in the user's language. It is a sibling of
// `Exception`, so a clause for `Exception` does not catch it.
class ResourceException : public ResourceExceptionStream<ResourceException, BaseException> {
 public:
  ResourceException() : ResourceExceptionStream(0) {}
};
