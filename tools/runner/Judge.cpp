#include "tools/runner/Judge.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

#include "platform/host/Imbalances.h"
#include "tools/runner/CallOrder.h"
#include "tools/runner/PrintedLines.h"
#include "tools/runner/StoppedPause.h"

namespace runner {
namespace {

constexpr std::size_t kLinesOfContext = 3;
// The service lets two seconds pass ahead of each report of STOPPED. Stamps are cut to
// milliseconds, and sleeps of the platform may be a tick short.
constexpr host::Nanoseconds kLeastPause = 1900 * host::kNanosecondsPerMillisecond;

bool isExpectedEnd(const host::ExpectedEnd& expected, const RunResult& result) {
  using Kind = host::ExpectedEnd::Kind;
  switch (expected.kind) {
    case Kind::kExit:
      return result.end == End::kExit && result.exitCode == expected.exitCode;
    case Kind::kFault:
      return result.end == End::kFault;
    case Kind::kTerminate:
      return result.end == End::kTerminate;
    case Kind::kRunning:
      return result.end == End::kRunning;
    case Kind::kDeadlock:
      return result.end == End::kDeadlock;
    case Kind::kEnded:
      return result.end == End::kEnded;
  }
  return false;
}

bool isExpectedStatus(const host::ExpectedEnd& expected, const RunResult& result) {
  const auto& last = result.lastStatus;
  const bool stateFits = !expected.lastState || (last && last->state == *expected.lastState);
  const bool codeFits =
      !expected.lastExitCode || (last && last->exitCode == *expected.lastExitCode);
  return stateFits && codeFits;
}

std::string expectedStatusText(const host::ExpectedEnd& expected) {
  std::string text = expected.lastState ? stateText(*expected.lastState) : std::string("a status");
  if (expected.lastExitCode) {
    text += " with exit code " + std::to_string(*expected.lastExitCode);
  }
  return text + " was expected to be reported last";
}

Difference ledgerDifference(const RunResult& result) {
  Difference difference;
  for (const std::string& entry : result.ledger) {
    if (!entry.starts_with(host::kNamedImbalance)) {
      difference.details.push_back(entry);
    }
  }
  if (!difference.details.empty()) {
    difference.summary = "the ledger differs from [imbalances]";
  }
  return difference;
}

void addContext(std::vector<std::string>& details, std::string_view lead,
                const std::vector<std::string>& lines, std::size_t begin, std::size_t count) {
  for (std::size_t i = begin; i < std::min(begin + count, lines.size()); ++i) {
    details.push_back(std::string(lead) + lines[i]);
  }
}

// The first line in which the two differ, with the lines around it.
Difference linesDifference(std::vector<std::string> expected,
                           const std::vector<std::string>& printed) {
  for (std::string& line : expected) {
    line = comparableLine(line);
  }
  const auto [expectedEnd, printedEnd] =
      std::mismatch(expected.begin(), expected.end(), printed.begin(), printed.end());
  if (expectedEnd == expected.end() && printedEnd == printed.end()) {
    return {};
  }
  const auto at = static_cast<std::size_t>(expectedEnd - expected.begin());
  const std::size_t begin = at - std::min(at, kLinesOfContext);
  Difference difference;
  difference.summary = "line " + std::to_string(at + 1) + " of [expected] differs";
  addContext(difference.details, "  both:     ", expected, begin, at - begin);
  addContext(difference.details, "  expected: ", expected, at, kLinesOfContext);
  if (expectedEnd == expected.end()) {
    difference.details.emplace_back("  nothing more was expected");
  }
  addContext(difference.details, "  printed:  ", printed, at, kLinesOfContext);
  if (printedEnd == printed.end()) {
    difference.details.emplace_back("  nothing more was printed");
  }
  return difference;
}

Difference pauseDifference(const RunResult& result) {
  const auto pause = shortestPauseAheadOfStopped(result.records);
  if (!pause || *pause >= kLeastPause) {
    return {};
  }
  return {"STOPPED was reported " + secondsText(*pause) + " after the service was done, too early",
          {}};
}

// The log lines among the printed ones.
std::vector<std::string> logLines(const std::vector<std::string>& lines) {
  std::vector<std::string> log;
  std::ranges::copy_if(lines, std::back_inserter(log),
                       [](const std::string& line) { return !line.starts_with("-- "); });
  return log;
}

}  // namespace

std::vector<Difference> judge(const host::Scenario& scenario, const RunResult& result,
                              Lines lines) {
  std::vector<Difference> differences;
  if (!isExpectedEnd(scenario.end, result)) {
    differences.push_back({endText(scenario.end) + " was expected", {}});
  }
  if (!isExpectedStatus(scenario.end, result)) {
    differences.push_back({expectedStatusText(scenario.end), {}});
  }
  if (Difference ledger = ledgerDifference(result); !ledger.summary.empty()) {
    differences.push_back(std::move(ledger));
  }
  differences.insert(differences.end(), result.drive.begin(), result.drive.end());
  if (lines == Lines::kLogOnly) {
    if (Difference pause = pauseDifference(result); !pause.summary.empty()) {
      differences.push_back(std::move(pause));
    }
  }
  if (lines == Lines::kCompared) {
    if (Difference calls = callsDifference(scenario, result, Calls::kAll); !calls.summary.empty()) {
      differences.push_back(std::move(calls));
    }
  }
  if (lines != Lines::kIgnored && scenario.expected) {
    const std::vector<std::string> all = comparableLines(result.records);
    Difference printed = lines == Lines::kCompared
                             ? linesDifference(*scenario.expected, all)
                             : linesDifference(logLines(*scenario.expected), logLines(all));
    if (!printed.summary.empty()) {
      differences.push_back(std::move(printed));
    }
  }
  return differences;
}

}  // namespace runner
