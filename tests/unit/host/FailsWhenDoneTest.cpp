// Calls that do all that they are for, or half of it, and do not say so.

#include "tests/support/MachineTest.h"
#include "tests/unit/host/ComFixture.h"

namespace {

using host::code;
using host::Deed;
using host::machine;
using host::Reference;
using host::TestString;

constexpr DWORD kManagersAnswerLost = 1726;
constexpr wchar_t kLaunchedProgram[] = L"C:\\Orvix\\OrvixVTMEkRecertification.exe";

class FailsWhenDoneTest : public host::TaskServiceTest {
 protected:
  static void fail(const std::string& call, DWORD error) {
    faults().failOnce(call, error, 1, Deed::kDone);
  }

  HRESULT registerTask(IRegisteredTask** task) const {
    ITaskDefinition* made = nullptr;
    service->NewTask(0, &made);
    const Reference<ITaskDefinition> definition(made);
    IActionCollection* found = nullptr;
    definition->get_Actions(&found);
    const Reference<IActionCollection> actions(found);
    IAction* action = nullptr;
    actions->Create(TASK_ACTION_EXEC, &action);
    face<IExecAction>(*action, IID_IExecAction)->put_Path(TestString(kLaunchedProgram));
    action->Release();
    const TestString user(L"S-1-5-18");
    return root->RegisterTaskDefinition(TestString(L"Task"), definition.get(),
                                        TASK_CREATE_OR_UPDATE, textVariant(user), kEmpty,
                                        TASK_LOGON_SERVICE_ACCOUNT, kEmpty, task);
  }
};

TEST_F(FailsWhenDoneTest, AReportIsTakenAndFails) {
  SERVICE_STATUS_HANDLE const handle =
      RegisterServiceCtrlHandlerW(L"TPMEnrollmentService", [](DWORD) {});
  SERVICE_STATUS status{};
  status.dwCurrentState = SERVICE_RUNNING;
  fail("SetServiceStatus", kManagersAnswerLost);
  EXPECT_FALSE(SetServiceStatus(handle, &status));
  EXPECT_EQ(GetLastError(), kManagersAnswerLost);
  ASSERT_EQ(machine().services.statuses.size(), 1U);
  EXPECT_EQ(machine().services.statuses[0].dwCurrentState, DWORD{SERVICE_RUNNING});
  EXPECT_TRUE(SetServiceStatus(handle, &status));
}

TEST_F(FailsWhenDoneTest, AProgramRunsAndNobodyHasItsHandles) {
  machine().drive.linkIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", kLaunchedProgram);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started{};
  fail("CreateProcessW", 5);
  EXPECT_FALSE(CreateProcessW(kLaunchedProgram, nullptr, nullptr, nullptr, FALSE, 0, nullptr,
                              nullptr, &startup, &started));
  EXPECT_EQ(GetLastError(), 5U);
  EXPECT_EQ(machine().programsStarted, std::vector<std::wstring>{kLaunchedProgram});
  EXPECT_EQ(started.hProcess, nullptr);
  EXPECT_EQ(ledger().open("process") + ledger().open("thread"), 0U);
}

TEST_F(FailsWhenDoneTest, ATaskIsStoredAndNotHandedOut) {
  fail("ITaskFolder::RegisterTaskDefinition", 0x800706be);
  IRegisteredTask* task = nullptr;
  EXPECT_EQ(code(registerTask(&task)), 0x800706beU);
  EXPECT_EQ(task, nullptr);
  EXPECT_TRUE(machine().drive.exists(L"C:\\Windows\\System32\\Tasks\\Task"));
}

TEST_F(FailsWhenDoneTest, ATaskIsDeletedAndItLooksAsIfNot) {
  IRegisteredTask* task = nullptr;
  ASSERT_EQ(code(registerTask(&task)), 0U);
  task->Release();
  fail("ITaskFolder::DeleteTask", 0x800706be);
  EXPECT_EQ(code(root->DeleteTask(TestString(L"Task"), 0)), 0x800706beU);
  EXPECT_FALSE(machine().drive.exists(L"C:\\Windows\\System32\\Tasks\\Task"));
}

TEST_F(FailsWhenDoneTest, AnEventReachesItsSessionAndTheWriteFails) {
  constexpr GUID kProvider{1, 2, 3, {4}};
  REGHANDLE handle = 0;
  EventRegister(&kProvider, nullptr, nullptr, &handle);
  machine().trace.enable("session", kProvider, {});
  EVENT_DESCRIPTOR descriptor{};
  fail("EventWriteTransfer", 8);
  EXPECT_EQ(EventWriteTransfer(handle, &descriptor, nullptr, nullptr, 0, nullptr), 8U);
  EXPECT_EQ(machine().trace.received("session").size(), 1U);
  EventUnregister(handle);
}

TEST_F(FailsWhenDoneTest, TheJournalKnowsSuchAFailureAndTheMarkTellsOfIt) {
  std::string told;
  faults().onStrike = [&](const std::string& what) { told = what; };
  faults().failFrom("SetServiceStatus", kManagersAnswerLost, 2, Deed::kDone);
  SERVICE_STATUS_HANDLE const handle = RegisterServiceCtrlHandlerW(L"x", [](DWORD) {});
  SERVICE_STATUS status{};
  EXPECT_TRUE(SetServiceStatus(handle, &status));
  EXPECT_FALSE(SetServiceStatus(handle, &status));
  EXPECT_EQ(told, "SetServiceStatus fails from 2 on with 1726 after its work");
  const auto calls = journal().calls("SetServiceStatus");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_FALSE(calls[0].faulted);
  EXPECT_TRUE(calls[1].faulted);
}

// A second beginning in the same mode is answered so.
TEST_F(FailsWhenDoneTest, ComThatIsBegunAnewHasToBeEndedAnew) {
  faults().failOnce("CoInitializeEx", 1);
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
  CoUninitialize();
  EXPECT_TRUE(machine().com.isBegunFor(host::Scheduler::current().id));
}

TEST_F(FailsWhenDoneTest, AReadThatIsToldNoErrorEndsHalfway) {
  machine().drive.write(L"C:\\x", "abcdef");
  HANDLE const file = CreateFileW(L"C:\\x", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  char bytes[7] = "......";
  DWORD size = 0;
  faults().failOnce("ReadFile", ERROR_SUCCESS);
  EXPECT_TRUE(ReadFile(file, bytes, 6, &size, nullptr));
  EXPECT_EQ(size, 3U);
  EXPECT_STREQ(bytes, "abc...");
  CloseHandle(file);
}

}  // namespace
