#pragma once

#include "platform/host/windows/windows.h"
#include "tools/sweep/Permitted.h"

// What the lists of rows have in common, and the lists themselves.
namespace sweep::rows {

using enum host::Phase;
using enum Outcome;

template <class... More>
constexpr Phases in(host::Phase phase, More... more) {
  return (sweep::in(phase) | ... | sweep::in(more));
}

template <class... More>
constexpr Outcomes to(Outcome outcome, More... more) {
  return ((1U << static_cast<unsigned>(outcome)) | ... | (1U << static_cast<unsigned>(more)));
}

// What Run does, also while a stop is under way.
inline constexpr Phases kWorking = in(kRunning, kStopping);
inline constexpr Phases kSettingUp = in(kEntering, kStarting);

// An exception leaves the service's work: STOPPED with whatever the last error is, 0 among others.
inline constexpr Outcomes kServiceFails = to(kErrorCode, kOtherCode, kErrorAsZero);
// The launch is given up and its goal stays open: the next TPM event tries again, if one comes.
inline constexpr Outcomes kLaunchFails = to(kTold, kRunsOn);
// The configuration counts as missing or broken. The defaults may be what it says; where they are
// not, other lines are logged and waits last longer, and what the script does on lines comes or
// not.
inline constexpr Outcomes kDefaults = to(kUnnoticed, kTold, kRunsOn, kEndsSooner);
// The same where the line that tells of it is required.
inline constexpr Outcomes kDefaultsTold = to(kTold, kRunsOn, kEndsSooner);
// The log cannot be set up: the process ends in silence.
inline constexpr Outcomes kNoLog = to(kRefused);

inline constexpr std::string_view kLeavesMain =
    "[FTL] [TPM] Exception occured in ServiceMain function";
inline constexpr std::string_view kLeavesHandler =
    "[ERR] [TPM] Exception occured in ServiceControlHandler function";

// A call, its phases, what it may come to, and the lines that tell of it.
template <class... Lines>
constexpr Permission row(std::string_view calls, Phases phases, Outcomes outcomes, Lines... lines) {
  static_assert(sizeof...(lines) <= kMostTold);
  return {calls, phases, outcomes, {std::string_view(lines)...}};
}

constexpr Permission once(Permission row) {
  row.times = Times::kOnce;
  return row;
}

constexpr Permission fromThenOn(Permission row) {
  row.times = Times::kFromThenOn;
  return row;
}

constexpr Permission whenDone(Permission row) {
  row.work = Work::kDone;
  return row;
}

constexpr Permission withError(DWORD error, Permission row) {
  row.error = error;
  return row;
}

constexpr Permission only(Only place, Permission row) {
  row.only = place;
  return row;
}

constexpr Permission withCode(Code code, Permission row) {
  row.code = code;
  return row;
}

// Static objects, the log set-up, the privileges, the start.
std::span<const Permission> ofTheStart();
// Where the stack is: asked for by the log set-up, by the initialisation, by the loading of the
// client library and by the launch.
std::span<const Permission> ofTheStack();
std::span<const Permission> ofTheWork();
std::span<const Permission> ofTheTask();
// What is let go: nothing depends on it. Only a file and the token say so. But the exit code after
// an exception is the last error, and that is then this one.
std::span<const Permission> ofLettingGo();

}  // namespace sweep::rows
