#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/runner/Difference.h"
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

using runner::beyond;

// Whether a line has this text in it.
bool hasLine(const std::vector<std::string>& lines, std::string_view text);
// Whether nobody can tell, because the log of this run is not heard, or has no line of level DEBUG:
// most failures are told there.
bool isQuiet(const Sight& plain);
// Whether an exception has left the service's main function, as the log tells.
bool leavesMain(const Sight& sight);

struct IllegalReport {
  std::string text;
  // It is the one before once more: another thread filled in the record while it was on its way.
  bool isToldTwice = false;
};

// Whatever is wrong with the reports that the service manager got; empty if their order is legal.
std::vector<IllegalReport> illegalReports(const std::vector<runner::Status>& statuses);
// The first of it; empty if there is none.
std::string illegalReport(const std::vector<runner::Status>& statuses);
// What is wrong beyond what is known. A scenario may be about reports that overtake each other:
// exactly so many are passed over, and which one is overtaken may differ.
std::vector<std::string> illegalBeyond(std::vector<IllegalReport> known,
                                       const std::vector<runner::Status>& statuses);

}  // namespace sweep
