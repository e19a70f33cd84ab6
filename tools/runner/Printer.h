#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tools/runner/Judge.h"
#include "tools/runner/RecordReader.h"
#include "tools/runner/RunResult.h"

namespace runner {

// Prints a run while it goes on: each line as soon as it is known, flushed, so that a run in real
// time is seen live. Used on one thread. A stream that takes no more makes the operations answer
// false, and nothing else happens.
class Printer {
 public:
  // `verbose`: see printedLines. The stream outlives the printer.
  Printer(std::ostream& out, bool verbose) : out_(out), verbose_(verbose) {}

  bool print(const Record& record);

  // A line of the run tool's own.
  bool say(std::string_view text);

  // The end of the run: where it differs from its scenario, if it does, and the one line that says
  // how it ended. `name` is the scenario's.
  bool summarize(const std::string& name, const RunResult& result,
                 const std::vector<Difference>& differences);

 private:
  std::ostream& out_;
  bool verbose_;
};

}  // namespace runner
