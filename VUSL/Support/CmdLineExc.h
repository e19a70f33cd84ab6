#pragma once

#include <cstdint>

#include "VUSL/Support/ResourceException.h"

namespace vusl {

// The usage is asked for in place of anything else; the parameter is its synopsis.
class CmdLineExc : public ResourceExceptionStream<CmdLineExc, ResourceException> {
 public:
  static constexpr int32_t kResourceId = 259;

  CmdLineExc() : ResourceExceptionStream(kResourceId) {}
};

}  // namespace vusl
