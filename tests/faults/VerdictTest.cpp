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
  const Verdict verdict = judgeFault(life({"[DBG] a"}), life({"[DBG] b"}),
                                     strike("OpenProcessToken", Phase::kEntering));
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
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), life({"[ERR] [TPM] Dropping Privileges: Failure"}),
                       strike("OpenProcessToken", Phase::kEntering))
                .reasons,
            Reasons{});
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), life({"[ERR] [TPM] HeapFree failed, error code = 87"}),
                       strike("OpenProcessToken", Phase::kEntering))
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
  Strike moved = strike("OpenProcessToken", Phase::kEntering);
  EXPECT_FALSE(judgeFault(life({"[DBG] a"}), failing, moved).reasons.empty());
  moved.alsoFailing = {"CreateEventW"};
  EXPECT_EQ(judgeFault(life({"[DBG] a"}), failing, moved).reasons, Reasons{});
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
  for (const host::FaultRow& row : host::faultTable()) {
    for (const Phase phase : {Phase::kLoading, Phase::kEntering, Phase::kStarting, Phase::kRunning,
                              Phase::kStopping, Phase::kStopped}) {
      EXPECT_FALSE(isPermitted(row.call, phase, Outcome::kBroken)) << row.call;
    }
  }
}

}  // namespace
}  // namespace sweep
