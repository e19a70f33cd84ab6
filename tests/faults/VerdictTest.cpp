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

TEST(VerdictTest, WhatIsPermittedIsNoReason) {
  const Verdict verdict =
      judgeFault(life({"[DBG] a"}), life({"[DBG] CoInitializeEx failed: 80010106"}),
                 strike("CoInitializeEx", Phase::kRunning));
  EXPECT_EQ(verdict.outcome, Outcome::kTold);
  EXPECT_EQ(verdict.reasons, Reasons{});
}

TEST(VerdictTest, WhatIsNotPermittedIsOne) {
  Sight fault = life({"[DBG] a"});
  fault.end = End::kFault;
  fault.endText = "fault (SIGSEGV)";
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), fault, strike("CreateProcessW", Phase::kRunning)).reasons,
            Reasons{"it must not come to \"fault\": fault (SIGSEGV)"});
}

// Another line than the one that the failure is required to leave.
TEST(VerdictTest, WhatIsToldInOtherWordsIsAReason) {
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), life({"[DBG] CoCreateInstance failed: 80010106"}),
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
  EXPECT_FALSE(judgeFault(life({"[DBG] a"}), refused, opening).reasons.empty());
  EXPECT_TRUE(judgeFault(life({"[DBG] a"}), life({"[DBG] a"}), opening).reasons.empty());
  opening.lasting = true;
  EXPECT_TRUE(judgeFault(life({"[DBG] a"}), refused, opening).reasons.empty());
  EXPECT_FALSE(judgeFault(life({"[DBG] a"}), life({"[DBG] a"}), opening).reasons.empty());
}

TEST(VerdictTest, OnlyOneErrorMayComeToTheUsageText) {
  Sight usage = life({"-- console: Usage: x parameter"});
  usage.statuses.clear();
  Strike refused = strike("StartServiceCtrlDispatcherW", Phase::kEntering);
  refused.error = ERROR_FAILED_SERVICE_CONTROLLER_CONNECT;
  EXPECT_TRUE(judgeFault(life({"[DBG] a"}), usage, refused).reasons.empty());
  refused.error = ERROR_SERVICE_ALREADY_RUNNING;
  EXPECT_FALSE(judgeFault(life({"[DBG] a"}), usage, refused).reasons.empty());
}

// A device that cannot be located is passed over if it is not the stack's.
TEST(VerdictTest, MachineDecidesWhatAFailureMayComeTo) {
  const Strike locating = strike("CM_Locate_DevNodeW", Phase::kEntering);
  Sight plain = life({"[DBG] a"});
  EXPECT_FALSE(judgeFault(plain, life({"[DBG] a"}), locating).reasons.empty());
  plain.hasOtherDevices = true;
  EXPECT_TRUE(judgeFault(plain, life({"[DBG] a"}), locating).reasons.empty());
}

TEST(VerdictTest, ServiceThatFailsAndTellsZeroHasFailed) {
  Sight failed = life({"[DBG] a"});
  failed.errors = {
      "[FTL] [TPM] Exception occured in ServiceMain function tals stack not installed"};
  failed.lines.push_back(failed.errors.front());
  const Verdict verdict =
      judgeFault(life({"[DBG] a"}), failed, strike("CM_Open_DevNode_Key", Phase::kStarting));
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
  EXPECT_EQ(
      judgeFault(life({"[DBG] a"}), life({"[DBG] a"}), strike("CreateProcessW", Phase::kRunning))
          .reasons,
      Reasons{"it must not come to \"unnoticed\": exit code 0"});
}

TEST(VerdictTest, ALogThatTellsNoneOfItMayStaySilent) {
  EXPECT_EQ(
      judgeFault(life({"-- a"}), life({"-- a"}), strike("CreateProcessW", Phase::kRunning)).reasons,
      Reasons{});
}

TEST(VerdictTest, AnotherPhaseMayNotComeToTheSame) {
  EXPECT_FALSE(
      judgeFault(life({"[DBG] a"}), life({"[DBG] b"}), strike("OpenProcessToken", Phase::kRunning))
          .reasons.empty());
}

TEST(VerdictTest, ErrorsThatTheFaultDoesNotExplainAreReasons) {
  const std::string told = "[ERR] [TPM] OpenProcessToken failed, error code: 5";
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), life({told, "[ERR] [TPM] Dropping Privileges: Failure"}),
                       strike("OpenProcessToken", Phase::kDropping))
                .reasons,
            Reasons{});
  EXPECT_EQ(
      judgeFault(life({"[DBG] a"}), life({told, "[ERR] [TPM] HeapFree failed, error code = 87"}),
                 strike("OpenProcessToken", Phase::kDropping))
          .reasons,
      Reasons{"not explained: [ERR] [TPM] HeapFree failed, error code = 87"});
}

TEST(VerdictTest, ImbalancesOfTheListOrOfTheCallThatFailedAreNone) {
  Sight unbalanced = life({"[DBG] a"});
  unbalanced.ledger = {"CloseHandle: null is no handle", "event from OpenEventW is still open"};
  EXPECT_EQ(
      judgeFault(life({"[DBG] a"}), unbalanced, strike("CloseHandle", Phase::kStopped)).reasons,
      Reasons{});
  unbalanced.ledger = {"key from RegOpenKeyExW is still open"};
  EXPECT_EQ(
      judgeFault(life({"[DBG] a"}), unbalanced, strike("CloseHandle", Phase::kStopped)).reasons,
      Reasons{"ledger: key from RegOpenKeyExW is still open"});
}

// The way in which the plain run ended is permitted here, so it may end so again.
TEST(VerdictTest, ARunThatEndsAsBadlyAsThePlainOneMayDoSo) {
  Sight plain = life({"[DBG] a"});
  plain.statuses.clear();
  plain.exitCode = -1;
  EXPECT_EQ(judgeFault(plain, plain, strike("EventRegister", Phase::kEntering)).reasons, Reasons{});
  EXPECT_FALSE(judgeFault(plain, plain, strike("CreateProcessW", Phase::kRunning)).reasons.empty());
}

TEST(VerdictTest, AMethodThatDoesItsWorkAndAnswersOneChangesNothing) {
  const Strike one{"IPrincipal::put_LogonType", Phase::kRunning, true, 1};
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), life({"[DBG] a"}), one).reasons, Reasons{});
  EXPECT_FALSE(judgeFault(life({"[DBG] a"}), life({"[DBG] b"}), one).reasons.empty());
}

TEST(VerdictTest, ALogThatNobodyHearsTellsNothing) {
  Sight unheard = life({"[DBG] a"});
  unheard.isHeard = false;
  EXPECT_EQ(
      judgeFault(unheard, life({"[DBG] a"}), strike("CreateProcessW", Phase::kRunning)).reasons,
      Reasons{});
}

TEST(VerdictTest, WhatFailsAnywayMayFail) {
  const Sight failing = life({"[DBG] a",
                              "[ERR] [TPM] Cannot run OrvixVTMEKRecertification.exe "
                              "process."});
  EXPECT_EQ(judgeFault(failing, failing, strike("CreateProcessW", Phase::kRunning)).reasons,
            Reasons{});
}

TEST(VerdictTest, WhatTheScenarioMakesFailMayComeAtAnotherPlace) {
  const Sight failing = life({"[ERR] [TPM] Cannot create event with error: 5"});
  Strike moved = strike("OpenProcessToken", Phase::kDropping);
  EXPECT_FALSE(judgeFault(life({"[DBG] a"}), failing, moved).reasons.empty());
  moved.alsoFailing = {"CreateEventW"};
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), failing, moved).reasons, Reasons{});
}

TEST(VerdictTest, InitHasOneExitCodeForAllThatFails) {
  Sight refused = life({"[ERR] [TPM] Unable to initialize service. Error message:"});
  const Strike namespaced = strike("CreatePrivateNamespaceW", Phase::kStarting);
  refused.statuses.back().exitCode = 5;
  EXPECT_FALSE(judgeFault(life({"[DBG] a"}), refused, namespaced).reasons.empty());
  refused.statuses.back().exitCode = DWORD(-1);
  EXPECT_TRUE(judgeFault(life({"[DBG] a"}), refused, namespaced).reasons.empty());
}

TEST(VerdictTest, StopEventThatIsRefusedGivesItsOwnError) {
  Sight refused = life({"[ERR] [TPM] Cannot create event with error: 5"});
  const Strike event = strike("CreateEventW", Phase::kRunning);
  refused.statuses.back().exitCode = 6;
  EXPECT_FALSE(judgeFault(life({"[DBG] a"}), refused, event).reasons.empty());
  refused.statuses.back().exitCode = 5;
  EXPECT_TRUE(judgeFault(life({"[DBG] a"}), refused, event).reasons.empty());
}

TEST(VerdictTest, GoalThatALaunchWhichFailedHasMetIsAReason) {
  const std::string begun = "[INF] [TPM] [0x] [Run] Starting talsInit...";
  const std::string failed = "[ERR] [TPM] Cannot run OrvixVTMEKRecertification.exe process.";
  const Strike launch = strike("CreateProcessW", Phase::kRunning);
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), life({"[DBG] a", begun, failed}), launch).reasons,
            Reasons{"it ended by itself with a goal open"});
  EXPECT_EQ(judgeFault(life({"[DBG] a"}),
                       life({"[DBG] a", begun, failed, "-- program started: C:\\x.exe"}), launch)
                .reasons,
            Reasons{});
}

TEST(VerdictTest, WhoWaitsForEverIsAReason) {
  Sight stuck = life({"[DBG] a", "[ERR] [TPM] Cannot run OrvixVTMEKRecertification.exe process."});
  stuck.end = End::kRunning;
  const Strike launch = strike("CreateProcessW", Phase::kRunning);
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), stuck, launch).reasons, Reasons{});
  stuck.end = End::kDeadlock;
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), stuck, launch).reasons,
            Reasons{"somebody waits for ever"});
  stuck.lines.emplace_back("[DBG] [TPM] [0x] Executing command synchronously");
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), stuck, launch).reasons, Reasons{});
  stuck.lines.emplace_back("[DBG] [TPM] [0x] tALS init status: 0x00 [STATUS_OK]");
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), stuck, launch).reasons,
            Reasons{"somebody waits for ever"});
}

// Nobody tells of a handle that is not closed but that of the token.
TEST(VerdictTest, TokenThatCannotBeClosedIsTold) {
  EXPECT_FALSE(
      judgeFault(life({"[DBG] a"}), life({"[DBG] a"}), strike("CloseHandle", Phase::kDropping))
          .reasons.empty());
  EXPECT_TRUE(
      judgeFault(life({"[DBG] a"}), life({"[DBG] a"}), strike("CloseHandle", Phase::kEntering))
          .reasons.empty());
}

// What is wrong with the plain run's reports may be wrong here, and nothing beside it.
TEST(VerdictTest, ReportsMayBeAsIllegalAsThoseOfThePlainRunAndNoMore) {
  Sight plain = life({"[DBG] a"});
  plain.statuses = {{SERVICE_START_PENDING, 1, 0, 0, 5000},
                    {SERVICE_RUNNING, 0, 0, 1, 5000},
                    {SERVICE_STOPPED, 0, 0, 1, 5000},
                    {SERVICE_STOPPED, 0, 0, 1, 5000}};
  Sight faulted = life({"[DBG] CoInitializeEx failed: 80010106"});
  faulted.statuses = plain.statuses;
  const Strike strikes = strike("CoInitializeEx", Phase::kRunning);
  EXPECT_EQ(judgeFault(plain, faulted, strikes).reasons, Reasons{});
  faulted.statuses.push_back({SERVICE_STOPPED, 0, 0, 1, 5000});
  EXPECT_EQ(judgeFault(plain, faulted, strikes).reasons,
            Reasons{"STOPPED was reported after STOPPED"});
  // Another report is the one that was overtaken.
  faulted.statuses = plain.statuses;
  faulted.statuses.pop_back();
  faulted.statuses.insert(faulted.statuses.begin() + 2, 2, {SERVICE_STOP_PENDING, 2, 0, 1, 5000});
  EXPECT_EQ(judgeFault(plain, faulted, strikes).reasons, Reasons{});
  faulted.statuses = plain.statuses;
  faulted.statuses[0].checkPoint = 0;
  EXPECT_EQ(judgeFault(plain, faulted, strikes).reasons,
            Reasons{"the check-point did not rise: 0 after 0"});
}

TEST(VerdictTest, AFaultThatNeverStruckIsAReason) {
  EXPECT_EQ(judgeFault(life({}), life({}), {"CloseHandle", Phase::kLoading, false, 5}).reasons,
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

TEST(PermittedTest, NothingMayBreak) {
  for (const Permission& row : permissions()) {
    EXPECT_FALSE(permits(row, Outcome::kBroken)) << row.calls;
    EXPECT_FALSE(permits(row, Outcome::kNotStopped)) << row.calls;
  }
}

}  // namespace
}  // namespace sweep
