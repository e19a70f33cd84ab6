#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/host/Scheduler.h"

namespace host {

// What a life tells the run tool, as records over a pipe: a kind, the machine's time, a text.
//
//   <kind> <nanoseconds> <length>\n<text>\n
enum class ReportKind : char {
  kDebugLine = 'D',  // a line that the listener of the debug output received
  kNote = 'N',       // something that the machine or the service manager saw
  kStatus = 'S',     // a status report: "state check-point exit-code accepted wait-hint"
  kConsole = 'C',    // a line on the service's standard output
  kLedger = 'L',     // at the end: an imbalance, with what the scenario says of it
  kThreads = 'T',    // at the end of a run that was given up: the threads with their waits
  kEnd = 'E',        // how it ended: "exit <code>", "running", "deadlock", "ended", "endless"
  kHash = 'H',       // the hash over all steps
  kMemory = 'M',     // peak resident memory in KiB
  kDecisions = 'O',  // of a run with a list of deviations: Schedule::decisions
  kCalls = 'A',      // of the same: each platform call that was made, with how often, one a line
  kCall = 'P',       // if the scenario writes calls down: "<thread> <call> <arguments>"
};

class Report {
 public:
  // The life's one report. Without a descriptor records are dropped.
  static Report& instance();

  // `together` gathers records and writes many at once, for runs that nobody watches live: each
  // write wakes the run tool. A fault or an abort still writes what was gathered.
  void open(int descriptor, bool together);
  void record(ReportKind kind, std::string_view text);

  // The records of a run with a list of deviations; nothing in any other.
  void recordOrder();

  // Writes what was gathered.
  void flush();

  // Ends the life at once, without unwinding anything: the run is over, `how` is its kEnd text.
  [[noreturn]] void endNow(std::string_view how);

 private:
  int descriptor_ = -1;
  bool together_ = false;
  std::string gathered_;
};

}  // namespace host
