#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "platform/win32.h"

namespace wine {

// What a run tells the run tool, in the form in which a life of the native program tells it:
// "<kind> <nanoseconds> <length>", the text, a line end after each. The standard output takes it.
// May be used on any thread.
class RunRecords {
 public:
  RunRecords();

  // `kind` is a letter of the report: 'D' for a line of the debug output, 'N' for a note, 'S' for a
  // status, 'C' for a console line, 'E' for the end.
  void record(char kind, std::string_view text);
  void note(const std::string& text) { record('N', text); }

  // Since the object was made.
  long long nanoseconds() const;

 private:
  std::mutex oneAtATime_;
  LARGE_INTEGER began_{};
  LARGE_INTEGER perSecond_{};
};

}  // namespace wine
