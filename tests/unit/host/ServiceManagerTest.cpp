#include "platform/host/ServiceManager.h"

#include <gtest/gtest.h>

#include "tests/support/MachineTest.h"

namespace {

// A small service of the test's own: reports, waits for a stop, and reports its end.
SERVICE_STATUS_HANDLE statusHandle = nullptr;
HANDLE stopEvent = nullptr;
std::vector<DWORD> controls;
DWORD handlerThread = 0;
DWORD serviceThread = 0;

void report(DWORD state) {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
  SetServiceStatus(statusHandle, &status);
}

void handleControl(DWORD control) {
  controls.push_back(control);
  handlerThread = GetCurrentThreadId();
  if (control == SERVICE_CONTROL_STOP) {
    report(SERVICE_STOP_PENDING);
    SetEvent(stopEvent);
  }
}

void serviceMain(DWORD count, LPWSTR* arguments) {
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(std::wstring(arguments[0]), L"TPMEnrollmentService");
  serviceThread = GetCurrentThreadId();
  stopEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  statusHandle = RegisterServiceCtrlHandlerW(L"TPMEnrollmentService", handleControl);
  report(SERVICE_START_PENDING);
  Sleep(100);
  report(SERVICE_RUNNING);
  WaitForSingleObject(stopEvent, INFINITE);
  report(SERVICE_STOPPED);
  Sleep(1000);
}

class ServiceManagerTest : public host::MachineTest {
 protected:
  ServiceManagerTest() { controls.clear(); }

  static host::ServiceManager& services() { return host::machine().services; }
  static BOOL dispatch() {
    wchar_t name[] = L"";
    const SERVICE_TABLE_ENTRYW table[] = {{name, serviceMain}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(table);
  }
};

TEST_F(ServiceManagerTest, TheDispatchersTableIsCountedUpToItsEntryOfNulls) {
  services().startedByManager = false;
  dispatch();
  EXPECT_EQ(journal().calls("StartServiceCtrlDispatcherW").at(0).args, ", 1");
}

TEST_F(ServiceManagerTest, OutsideTheServiceManagerTheDispatcherFailsWith1063) {
  services().startedByManager = false;
  EXPECT_FALSE(dispatch());
  EXPECT_EQ(GetLastError(), 1063U);
}

TEST_F(ServiceManagerTest, ASecondDispatcherCallFailsWith1056) {
  host::TestThread stopper([] {
    Sleep(200);
    services().requestStop();
  });
  EXPECT_TRUE(dispatch());
  EXPECT_FALSE(dispatch());
  EXPECT_EQ(GetLastError(), 1056U);
}

TEST_F(ServiceManagerTest, TheServiceRunsOnAThreadOfItsOwnAndTheHandlerOnTheDispatchers) {
  host::TestThread stopper([] {
    Sleep(200);
    services().requestStop();
  });
  EXPECT_TRUE(dispatch());
  EXPECT_EQ(handlerThread, GetCurrentThreadId());
  EXPECT_NE(serviceThread, GetCurrentThreadId());
}

TEST_F(ServiceManagerTest, TheDispatcherReturnsAfterTheMainFunctionHasLeft) {
  host::TestThread stopper([] {
    Sleep(200);
    services().requestStop();
  });
  dispatch();
  EXPECT_GE(clockMs(), 1200);
}

TEST_F(ServiceManagerTest, TheReportsAreKeptInOrder) {
  host::TestThread stopper([] {
    Sleep(200);
    services().requestStop();
  });
  dispatch();
  std::vector<DWORD> states;
  for (const SERVICE_STATUS& status : services().statuses) {
    states.push_back(status.dwCurrentState);
  }
  EXPECT_EQ(states, (std::vector<DWORD>{2, 4, 3, 1}));
}

TEST_F(ServiceManagerTest, AStopIsRefusedWhileNoneIsAccepted) {
  std::vector<DWORD> answers;
  host::TestThread stopper([&] {
    answers.push_back(services().requestStop());  // nothing was reported yet
    Sleep(50);
    answers.push_back(services().requestStop());  // START_PENDING
    Sleep(100);
    answers.push_back(services().requestStop());  // RUNNING
    Sleep(500);
    answers.push_back(services().requestStop());  // STOPPED, the main function still there
  });
  dispatch();
  EXPECT_EQ(answers, (std::vector<DWORD>{1062, 1061, 0, 1062}));
  EXPECT_EQ(controls, (std::vector<DWORD>{1}));
}

TEST_F(ServiceManagerTest, AControlThatTheServiceDoesNotAcceptIsRefused) {
  DWORD answer = 0;
  host::TestThread stopper([&] {
    Sleep(200);
    answer = services().request(SERVICE_CONTROL_SHUTDOWN);
    services().request(SERVICE_CONTROL_INTERROGATE);
    services().requestStop();
  });
  dispatch();
  EXPECT_EQ(answer, 1052U);
  EXPECT_EQ(controls, (std::vector<DWORD>{4, 1}));
}

TEST_F(ServiceManagerTest, AControlOfTheServicesOwnIsHandedOverWithoutBeingAccepted) {
  std::vector<DWORD> answers;
  host::TestThread stopper([&] {
    Sleep(50);
    answers.push_back(services().request(200));  // START_PENDING
    Sleep(100);
    for (const DWORD control : {127U, 128U, 255U, 256U}) {
      answers.push_back(services().request(control));
    }
    services().requestStop();
  });
  dispatch();
  EXPECT_EQ(answers, (std::vector<DWORD>{1061, 1052, 0, 0, 1052}));
  EXPECT_EQ(controls, (std::vector<DWORD>{128, 255, 1}));
}

TEST_F(ServiceManagerTest, AStatusWithANullHandleFailsWith6) {
  SERVICE_STATUS status{};
  EXPECT_FALSE(SetServiceStatus(nullptr, &status));
  EXPECT_EQ(GetLastError(), 6U);
  EXPECT_TRUE(services().statuses.empty());
}

}  // namespace
