#pragma once

#include "VUSL/Support/OutletBase.h"

// Hands lines to the system's debug output. It takes no lock: each line is one call.
class DebugLogOutlet : public OutletBase<DebugLogOutlet> {
 public:
  void reopen() override {}

  // Writes the line with a line end.
  void Dump(const vusl::string_t& message) override;
};
