#include "tools/simulate/Verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr host::Nanoseconds kSecond = 1'000 * host::kNanosecondsPerMillisecond;

// A life as it is told, piece by piece; each piece comes a millisecond after the one before.
class LifeText {
 public:
  LifeText() { scenario_.clientScript = "talsInitHUB = 0\ntalsInitQX1 = 8\ntalsInitQX1 = 0\n"; }

  LifeText& log(const std::string& text) {
    return add(host::ReportKind::kDebugLine,
               "2026-01-02 03:04:05:006 0000000000001a34 TPMEnrollmentService: [DBG] [TPM] " +
                   text + "\n");
  }
  LifeText& logError(const std::string& text) {
    return add(host::ReportKind::kDebugLine,
               "2026-01-02 03:04:05:006 0000000000001a34 TPMEnrollmentService: [ERR] [TPM] " +
                   text + "\n");
  }
  LifeText& note(const std::string& text) { return add(host::ReportKind::kNote, text); }
  LifeText& status(const std::string& text) { return add(host::ReportKind::kStatus, text); }
  LifeText& later(host::Nanoseconds duration) {
    now_ += duration;
    return *this;
  }

  LifeText& begins() {
    return status("2 1 0 0 5000")
        .status("4 0 0 1 5000")
        .log("Registering STOP event completed!")
        .log("[0x7ff] [Run] Starting talsInit...");
  }
  LifeText& runs(int method, const std::string& status) {
    log("Running Init for method: " + std::to_string(method))
        .log("[0x7ff] tALS init status: 0x" + status);
    return status == "08"
               ? log("Init(EPID cert provisioning) transaction failed with error : 0x08 [X]")
               : *this;
  }
  LifeText& looksAndOpens() {
    return log("Registering to TPM Event...").log("Event opened successfully!");
  }
  LifeText& waits(const std::string& result, host::Nanoseconds duration = 60 * kSecond) {
    return log("Waiting for signaled event, with timeout = 60 seconds.")
        .later(duration)
        .log("[0x7ff] [Run] Waiting over. dwObject value: " + result);
  }
  LifeText& launches() {
    return log("[0x7ff] [Run] Tpm event signaled.")
        .note("program started: C:\\x.exe")
        .log("[0x7ff] [RunVTMEKRecertification] OrvixVTMEKRecertification has been started.");
  }
  LifeText& stopComes() {
    return note("service manager: stop requested")
        .status("3 2 0 1 5000")
        .log("Stopping service...");
  }
  LifeText& ends(unsigned launches = 1) {
    log("Closing talsClient access layer").status("1 0 0 1 5000");
    result_.end = runner::End::kExit;
    result_.ledger = {"unnamed: boundary from CreateBoundaryDescriptorW is still open"};
    for (unsigned i = 0; i < launches; ++i) {
      result_.ledger.emplace_back("unnamed: process from CreateProcessW is still open");
      result_.ledger.emplace_back("unnamed: thread from CreateProcessW is still open");
    }
    return *this;
  }

  std::vector<std::string> broken(bool isHeldUp = false) const { return verdict(isHeldUp).broken; }
  simulate::Verdict verdict(bool isHeldUp = false) const {
    return simulate::judgeLife({scenario_, result_, config_, isHeldUp});
  }
  std::vector<std::string> brokenBesideTheLog() const {
    return simulate::judgeLife({scenario_, result_, config_, false, false}).broken;
  }

  host::Scenario scenario_;
  runner::RunResult result_;
  std::string config_ = "TCBRepeaterTime = \"60\"\n";

 private:
  LifeText& add(host::ReportKind kind, const std::string& text) {
    now_ += host::kNanosecondsPerMillisecond;
    addRecord(result_, {kind, now_, text});
    return *this;
  }

  host::Nanoseconds now_ = 0;
};

// A whole life that keeps every promise.
LifeText soundLife() {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").waits("258").runs(2, "00");
  life.waits("1", kSecond).launches().ends();
  return life;
}

TEST(VerdictTest, SoundLifeBreaksNothing) {
  EXPECT_THAT(soundLife().broken(), IsEmpty());
}

TEST(VerdictTest, TransactionThatIsRunAgainAfterItWasDone) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").waits("258").runs(1, "00");
  EXPECT_THAT(life.broken(), Contains("a transaction was run again after it counted as done"));
}

TEST(VerdictTest, TransactionThatIsTriedAgainWithoutAWait) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").runs(2, "00");
  EXPECT_THAT(life.broken(), Contains("a transaction was tried again without a wait"));
}

TEST(VerdictTest, EndWithAGoalOpen) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").waits("258").ends(0);
  EXPECT_THAT(life.broken(), Contains("the loop ended with a goal open and without a stop"));
}

TEST(VerdictTest, WaitThatIsTooShort) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").waits("258", 59 * kSecond);
  EXPECT_THAT(life.broken(), Contains("a wait timed out too early"));
}

TEST(VerdictTest, WaitAlthoughAllGoalsStand) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").waits("1").launches();
  life.runs(2, "00").waits("258");
  EXPECT_THAT(life.broken(), Contains("the service waits although all goals stand"));
}

TEST(VerdictTest, AnswerThatTheLibraryDidNotGive) {
  LifeText life;
  life.begins().runs(1, "02");
  EXPECT_THAT(life.broken(), Contains("the client library answered 2 in place of 0"));
}

TEST(VerdictTest, StopThatEndsTheWait) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.").later(kSecond).stopComes();
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 0");
  life.log("[0x7ff] [Run] Stop service event signaled.").ends(0);
  EXPECT_THAT(life.broken(), IsEmpty());
}

TEST(VerdictTest, StopThatIsLost) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.")
      .stopComes()
      .later(60 * kSecond);
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 258");
  EXPECT_THAT(life.broken(), Contains("a stop was lost that was not to be lost"));
}

TEST(VerdictTest, StopThatIsTakenAndNotHandedOn) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.");
  life.note("service manager: stop requested").status("3 2 0 1 5000").later(60 * kSecond);
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 258");
  EXPECT_THAT(life.broken(), Contains("a stop was taken and never handed on"));
}

TEST(VerdictTest, StopWhoseReportIsRefusedNeedNotBeHandedOn) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.");
  life.note("service manager: stop requested");
  life.logError("Exception occured in ServiceControlHandler function ").later(60 * kSecond);
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 258");
  life.result_.end = runner::End::kRunning;
  EXPECT_THAT(life.broken(),
              ElementsAre("the control handler failed while the service was at work"));
  life.scenario_.faults.push_back({"SetServiceStatus", 6, 3});
  EXPECT_THAT(life.broken(), IsEmpty());
}

TEST(VerdictTest, WaitThatIsTooLong) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").waits("258", 62 * kSecond);
  life.result_.end = runner::End::kRunning;
  EXPECT_THAT(life.broken(), ElementsAre("a wait lasts longer than it is to last"));
}

TEST(VerdictTest, WaitThatNeverEnds) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.").later(70 * kSecond);
  life.note("the network is back");
  life.result_.end = runner::End::kDeadlock;
  EXPECT_THAT(life.broken(), ElementsAre("a wait lasts longer than it is to last"));
}

TEST(VerdictTest, ServiceThatDoesNotGoOn) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().later(60 * kSecond).note("the network is back");
  life.result_.end = runner::End::kDeadlock;
  EXPECT_THAT(life.broken(), ElementsAre("the service does not go on"));
}

TEST(VerdictTest, StopAheadOfTheStopEventMayBeLost) {
  LifeText life;
  life.status("2 1 0 0 5000").status("4 0 0 1 5000").stopComes();
  life.log("Registering STOP event completed!").log("[0x7ff] [Run] Starting talsInit...");
  life.runs(1, "00").looksAndOpens().runs(2, "08").waits("258").runs(2, "00");
  life.waits("1", kSecond).launches().ends();
  EXPECT_THAT(life.broken(), IsEmpty());
}

TEST(VerdictTest, StopThatIsSeenAfterTheLookTookIt) {
  LifeText life;
  life.begins().runs(1, "00").log("Registering to TPM Event...");
  life.log("Next try in 5 sec. Tries left : 9").stopComes().log("Scheduling VTM Task ...");
  life.runs(2, "08").waits("0", kSecond).log("[0x7ff] [Run] Stop service event signaled.");
  EXPECT_THAT(life.broken(),
              Contains("a stop was seen that did not come, or that had been taken before"));
}

// Nobody can see the stop while the machine sleeps, and the wait goes on where it stood.
TEST(VerdictTest, SleepOfTheMachineCountsForNothing) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.").stopComes();
  life.later(7200 * kSecond).note("the machine slept for 7200000 ms");
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 0");
  life.log("[0x7ff] [Run] Stop service event signaled.").ends(0);
  EXPECT_THAT(life.broken(), IsEmpty());
  EXPECT_EQ(life.verdict().probes[static_cast<std::size_t>(simulate::Probe::kSleepInTheWait)], 1U);
}

TEST(VerdictTest, StopThatIsLostInASleep) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.").stopComes();
  life.later(7200 * kSecond).note("the machine slept for 7200000 ms").later(kSecond);
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 258");
  EXPECT_THAT(life.broken(), Contains("a stop was lost that was not to be lost"));
}

TEST(VerdictTest, WaitThatASleepMakesTooShort) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.").later(kSecond);
  life.later(7200 * kSecond).note("the machine slept for 7200000 ms");
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 258");
  life.result_.end = runner::End::kRunning;
  EXPECT_THAT(life.broken(), Contains("a wait timed out too early"));
  life.scenario_.majorVersion = 6;
  life.scenario_.minorVersion = 1;
  EXPECT_THAT(life.broken(), IsEmpty());
}

TEST(VerdictTest, LookThatEndsEarlyWithoutAStop) {
  LifeText life;
  life.begins().runs(1, "00").log("Registering to TPM Event...");
  life.log("Next try in 5 sec. Tries left : 9").log("Scheduling VTM Task ...");
  EXPECT_THAT(life.broken(), Contains("the look for the event ended early without a stop"));
}

TEST(VerdictTest, LoopThatGoesOnAfterAStop) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.").later(kSecond).stopComes();
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 0");
  life.log("[0x7ff] [Run] Stop service event signaled.").runs(2, "00");
  EXPECT_THAT(life.broken(), Contains("the loop went on after a stop"));
}

TEST(VerdictTest, CheckPointThatDoesNotRise) {
  LifeText life = soundLife();
  life.result_.records.clear();
  life.begins().stopComes().status("3 2 0 1 5000").status("3 2 0 1 5000");
  EXPECT_THAT(life.broken(), Contains("the check-point did not rise: 2 after 2"));
}

// The one report that may tell what another one filled in is that of STOPPED, which is lost then.
TEST(VerdictTest, ReportThatIsOvertakenLosesStopped) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").waits("258").runs(2, "00");
  life.waits("1", kSecond).launches().log("Closing talsClient access layer");
  life.stopComes().status("3 2 0 1 5000");
  life.result_.end = runner::End::kExit;
  life.result_.ledger = soundLife().result_.ledger;
  EXPECT_THAT(life.broken(), IsEmpty());
  life.status("1 0 0 1 5000");
  EXPECT_THAT(life.broken(), ElementsAre("the check-point did not rise: 2 was told twice"));
}

// The first stop's handler tells STOPPED, and the second's takes its place in the service's report.
TEST(VerdictTest, ReportThatIsOvertakenAfterStoppedTakesASecondStop) {
  LifeText life;
  life.begins().note("service manager: stop requested").note("service manager: stop requested");
  life.status("1 0 0 1 5000").status("3 3 0 1 5000").status("3 3 0 1 5000");
  life.result_.end = runner::End::kExit;
  life.result_.ledger = {"unnamed: boundary from CreateBoundaryDescriptorW is still open"};
  EXPECT_THAT(life.brokenBesideTheLog(), IsEmpty());
  LifeText once;
  once.begins().note("service manager: stop requested");
  once.status("1 0 0 1 5000").status("3 3 0 1 5000").status("3 3 0 1 5000");
  once.result_.end = runner::End::kExit;
  once.result_.ledger = life.result_.ledger;
  EXPECT_THAT(once.brokenBesideTheLog(), ElementsAre("the check-point did not rise: 3 after 3"));
}

TEST(VerdictTest, EndWithoutStopped) {
  LifeText life = soundLife();
  life.result_.records.pop_back();
  EXPECT_THAT(life.broken(), ElementsAre("the process ended by itself without STOPPED"));
}

TEST(VerdictTest, ErrorThatNothingExplains) {
  LifeText life = soundLife();
  life.logError("[0x7ff] [Run] Waiting for event failed with error: 6");
  EXPECT_THAT(life.broken(),
              Contains("an error that nothing explains: Waiting for event failed with error: 6"));
}

TEST(VerdictTest, SoundConfigurationIsNotCorrupted) {
  LifeText life = soundLife();
  life.logError("Corrupted config. Default values will be used.");
  EXPECT_THAT(life.broken(), ElementsAre("a configuration that is sound counts as corrupted"));
  life.config_ += "# a comment\n\nthis is no setting\n";
  EXPECT_THAT(life.broken(), IsEmpty());
}

TEST(VerdictTest, ImbalanceThatNothingExplains) {
  LifeText life = soundLife();
  life.result_.ledger.emplace_back("unnamed: event from OpenEventW is still open");
  EXPECT_THAT(life.broken(), ElementsAre("an imbalance that nothing explains: event from "
                                         "OpenEventW is still open"));
}

TEST(VerdictTest, HandlerThatIsLateComesToAClosedEventAndToNothingElse) {
  LifeText life = soundLife();
  const std::string closed = "unnamed: SetEvent: event 0x94 was closed before";
  life.result_.ledger.push_back(closed);
  EXPECT_THAT(life.broken(),
              ElementsAre("an imbalance that nothing explains: " + closed.substr(9)));
  life.result_.records.pop_back();
  life.stopComes().status("1 0 0 1 5000");
  EXPECT_THAT(life.broken(), IsEmpty());
  life.result_.ledger.emplace_back("unnamed: event from OpenEventW is still open");
  EXPECT_THAT(life.broken(), ElementsAre("an imbalance that nothing explains: event from "
                                         "OpenEventW is still open"));
}

// The object went while the handler had its lock.
TEST(VerdictTest, LockThatWentWithTheObjectIsAHandlersThatWasHeldUpAlone) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 60 seconds.").later(kSecond).stopComes();
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 0");
  life.log("[0x7ff] [Run] Stop service event signaled.").ends(0);
  life.logError("ScopedLock dtor: Unlock failed for: 0x7ffff4ffdd20");
  life.result_.ledger.emplace_back("unnamed: ReleaseMutex: mutex 0x68 was closed before");
  EXPECT_THAT(life.broken(true), IsEmpty());
  EXPECT_THAT(life.broken(false), Not(IsEmpty()));
}

// An exception took the object while the handler waited for its lock.
TEST(VerdictTest, LockThatWentWithAnExceptionIsTheHandlers) {
  LifeText life;
  life.begins().stopComes();
  life.logError("ScopedLock dtor: Unlock failed for: 0x7ffff4ffdd20");
  life.logError("Exception occured in ServiceMain function").status("1 0 0 1 5000");
  life.result_.end = runner::End::kExit;
  life.result_.ledger = {"unnamed: boundary from CreateBoundaryDescriptorW is still open",
                         "unnamed: ReleaseMutex: mutex 0x60 was closed before"};
  EXPECT_THAT(life.brokenBesideTheLog(), IsEmpty());
  std::erase_if(life.result_.records, [](const runner::Record& record) {
    return record.text.find("ServiceMain") != std::string::npos;
  });
  EXPECT_THAT(life.brokenBesideTheLog(),
              ElementsAre("an imbalance that nothing explains: ReleaseMutex: mutex 0x60 was "
                          "closed before"));
}

// The handler has said what it will do, and the loop goes round before it does.
TEST(VerdictTest, StopIsNotLostWhileASpinKeepsItsHandlerWaiting) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").stopComes();
  life.later(5 * host::kNanosecondsPerMillisecond);
  life.log("Waiting for signaled event, with timeout = 0 seconds.");
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 258").runs(2, "08");
  life.log("Waiting for signaled event, with timeout = 0 seconds.");
  life.log("[0x7ff] [Run] Waiting over. dwObject value: 0");
  life.log("[0x7ff] [Run] Stop service event signaled.").ends(0);
  life.scenario_.clientScript = "talsInitQX1 = 8\n";
  life.config_ = "TCBRepeaterTime = \"0\"\n";
  EXPECT_THAT(life.broken(), IsEmpty());
  life.config_ = "TCBRepeaterTime = \"60\"\n";
  EXPECT_THAT(life.broken(), Contains("a stop was lost that was not to be lost"));
}

TEST(VerdictTest, ServiceMayFailIfItsReportIsRefused) {
  LifeText life = soundLife();
  life.result_.records.pop_back();
  life.logError("Exception occured in ServiceMain function").status("1 0 6 1 5000");
  EXPECT_THAT(life.broken(),
              ElementsAre("an error that nothing explains: Exception occured in ServiceMain "
                          "function",
                          "STOPPED with exit code 6"));
  life.scenario_.faults.push_back({"SetServiceStatus", 6, 3});
  EXPECT_THAT(life.broken(), IsEmpty());
}

TEST(VerdictTest, ChildWhoseHandlesAreNotKept) {
  LifeText life = soundLife();
  life.result_.ledger.pop_back();
  EXPECT_THAT(life.broken(), ElementsAre("thread from CreateProcessW is still open: 0 times"));
}

TEST(VerdictTest, FaultThatTheLibraryDidNotCause) {
  LifeText life;
  life.begins().log("Running Init for method: 1");
  life.result_.end = runner::End::kFault;
  EXPECT_THAT(life.broken(), Contains("the process ended with a fault"));
  life.scenario_.clientScript = "talsInitHUB = crash\n";
  EXPECT_THAT(life.broken(), IsEmpty());
}

TEST(VerdictTest, LifeThatGoesOnAlthoughAllGoalsStand) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08").waits("258").runs(2, "00");
  life.waits("1", kSecond).launches().later(60 * kSecond).note("the network is back");
  life.result_.end = runner::End::kRunning;
  EXPECT_THAT(life.broken(), ElementsAre("the service goes on although all goals stand"));
}

TEST(VerdictTest, SpinWithoutAWaitOfZero) {
  LifeText life;
  life.begins().runs(1, "00").looksAndOpens().runs(2, "08");
  life.result_.end = runner::End::kEndless;
  EXPECT_THAT(life.broken(), ElementsAre("the service spins although its wait is not zero"));
}

TEST(VerdictTest, WhatTheLogTellsCountsForNothingWhereItIsNotJudged) {
  LifeText life;
  life.begins().runs(1, "00").runs(1, "00");
  life.logError("[0x7ff] [Run] Waiting for event failed with error: 6").ends(0);
  life.result_.ledger.emplace_back("unnamed: CloseHandle: null is no handle");
  EXPECT_THAT(life.broken(), Not(IsEmpty()));
  EXPECT_THAT(life.brokenBesideTheLog(), IsEmpty());
}

TEST(VerdictTest, ReportsEndAndLedgerCountWhereTheLogIsNotJudged) {
  LifeText life;
  life.begins().stopComes().status("3 3 0 1 5000").status("3 1 0 1 5000").status("1 0 6 1 5000");
  life.result_.end = runner::End::kExit;
  life.result_.ledger = {"unnamed: boundary from CreateBoundaryDescriptorW is still open",
                         "unnamed: event from OpenEventW is still open"};
  EXPECT_THAT(life.brokenBesideTheLog(),
              ElementsAre("the check-point did not rise: 1 after 3", "STOPPED with exit code 6",
                          "an imbalance that nothing explains: event from OpenEventW is still "
                          "open"));
}

TEST(VerdictTest, CrashesOfTheRecertificationProgramAreCounted) {
  LifeText life = soundLife();
  const auto crashes = [&](simulate::Probe probe) {
    return life.verdict().probes[static_cast<std::size_t>(probe)];
  };
  EXPECT_EQ(crashes(simulate::Probe::kProgramCrashed), 0U);
  life.scenario_.recertificationCrashes = true;
  EXPECT_EQ(crashes(simulate::Probe::kProgramCrashed), 1U);
  life.note("task \"T\" ended with exit code 1");
  EXPECT_EQ(crashes(simulate::Probe::kTaskProgramCrashed), 0U);
  life.note("task \"T\" ended with exit code 3221225477");
  EXPECT_EQ(crashes(simulate::Probe::kTaskProgramCrashed), 1U);
}

TEST(VerdictTest, WaitThatAConfigurationAsksFor) {
  EXPECT_EQ(simulate::expectedWaitMs(std::nullopt), 3'600'000);
  EXPECT_EQ(simulate::expectedWaitMs("LogLevel = \"DEBUG\"\n"), 3'600'000);
  EXPECT_EQ(simulate::expectedWaitMs("TCBRepeaterTime = \"2\"\n"), 2'000);
  EXPECT_EQ(simulate::expectedWaitMs("TCBRepeaterTime = \"-1\"\n"), 3'600'000);
  EXPECT_EQ(simulate::expectedWaitMs("TCBRepeaterTime = \"soon\"\n"), 3'600'000);
  EXPECT_EQ(simulate::expectedWaitMs("TCBRepeaterTime = \"4294968\"\n"), 704);
}

}  // namespace
