#pragma once

#include <string>
#include <vector>

#include "tools/runner/RunResult.h"

namespace runner {

// "NAME=value" each: what the sanitizers of this build need, so that a fault ends a life as it ends
// it without them. Empty in a build without.
std::vector<std::string> sanitizerEnvironment();

// Switches address randomisation off for what the calling thread starts, for its lifetime.
class FixedAddresses {
 public:
  FixedAddresses();
  ~FixedAddresses();
  FixedAddresses(const FixedAddresses&) = delete;
  FixedAddresses& operator=(const FixedAddresses&) = delete;

  // False if the system refused.
  bool inForce() const { return inForce_; }

 private:
  int before_;
  bool inForce_ = false;
};

// Makes out of what the system says of an ended process how the life ended. `endTold`: it told an
// end itself, which is in the result; `reportFault`: what is wrong with its report, if anything is.
void decideEnd(RunResult& result, int waitStatus, bool endTold, const std::string& reportFault);

}  // namespace runner
