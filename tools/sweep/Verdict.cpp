#include "tools/sweep/Verdict.h"

#include <algorithm>

#include "platform/host/FaultTable.h"
#include "tools/runner/PrintedLines.h"
#include "tools/sweep/PermittedRows.h"

namespace sweep {
namespace {

bool hasLevel(const Sight& plain, std::string_view tag) {
  return std::any_of(plain.lines.begin(), plain.lines.end(),
                     [&](const std::string& line) { return line.starts_with(tag); });
}

// Whether a line of this level would be heard: the plain run has such lines, or lines of a lower
// level.
bool isHeardFrom(const Sight& plain, std::string_view text) {
  if (text.starts_with("[DBG] ")) {
    return !isQuiet(plain);
  }
  return !isQuiet(plain) || (plain.isHeard && hasLevel(plain, "[INF] "));
}

bool isAmongLines(const std::vector<std::string>& lines, std::string_view text, DWORD error) {
  return std::any_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return isToldBy(line, text, error); });
}

// Whether all that the row wants to be told, and that can be heard, stands among these lines.
bool isTold(const Permission& row, const Sight& plain, const std::vector<std::string>& lines,
            DWORD error) {
  return std::all_of(row.told.begin(), row.told.end(), [&](std::string_view text) {
    return text.empty() || !isHeardFrom(plain, text) || isAmongLines(lines, text, error);
  });
}

// Whether any of that is told that is not told without the fault; or nothing of it can be heard, or
// the plain run tells all of it.
bool isToldAnew(const Permission& row, const Sight& plain, const std::vector<std::string>& anew,
                DWORD error) {
  const auto canBeHeard = [&](std::string_view text) {
    return !text.empty() && isHeardFrom(plain, text);
  };
  return std::none_of(row.told.begin(), row.told.end(), canBeHeard) ||
         isTold(row, plain, plain.lines, error) ||
         std::any_of(row.told.begin(), row.told.end(), [&](std::string_view text) {
           return canBeHeard(text) && isAmongLines(anew, text, error);
         });
}

// The same of the plain run, with whatever error: a "*" in the error's place.
bool isToldWithAnyError(const Permission& row, const Sight& plain) {
  return std::all_of(row.told.begin(), row.told.end(), [&](std::string_view text) {
    return text.empty() || !isHeardFrom(plain, text) ||
           isAmongLines(plain.lines, text.substr(0, text.find('{')), 0);
  });
}

bool isOn(const Sight& plain, Only machines) {
  switch (machines) {
    case Only::kEverywhere:
      return true;
    case Only::kWithDevices:
      return plain.hasOtherDevices;
    case Only::kWithVariables:
      return plain.hasVariables;
    case Only::kWithTraces:
      return plain.hasTraces;
    case Only::kWithATask:
      return isQuiet(plain) || plain.end == runner::End::kFault ||
             hasLine(plain.lines, "Compare: ");
    case Only::kWithATaskToMend:
      return hasLine(plain.lines, "Task has beed updated to new OVER location, Ending");
    case Only::kNotServing:
      return plain.end != runner::End::kExit || plain.statuses.empty();
    case Only::kFailingAnyway:
      return leavesMain(plain);
  }
  return false;
}

// With an exception the code is whatever the last error is, and one that is overtaken is not told.
bool isCode(const Sight& faulted, Code code, Outcome outcome, DWORD error) {
  if (code == Code::kAny || (outcome != Outcome::kErrorCode && outcome != Outcome::kOtherCode) ||
      leavesMain(faulted) || faulted.statuses.empty() ||
      faulted.statuses.back().state != SERVICE_STOPPED) {
    return true;
  }
  return faulted.statuses.back().exitCode == (code == Code::kMinusOne ? DWORD(-1) : error);
}

bool isFor(const Permission& row, const Strike& strike) {
  return isAbout(row, strike.call, strike.phase) &&
         (row.times == Times::kAny || (row.times == Times::kFromThenOn) == strike.lasting) &&
         (row.work == Work::kAny || (row.work == Work::kDone) == strike.isDone) &&
         row.error.value_or(strike.error) == strike.error;
}

// Whether what happened is permitted, and told as it must be.
bool isPermitted(const Sight& plain, const Sight& faulted, const Strike& strike, Outcome outcome) {
  const std::vector<std::string> anew = beyond(faulted.lines, plain.lines);
  const auto rows = permissions();
  return std::any_of(rows.begin(), rows.end(), [&](const Permission& row) {
    return isFor(row, strike) && permits(row, outcome) && isOn(plain, row.only) &&
           isCode(faulted, row.code, outcome, strike.error) &&
           (outcome == Outcome::kUnnoticed || (isTold(row, plain, faulted.lines, strike.error) &&
                                               isToldAnew(row, plain, anew, strike.error)));
  });
}

// What the scenario's own faults may come to where the fault has moved them to. Of the machine and
// of its lines this very life tells: the plain one has them elsewhere.
bool isPermittedToMoved(const Sight& faulted, const Strike& strike, Outcome outcome) {
  return std::any_of(strike.own.begin(), strike.own.end(), [&](const OwnFault& own) {
    for (std::size_t i = 0; i < host::kPhases; ++i) {
      const auto phase = static_cast<host::Phase>(i);
      if (own.hasMoved && (own.phases & in(phase)) != 0 &&
          isPermitted(faulted, faulted, {own.call, phase, true, own.error, own.lasting, own.isDone},
                      outcome)) {
        return true;
      }
    }
    return false;
  });
}

// Whether the plain run tells what this failure must tell: on that machine the call fails anyway,
// and to be told to fail with the same error changes nothing. One that fails already has no work
// that it could do, whatever its error.
bool isToldAnyway(const Sight& plain, const Strike& strike) {
  const auto rows = permissions();
  return std::any_of(rows.begin(), rows.end(), [&](const Permission& row) {
    if (strike.isDone) {
      return isFor(row, strike) && !row.told.front().empty() && isToldWithAnyError(row, plain);
    }
    return isFor(row, strike) && permits(row, Outcome::kTold) && !row.told.front().empty() &&
           isTold(row, plain, plain.lines, strike.error);
  });
}

bool isAbnormal(const Sight& sight) {
  return sight.end == runner::End::kFault || sight.end == runner::End::kTerminate;
}

// A method that does its work and answers with a number that is no failure.
bool isSuccess(const Strike& strike) {
  const host::FaultRow* const row = host::faultRowOf(strike.call);
  constexpr DWORD kFalse = 1;
  return row != nullptr && row->kind == host::FaultKind::kHresult && strike.error == kFalse;
}

bool mayBe(const Sight& plain, const Sight& faulted, const Strike& strike, Outcome outcome) {
  if (isSuccess(strike)) {
    return outcome == Outcome::kUnnoticed;
  }
  const auto isIn = [&](Outcome permitted) {
    return isPermitted(plain, faulted, strike, permitted) ||
           isPermittedToMoved(faulted, strike, permitted);
  };
  // The plain run comes to what is permitted here and tells it, and so does this one.
  const bool failsAnyway = isToldAnyway(plain, strike);
  const bool isTheSame = isPermitted(plain, faulted, strike, endOf(faulted)) &&
                         (endOf(faulted) != Outcome::kTold || failsAnyway);
  // Nobody heard why it came to its end.
  const bool mayHaveFailed = !isHeardFrom(plain, rows::kLeavesMain) && isIn(Outcome::kErrorAsZero);
  // An exception ends the service either way, and its code is the last error, whatever left it; or
  // the report of its end is overtaken either way.
  const bool mayFail =
      isIn(Outcome::kErrorCode) || isIn(Outcome::kOtherCode) || isIn(Outcome::kErrorAsZero);
  const bool mayFailOtherwise = leavesMain(plain) && leavesMain(faulted) &&
                                (mayFail || isIn(Outcome::kTold) || isIn(Outcome::kUnnoticed));
  const bool isOvertaken =
      endOf(plain) == Outcome::kNotStopped && endOf(faulted) == Outcome::kNotStopped && mayFail;
  switch (outcome) {
    case Outcome::kUnnoticed:
      return isIn(outcome) || isTheSame || failsAnyway || mayHaveFailed ||
             (isQuiet(plain) && isIn(Outcome::kTold));
    case Outcome::kTold:
      return isIn(outcome) || isTheSame || mayHaveFailed || mayFailOtherwise || isOvertaken;
    case Outcome::kErrorCode:
    case Outcome::kOtherCode:
    case Outcome::kErrorAsZero:
      return isIn(outcome) || mayFailOtherwise;
    case Outcome::kEndsSooner:
      // It did not come to the plain run's abnormal end, or to its wait for ever.
      return isIn(outcome) || mayHaveFailed ||
             ((isAbnormal(plain) || plain.end == runner::End::kDeadlock) && isIn(Outcome::kTold));
    case Outcome::kNotStopped:
      // STOPPED is overtaken, which is what the scenario is about.
      return !illegalReport(plain.statuses).empty();
    default:
      return isIn(outcome);
  }
}

// Whether a call of the client library has not come back; it may never do so.
bool isInClient(const Sight& sight) {
  const auto count = [&](std::string_view text) {
    return std::count_if(sight.lines.begin(), sight.lines.end(), [&](const std::string& line) {
      return line.find(text) != std::string::npos;
    });
  };
  return count("Executing command synchronously") > count("tALS init status: ");
}

// A service that says that it has stopped well, with the reason for it not among what it told: a
// stop that it saw, or the goal of the recertification.
bool isEndWithoutAReason(const Sight& plain, const Sight& faulted) {
  const auto has = [&](std::string_view text) { return hasLine(faulted.lines, text); };
  return faulted.end == runner::End::kExit && endOf(faulted) == Outcome::kTold && !isQuiet(plain) &&
         !isQuiet(faulted) && has("Starting talsInit...") && !leavesMain(faulted) &&
         !has("Stop service event signaled.") &&
         !has("OrvixVTMEKRecertification has been started.") && !has("Scheduling VTM Task ...");
}

// "-- fault: CreateEventW 2 fails with 5", and of one that lasts "-- fault: CreateEventW fails from
// 2 on with 5".
bool isMarked(const Sight& faulted, const Strike& strike) {
  const std::string begin = "-- fault: " + std::string(strike.call) + " ";
  return std::any_of(faulted.marks.begin(), faulted.marks.end(), [&](const std::string& mark) {
    return mark.starts_with(begin) &&
           (mark.find(" fails from ") != std::string::npos) == strike.lasting &&
           mark.ends_with(" after its work") == strike.isDone;
  });
}

// What the reports of this life may have wrong, because the fault did not cause it; and a report of
// STOPPED that the manager took, and that failed all the same, is followed by another.
std::vector<IllegalReport> knownIllegalReports(const Sight& plain, const Strike& strike) {
  std::vector<IllegalReport> known = illegalReports(plain.statuses);
  if (strike.call == "SetServiceStatus" && strike.isDone) {
    const std::string stopped = runner::stateText(SERVICE_STOPPED);
    known.push_back({stopped + " was reported after " + stopped});
  }
  return known;
}

}  // namespace

Verdict judgeFault(const Sight& plain, const Sight& faulted, const Strike& strike) {
  Verdict verdict;
  verdict.outcome = outcomeOf(plain, faulted);
  verdict.errors = beyond(faulted.errors, plain.errors);
  verdict.ledger = beyond(faulted.ledger, plain.ledger);
  if (!strike.struck) {
    verdict.reasons.emplace_back("the fault never struck");
    return verdict;
  }
  if (!isMarked(faulted, strike)) {
    verdict.reasons.emplace_back("the fault left no mark");
  }
  if (!mayBe(plain, faulted, strike, verdict.outcome)) {
    verdict.reasons.push_back("it must not come to \"" + std::string(outcomeText(verdict.outcome)) +
                              "\": " + faulted.endText);
  }
  if (isEndWithoutAReason(plain, faulted)) {
    verdict.reasons.emplace_back("it ended by itself with a goal open");
  }
  // A lock that the handler could not give back keeps the service from beginning its run.
  if (faulted.end == runner::End::kDeadlock && strike.call != "ReleaseMutex" &&
      plain.end != runner::End::kDeadlock && !isQuiet(plain) && !isQuiet(faulted) &&
      !isInClient(faulted)) {
    verdict.reasons.emplace_back("somebody waits for ever");
  }
  for (std::string& illegal : illegalBeyond(knownIllegalReports(plain, strike), faulted.statuses)) {
    verdict.reasons.push_back(std::move(illegal));
  }
  for (const std::string& line : verdict.errors) {
    if (!isExplained(strike.call, line, verdict.errors) &&
        std::none_of(strike.own.begin(), strike.own.end(), [&](const OwnFault& own) {
          return isExplained(own.call, line, verdict.errors);
        })) {
      verdict.reasons.push_back("not explained: " + line);
    }
  }
  for (const std::string& line : verdict.ledger) {
    if (!isBalanced(strike.call, line) &&
        std::none_of(strike.own.begin(), strike.own.end(),
                     [&](const OwnFault& own) { return isBalanced(own.call, line); })) {
      verdict.reasons.push_back("ledger: " + line);
    }
  }
  return verdict;
}

}  // namespace sweep
