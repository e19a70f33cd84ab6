#pragma once

#include <list>

#include "VUSL/Support/CmdLineParameter.h"
#include "VUSL/Support/Text.h"

namespace vusl {
class CmdLineProc;
}

// Parameters of which at most one may be given.
struct CmdLineGroup {
  vusl::CmdLineProc* owner;
  std::list<CmdLineParameter> members;  // Copies as registered; parsing does not mark them.
  vusl::string_t name;
};
