#include "service/ServiceHost.h"

#include "VUSL/Support/SysException.h"
#include "tests/unit/runtime/Thrown.h"
#include "tests/unit/service/ServiceHostFixture.h"

namespace {

class ServiceHostTest : public ServiceHost {};

TEST_F(ServiceHostTest, usageTextIsThis) {
  PrintUsage(kProgram);
  EXPECT_EQ(output.text(), kUsage);
}

// The status record.

TEST_F(ServiceHostTest, startPendingAcceptsNothingAndTakesACheckPoint) {
  registerHandler();
  ReportServiceStatus(SERVICE_START_PENDING, 7);
  ASSERT_EQ(services().statuses.size(), 1U);
  const SERVICE_STATUS status = services().statuses[0];
  EXPECT_EQ(status.dwServiceType, 16U);
  EXPECT_EQ(status.dwCurrentState, 2U);
  EXPECT_EQ(status.dwControlsAccepted, 0U);
  EXPECT_EQ(status.dwWin32ExitCode, 7U);
  EXPECT_EQ(status.dwServiceSpecificExitCode, 0U);
  EXPECT_NE(status.dwCheckPoint, 0U);
  EXPECT_EQ(status.dwWaitHint, 5000U);
}

TEST_F(ServiceHostTest, runningAcceptsStopAndHasNoCheckPoint) {
  registerHandler();
  ReportServiceStatus(SERVICE_RUNNING, 0);
  ASSERT_EQ(services().statuses.size(), 1U);
  const SERVICE_STATUS status = services().statuses[0];
  EXPECT_EQ(status.dwServiceType, 16U);
  EXPECT_EQ(status.dwCurrentState, 4U);
  EXPECT_EQ(status.dwControlsAccepted, 1U);
  EXPECT_EQ(status.dwWin32ExitCode, 0U);
  EXPECT_EQ(status.dwServiceSpecificExitCode, 0U);
  EXPECT_EQ(status.dwCheckPoint, 0U);
  EXPECT_EQ(status.dwWaitHint, 5000U);
}

TEST_F(ServiceHostTest, stoppedAcceptsStopAndHasNoCheckPoint) {
  registerHandler();
  ReportServiceStatus(SERVICE_STOPPED, 0xFFFFFFFF);
  ASSERT_EQ(services().statuses.size(), 1U);
  const SERVICE_STATUS status = services().statuses[0];
  EXPECT_EQ(status.dwServiceType, 16U);
  EXPECT_EQ(status.dwCurrentState, 1U);
  EXPECT_EQ(status.dwControlsAccepted, 1U);
  EXPECT_EQ(status.dwWin32ExitCode, 0xFFFFFFFFU);
  EXPECT_EQ(status.dwServiceSpecificExitCode, 0U);
  EXPECT_EQ(status.dwCheckPoint, 0U);
  EXPECT_EQ(status.dwWaitHint, 5000U);
}

TEST_F(ServiceHostTest, stopPendingAcceptsStopAndTakesACheckPoint) {
  registerHandler();
  ReportServiceStatus(SERVICE_STOP_PENDING, 0);
  ASSERT_EQ(services().statuses.size(), 1U);
  const SERVICE_STATUS status = services().statuses[0];
  EXPECT_EQ(status.dwServiceType, 16U);
  EXPECT_EQ(status.dwCurrentState, 3U);
  EXPECT_EQ(status.dwControlsAccepted, 1U);
  EXPECT_EQ(status.dwWin32ExitCode, 0U);
  EXPECT_EQ(status.dwServiceSpecificExitCode, 0U);
  EXPECT_NE(status.dwCheckPoint, 0U);
  EXPECT_EQ(status.dwWaitHint, 5000U);
}

TEST_F(ServiceHostTest, anyOtherStateIsReportedLikeStopPending) {
  registerHandler();
  ReportServiceStatus(6, 0);
  ASSERT_EQ(services().statuses.size(), 1U);
  EXPECT_EQ(services().statuses[0].dwCurrentState, 6U);
  EXPECT_EQ(services().statuses[0].dwControlsAccepted, 1U);
  EXPECT_NE(services().statuses[0].dwCheckPoint, 0U);
}

TEST_F(ServiceHostTest, checkPointsRiseByOneAndAreNotReset) {
  registerHandler();
  ReportServiceStatus(SERVICE_START_PENDING, 0);
  ReportServiceStatus(SERVICE_RUNNING, 0);
  ReportServiceStatus(SERVICE_STOP_PENDING, 0);
  ReportServiceStatus(SERVICE_STOPPED, 0);
  ReportServiceStatus(SERVICE_STOP_PENDING, 0);
  const DWORD first = services().statuses[0].dwCheckPoint;
  EXPECT_EQ(checkPoints(), (std::vector<DWORD>{first, 0, first + 1, 0, first + 2}));
}

// Deliberate: it is not to be dropped.
TEST_F(ServiceHostTest, onlyStoppedIsPrecededByTwoSeconds) {
  registerHandler();
  journal().clear();
  ReportServiceStatus(SERVICE_START_PENDING, 0);
  ReportServiceStatus(SERVICE_RUNNING, 0);
  ReportServiceStatus(SERVICE_STOP_PENDING, 0);
  EXPECT_TRUE(journal().calls("Sleep").empty());
  journal().clear();
  ReportServiceStatus(SERVICE_STOPPED, 0);
  EXPECT_EQ(journal().namesOf({"Sleep", "SetServiceStatus"}), (Texts{"Sleep", "SetServiceStatus"}));
  EXPECT_EQ(journal().calls("Sleep")[0].args, "2000");
}

TEST_F(ServiceHostTest, refusedReportThrowsAndLogsNothing) {
  registerHandler();
  faults().failOnce("SetServiceStatus", 6);
  EXPECT_EQ(thrownBy<SysException>([] { ReportServiceStatus(SERVICE_RUNNING, 0); }), "");
  EXPECT_EQ(log.texts(), Texts{});
}

// The dispatcher.

TEST_F(ServiceHostTest, privilegesAreDroppedAheadOfTheDispatcher) {
  services().startedByManager = false;
  StartDispatcher(kProgram);
  EXPECT_EQ(journal().namesOf({"AdjustTokenPrivileges", "StartServiceCtrlDispatcherW"}),
            (Texts{"AdjustTokenPrivileges", "StartServiceCtrlDispatcherW"}));
  EXPECT_EQ(host::machine().token.privileges, std::set<std::wstring>{L"SeChangeNotifyPrivilege"});
}

TEST_F(ServiceHostTest, dispatcherIsGivenOneEntryWithAnEmptyName) {
  services().startedByManager = false;
  StartDispatcher(kProgram);
  EXPECT_EQ(journal().calls("StartServiceCtrlDispatcherW").at(0).args, ", 1");
}

TEST_F(ServiceHostTest, startFromAConsoleLogsTheStartAloneAndPrintsTheUsage) {
  services().startedByManager = false;
  StartDispatcher(kProgram);
  const Texts texts = log.texts();
  EXPECT_EQ(texts.front(), "[INF] [TPM] Starting the service control dispatcher.");
  EXPECT_EQ(texts.at(1), "[DBG] [TPM] InitializeSecurity...");
  EXPECT_EQ(texts.back(), "[DBG] [TPM] Dropping Privileges: Success");
  EXPECT_EQ(output.text(), kUsage);
}

TEST_F(ServiceHostTest, anyOtherFailureOfTheDispatcherIsFatal) {
  faults().failOnce("StartServiceCtrlDispatcherW", 1056);
  EXPECT_EQ(thrownBy<SysException>([] { StartDispatcher(kProgram); }), "");
  EXPECT_EQ(log.texts().back(),
            "[FTL] [TPM] Service did not start. (1056) Examine log for details");
  EXPECT_EQ(output.text(), L"");
}

// A failure of the dispatcher does not give the privileges back.
TEST_F(ServiceHostTest, privilegesStayDroppedAfterAFailureOfTheDispatcher) {
  faults().failOnce("StartServiceCtrlDispatcherW", 1056);
  EXPECT_THROW(StartDispatcher(kProgram), SysException);
  EXPECT_EQ(host::machine().token.privileges, std::set<std::wstring>{L"SeChangeNotifyPrivilege"});
}

TEST_F(ServiceHostTest, failedHardeningDoesNotKeepTheServiceFromStarting) {
  faults().failOnce("OpenProcessToken", 5);
  services().startedByManager = false;
  StartDispatcher(kProgram);
  EXPECT_TRUE(log.contains("[ERR] [TPM] Dropping Privileges: Failure"));
  EXPECT_EQ(journal().calls("StartServiceCtrlDispatcherW").size(), 1U);
}

}  // namespace
