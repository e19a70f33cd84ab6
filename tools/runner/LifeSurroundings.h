#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tools/runner/Descriptor.h"
#include "tools/runner/RunResult.h"

namespace runner {

// What the service's program is called, as it finds it in its arguments.
inline constexpr char kProgramName[] = "TPMEnrollmentService";

// Takes over `descriptor` and gives it a number that is kept clear of those that a life gets. Not
// open if the system has none left, or if there was none.
Descriptor movedUp(int descriptor);

// Signals that end the tool become readable there instead: what it has started can go first.
Descriptor takeInterrupts();

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

// A program that is to live, or to fork lives.
struct ProgramStart {
  std::filesystem::path program;
  // UTF-8, without the program's name.
  std::vector<std::string> arguments;
  // "NAME=value" each. The program gets these, TPM_HOST_REPORT, and what sanitizerEnvironment()
  // gives; of the caller's own environment nothing but which change of the product is on.
  std::vector<std::string> environment;
  // Where its report goes, and where what it prints otherwise. Not owned, and neither are these:
  // further descriptors, each with its number in the program.
  int report = -1;
  int stray = -1;
  std::vector<std::pair<int, int>> descriptors;
  // See OwnSignals; null leaves it with those of the tool.
  const posix_spawnattr_t* attributes = nullptr;
};

struct StartedProgram {
  pid_t process = -1;
  // False if the system refused to switch address randomisation off.
  bool addressesFixed = true;
};

// Starts the program with an empty input and without core files. Gives why not, if it cannot be
// started.
std::variant<StartedProgram, std::string> startProgram(const ProgramStart& start);

// Makes out of what the system says of an ended process how the life ended. `endTold`: it told an
// end itself, which is in the result; `reportFault`: what is wrong with its report, if anything is.
void decideEnd(RunResult& result, int waitStatus, bool endTold, const std::string& reportFault);

}  // namespace runner
