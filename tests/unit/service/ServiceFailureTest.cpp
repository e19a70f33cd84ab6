#include "service/ServiceHost.h"

#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "VUSL/Support/Singleton.h"
#include "VUSL/Support/SysException.h"
#include "tests/unit/runtime/Thrown.h"
#include "tests/unit/service/ServiceHostFixture.h"

namespace {

using TPMEnrollmentService::TPMEnrollment;

class ServiceFailureTest : public ServiceHost {};

TEST_F(ServiceFailureTest, failedInitNeverReportsRunningAndStopsWithMinusOne) {
  installClient();
  host::machine().takeNamespace(L"TPMEnrollmentService");
  StartDispatcher(kProgram);
  EXPECT_EQ(states(), (std::vector<DWORD>{SERVICE_START_PENDING, SERVICE_STOPPED}));
  EXPECT_EQ(services().statuses.back().dwWin32ExitCode, 0xFFFFFFFFU);
  EXPECT_TRUE(journal().calls("LoadLibraryExW").empty());
}

// The system has no message for -1.
TEST_F(ServiceFailureTest, failedInitLogsAnEmptyMessage) {
  installClient();
  host::machine().takeNamespace(L"TPMEnrollmentService");
  ServiceMain(0, nullptr);
  EXPECT_EQ(log.texts().back(), "[ERR] [TPM] Unable to initialize service. Error message: ");
}

TEST_F(ServiceFailureTest, errorOfTheRunIsLoggedWithItsMessageAndIsTheExitCode) {
  installClient();
  host::machine().publishEvent(kTpmEvent);
  faults().failOnce("CreateEventW", 5);
  ServiceMain(0, nullptr);
  EXPECT_EQ(states().back(), SERVICE_STOPPED);
  EXPECT_EQ(services().statuses.back().dwWin32ExitCode, 5U);
  EXPECT_EQ(log.texts().back(), "[DBG] [TPM] Service stopped with error: Access is denied.");
}

TEST_F(ServiceFailureTest, zeroAndMinusTwoAloneCountAsSuccess) {
  EXPECT_TRUE(CountsAsSuccess(0));
  EXPECT_TRUE(CountsAsSuccess(0xFFFFFFFE));
  for (const std::uint32_t other : {1U, 2U, 3U, 4U, 5U, 0xFFFFFFFCU, 0xFFFFFFFDU, 0xFFFFFFFFU}) {
    EXPECT_FALSE(CountsAsSuccess(other)) << other;
  }
}

// Deliberate: the exit code is whatever the last error is, not a code of the exception.
TEST_F(ServiceFailureTest, exceptionOfTheRunIsFatalAndTheLastErrorIsTheExitCode) {
  installClient();
  host::CallHooks::instance().before("OpenEventW", 1, [] { throw Exception("here") << "text"; });
  ServiceMain(0, nullptr);
  EXPECT_EQ(states().back(), SERVICE_STOPPED);
  // Closing the TPM event that was never opened is the last thing that failed.
  EXPECT_EQ(services().statuses.back().dwWin32ExitCode, 6U);
  EXPECT_EQ(log.texts().back(), "[FTL] [TPM] Exception occured in ServiceMain function here:text");
}

// Deliberate: the error is read after the line is written.
TEST_F(ServiceFailureTest, lastErrorThatTheLogLeavesIsTheExitCode) {
  const LastErrorOutlet outlet(1234);
  installClient();
  host::CallHooks::instance().before("OpenEventW", 1, [] { throw Exception("here") << "text"; });
  ServiceMain(0, nullptr);
  EXPECT_EQ(services().statuses.back().dwWin32ExitCode, 1234U);
}

TEST_F(ServiceFailureTest, objectsAreGoneWhenTheFailureIsLogged) {
  installClient();
  host::CallHooks::instance().before("OpenEventW", 1, [] { throw Exception() << "text"; });
  bool closedBefore = false;
  services().onStatus = [&](const SERVICE_STATUS& status) {
    if (status.dwCurrentState == SERVICE_STOPPED) {
      closedBefore = journal().calls("ClosePrivateNamespace").size() == 1 &&
                     Singleton<TPMEnrollment>::instanceOrNull() == nullptr;
    }
  };
  ServiceMain(0, nullptr);
  EXPECT_TRUE(closedBefore);
}

TEST_F(ServiceFailureTest, failureIsLoggedFirstAndStoppedIsReportedTwoSecondsLater) {
  installClient();
  host::CallHooks::instance().before("OpenEventW", 1, [] { throw Exception("here") << "text"; });
  bool loggedBefore = false;
  host::CallHooks::instance().before("Sleep", 1, [&] {
    loggedBefore = log.contains("[FTL] [TPM] Exception occured in ServiceMain function here:text");
  });
  ServiceMain(0, nullptr);
  EXPECT_TRUE(loggedBefore);
  ASSERT_EQ(journal().calls("Sleep").size(), 1U);
  EXPECT_EQ(journal().calls("Sleep")[0].args, "2000");
}

TEST_F(ServiceFailureTest, stackThatIsNotInstalledStopsTheServiceFatally) {
  host::machine().environment[L"TALS_CONFDIR_PATH"] = L"C:\\conf";
  StartDispatcher(kProgram);
  EXPECT_EQ(states(),
            (std::vector<DWORD>{SERVICE_START_PENDING, SERVICE_RUNNING, SERVICE_STOPPED}));
  EXPECT_TRUE(log.contains(
      "[FTL] [TPM] Exception occured in ServiceMain function tals stack not installed"));
}

// MissingFileError is no Exception: nothing in ServiceMain catches it.
TEST_F(ServiceFailureTest, clientLibraryThatCannotBeLoadedLeavesServiceMain) {
  host::machine().installStack(L"C:\\Orvix\\bin");
  EXPECT_THROW(ServiceMain(0, nullptr), MissingFileError);
  EXPECT_EQ(states(), (std::vector<DWORD>{SERVICE_START_PENDING, SERVICE_RUNNING}));
}

TEST_F(ServiceFailureTest, exceptionOfTheStandardLibraryLeavesServiceMain) {
  installClient();
  host::CallHooks::instance().before("OpenEventW", 1, [] { throw std::runtime_error("text"); });
  EXPECT_THROW(ServiceMain(0, nullptr), std::runtime_error);
  EXPECT_FALSE(log.contains("Exception occured in ServiceMain function"));
}

// The report of STOPPED fails too, as there is no status handle, and nothing catches that.
TEST_F(ServiceFailureTest, handlerThatCannotBeRegisteredLeavesServiceMain) {
  faults().failOnce("RegisterServiceCtrlHandlerW", 1060);
  EXPECT_EQ(thrownBy<SysException>([] { ServiceMain(0, nullptr); }), "");
  EXPECT_EQ(log.texts(),
            (Texts{"[FTL] [TPM] Error occured while registrering service control handler",
                   "[FTL] [TPM] Exception occured in ServiceMain function "}));
  EXPECT_TRUE(services().statuses.empty());
  EXPECT_EQ(journal().calls("SetServiceStatus").size(), 1U);
}

TEST_F(ServiceFailureTest, refusedReportOfStartPendingIsCaughtAndStopped) {
  faults().failOnce("SetServiceStatus", 87);
  ServiceMain(0, nullptr);
  EXPECT_EQ(log.texts(), Texts{"[FTL] [TPM] Exception occured in ServiceMain function "});
  EXPECT_EQ(states(), std::vector<DWORD>{SERVICE_STOPPED});
  EXPECT_EQ(services().statuses.back().dwWin32ExitCode, 87U);
}

TEST_F(ServiceFailureTest, refusedReportOfRunningKeepsTheRunFromStarting) {
  installClient();
  faults().failOnce("SetServiceStatus", 87, 2);
  ServiceMain(0, nullptr);
  EXPECT_FALSE(log.contains("Service started."));
  EXPECT_EQ(log.texts().back(), "[FTL] [TPM] Exception occured in ServiceMain function ");
  EXPECT_EQ(states(), (std::vector<DWORD>{SERVICE_START_PENDING, SERVICE_STOPPED}));
  EXPECT_TRUE(journal().calls("LoadLibraryExW").empty());
}

// The second report comes when the objects are gone, and has its own two seconds.
TEST_F(ServiceFailureTest, refusedReportOfStoppedIsCaughtAndStoppedIsReportedAgain) {
  installClient();
  host::machine().publishEvent(kTpmEvent);
  faults().failOnce("CreateEventW", 5);
  faults().failOnce("SetServiceStatus", 87, 3);
  ServiceMain(0, nullptr);
  EXPECT_EQ(log.texts().back(), "[FTL] [TPM] Exception occured in ServiceMain function ");
  EXPECT_EQ(states(),
            (std::vector<DWORD>{SERVICE_START_PENDING, SERVICE_RUNNING, SERVICE_STOPPED}));
  EXPECT_EQ(journal().namesOf({"Sleep", "ClosePrivateNamespace", "SetServiceStatus"}),
            (Texts{"SetServiceStatus", "SetServiceStatus", "Sleep", "SetServiceStatus",
                   "ClosePrivateNamespace", "Sleep", "SetServiceStatus"}));
}

}  // namespace
