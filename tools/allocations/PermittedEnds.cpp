#include "tools/allocations/PermittedEnds.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace sweep {
namespace {

using enum host::AllocationPlace;

// Sets of places and of ends: a bit for each.
using Places = unsigned;
using Ends = unsigned;

template <class... More>
constexpr Places at(More... places) {
  return ((1U << static_cast<unsigned>(places)) | ...);
}

template <class... More>
constexpr Ends to(More... ends) {
  return ((1U << static_cast<unsigned>(ends)) | ...);
}

// How the service's work goes on with a goal open, or has come to its end meanwhile.
constexpr Ends kGoesOn = to(Outcome::kTold, Outcome::kRunsOn);

constexpr std::string_view kLeavesEntry = "Exception ocurred: std::bad_alloc";
constexpr std::string_view kNoStack =
    "Exception occured in ServiceMain function tals stack not installed";
constexpr std::string_view kTransactionFailed =
    "Init(EPID cert provisioning) transaction failed with error : 0x";
constexpr std::string_view kTransactionThrew =
    "Init(EPID cert provisioning) transaction failed with error : 0x02 [STATUS_ERROR]";
constexpr std::string_view kUnknown = "[Run] Unknown exception occured.";
constexpr std::string_view kStatus = "tALS init status: 0x";
constexpr std::string_view kProcessFailed = "[Run] Process exception occured: ";
constexpr std::string_view kNotLaunched = "[Run] Exception occured: tals stack not installed";

// An end of its own that a life may have when a request fails at these places, and the text of a
// line that then tells of it and is not told without the failure; empty if there is none.
struct PermittedEnd {
  Places places;
  Ends ends;
  std::string_view told = {};
  // Whether the line tells of it as well if the plain run has it, because the same fails anyway.
  bool isToldAnyway = false;
};

constexpr std::array kPermitted = {
    // Nobody catches what leaves a static object; the service's main function catches the system's
    // own exceptions only, and this is one of the library; and the end of a log item lets nothing
    // out.
    PermittedEnd{
        at(kLoading, kEntering, kHandling, kLeaving, kRegistering, kStarting, kRunning, kStopped),
        to(Outcome::kTerminate)},

    // The entry's three blocks: ahead of the log there is nobody to tell, a command line that
    // cannot be read leads to the usage text, and what comes later is told. An exception that
    // leaves the handler goes on to the entry by way of the dispatcher.
    PermittedEnd{at(kEntering), to(Outcome::kRefused, Outcome::kUsage)},
    PermittedEnd{at(kHandling, kLeaving), to(Outcome::kRefused), kLeavesEntry},

    // Whatever keeps the stack from being found is one exception of the system's own.
    PermittedEnd{at(kStarting, kRunning), to(Outcome::kErrorCode), kNoStack, true},

    // A transaction that throws is tried again, and so is what follows the wait.
    PermittedEnd{at(kRunning), kGoesOn, kTransactionFailed},
    PermittedEnd{at(kRunning), kGoesOn, kTransactionThrew, true},
    PermittedEnd{at(kRunning), kGoesOn, kUnknown},
    PermittedEnd{at(kRunning), kGoesOn, kNotLaunched},

    // A stream keeps it to itself: the text is cut short there.
    PermittedEnd{at(kRunning), to(Outcome::kTold), kStatus},
    PermittedEnd{at(kRunning), kGoesOn, kProcessFailed},
};

bool isLogged(const Sight& sight) {
  return std::any_of(sight.lines.begin(), sight.lines.end(),
                     [](const std::string& line) { return line.starts_with("["); });
}

// A transaction that throws anyway, and a stack that is not found anyway, are told by the line that
// tells of them anyway. Where nothing of the kind fails, the same code is held to a line of its
// own.
bool isToldAnyway(const PermittedEnd& row, const Sight& plain, const Sight& life,
                  const std::vector<std::string>& newLines) {
  return row.isToldAnyway && endOf(life) == endOf(plain) && newLines.empty() &&
         hasLine(plain.lines, row.told) && hasLine(life.lines, row.told);
}

bool isTold(const PermittedEnd& row, const Sight& plain, const Sight& life,
            const std::vector<std::string>& newLines) {
  return row.told.empty() || isQuiet(plain) || hasLine(newLines, row.told) ||
         isToldAnyway(row, plain, life, newLines);
}

}  // namespace

bool isPermittedEnd(const Sight& plain, const Sight& life, host::AllocationPlace place) {
  const Outcome end = endOf(life);
  const std::vector<std::string> newLines = beyond(life.lines, plain.lines);
  // When the log is there, the entry tells why it gives up.
  if (place == kEntering && end == Outcome::kRefused && isLogged(life) &&
      !hasLine(newLines, kLeavesEntry)) {
    return false;
  }
  // STOPPED is overtaken, which is what the scenario is about.
  if (end == Outcome::kNotStopped && !illegalReport(plain.statuses).empty()) {
    return true;
  }
  // The end that the life comes to without a failure too, a crash of the library perhaps, is one at
  // which the failure was told and that is all.
  const Ends ends = end == endOf(plain) ? to(end, Outcome::kTold) : to(end);
  return std::any_of(kPermitted.begin(), kPermitted.end(), [&](const PermittedEnd& row) {
    return (row.places & at(place)) != 0 && (row.ends & ends) != 0 &&
           isTold(row, plain, life, newLines);
  });
}

}  // namespace sweep
