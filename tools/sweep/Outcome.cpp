#include "tools/sweep/Outcome.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "platform/host/Imbalances.h"
#include "platform/host/windows/windows.h"
#include "tools/runner/PrintedLines.h"

namespace sweep {
namespace {

using runner::End;

constexpr std::array<std::string_view, kOutcomes> kTexts = {
    "unnoticed",   "told",       "error told as 0", "error code",      "another error code",
    "not stopped", "usage text", "exit code -1",    "goes on waiting", "ends sooner",
    "spins",       "fault",      "terminate",       "broken",
};

constexpr std::string_view kFaultMark = "-- fault: ";
constexpr std::string_view kUsageLine = "-- console: Usage: ";

bool isStatus(const runner::Status& left, const runner::Status& right) {
  return left.state == right.state && left.exitCode == right.exitCode;
}

bool haveSameLast(const Sight& plain, const Sight& faulted) {
  if (plain.statuses.empty() || faulted.statuses.empty()) {
    return plain.statuses.empty() == faulted.statuses.empty();
  }
  return isStatus(plain.statuses.back(), faulted.statuses.back());
}

bool hasUsage(const Sight& sight) {
  return std::any_of(sight.lines.begin(), sight.lines.end(),
                     [](const std::string& line) { return line.starts_with(kUsageLine); });
}

bool isStopped(const Sight& sight) {
  return !sight.statuses.empty() && sight.statuses.back().state == SERVICE_STOPPED;
}

Outcome exitOf(const Sight& sight) {
  if (sight.exitCode != 0) {
    return sight.exitCode == -1 ? Outcome::kRefused : Outcome::kBroken;
  }
  if (sight.statuses.empty() && hasUsage(sight)) {
    return Outcome::kUsage;
  }
  if (!isStopped(sight)) {
    return Outcome::kNotStopped;
  }
  return sight.statuses.back().exitCode != 0 ? Outcome::kErrorCode : Outcome::kTold;
}

std::ptrdiff_t exceptionsLeavingMain(const Sight& sight) {
  return std::count_if(sight.errors.begin(), sight.errors.end(), [](const std::string& line) {
    return line.find("Exception occured in ServiceMain function") != std::string::npos;
  });
}

// The search for the stack logs the last error, whatever call left it, ahead of the status. What a
// fault that nobody notices leaves there is no difference that anybody promised.
void hideLastError(std::string& line) {
  constexpr std::string_view kAhead = " failed with status = ";
  const std::size_t at = line.find(kAhead);
  if (at == std::string::npos) {
    return;
  }
  const std::size_t begin = at + kAhead.size();
  const std::size_t end = line.find_first_not_of("0123456789", begin);
  line.replace(begin, std::min(end, line.size()) - begin, "#");
}

}  // namespace

std::string_view outcomeText(Outcome outcome) {
  return kTexts[static_cast<std::size_t>(outcome)];
}

Sight sightOf(const runner::RunResult& result) {
  constexpr std::string_view kError = "[ERR] ";
  constexpr std::string_view kFatal = "[FTL] ";
  Sight sight;
  sight.end = result.end;
  sight.exitCode = result.end == End::kExit ? result.exitCode : 0;
  sight.endText = endText(result);
  for (const runner::Record& record : result.records) {
    if (record.kind == host::ReportKind::kStatus) {
      sight.statuses.push_back(runner::parseStatus(record.text).value_or(runner::Status{}));
    }
  }
  sight.lines = runner::comparableLines(result.records);
  std::for_each(sight.lines.begin(), sight.lines.end(), hideLastError);
  const auto isMark = [](const std::string& line) { return line.starts_with(kFaultMark); };
  std::copy_if(sight.lines.begin(), sight.lines.end(), std::back_inserter(sight.marks), isMark);
  std::erase_if(sight.lines, isMark);
  for (const std::string& line : sight.lines) {
    if (line.starts_with(kError) || line.starts_with(kFatal)) {
      sight.errors.push_back(line);
    }
  }
  for (const std::string& line : result.ledger) {
    constexpr std::string_view kUnnamed = "unnamed: ";
    if (line.starts_with(kUnnamed)) {
      sight.ledger.push_back(line.substr(kUnnamed.size()));
    }
  }
  return sight;
}

Outcome endOf(const Sight& sight) {
  switch (sight.end) {
    case End::kFault:
      return Outcome::kFault;
    case End::kTerminate:
      return Outcome::kTerminate;
    case End::kEndless:
      return Outcome::kEndless;
    case End::kRunning:
    case End::kDeadlock:
      return Outcome::kRunsOn;
    case End::kEnded:
      return Outcome::kTold;  // the script ended it, whatever it was at
    case End::kExit:
      return exitOf(sight);
    case End::kKilled:
    case End::kLost:
    case End::kSanitizer:
    case End::kInterrupted:
      break;
  }
  return Outcome::kBroken;
}

Outcome outcomeOf(const Sight& plain, const Sight& faulted) {
  const Outcome end = endOf(faulted);
  if (end == Outcome::kBroken) {
    return end;
  }
  // Where the plain run fails too, it tells another number.
  const std::ptrdiff_t exceptions = exceptionsLeavingMain(faulted);
  if (end == Outcome::kTold && faulted.end == End::kExit && exceptions > 0 &&
      (exceptions > exceptionsLeavingMain(plain) || endOf(plain) == Outcome::kErrorCode)) {
    return Outcome::kErrorAsZero;
  }
  if (end == endOf(plain) && plain.exitCode == faulted.exitCode && haveSameLast(plain, faulted)) {
    return plain.lines == faulted.lines ? Outcome::kUnnoticed : Outcome::kTold;
  }
  if (end == Outcome::kErrorCode && endOf(plain) == end) {
    return Outcome::kOtherCode;
  }
  // A service that stops well where the plain run did not stop, or not well.
  return end == Outcome::kTold ? Outcome::kEndsSooner : end;
}

bool hasLine(const std::vector<std::string>& lines, std::string_view text) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

bool isQuiet(const Sight& plain) {
  return !plain.isHeard ||
         std::none_of(plain.lines.begin(), plain.lines.end(),
                      [](const std::string& line) { return line.starts_with("[DBG] "); });
}

bool leavesMain(const Sight& sight) {
  return exceptionsLeavingMain(sight) > 0;
}

std::vector<IllegalReport> illegalReports(const std::vector<runner::Status>& statuses) {
  std::vector<IllegalReport> illegal;
  DWORD before = 0;
  DWORD checkPoint = 0;
  for (const runner::Status& status : statuses) {
    const bool isLegal = status.state == SERVICE_START_PENDING ? before == 0
                         : status.state == SERVICE_RUNNING     ? before == SERVICE_START_PENDING
                         : status.state == SERVICE_STOP_PENDING
                             ? before == SERVICE_RUNNING || before == SERVICE_STOP_PENDING
                         : status.state == SERVICE_STOPPED ? before != SERVICE_STOPPED
                                                           : false;
    const bool isPending =
        status.state == SERVICE_START_PENDING || status.state == SERVICE_STOP_PENDING;
    const bool isToldTwice =
        status.state == before && (!isPending || status.checkPoint == checkPoint);
    if (!isLegal) {
      illegal.push_back({runner::stateText(status.state) + " was reported after " +
                             (before == 0 ? "nothing" : runner::stateText(before)),
                         isToldTwice});
    }
    if (isPending && status.checkPoint <= checkPoint) {
      illegal.push_back({"the check-point did not rise: " + std::to_string(status.checkPoint) +
                             " after " + std::to_string(checkPoint),
                         isToldTwice});
    }
    checkPoint = isPending ? status.checkPoint : checkPoint;
    before = status.state;
  }
  return illegal;
}

std::string illegalReport(const std::vector<runner::Status>& statuses) {
  const std::vector<IllegalReport> all = illegalReports(statuses);
  return all.empty() ? std::string() : all.front().text;
}

std::vector<std::string> illegalBeyond(std::vector<IllegalReport> known,
                                       const std::vector<runner::Status>& statuses) {
  std::vector<std::string> illegal;
  for (const IllegalReport& report : illegalReports(statuses)) {
    const auto same = std::find_if(known.begin(), known.end(), [&](const IllegalReport& one) {
      return one.text == report.text || (one.isToldTwice && report.isToldTwice);
    });
    if (same == known.end()) {
      illegal.push_back(report.text);
    } else {
      known.erase(same);
    }
  }
  return illegal;
}

}  // namespace sweep
