#include "service/ServiceHost.h"

#include <algorithm>
#include <cstddef>

#include "VUSL/Support/Singleton.h"
#include "tests/unit/service/ServiceHostFixture.h"

namespace {

using TPMEnrollmentService::TPMEnrollment;

class ServiceLifeTest : public ServiceHost {
 protected:
  // How often the enrollment was told to stop.
  std::ptrdiff_t timesStopped() const {
    return std::ranges::count(log.texts(), "[DBG] [TPM] Stopping service...");
  }
};

TEST_F(ServiceLifeTest, runThatMeetsItsGoalsEndsInStoppedWithCodeZero) {
  installClient();
  StartDispatcher(kProgram);
  EXPECT_EQ(states(),
            (std::vector<DWORD>{SERVICE_START_PENDING, SERVICE_RUNNING, SERVICE_STOPPED}));
  EXPECT_EQ(services().statuses.back().dwWin32ExitCode, 0U);
  EXPECT_EQ(log.texts().back(), "[DBG] [TPM] Service stopped successfully");
  EXPECT_EQ(output.text(), L"");
}

TEST_F(ServiceLifeTest, firstCheckPointIsOneAndTheFirstOfStoppingIsTwo) {
  installClient();
  host::machine().publishEvent(kTpmEvent);
  host::TestThread operatorThread([] {
    Sleep(20'000);
    EXPECT_EQ(services().requestStop(), 0U);
  });
  StartDispatcher(kProgram);
  const std::vector<DWORD> all = checkPoints();
  ASSERT_GE(all.size(), 4U);
  EXPECT_EQ(all[0], 1U);
  EXPECT_EQ(all[1], 0U);
  EXPECT_EQ(all[2], 2U);
  EXPECT_EQ(all.back(), 0U);
}

TEST_F(ServiceLifeTest, lifeThatIsStoppedHasCodeZeroInEachReport) {
  installClient();
  host::machine().publishEvent(kTpmEvent);
  host::TestThread operatorThread([] {
    Sleep(20'000);
    EXPECT_EQ(services().requestStop(), 0U);
  });
  StartDispatcher(kProgram);
  ASSERT_GE(services().statuses.size(), 4U);
  for (const SERVICE_STATUS& status : services().statuses) {
    EXPECT_EQ(status.dwWin32ExitCode, 0U) << status.dwCurrentState;
  }
}

TEST_F(ServiceLifeTest, handlerIsRegisteredUnderTheServicesName) {
  installClient();
  StartDispatcher(kProgram);
  EXPECT_EQ(journal().calls("RegisterServiceCtrlHandlerW").at(0).args, "TPMEnrollmentService");
}

TEST_F(ServiceLifeTest, startComesInItsOrder) {
  installClient();
  StartDispatcher(kProgram);
  const Texts calls = journal().namesOf(
      {"AdjustTokenPrivileges", "StartServiceCtrlDispatcherW", "RegisterServiceCtrlHandlerW",
       "SetServiceStatus", "CreateMutexW", "CreatePrivateNamespaceW", "LoadLibraryExW"});
  EXPECT_EQ(calls,
            (Texts{"AdjustTokenPrivileges", "RegisterServiceCtrlHandlerW", "SetServiceStatus",
                   "CreateMutexW", "CreatePrivateNamespaceW", "SetServiceStatus", "LoadLibraryExW",
                   "LoadLibraryExW", "SetServiceStatus", "StartServiceCtrlDispatcherW"}));
  EXPECT_TRUE(log.contains("[DBG] [TPM] Service started."));
}

TEST_F(ServiceLifeTest, startedIsLoggedAfterRunningWasReported) {
  installClient();
  bool startedAlready = true;
  services().onStatus = [&](const SERVICE_STATUS& status) {
    if (status.dwCurrentState == SERVICE_RUNNING) {
      startedAlready = log.contains("Service started.");
    }
  };
  StartDispatcher(kProgram);
  EXPECT_FALSE(startedAlready);
}

// Deliberate: STOPPED is reported while the object still holds its handles, and two seconds late.
TEST_F(ServiceLifeTest, stoppedIsReportedTwoSecondsLateAndAheadOfTheObjectsEnd) {
  installClient();
  services().onStatus = [&](const SERVICE_STATUS& status) {
    if (status.dwCurrentState != SERVICE_STOPPED) return;
    EXPECT_TRUE(journal().calls("ClosePrivateNamespace").empty());
    EXPECT_NE(Singleton<TPMEnrollment>::instanceOrNull(), nullptr);
    EXPECT_EQ(journal().calls("Sleep").back().args, "2000");
  };
  StartDispatcher(kProgram);
  EXPECT_EQ(journal().calls("ClosePrivateNamespace").size(), 1U);
  EXPECT_EQ(Singleton<TPMEnrollment>::instanceOrNull(), nullptr);
}

TEST_F(ServiceLifeTest, instanceIsClearedAheadOfTheObjectsEnd) {
  installClient();
  bool cleared = false;
  host::CallHooks::instance().before("ClosePrivateNamespace", 1, [&] {
    cleared = Singleton<TPMEnrollment>::instanceOrNull() == nullptr;
  });
  StartDispatcher(kProgram);
  EXPECT_TRUE(cleared);
}

TEST_F(ServiceLifeTest, stopRequestEndsTheRunAndIsReportedWhileItLasts) {
  installClient("talsInitHUB = 8\ntalsInitHUB = 8 after 12000 ms\n");
  writeConfiguration("TCBRepeaterTime = 30\n");
  host::TestThread operatorThread([] {
    Sleep(32'000);
    EXPECT_EQ(services().requestStop(), 0U);
  });
  StartDispatcher(kProgram);
  const std::vector<DWORD> reported = states();
  ASSERT_GE(reported.size(), 5U);
  EXPECT_EQ(reported[0], SERVICE_START_PENDING);
  EXPECT_EQ(reported[1], SERVICE_RUNNING);
  for (std::size_t i = 2; i + 1 < reported.size(); ++i)
    EXPECT_EQ(reported[i], SERVICE_STOP_PENDING);
  EXPECT_EQ(reported.back(), SERVICE_STOPPED);
  EXPECT_EQ(services().statuses.back().dwWin32ExitCode, 0U);
  EXPECT_TRUE(log.contains("[DBG] [TPM] Stopping service..."));
  EXPECT_TRUE(log.contains("Stop service event signaled."));
}

// Stop is called once, and the state is reported at once and then every five seconds.
TEST_F(ServiceLifeTest, handlerStopsOnceAndReportsEveryFiveSeconds) {
  installClient("talsInitHUB = 8\ntalsInitHUB = 8 after 12000 ms\n");
  writeConfiguration("TCBRepeaterTime = 30\n");
  host::TestThread operatorThread([] {
    Sleep(32'000);
    services().requestStop();
  });
  std::vector<std::int64_t> pendingMs;
  services().onStatus = [&](const SERVICE_STATUS& status) {
    if (status.dwCurrentState == SERVICE_STOP_PENDING) pendingMs.push_back(clockMs());
  };
  StartDispatcher(kProgram);
  EXPECT_EQ(timesStopped(), 1);
  ASSERT_GE(pendingMs.size(), 4U);
  EXPECT_EQ((pendingMs[1] - pendingMs[0]) / 1000, 0);
  EXPECT_EQ((pendingMs[2] - pendingMs[1]) / 1000, 5);
  EXPECT_EQ((pendingMs[3] - pendingMs[2]) / 1000, 5);
}

TEST_F(ServiceLifeTest, onlyStopIsAccepted) {
  installClient();
  host::machine().publishEvent(kTpmEvent);
  host::TestThread operatorThread([] {
    Sleep(20'000);
    EXPECT_EQ(services().request(SERVICE_CONTROL_SHUTDOWN), 1052U);
    EXPECT_EQ(services().requestStop(), 0U);
  });
  StartDispatcher(kProgram);
  EXPECT_EQ(states().back(), SERVICE_STOPPED);
}

TEST_F(ServiceLifeTest, stopDuringInitIsRefused) {
  installClient();
  DWORD answer = 0;
  host::CallHooks::instance().before("CreatePrivateNamespaceW", 1,
                                     [&] { answer = services().requestStop(); });
  StartDispatcher(kProgram);
  EXPECT_EQ(answer, 1061U);
}

// The handler runs on the dispatcher's thread, so a second control waits until the first is done,
// and by then the service has ended.
TEST_F(ServiceLifeTest, secondStopIsNotDeliveredWhileTheHandlerIsInItsLoop) {
  installClient("talsInitHUB = 8\ntalsInitHUB = 8 after 12000 ms\n");
  writeConfiguration("TCBRepeaterTime = 30\n");
  host::TestThread operatorThread([] {
    Sleep(32'000);
    services().requestStop();
    Sleep(4'000);
    EXPECT_EQ(services().requestStop(), 1061U);
    services().queue.push_back(SERVICE_CONTROL_STOP);
  });
  StartDispatcher(kProgram);
  EXPECT_EQ(timesStopped(), 1);
}

TEST_F(ServiceLifeTest, handlerRunsOnTheDispatchersThread) {
  installClient();
  host::machine().publishEvent(kTpmEvent);
  host::TestThread operatorThread([] {
    Sleep(20'000);
    services().requestStop();
  });
  StartDispatcher(kProgram);
  EXPECT_EQ(journal().calls("SetEvent").at(0).thread,
            journal().calls("StartServiceCtrlDispatcherW").at(0).thread);
  EXPECT_NE(journal().calls("WaitForMultipleObjects").at(0).thread,
            journal().calls("SetEvent").at(0).thread);
}

}  // namespace
