#pragma once

#include <spawn.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tools/runner/Descriptor.h"
#include "tools/runner/RunResult.h"

namespace runner {

// What the service's program is called, as it finds it in its arguments.
inline constexpr char kProgramName[] = "TPMEnrollmentService";

// Takes over `descriptor` and gives it a number that is kept clear of those that a life gets. Not
// open if the system has none left, or if there was none.
Descriptor movedUp(int descriptor);

// `texts` as a program's arguments or environment: one pointer each and a null behind them. Good
// for as long as the texts are not touched.
std::vector<char*> pointersTo(std::vector<std::string>& texts);

// What did not succeed, and the system's words for `error`.
std::string systemText(const std::string& what, int error = errno);

// "NAME=value" each: what the sanitizers of this build need, so that a fault ends a life as it ends
// it without them. Empty in a build without.
std::vector<std::string> sanitizerEnvironment();

// How a program is started with none of the tool's own signals: nothing blocked, nothing ignored,
// and in a process group of its own, so that an interrupt from the terminal reaches the tool alone,
// which ends what it started.
class OwnSignals {
 public:
  OwnSignals();
  ~OwnSignals() { posix_spawnattr_destroy(&attributes_); }
  OwnSignals(const OwnSignals&) = delete;
  OwnSignals& operator=(const OwnSignals&) = delete;

  // For posix_spawn().
  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

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
