#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "tests/unit/runtime/Thrown.h"
#include "tests/unit/service/EnrollmentRun.h"

namespace {

// The start of a run, and its end.
class EnrollmentStartTest : public EnrollmentRun {};

TEST_F(EnrollmentStartTest, runCreatesTheStopEventThenLoadsTheClientThenStarts) {
  installClient();
  constexpr std::size_t kEntries = 21;
  Texts atTheLastLookUp;
  host::CallHooks::instance().before("GetProcAddress", journal().count("GetProcAddress") + kEntries,
                                     [&] { atTheLastLookUp = log.withoutAddresses(); });
  enrollment.Run();
  ASSERT_FALSE(atTheLastLookUp.empty());
  EXPECT_EQ(atTheLastLookUp.front(), "[DBG] [TPM] Registering STOP event completed!");
  for (const std::string& line : atTheLastLookUp) {
    EXPECT_EQ(line.find("Starting talsInit"), std::string::npos) << line;
  }
  EXPECT_EQ(linesFrom("Starting talsInit...")[0], "[INF] [TPM] [0x] [Run] Starting talsInit...");
  const Texts calls = journal().namesOf({"CreateEventW", "LoadLibraryExW"});
  ASSERT_GE(calls.size(), 2U);
  EXPECT_EQ(calls.front(), "CreateEventW");
  EXPECT_EQ(calls.back(), "LoadLibraryExW");
}

TEST_F(EnrollmentStartTest, taggedLinesShowTheObjectsAddress) {
  installClient();
  enrollment.Run();
  std::ostringstream expected;
  expected << "[INF] [TPM] [0x" << std::hex << reinterpret_cast<std::uintptr_t>(&enrollment)
           << "] [Run] Starting talsInit...";
  EXPECT_TRUE(log.contains(expected.str()));
}

TEST_F(EnrollmentStartTest, stopEventThatCannotBeCreatedEndsTheRunWithTheError) {
  installClient();
  faults().failOnce("CreateEventW", 5);
  EXPECT_EQ(enrollment.Run(), 5U);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] Cannot create event with error: 5"});
  EXPECT_FALSE(enrollment.IsRunning());
  EXPECT_TRUE(journal().calls("LoadLibraryExW").empty());
}

TEST_F(EnrollmentStartTest, runningIsSetUnderTheLockAndOnFailureClearedUnderIt) {
  faults().failOnce("CreateEventW", 5);
  journal().clear();
  enrollment.Run();
  EXPECT_EQ(journal().namesOf({"WaitForSingleObject", "CreateEventW", "ReleaseMutex"}),
            (Texts{"WaitForSingleObject", "ReleaseMutex", "CreateEventW", "WaitForSingleObject",
                   "ReleaseMutex"}));
}

// Deliberate: a stop event that could not be created while the error reads 0 does not end the run;
// the wait gets a null handle and fails without end.
TEST_F(EnrollmentStartTest, stopEventThatFailsWithErrorZeroGoesOnWithoutOne) {
  installClient("talsInitQX1 = 8\ntalsInitQX1 = 8\ntalsInitQX1 = 0\n");
  faults().failOnce("CreateEventW", 0);
  Peer::setRetries(enrollment, 0);
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(journal().calls("WaitForMultipleObjects").size(), 2U);
  EXPECT_TRUE(log.contains("[ERR] [TPM] Cannot create event with error: 0"));
  EXPECT_TRUE(log.contains("[Run] Waiting over. dwObject value: 4294967295"));
  EXPECT_TRUE(log.contains("[Run] Waiting for event failed with error: 6"));
}

// Nobody in `Run` catches it, and the flag stays as it was.
TEST_F(EnrollmentStartTest, missingStackLeavesRunWithTheFlagStillSet) {
  EXPECT_EQ(thrownBy<Exception>([this] { enrollment.Run(); }), "tals stack not installed");
  EXPECT_TRUE(enrollment.IsRunning());
}

TEST_F(EnrollmentStartTest, missingClientLibraryLeavesRun) {
  host::machine().installStack(L"C:\\Orvix\\bin");
  EXPECT_EQ(thrownBy<MissingFileError>([this] { enrollment.Run(); }),
            "Resource exception of type 250 was thrown");
  EXPECT_TRUE(enrollment.IsRunning());
}

TEST_F(EnrollmentStartTest, runIsRunningWhileItLasts) {
  installClient();
  publishTpmEvent();
  bool during = false;
  EXPECT_EQ(runWith(1'000,
                    [&] {
                      during = enrollment.IsRunning();
                      enrollment.Stop();
                    }),
            0U);
  EXPECT_TRUE(during);
  EXPECT_FALSE(enrollment.IsRunning());
}

// Deliberate: the control handler may see the service as stopped while the library is being closed.
TEST_F(EnrollmentStartTest, flagIsClearedWithoutTheLockAndAheadOfTheClientsEnd) {
  installClient();
  bool runningAtUnload = true;
  host::CallHooks::instance().before("FreeLibrary", 1,
                                     [&] { runningAtUnload = Peer::running(enrollment); });
  enrollment.Run();
  EXPECT_EQ(journal().calls("FreeLibrary").size(), 2U);
  EXPECT_FALSE(runningAtUnload);
  EXPECT_EQ(journal().calls("ReleaseMutex").size(), 1U);
}

TEST_F(EnrollmentStartTest, clientIsUnloadedAtTheEndOfTheRun) {
  installClient();
  enrollment.Run();
  EXPECT_EQ(
      linesFrom("Closing talsClient access layer"),
      (Texts{"[DBG] [TPM] Closing talsClient access layer", "[DBG] [TPM] [0x] Thread  deleted"}));
  EXPECT_EQ(ledger().open("module"), 0U);
}

}  // namespace
