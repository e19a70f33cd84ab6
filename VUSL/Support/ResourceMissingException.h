#pragma once

#include "VUSL/Support/Exception.h"

// A language library, a language or a string resource could not be found.
class ResourceMissingException : public ExceptionStream<ResourceMissingException, Exception> {};
