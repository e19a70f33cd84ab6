#include "tools/runner/Printer.h"

#include "tools/runner/PrintedLines.h"

namespace runner {
namespace {

constexpr std::string_view kMark = "-- ";

std::string lastStatusText(const RunResult& result) {
  if (!result.lastStatus) {
    return "no status reported";
  }
  const std::string state = stateText(result.lastStatus->state);
  const DWORD code = result.lastStatus->exitCode;
  return code == 0 ? state : state + " with exit code " + std::to_string(code);
}

std::string judgement(const std::vector<Difference>& differences) {
  if (differences.empty()) {
    return "as expected";
  }
  std::string text = "not as expected: ";
  for (const Difference& difference : differences) {
    if (&difference != &differences.front()) {
      text += "; ";
    }
    text += difference.summary;
  }
  return text;
}

}  // namespace

bool Printer::print(const Record& record) {
  for (const std::string& line : printedLines(record, verbose_)) {
    out_ << line << '\n';
  }
  out_.flush();
  return out_.good();
}

bool Printer::say(std::string_view text) {
  out_ << kMark << text << '\n';
  out_.flush();
  return out_.good();
}

bool Printer::summarize(const std::string& name, const RunResult& result,
                        const std::vector<Difference>& differences) {
  for (const Difference& difference : differences) {
    if (!difference.details.empty()) {
      say(difference.summary + ":");
    }
    for (const std::string& detail : difference.details) {
      say(detail);
    }
  }
  return say(name + ": " + lastStatusText(result) + ", " + endText(result) + ", " +
             secondsText(result.machineTime) + " (" + judgement(differences) + ")");
}

}  // namespace runner
