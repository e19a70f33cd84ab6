#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Scenario.h"
#include "tools/runner/Difference.h"
#include "tools/runner/RecordReader.h"

namespace runner {

// How a life ended.
enum class End {
  kExit,         // the process ended by itself; RunResult::exitCode
  kFault,        // an access violation or the like ended it
  kTerminate,    // an exception that nobody caught ended it
  kRunning,      // still running when the scenario's time was up
  kDeadlock,     // nobody could ever go on
  kEnded,        // a step of the script ended it
  kEndless,      // it went on and on without ever waiting
  kSanitizer,    // a sanitizer found something
  kKilled,       // it took longer than it may on the clock on the wall
  kInterrupted,  // whoever watched the run wanted no more
  kLost,         // it ended without telling how, or what it told makes no sense
};

// A status as the service manager was told it.
struct Status {
  DWORD state = 0;
  DWORD checkPoint = 0;
  DWORD exitCode = 0;
  DWORD controlsAccepted = 0;
  DWORD waitHintMs = 0;
};

// Reads the text of a kStatus record; nothing for a text that is none.
std::optional<Status> parseStatus(std::string_view text);

// A run from its start to its end, as its life told it.
struct RunResult {
  std::vector<Record> records;
  End end = End::kLost;
  // With kExit: all 32 bits of the code, although the system passes on only eight.
  std::int32_t exitCode = 0;
  // With an abnormal end: what was seen, such as the signal's name.
  std::string detail;
  std::optional<Status> lastStatus;
  // The machine's clock at the last record.
  host::Nanoseconds machineTime = 0;
  // The texts of the kLedger records.
  std::vector<std::string> ledger;
  // In which the drive is not what the scenario says of it at the end.
  std::vector<Difference> drive;
  // Peak resident memory; 0 if the life did not come to tell it.
  long memoryKiB = 0;
  // Over all steps; empty if the life did not come to tell it.
  std::string hash;
  // False if the system refused to switch address randomisation off.
  bool addressesFixed = true;
  // What the life wrote on its standard output and error, apart from its report.
  std::string strayOutput;
};

// Takes a record into the result: keeps it, and what it says about the end.
void addRecord(RunResult& result, const Record& record);

// The end in words: "exit code 0", "fault (SIGSEGV)", "running".
std::string endText(const RunResult& result);

// What the scenario expects, in the same words.
std::string endText(const host::ExpectedEnd& expected);

}  // namespace runner
