#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/runner/RunResult.h"

namespace sweep {

// What a fault came to, held against the scenario's plain run.
enum class Outcome {
  kUnnoticed,    // nothing that anybody sees is different
  kTold,         // it ended as the plain run, and other lines were printed
  kErrorAsZero,  // an exception left the service's work, and STOPPED was reported with 0
  kErrorCode,    // STOPPED was reported last, with an error as exit code
  kOtherCode,    // the same, and the plain run reported STOPPED with an error too
  kNotStopped,   // it ended with exit code 0, and STOPPED was not reported last
  kUsage,        // the usage text was printed, nothing was reported, exit code 0
  kRefused,      // the process ended with exit code -1
  kRunsOn,       // still running, or waiting for ever, where the plain run had ended
  kEndsSooner,   // it ended with STOPPED and 0, and the plain run in another way
  kEndless,      // it went on and on without ever waiting
  kFault,        // an access violation
  kTerminate,    // an exception that nobody caught
  kBroken,       // anything else: killed, lost, a sanitizer's report
};
inline constexpr std::size_t kOutcomes = static_cast<std::size_t>(Outcome::kBroken) + 1;

std::string_view outcomeText(Outcome outcome);

// What of a run is compared, taken out of it once.
struct Sight {
  runner::End end = runner::End::kLost;
  std::int32_t exitCode = 0;
  std::string endText;
  std::vector<runner::Status> statuses;
  std::vector<std::string> lines;   // without the marks of faults
  std::vector<std::string> marks;   // those
  std::vector<std::string> errors;  // of those, the log's lines of level ERROR and FATAL
  std::vector<std::string> ledger;  // what nobody named
  bool isHeard = true;              // whether somebody listens to the log all the time
  // What else of the machine decides what a failure comes to; taken from the scenario.
  bool hasOtherDevices = false;  // than the client stack's
  bool hasVariables = false;     // in the environment
  bool hasTraces = false;
};

Sight sightOf(const runner::RunResult& result);

// The way in which a run ended, whatever the plain run did; a service that stopped well, or was
// ended by its scenario, is kTold.
Outcome endOf(const Sight& sight);

Outcome outcomeOf(const Sight& plain, const Sight& faulted);

// The elements of `more` that `fewer` does not have, in their order, each as often as it has
// them too seldom.
std::vector<std::string> beyond(const std::vector<std::string>& more,
                                const std::vector<std::string>& fewer);

// What is wrong with the reports that the service manager got; empty if their order is legal.
// `stoppedTwice`: STOPPED may be followed by STOPPED once.
std::string illegalReport(const std::vector<runner::Status>& statuses, bool stoppedTwice = false);

}  // namespace sweep
