#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/LogOutlet.h"

// What the process does with COM, with the scheduler and with strings of the platform, and the
// lines that it logs, as one sequence: only so can be told which came first. Recorded from
// construction to destruction, on one thread.
class TaskTrace : private LogOutlet {
 public:
  TaskTrace();
  ~TaskTrace() override;

  // The sequence since the last `clear`:
  //   "ITaskFolder::GetTask"                      a call, by its name
  //   "Release ITaskFolder"                       a release, and of what
  //   "IUnknown::QueryInterface IExecAction"      and for what
  //   "SysAllocString S-1-5-18", "SysFreeString"  and of which text
  //   "[DBG] [TPM] Task is Ok, Skipping..."       a line
  std::vector<std::string> texts() const;

  // Forgets the lines; the journal is to be cleared with them.
  void clear() { lines.clear(); }

 private:
  void Log(const vusl::string_t& timestamp, const vusl::string_t& tag,
           const vusl::string_t& message, int level) override;

  // Each with the number of calls in the journal that came ahead of it.
  std::vector<std::pair<std::size_t, std::string>> lines;
};
