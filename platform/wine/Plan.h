#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace wine {

// Something that happens to a run from outside, and when. The words are those of the plan.
struct PlannedStep {
  std::string when;    // "at", "log" or "status"
  std::string what;    // milliseconds, the text, or the state
  unsigned nth = 1;    // of the log lines or reports
  std::string action;  // "signal", "control", ...
  std::wstring subject;
  std::string text;
};

// A run as the run tool wrote it down for this side: the scenario's part that happens inside the
// platform. Lines of fields that are separated by tabs; tab, line feed, carriage return and
// backslash inside a field are written as in C.
struct Plan {
  std::wstring program;
  std::wstring commandLine;
  bool startedByManager = true;
  bool listener = true;
  std::uint64_t limitMs = 0;
  std::vector<std::wstring> events;      // published at the start
  std::vector<std::wstring> namespaces;  // held by somebody else
  std::vector<PlannedStep> steps;
};

// Throws `std::runtime_error` with the line that makes no sense, or if the file cannot be read.
Plan readPlan(const std::wstring& file);

std::wstring toWide(const std::string& utf8);
std::string toUtf8(const std::wstring& text);

}  // namespace wine
