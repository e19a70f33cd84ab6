#pragma once

#include <cstdint>

#include "VUSL/Support/ResourceException.h"

namespace vusl {

// The command line as a whole is wrong.
class CmdLineExc : public ResourceExceptionStream<CmdLineExc, ResourceException> {
 public:
  static constexpr int32_t kResourceId = 259;

  CmdLineExc() : ResourceExceptionStream(kResourceId) {}
};

}  // namespace vusl
