#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Nursery.h"
#include "tools/sweep/Outcome.h"

namespace sweep {

// Sets of phases and of outcomes: a bit for each.
using Phases = unsigned;
using Outcomes = unsigned;

constexpr Phases in(host::Phase phase) {
  return 1U << static_cast<unsigned>(phase);
}

// How long the call fails.
enum class Times { kAny, kOnce, kFromThenOn };

// Whether the call has done its work when it fails.
enum class Work { kAny, kUndone, kDone };

// On which machines a row holds.
enum class Only {
  kEverywhere,
  kWithDevices,    // that have other devices than the stack's
  kWithVariables,  // whose environment says where a path is
  kWithTraces,     // on which somebody listens to trace events
  kWithATask,      // where the plain run finds the task that it looks for
  // Where the plain run points a task at another place, or an exception leaves the service's work.
  kWithATaskToMend,
  kFailingAnyway,
  kNotServing,  // whose plain run is still serving at its end, or never did
};

// The exit code that the service must end with if it reports an error.
enum class Code { kAny, kMinusOne, kTheError };

// The lines that must be told and are not told without the fault, as they begin: from the level on,
// as a run's lines are compared. "*" stands for anything, "{}" for the error that the call was told
// to fail with, in decimal, and "{x}" for the same in hexadecimal. Empty ones do not count.
inline constexpr std::size_t kMostTold = 4;
using Told = std::array<std::string_view, kMostTold>;

// What a failure of a call may come to. This list is closed: what no row permits is an objection.
// Each row follows from what the failure of that call is required to come to at that place, and
// names the lines that are then required.
struct Permission {
  // A call's name, or the beginning of several names and "*".
  std::string_view calls;
  Phases phases = 0;
  Outcomes outcomes = 0;
  Told told = {};
  Times times = Times::kAny;
  Work work = Work::kAny;
  std::optional<DWORD> error = {};  // the only one that the row is about
  Only only = Only::kEverywhere;
  Code code = Code::kAny;
};
// A failure may come to whatever any row permits.
std::span<const Permission> permissions();
// Whether a row is about the failure of this call in this phase.
bool isAbout(const Permission& row, std::string_view call, host::Phase phase);
bool permits(const Permission& row, Outcome outcome);
// Whether a name is among those that a row gives: itself, or the beginning of it and "*".
bool isAmong(std::string_view call, std::string_view calls);

// Whether a line begins as a row wants it, the call having been told to fail with `error`.
bool isToldBy(std::string_view line, std::string_view text, DWORD error);

// A text in log lines of level ERROR and FATAL that the failure of these calls explains, if
// `beside` is empty or stands in another such line of that life.
struct Explanation {
  std::string_view calls;
  std::string_view text;
  std::string_view beside = {};
};
std::span<const Explanation> explanations();
bool isExplained(std::string_view call, std::string_view line,
                 const std::vector<std::string>& errors);

// What stays open, or is let go in vain, because these calls failed: lines of the ledger.
struct Unbalanced {
  std::string_view calls;
  std::string_view line;
};
std::span<const Unbalanced> unbalanced();
bool isBalanced(std::string_view call, std::string_view line);

}  // namespace sweep
