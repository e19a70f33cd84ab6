#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "tests/unit/runtime/Thrown.h"
#include "tests/unit/service/EnrollmentRun.h"

namespace {

class EnrollmentLoopTest : public EnrollmentRun {};

// The platform publishes no TPM event.

const std::vector<std::string> kTransaction1 = {
    "[DBG] [TPM] Running Init for method: 1", "[DBG] [TPM] [0x] Executing command synchronously",
    "[DBG] [TPM] [0x] tALS init status: 0x00 [STATUS_OK]"};
const std::vector<std::string> kTransaction2 = {
    "[DBG] [TPM] Running Init for method: 2", "[DBG] [TPM] [0x] Executing command synchronously",
    "[DBG] [TPM] [0x] tALS init status: 0x00 [STATUS_OK]"};

std::vector<std::string> joined(const std::vector<std::vector<std::string>>& parts) {
  std::vector<std::string> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST_F(EnrollmentLoopTest, withoutTheEventTheTaskIsScheduledAndTheRunEndsByItself) {
  installClient();
  Peer::setRetries(enrollment, 1);
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(linesFrom("Starting talsInit..."),
            joined({{"[INF] [TPM] [0x] [Run] Starting talsInit..."},
                    kTransaction1,
                    {"[DBG] [TPM] Registering to TPM Event...",
                     "[DBG] [TPM] Cannot open event with error: 2",
                     "[DBG] [TPM] Next try in 5 sec. Tries left : 0",
                     "[DBG] [TPM] Event not registered by the system.",
                     "[DBG] [TPM] Scheduling VTM Task ...",
                     "[DBG] [TPM] Success! Task successfully registered.",
                     "[DBG] [TPM] Task not found, scheduled new one sucessfully"},
                    kTransaction2,
                    {"[DBG] [TPM] Closing talsClient access layer",
                     "[DBG] [TPM] [0x] Thread  deleted"}}));
  EXPECT_TRUE(journal().calls("WaitForMultipleObjects").empty());
}

TEST_F(EnrollmentLoopTest, withoutTheEventTheTriesTakeFiftySeconds) {
  installClient();
  const std::int64_t startMs = clockMs();
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ((clockMs() - startMs) / 1000, 50);
}

// Deliberate: on older systems the goal is taken as met with no task at all.
TEST_F(EnrollmentLoopTest, olderSystemGetsNoTaskAndTheGoalIsMet) {
  installClient();
  host::machine().version = {6, 3, 9600};
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_TRUE(log.contains("[DBG] [TPM] Scheduling VTM Task ..."));
  EXPECT_TRUE(journal().calls("CoInitializeEx").empty());
}

TEST_F(EnrollmentLoopTest, firstWindows10GetsTheTask) {
  installClient();
  host::machine().version = {10, 0, 0};
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_TRUE(log.contains("[DBG] [TPM] Task not found, scheduled new one sucessfully"));
}

TEST_F(EnrollmentLoopTest, versionTestAsksForTenZeroBuildZeroOrLater) {
  installClient();
  enrollment.Run();
  const std::vector<host::JournalEntry> conditions = journal().calls("VerSetConditionMask");
  ASSERT_EQ(conditions.size(), 3U);
  EXPECT_EQ(conditions[0].args, "0, 2, 3");
  EXPECT_EQ(conditions[1].args, "24, 1, 3");
  EXPECT_EQ(conditions[2].args, "27, 4, 3");
  ASSERT_EQ(journal().calls("VerifyVersionInfoW").size(), 1U);
  // The question's own size goes ahead of what is asked: it has 128 characters and 28 bytes more.
  EXPECT_EQ(journal().calls("VerifyVersionInfoW")[0].args,
            std::to_string(28 + 128 * sizeof(wchar_t)) + ", 7, 219");
}

TEST_F(EnrollmentLoopTest, versionIsAskedForBehindTheLineOfTheTask) {
  installClient();
  Peer::setRetries(enrollment, 0);
  bool isLineWritten = false;
  host::CallHooks::instance().before("VerSetConditionMask", 1, [&] {
    isLineWritten = log.contains("[DBG] [TPM] Scheduling VTM Task ...");
  });
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_TRUE(isLineWritten);
}

TEST_F(EnrollmentLoopTest, systemBelowTenIsOlderWhateverItsMinorAndBuild) {
  installClient();
  host::machine().version = {9, 9, 99999};
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_TRUE(journal().calls("CoInitializeEx").empty());
}

// The goal is taken as met, so the tries are not made again.
TEST_F(EnrollmentLoopTest, registrationThatFailedIsNotTriedAgain) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 0\n");
  Peer::setRetries(enrollment, 0);
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(journal().calls("OpenEventW").size(), 1U);
  EXPECT_EQ(journal().calls("ITaskFolder::RegisterTaskDefinition").size(), 1U);
  const auto waits = journal().calls("WaitForMultipleObjects");
  ASSERT_EQ(waits.size(), 2U);
  EXPECT_TRUE(waits[1].args.starts_with("1, ")) << waits[1].args;
}

// The platform publishes the event.

TEST_F(EnrollmentLoopTest, withTheEventTheTaskIsDeletedAndBothHandlesAreWaitedFor) {
  installClient();
  publishTpmEvent();
  EXPECT_EQ(runAndStopAfter(1'000), 0U);
  EXPECT_EQ(
      linesFrom("Starting talsInit..."),
      joined(
          {{"[INF] [TPM] [0x] [Run] Starting talsInit..."},
           kTransaction1,
           {"[DBG] [TPM] Registering to TPM Event...", "[DBG] [TPM] Event opened successfully!",
            "[DBG] [TPM] Registering VTM event completed!", "[DBG] [TPM] Task Deleted sucessfully"},
           kTransaction2,
           {"[DBG] [TPM] Waiting for signaled event, with timeout = 60 seconds.",
            "[DBG] [TPM] Stopping service...",
            "[DBG] [TPM] [0x] [Run] Waiting over. dwObject value: 0",
            "[DBG] [TPM] [0x] [Run] Stop service event signaled.",
            "[DBG] [TPM] Closing talsClient access layer", "[DBG] [TPM] [0x] Thread  deleted"}}));
  ASSERT_EQ(journal().calls("WaitForMultipleObjects").size(), 1U);
  EXPECT_EQ(journal().calls("WaitForMultipleObjects")[0].args,
            "2, " + host::journalText(Peer::eventHandle(0)) + ", 0, 60000");
}

TEST_F(EnrollmentLoopTest, tpmEventStartsTheProgramAndEndsTheRun) {
  installClient();
  publishTpmEvent();
  installProgram();
  EXPECT_EQ(runWith(1'000, [] { host::machine().signalEvent(kTpmEvent); }), 0U);
  EXPECT_EQ(host::machine().programsStarted, std::vector<std::wstring>{kProgram});
  EXPECT_TRUE(log.contains("[Run] Waiting over. dwObject value: 1"));
  EXPECT_TRUE(log.contains("[Run] Tpm event signaled."));
  EXPECT_TRUE(log.contains("OrvixVTMEKRecertification has been started."));
  EXPECT_FALSE(log.contains("Stop service event signaled."));
  EXPECT_FALSE(log.contains("Waiting for event timed out"));
}

TEST_F(EnrollmentLoopTest, timeoutIsLoggedAndTheWaitGoesOn) {
  installClient();
  publishTpmEvent();
  EXPECT_EQ(runAndStopAfter(150'000), 0U);
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 3U);
  const Texts lines = linesFrom("Waiting for signaled event, with timeout = 60 seconds.");
  ASSERT_GE(lines.size(), 4U);
  EXPECT_EQ(lines[1], "[DBG] [TPM] [0x] [Run] Waiting over. dwObject value: 258");
  EXPECT_EQ(lines[2], "[DBG] [TPM] [0x] [Run] Waiting for event timed out");
  EXPECT_EQ(lines[3], "[DBG] [TPM] Waiting for signaled event, with timeout = 60 seconds.");
  EXPECT_EQ(answers("talsInitHUB"), 1U);
  EXPECT_EQ(answers("talsInitQX1"), 1U);
}

TEST_F(EnrollmentLoopTest, eventIsRegisteredAndTheTaskDeletedOnlyOnce) {
  installClient();
  publishTpmEvent();
  EXPECT_EQ(runAndStopAfter(150'000), 0U);
  EXPECT_EQ(journal().calls("OpenEventW").size(), 1U);
  EXPECT_EQ(journal().calls("ITaskFolder::DeleteTask").size(), 1U);
  for (const host::JournalEntry& wait : journal().calls("WaitForMultipleObjects")) {
    EXPECT_TRUE(wait.args.starts_with("2, ")) << wait.args;
  }
}

TEST_F(EnrollmentLoopTest, stopAndTpmEventTogetherAreAStop) {
  installClient();
  publishTpmEvent();
  installProgram();
  host::CallHooks::instance().before("WaitForMultipleObjects", 1, [this] {
    SetEvent(Peer::eventHandle(0));
    host::machine().signalEvent(kTpmEvent);
  });
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_TRUE(host::machine().programsStarted.empty());
}

// The launch.

TEST_F(EnrollmentLoopTest, failedLaunchIsLoggedAndTheGoalStaysOpen) {
  installClient();
  publishTpmEvent();
  host::TestThread platform([this] {
    Sleep(1'000);
    host::machine().signalEvent(kTpmEvent);
    Sleep(1'000);
    enrollment.Stop();
  });
  EXPECT_EQ(enrollment.Run(), 0U);
  const Texts lines = linesFrom("Cannot run OrvixVTMEKRecertification.exe process.");
  ASSERT_GE(lines.size(), 4U);
  EXPECT_EQ(lines[1],
            "[ERR] [TPM] [0x] [Run] Process exception occured: Last error code: 2 : The system "
            "cannot find the file specified.");
  EXPECT_EQ(lines[2], "[DBG] [TPM] [0x] [Run] Service is going to continue.");
  EXPECT_EQ(lines[3], "[DBG] [TPM] Waiting for signaled event, with timeout = 60 seconds.");
}

TEST_F(EnrollmentLoopTest, nextTpmEventAfterAFailedLaunchTriesAgain) {
  installClient();
  publishTpmEvent();
  host::TestThread platform([] {
    Sleep(1'000);
    host::machine().signalEvent(kTpmEvent);
    Sleep(1'000);
    installProgram();
    host::machine().signalEvent(kTpmEvent);
  });
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(journal().calls("CreateProcessW").size(), 2U);
  EXPECT_EQ(host::machine().programsStarted.size(), 1U);
}

TEST_F(EnrollmentLoopTest, launchWithoutItsDirectoryIsLoggedAsAnException) {
  installClient();
  publishTpmEvent();
  host::TestThread platform([this] {
    Sleep(1'000);
    host::machine().registry.deleteValue(
        host::machine().devices.at(0).softwareKey + L"\\tALS Client", L"InstallDir64");
    host::machine().signalEvent(kTpmEvent);
    Sleep(1'000);
    enrollment.Stop();
  });
  EXPECT_EQ(enrollment.Run(), 0U);
  const Texts lines = linesFrom(
      "[Run] Exception occured: Cannot read tALS Client installation "
      "directory from registry.:");
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines[0],
            "[ERR] [TPM] [0x] [Run] Exception occured: Cannot read tALS Client installation "
            "directory from registry.:");
  EXPECT_EQ(lines[1], "[DBG] [TPM] Waiting for signaled event, with timeout = 60 seconds.");
  EXPECT_FALSE(log.contains("Service is going to continue."));
  EXPECT_TRUE(journal().calls("CreateProcessW").empty());
}

// A TPM event while method 2 is open starts the program, and a further one starts it again.
TEST_F(EnrollmentLoopTest, tpmEventsWhileMethod2IsOpenStartTheProgramEachTime) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 0\n");
  publishTpmEvent();
  installProgram();
  host::TestThread platform([] {
    for (int i = 0; i < 2; ++i) {
      Sleep(10'000);
      host::machine().signalEvent(kTpmEvent);
    }
  });
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(host::machine().programsStarted.size(), 2U);
  EXPECT_EQ(answers("talsInitQX1"), 4U);
  for (const host::JournalEntry& wait : journal().calls("WaitForMultipleObjects")) {
    EXPECT_TRUE(wait.args.starts_with("2, ")) << wait.args;
  }
}

// Connection errors.

TEST_F(EnrollmentLoopTest, whileMethod1FailsTheEventIsNotRegistered) {
  installClient("talsInitHUB = 8\n");
  publishTpmEvent();
  EXPECT_EQ(runAndStopAfter(150'000), 0U);
  EXPECT_TRUE(journal().calls("OpenEventW").empty());
  EXPECT_EQ(answers("talsInitHUB"), 3U);
  EXPECT_EQ(answers("talsInitQX1"), 1U);
  for (const host::JournalEntry& wait : journal().calls("WaitForMultipleObjects")) {
    EXPECT_TRUE(wait.args.starts_with("1, ")) << wait.args;
  }
}

TEST_F(EnrollmentLoopTest, whileMethod1FailsMethod2IsRunUntilItIsDone) {
  installClient("talsInitHUB = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 0\n");
  EXPECT_EQ(runAndStopAfter(200'000), 0U);
  EXPECT_EQ(answers("talsInitQX1"), 2U);
}

TEST_F(EnrollmentLoopTest, failedMethodIsTriedOncePerWait) {
  installClient("talsInitHUB = 8\ntalsInitHUB = 8\ntalsInitHUB = 0\n");
  Peer::setRetries(enrollment, 0);
  const std::int64_t startMs = clockMs();
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ((clockMs() - startMs) / 1000, 120);
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 2U);
}

TEST_F(EnrollmentLoopTest, method1ThatIsNotSupportedCountsAsDoneAndTheEventIsRegistered) {
  installClient("talsInitHUB = 23\n");
  publishTpmEvent();
  EXPECT_EQ(runAndStopAfter(1'000), 0U);
  EXPECT_EQ(journal().calls("OpenEventW").size(), 1U);
}

TEST_F(EnrollmentLoopTest, libraryThatThrowsIsTriedAgainAfterTheWait) {
  installClient("talsInitHUB = throw\ntalsInitHUB = throw int\ntalsInitHUB = 0\n");
  Peer::setRetries(enrollment, 0);
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 2U);
  EXPECT_TRUE(
      log.contains("[DBG] [TPM] Init(EPID cert provisioning) transaction failed with "
                   "error : 0x02 [STATUS_ERROR]"));
}

// Stops.

TEST_F(EnrollmentLoopTest, stopEndsTheRunWhateverStands) {
  installClient("talsInitHUB = 8\ntalsInitQX1 = 8\n");
  EXPECT_EQ(runAndStopAfter(5'000), 0U);
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 1U);
}

// Deliberate: the stop event does not exist yet.
TEST_F(EnrollmentLoopTest, stopAheadOfTheStopEventIsLost) {
  installClient();
  publishTpmEvent();
  enrollment.Stop();
  const std::int64_t startMs = clockMs();
  EXPECT_EQ(runAndStopAfter(30'000), 0U);
  EXPECT_EQ((clockMs() - startMs) / 1000, 30);
}

// The registration succeeds at once and leaves the signal to the wait.
TEST_F(EnrollmentLoopTest, stopDuringMethod1WithTheEventPublishedIsSeenByTheWait) {
  installClient("talsInitHUB = 0 after 5000 ms\n");
  publishTpmEvent();
  EXPECT_EQ(runAndStopAfter(1'000), 0U);
  EXPECT_TRUE(log.contains("[DBG] [TPM] Event opened successfully!"));
  EXPECT_TRUE(log.contains("[Run] Stop service event signaled."));
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 1U);
}

TEST_F(EnrollmentLoopTest, stopDuringTheTriesWithBothMethodsDoneEndsAtOnce) {
  installClient();
  const std::int64_t startMs = clockMs();
  EXPECT_EQ(runAndStopAfter(7'000), 0U);
  EXPECT_EQ((clockMs() - startMs) / 1000, 10);
  EXPECT_TRUE(log.contains("Scheduling VTM Task ..."));
  EXPECT_TRUE(journal().calls("WaitForMultipleObjects").empty());
  EXPECT_FALSE(log.contains("Stop service event signaled."));
}

// Deliberate: the test in the tries consumed the signal.
TEST_F(EnrollmentLoopTest, stopDuringTheTriesWithAMethodOpenIsNotSeenByTheWait) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 0\n");
  EXPECT_EQ(runAndStopAfter(7'000), 0U);
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 2U);
  EXPECT_TRUE(log.contains("Waiting for event timed out"));
  EXPECT_FALSE(log.contains("Stop service event signaled."));
}

// The results of the wait.

TEST_F(EnrollmentLoopTest, timeoutOfZeroSpinsWhileAGoalIsOpen) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 0\n");
  Peer::setRetries(enrollment, 0);
  Peer::setWaitTimeoutMs(0);
  const std::int64_t startMs = clockMs();
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_LT(clockMs() - startMs, 1000);
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 3U);
  EXPECT_TRUE(log.contains("Waiting for signaled event, with timeout = 0 seconds."));
}

TEST_F(EnrollmentLoopTest, failedWaitIsLoggedWithItsErrorAndRepeatsWithoutPause) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 0\n");
  Peer::setRetries(enrollment, 0);
  faults().failFrom("WaitForMultipleObjects", 87);
  const std::int64_t startMs = clockMs();
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_LT(clockMs() - startMs, 1000);
  const Texts lines = linesFrom("Waiting over. dwObject value: 4294967295");
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines[1], "[ERR] [TPM] [0x] [Run] Waiting for event failed with error: 87");
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 2U);
}

// The error is read for its own line, after the line of the result.
TEST_F(EnrollmentLoopTest, errorOfAFailedWaitIsTheOneThatStandsAfterTheLineOfTheResult) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 0\n");
  Peer::setRetries(enrollment, 0);
  faults().failOnce("WaitForMultipleObjects", 87);
  const LastErrorOutlet outlet(1234);
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_TRUE(log.contains("[Run] Waiting for event failed with error: 1234"));
}

// The lock of a dead owner stands for a result that no event can give.
TEST_F(EnrollmentLoopTest, anyOtherResultIsNeitherLoggedNorActedOn) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 0\n");
  Peer::setRetries(enrollment, 0);
  const HANDLE abandoned = CreateMutexW(nullptr, FALSE, nullptr);
  host::TestThread([&] { WaitForSingleObject(abandoned, 0); }).join();
  host::CallHooks::instance().before("VerifyVersionInfoW", 1,
                                     [&] { Peer::setEventHandle(0, abandoned); });
  EXPECT_EQ(enrollment.Run(), 0U);
  const Texts lines = linesFrom("Waiting over. dwObject value: 128");
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines[1], "[DBG] [TPM] Running Init for method: 2");
}

TEST_F(EnrollmentLoopTest, unknownExceptionIsLoggedAndTheLoopGoesOn) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 0\n");
  Peer::setRetries(enrollment, 0);
  host::CallHooks::instance().before("WaitForMultipleObjects", 1,
                                     [] { throw std::runtime_error("text"); });
  EXPECT_EQ(enrollment.Run(), 0U);
  const Texts lines = linesFrom("Unknown exception occured.");
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines[0], "[ERR] [TPM] [0x] [Run] Unknown exception occured.");
  EXPECT_EQ(lines[1], "[DBG] [TPM] Running Init for method: 2");
}

// What the registration throws has no handler in `Run`.
TEST_F(EnrollmentLoopTest, exceptionOfTheRegistrationLeavesRun) {
  installClient();
  host::CallHooks::instance().before("OpenEventW", 1, [] { throw Exception("here") << "text"; });
  EXPECT_EQ(thrownBy<Exception>([this] { enrollment.Run(); }), "here:text");
  EXPECT_TRUE(enrollment.IsRunning());
  EXPECT_EQ(ledger().open("module"), 0U);
}

TEST_F(EnrollmentLoopTest, secondsOfTheLogAreCutAndSigned) {
  installClient("talsInitQX1 = 8\n");
  Peer::setRetries(enrollment, 0);
  Peer::setWaitTimeoutMs(-1999);
  EXPECT_EQ(runAndStopAfter(1'000), 0U);
  EXPECT_TRUE(log.contains("Waiting for signaled event, with timeout = -1 seconds."));
  const std::string arguments = journal().calls("WaitForMultipleObjects").at(0).args;
  EXPECT_TRUE(arguments.ends_with(", 4294965297")) << arguments;
}

}  // namespace
