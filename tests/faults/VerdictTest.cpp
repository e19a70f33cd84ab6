#include "tools/sweep/Verdict.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "platform/host/FaultTable.h"
#include "platform/host/windows/windows.h"
#include "tools/sweep/Permitted.h"

namespace sweep {
namespace {

using host::Phase;
using runner::End;

Sight life(std::vector<std::string> lines) {
  Sight sight;
  sight.end = End::kExit;
  sight.endText = "exit code 0";
  sight.statuses = {{SERVICE_STOPPED, 0, 0, 1, 5000}};
  sight.lines = std::move(lines);
  for (const std::string& line : sight.lines) {
    if (line.starts_with("[ERR] ")) {
      sight.errors.push_back(line);
    }
  }
  return sight;
}

Strike strike(std::string_view call, Phase phase) {
  return {call, phase, true, 5};
}

using Reasons = std::vector<std::string>;

// What a launch that fails with 5 must tell.
const std::vector<std::string> kNotLaunched = {
    "[ERR] [TPM] [0x] [RunVTMEKRecertification] Cannot run OrvixVTMEKRecertification.exe process.",
    "[ERR] [TPM] [0x] [Run] Process exception occured: Last error code: 5 : Access is denied.",
    "[DBG] [TPM] [0x] [Run] Service is going to continue.",
};

std::vector<std::string> with(std::vector<std::string> lines,
                              const std::vector<std::string>& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

// With the mark that a life of the model leaves.
Verdict judged(const Sight& plain, Sight faulted, const Strike& strike) {
  faulted.marks.push_back("-- fault: " + std::string(strike.call) +
                          (strike.lasting ? " fails from 1 on with 5" : " 1 fails with 5") +
                          (strike.isDone ? " after its work" : ""));
  return judgeFault(plain, faulted, strike);
}

TEST(VerdictTest, WhatIsPermittedIsNoReason) {
  const Verdict verdict = judged(life({"[DBG] a"}), life({"[DBG] [TPM] CoInitializeEx failed: 5"}),
                                 strike("CoInitializeEx", Phase::kRunning));
  EXPECT_EQ(verdict.outcome, Outcome::kTold);
  EXPECT_EQ(verdict.reasons, Reasons{});
}

TEST(VerdictTest, WhatIsNotPermittedIsOne) {
  Sight fault = life({"[DBG] a"});
  fault.end = End::kFault;
  fault.endText = "fault (SIGSEGV)";
  EXPECT_EQ(judged(life({"[DBG] a"}), fault, strike("CreateProcessW", Phase::kRunning)).reasons,
            Reasons{"it must not come to \"fault\": fault (SIGSEGV)"});
}

// Another line than the one that the failure is required to leave.
TEST(VerdictTest, WhatIsToldInOtherWordsIsAReason) {
  EXPECT_EQ(judged(life({"[DBG] a"}), life({"[DBG] [TPM] CoCreateInstance failed: 5"}),
                   strike("CoInitializeEx", Phase::kRunning))
                .reasons,
            Reasons{"it must not come to \"told\": exit code 0"});
}

// Of two tries the second succeeds, so a fault that does not last must not be felt.
TEST(VerdictTest, WhatAFaultThatLastsMayComeToOneThatDoesNotMayNot) {
  Sight refused = life({"[DBG] a"});
  refused.statuses.clear();
  refused.exitCode = -1;
  Strike opening = strike("RegOpenKeyExW", Phase::kEntering);
  EXPECT_FALSE(judged(life({"[DBG] a"}), refused, opening).reasons.empty());
  EXPECT_TRUE(judged(life({"[DBG] a"}), life({"[DBG] a"}), opening).reasons.empty());
  opening.lasting = true;
  EXPECT_TRUE(judged(life({"[DBG] a"}), refused, opening).reasons.empty());
  EXPECT_FALSE(judged(life({"[DBG] a"}), life({"[DBG] a"}), opening).reasons.empty());
}

TEST(VerdictTest, OnlyOneErrorMayComeToTheUsageText) {
  Sight usage = life({"-- console: Usage: x parameter"});
  usage.statuses.clear();
  Strike refused = strike("StartServiceCtrlDispatcherW", Phase::kEntering);
  refused.error = ERROR_FAILED_SERVICE_CONTROLLER_CONNECT;
  EXPECT_TRUE(judged(life({"[DBG] a"}), usage, refused).reasons.empty());
  refused.error = ERROR_SERVICE_ALREADY_RUNNING;
  EXPECT_FALSE(judged(life({"[DBG] a"}), usage, refused).reasons.empty());
}

// A device that cannot be located is passed over if it is not the stack's.
TEST(VerdictTest, MachineDecidesWhatAFailureMayComeTo) {
  const Strike locating = strike("CM_Locate_DevNodeW", Phase::kEntering);
  Sight plain = life({"[DBG] a"});
  EXPECT_FALSE(judged(plain, life({"[DBG] a"}), locating).reasons.empty());
  plain.hasOtherDevices = true;
  EXPECT_TRUE(judged(plain, life({"[DBG] a"}), locating).reasons.empty());
}

TEST(VerdictTest, ServiceThatFailsAndTellsZeroHasFailed) {
  Sight failed = life({"[DBG] a"});
  failed.errors = {
      "[ERR] [TPM] CM_Open_DevNode_Key failed with status = # for a 5",
      "[FTL] [TPM] Exception occured in ServiceMain function tals stack not installed"};
  failed.lines = with(failed.lines, failed.errors);
  const Verdict verdict =
      judged(life({"[DBG] a"}), failed, strike("CM_Open_DevNode_Key", Phase::kStarting));
  EXPECT_EQ(verdict.outcome, Outcome::kErrorAsZero);
  EXPECT_EQ(verdict.reasons, Reasons{});
}

TEST(VerdictTest, StopThatFindsNoServiceIsExplainedByAnExceptionAlone) {
  const std::string late =
      "[ERR] [TPM] Exception occured in ServiceControlHandler function "
      "Singleton::getInstance():NULL instance of x";
  EXPECT_FALSE(isExplained("CreateMutexW", late, {late}));
  EXPECT_TRUE(isExplained("CreateMutexW", late,
                          {late, "[FTL] [TPM] Exception occured in ServiceMain function y"}));
}

TEST(VerdictTest, AFailureThatMustBeToldIsNotUnnoticed) {
  EXPECT_EQ(judged(life({"[DBG] a"}), life({"[DBG] a"}), strike("CreateProcessW", Phase::kRunning))
                .reasons,
            Reasons{"it must not come to \"unnoticed\": exit code 0"});
}

TEST(VerdictTest, ALogThatTellsNoneOfItMayStaySilent) {
  EXPECT_EQ(
      judged(life({"-- a"}), life({"-- a"}), strike("CreateProcessW", Phase::kRunning)).reasons,
      Reasons{});
}

TEST(VerdictTest, AnotherPhaseMayNotComeToTheSame) {
  EXPECT_FALSE(
      judged(life({"[DBG] a"}), life({"[DBG] b"}), strike("OpenProcessToken", Phase::kRunning))
          .reasons.empty());
}

TEST(VerdictTest, ErrorsThatTheFaultDoesNotExplainAreReasons) {
  const std::string told = "[ERR] [TPM] OpenProcessToken failed, error code: 5";
  const std::string dropped = "[ERR] [TPM] Dropping Privileges: Failure";
  EXPECT_EQ(
      judged(life({"[DBG] a"}), life({told, dropped}), strike("OpenProcessToken", Phase::kDropping))
          .reasons,
      Reasons{});
  EXPECT_EQ(judged(life({"[DBG] a"}),
                   life({told, dropped, "[ERR] [TPM] HeapFree failed, error code = 87"}),
                   strike("OpenProcessToken", Phase::kDropping))
                .reasons,
            Reasons{"not explained: [ERR] [TPM] HeapFree failed, error code = 87"});
}

// A failure that has no part in it does not excuse it, although it is on the list of imbalances.
TEST(VerdictTest, ImbalanceOfTheListIsOneWhereAnotherCallFailed) {
  const std::string gone = "IUnknown::Release: the ITaskFolder was released before";
  const auto reasonsOf = [&](std::string_view call, std::string_view told) {
    Sight unbalanced = life({"[DBG] [TPM] " + std::string(told)});
    unbalanced.ledger = {gone};
    return judged(life({"[DBG] a"}), unbalanced, strike(call, Phase::kRunning)).reasons;
  };
  EXPECT_EQ(reasonsOf("ITaskDefinition::get_Principal", "Cannot get principal pointer: 5"),
            Reasons{"ledger: " + gone});
  EXPECT_FALSE(isBalanced("ITaskFolder::RegisterTaskDefinition", gone));
  EXPECT_TRUE(isBalanced("ITaskDefinition::get_RegistrationInfo", gone));
}

TEST(VerdictTest, ImbalancesOfTheListOrOfTheCallThatFailedAreNone) {
  Sight unbalanced = life({"[DBG] a"});
  unbalanced.ledger = {"CloseHandle: null is no handle", "event from OpenEventW is still open"};
  EXPECT_EQ(judged(life({"[DBG] a"}), unbalanced, strike("CloseHandle", Phase::kStopped)).reasons,
            Reasons{});
  unbalanced.ledger = {"key from RegOpenKeyExW is still open"};
  EXPECT_EQ(judged(life({"[DBG] a"}), unbalanced, strike("CloseHandle", Phase::kStopped)).reasons,
            Reasons{"ledger: key from RegOpenKeyExW is still open"});
}

// The way in which the plain run ended is permitted here, so it may end so again.
TEST(VerdictTest, ARunThatEndsAsBadlyAsThePlainOneMayDoSo) {
  Sight plain = life({"[DBG] a"});
  plain.statuses.clear();
  plain.exitCode = -1;
  EXPECT_EQ(judged(plain, plain, strike("EventRegister", Phase::kEntering)).reasons, Reasons{});
  EXPECT_FALSE(judged(plain, plain, strike("CreateProcessW", Phase::kRunning)).reasons.empty());
}

TEST(VerdictTest, AMethodThatDoesItsWorkAndAnswersOneChangesNothing) {
  const Strike one{"IPrincipal::put_LogonType", Phase::kRunning, true, 1};
  EXPECT_EQ(judged(life({"[DBG] a"}), life({"[DBG] a"}), one).reasons, Reasons{});
  EXPECT_FALSE(judged(life({"[DBG] a"}), life({"[DBG] b"}), one).reasons.empty());
}

TEST(VerdictTest, ALogThatNobodyHearsTellsNothing) {
  Sight unheard = life({"[DBG] a"});
  unheard.isHeard = false;
  EXPECT_EQ(judged(unheard, life({"[DBG] a"}), strike("CreateProcessW", Phase::kRunning)).reasons,
            Reasons{});
}

TEST(VerdictTest, WhatFailsAnywayMayFail) {
  const Sight failing = life(with({"[DBG] a"}, kNotLaunched));
  EXPECT_EQ(judged(failing, failing, strike("CreateProcessW", Phase::kRunning)).reasons, Reasons{});
  // With another error it is told by another number.
  Strike other = strike("CreateProcessW", Phase::kRunning);
  other.error = 2;
  EXPECT_FALSE(judged(failing, failing, other).reasons.empty());
}

// The scenario's own fault strikes where its row is about, because the fault has moved it there.
TEST(VerdictTest, WhatTheScenarioMakesFailMayComeAtAnotherPlace) {
  Sight failing = life({"[ERR] [TPM] Cannot create event with error: 5",
                        "[DBG] [TPM] Service stopped with error: Access is denied."});
  failing.statuses.back().exitCode = 5;
  Strike dropping = strike("OpenProcessToken", Phase::kDropping);
  EXPECT_FALSE(judged(life({"[DBG] a"}), failing, dropping).reasons.empty());
  dropping.own = {{"CreateEventW", 5, false, false, in(Phase::kRunning), true}};
  EXPECT_EQ(judged(life({"[DBG] a"}), failing, dropping).reasons, Reasons{});
}

TEST(VerdictTest, WhatTheScenarioMakesFailIsPermittedAtThatPlaceAlone) {
  Sight failing = life({"[ERR] [TPM] Cannot create event with error: 5",
                        "[DBG] [TPM] Service stopped with error: Access is denied."});
  failing.statuses.back().exitCode = 5;
  Strike dropping = strike("OpenProcessToken", Phase::kDropping);
  dropping.own = {{"CreateEventW", 5, false, false, in(Phase::kStarting), true}};
  EXPECT_FALSE(judged(life({"[DBG] a"}), failing, dropping).reasons.empty());
  dropping.own = {{"CreateEventW", 8, false, false, in(Phase::kRunning), true}};
  EXPECT_FALSE(judged(life({"[DBG] a"}), failing, dropping).reasons.empty());
  // Where it strikes as it does without the fault, it excuses nothing.
  dropping.own = {{"CreateEventW", 5, false, false, in(Phase::kRunning), false}};
  EXPECT_FALSE(judged(life({"[DBG] a"}), failing, dropping).reasons.empty());
}

TEST(VerdictTest, InitHasOneExitCodeForAllThatFails) {
  Sight refused = life({"[DBG] [TPM] Cannot create private namespace!",
                        "[DBG] [TPM] Error during private namespace creation!",
                        "[ERR] [TPM] Unable to initialize service. Error message:"});
  const Strike namespaced = strike("CreatePrivateNamespaceW", Phase::kStarting);
  refused.statuses.back().exitCode = 5;
  EXPECT_FALSE(judged(life({"[DBG] a"}), refused, namespaced).reasons.empty());
  refused.statuses.back().exitCode = DWORD(-1);
  EXPECT_TRUE(judged(life({"[DBG] a"}), refused, namespaced).reasons.empty());
}

TEST(VerdictTest, StopEventThatIsRefusedGivesItsOwnError) {
  Sight refused = life({"[ERR] [TPM] Cannot create event with error: 5",
                        "[DBG] [TPM] Service stopped with error: Access is denied."});
  const Strike event = strike("CreateEventW", Phase::kRunning);
  refused.statuses.back().exitCode = 6;
  EXPECT_FALSE(judged(life({"[DBG] a"}), refused, event).reasons.empty());
  refused.statuses.back().exitCode = 5;
  EXPECT_TRUE(judged(life({"[DBG] a"}), refused, event).reasons.empty());
}

// Each of them left out in turn.
TEST(VerdictTest, EveryLineThatAFailureMustTellIsHeld) {
  const Strike launch = strike("CreateProcessW", Phase::kRunning);
  EXPECT_EQ(judged(life({"[DBG] a"}), life(with({"[DBG] a"}, kNotLaunched)), launch).reasons,
            Reasons{});
  for (std::size_t i = 0; i < kNotLaunched.size(); ++i) {
    std::vector<std::string> fewer = kNotLaunched;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
    EXPECT_FALSE(judged(life({"[DBG] a"}), life(with({"[DBG] a"}, fewer)), launch).reasons.empty())
        << kNotLaunched[i];
  }
}

TEST(VerdictTest, DroppingThatFailsIsToldTwice) {
  const Strike token = strike("OpenProcessToken", Phase::kDropping);
  const std::string opened = "[ERR] [TPM] OpenProcessToken failed, error code: 5";
  const std::string dropped = "[ERR] [TPM] Dropping Privileges: Failure";
  EXPECT_EQ(judged(life({"[DBG] a"}), life({"[DBG] a", opened, dropped}), token).reasons,
            Reasons{});
  EXPECT_FALSE(judged(life({"[DBG] a"}), life({"[DBG] a", opened}), token).reasons.empty());
  EXPECT_FALSE(judged(life({"[DBG] a"}), life({"[DBG] a", dropped}), token).reasons.empty());
}

// A log without DEBUG still tells what is an error.
TEST(VerdictTest, OnlyLinesThatTheLogLeavesOutMayBeMissing) {
  const Strike launch = strike("CreateProcessW", Phase::kRunning);
  const std::vector<std::string> errors(kNotLaunched.begin(), kNotLaunched.begin() + 2);
  EXPECT_EQ(judged(life({"[INF] a"}), life(with({"[INF] a"}, errors)), launch).reasons, Reasons{});
  EXPECT_FALSE(judged(life({"[INF] a"}), life({"[INF] a", errors[0]}), launch).reasons.empty());
  EXPECT_FALSE(judged(life({"[INF] a"}), life({"[INF] a"}), launch).reasons.empty());
}

TEST(VerdictTest, AFaultWithoutAMarkIsAReason) {
  const Strike letGo = strike("FindClose", Phase::kEntering);
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), life({"[DBG] a"}), letGo).reasons,
            Reasons{"the fault left no mark"});
  Sight marked = life({"[DBG] a"});
  marked.marks = {"-- fault: CloseHandle 1 fails with 5"};
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), marked, letGo).reasons,
            Reasons{"the fault left no mark"});
  marked.marks = {"-- fault: FindClose 1 fails with 5"};
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), marked, letGo).reasons, Reasons{});
}

// The manager took the first of them, and the service could not know.
TEST(VerdictTest, StoppedIsToldTwiceWhereTheFirstReportWasTakenAndFailed) {
  Sight twice = life({"[DBG] a", "[FTL] [TPM] Exception occured in ServiceMain function"});
  twice.errors = {twice.lines.back()};
  twice.statuses = {{SERVICE_START_PENDING, 1, 0, 0, 5000},
                    {SERVICE_RUNNING, 0, 0, 1, 5000},
                    {SERVICE_STOPPED, 0, 0, 1, 5000},
                    {SERVICE_STOPPED, 0, 5, 1, 5000}};
  Strike report = strike("SetServiceStatus", Phase::kRunning);
  EXPECT_EQ(judged(life({"[DBG] a"}), twice, report).reasons,
            Reasons{"STOPPED was reported after STOPPED"});
  report.isDone = true;
  EXPECT_EQ(judged(life({"[DBG] a"}), twice, report).reasons, Reasons{});
  twice.statuses.push_back({SERVICE_STOPPED, 0, 5, 1, 5000});
  EXPECT_EQ(judged(life({"[DBG] a"}), twice, report).reasons,
            Reasons{"STOPPED was reported after STOPPED"});
}

TEST(VerdictTest, GoalThatALaunchWhichFailedHasMetIsAReason) {
  const std::string begun = "[INF] [TPM] [0x] [Run] Starting talsInit...";
  const Strike launch = strike("CreateProcessW", Phase::kRunning);
  EXPECT_EQ(judged(life({"[DBG] a"}), life(with({"[DBG] a", begun}, kNotLaunched)), launch).reasons,
            Reasons{"it ended by itself with a goal open"});
  // That the program runs is not enough: the launch has to say so.
  EXPECT_EQ(
      judged(life({"[DBG] a"}),
             life(with({"[DBG] a", begun, "-- program started: C:\\x.exe"}, kNotLaunched)), launch)
          .reasons,
      Reasons{"it ended by itself with a goal open"});
  const std::string started =
      "[INF] [TPM] [0x] [RunVTMEKRecertification] OrvixVTMEKRecertification has been started.";
  EXPECT_EQ(judged(life({"[DBG] a"}), life(with({"[DBG] a", begun, started}, kNotLaunched)), launch)
                .reasons,
            Reasons{});
}

TEST(VerdictTest, WhoWaitsForEverIsAReason) {
  Sight stuck = life(with({"[DBG] a"}, kNotLaunched));
  stuck.end = End::kRunning;
  const Strike launch = strike("CreateProcessW", Phase::kRunning);
  EXPECT_EQ(judged(life({"[DBG] a"}), stuck, launch).reasons, Reasons{});
  stuck.end = End::kDeadlock;
  EXPECT_EQ(judged(life({"[DBG] a"}), stuck, launch).reasons, Reasons{"somebody waits for ever"});
  stuck.lines.emplace_back("[DBG] [TPM] [0x] Executing command synchronously");
  EXPECT_EQ(judged(life({"[DBG] a"}), stuck, launch).reasons, Reasons{});
  stuck.lines.emplace_back("[DBG] [TPM] [0x] tALS init status: 0x00 [STATUS_OK]");
  EXPECT_EQ(judged(life({"[DBG] a"}), stuck, launch).reasons, Reasons{"somebody waits for ever"});
}

// Nobody tells of a handle that is not closed but that of the token.
TEST(VerdictTest, TokenThatCannotBeClosedIsTold) {
  EXPECT_FALSE(judged(life({"[DBG] a"}), life({"[DBG] a"}), strike("CloseHandle", Phase::kDropping))
                   .reasons.empty());
  EXPECT_TRUE(judged(life({"[DBG] a"}), life({"[DBG] a"}), strike("CloseHandle", Phase::kEntering))
                  .reasons.empty());
}

// What is wrong with the plain run's reports may be wrong here, and nothing beside it.
TEST(VerdictTest, ReportsMayBeAsIllegalAsThoseOfThePlainRunAndNoMore) {
  Sight plain = life({"[DBG] a"});
  plain.statuses = {{SERVICE_START_PENDING, 1, 0, 0, 5000},
                    {SERVICE_RUNNING, 0, 0, 1, 5000},
                    {SERVICE_STOPPED, 0, 0, 1, 5000},
                    {SERVICE_STOPPED, 0, 0, 1, 5000}};
  Sight faulted = life({"[DBG] [TPM] CoInitializeEx failed: 5"});
  faulted.statuses = plain.statuses;
  const Strike strikes = strike("CoInitializeEx", Phase::kRunning);
  EXPECT_EQ(judged(plain, faulted, strikes).reasons, Reasons{});
  faulted.statuses.push_back({SERVICE_STOPPED, 0, 0, 1, 5000});
  EXPECT_EQ(judged(plain, faulted, strikes).reasons, Reasons{"STOPPED was reported after STOPPED"});
  // Another report is the one that was overtaken.
  faulted.statuses = plain.statuses;
  faulted.statuses.pop_back();
  faulted.statuses.insert(faulted.statuses.begin() + 2, 2, {SERVICE_STOP_PENDING, 2, 0, 1, 5000});
  EXPECT_EQ(judged(plain, faulted, strikes).reasons, Reasons{});
  faulted.statuses = plain.statuses;
  faulted.statuses[0].checkPoint = 0;
  EXPECT_EQ(judged(plain, faulted, strikes).reasons,
            Reasons{"the check-point did not rise: 0 after 0"});
}

TEST(VerdictTest, AFaultThatNeverStruckIsAReason) {
  EXPECT_EQ(judged(life({}), life({}), {"CloseHandle", Phase::kLoading, false, 5}).reasons,
            Reasons{"the fault never struck"});
}

// A row of a misspelt call would permit nothing and nobody would see it.
TEST(PermittedTest, EachRowNamesACallThatCanFail) {
  std::set<std::string_view> named;
  for (const Permission& row : permissions()) {
    named.insert(row.calls);
  }
  for (const Explanation& row : explanations()) {
    named.insert(row.calls);
  }
  for (const Unbalanced& row : unbalanced()) {
    named.insert(row.calls);
  }
  for (std::string_view calls : named) {
    const bool isPrefix = calls.ends_with('*');
    calls.remove_suffix(isPrefix ? 1 : 0);
    const auto rows = host::faultTable();
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](const host::FaultRow& row) {
      return !row.errors.empty() && (isPrefix ? row.call.starts_with(calls) : row.call == calls);
    })) << calls;
  }
}

// As lines of the log begin; or nobody would notice that a row wants what no run tells.
TEST(PermittedTest, WhatMustBeToldBeginsWithALevel) {
  for (const Permission& row : permissions()) {
    for (const std::string_view text : row.told) {
      EXPECT_TRUE(text.empty() || text.starts_with("[DBG] [TPM] ") ||
                  text.starts_with("[INF] [TPM] ") || text.starts_with("[ERR] [TPM] ") ||
                  text.starts_with("[FTL] [TPM] "))
          << row.calls << ": " << text;
    }
  }
}

TEST(PermittedTest, TextsHoldTheErrorAndLeaveThingsOut) {
  EXPECT_TRUE(isToldBy("[DBG] x failed: 5 (y)", "[DBG] x failed: {}", 5));
  EXPECT_FALSE(isToldBy("[DBG] x failed: 6", "[DBG] x failed: {}", 5));
  EXPECT_TRUE(isToldBy("[DBG] x: 80070005", "[DBG] x: {x}", 0x80070005));
  EXPECT_FALSE(isToldBy("[ERR] [DBG] x", "[DBG] x", 0));
  EXPECT_TRUE(isToldBy("[DBG] one two three", "[DBG] one*three", 0));
  EXPECT_FALSE(isToldBy("[DBG] one two", "[DBG] one*three", 0));
  EXPECT_TRUE(isToldBy("[DBG] without more:", "[DBG] without more: ", 0));
}

TEST(PermittedTest, NothingMayBreak) {
  for (const Permission& row : permissions()) {
    EXPECT_FALSE(permits(row, Outcome::kBroken)) << row.calls;
    EXPECT_FALSE(permits(row, Outcome::kNotStopped)) << row.calls;
  }
}

}  // namespace
}  // namespace sweep
