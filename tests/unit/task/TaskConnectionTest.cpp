#include "task/TaskConnection.h"

#include "task/TaskState.h"
#include "tests/unit/task/TaskFixture.h"

namespace {

class TaskConnectionTest : public TaskTest {
 protected:
  void initialize() {
    ASSERT_TRUE(InitializeCom());
    forget();
  }
  void connect() {
    initialize();
    ASSERT_NE(ConnectTaskService(), nullptr);
    forget();
  }
};

TEST_F(TaskConnectionTest, comIsOpenedForAnyThread) {
  EXPECT_TRUE(InitializeCom());
  EXPECT_EQ(journal().calls("CoInitializeEx").at(0).args, "null, 0");
  EXPECT_EQ(comCalls(), (Texts{"CoInitializeEx", "CoInitializeSecurity"}));
  EXPECT_EQ(log.texts(), Texts{});
  CoUninitialize();
}

TEST_F(TaskConnectionTest, securityIsPacketPrivacyAndImpersonationAndNothingElse) {
  EXPECT_TRUE(InitializeCom());
  EXPECT_EQ(journal().calls("CoInitializeSecurity").at(0).args,
            "null, -1, null, null, 6, 3, null, 0, null");
  CoUninitialize();
}

TEST_F(TaskConnectionTest, comThatIsOpenAlreadyIsOpenedOnceMore) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_TRUE(InitializeCom());
  CoUninitialize();
  EXPECT_EQ(ledger().open("com"), 1U);
  CoUninitialize();
}

TEST_F(TaskConnectionTest, comInAnotherModeIsAFailureAndStaysOpen) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  forget();
  EXPECT_FALSE(InitializeCom());
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] CoInitializeEx failed: 80010106"});
  EXPECT_EQ(comCalls(), Texts{"CoInitializeEx"});
  EXPECT_EQ(ledger().open("com"), 1U);
  CoUninitialize();
}

TEST_F(TaskConnectionTest, securityThatIsSetAlreadyIsAFailure) {
  initialize();
  EXPECT_FALSE(InitializeCom());
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] CoInitializeSecurity failed: 80010119"});
  EXPECT_EQ(ledger().open("com"), 1U);
  CoUninitialize();
}

TEST_F(TaskConnectionTest, schedulerIsMadeInTheProcessAndConnectedWithFourEmptyValues) {
  initialize();
  EXPECT_NE(ConnectTaskService(), nullptr);
  EXPECT_EQ(journal().calls("CoCreateInstance").at(0).args, "TaskScheduler, null, 1, ITaskService");
  // The kind of an empty value is 0.
  EXPECT_EQ(journal().calls("ITaskService::Connect").at(0).args, "0, 0, 0, 0");
  EXPECT_EQ(comCalls(), (Texts{"CoCreateInstance", "ITaskService::Connect"}));
  EXPECT_EQ(log.texts(), Texts{});
  s_taskService->Release();
  CoUninitialize();
}

TEST_F(TaskConnectionTest, connectedServiceIsTheProcesssOwn) {
  initialize();
  ITaskService* service = ConnectTaskService();
  EXPECT_EQ(service, s_taskService);
  service->Release();
  CoUninitialize();
}

TEST_F(TaskConnectionTest, failedCreationLeavesNoService) {
  initialize();
  s_taskService = reinterpret_cast<ITaskService*>(&log);
  faults().failOnce("CoCreateInstance", 0x80040154);
  EXPECT_EQ(ConnectTaskService(), nullptr);
  EXPECT_EQ(s_taskService, nullptr);
}

// Deliberate: what was released is not forgotten.
TEST_F(TaskConnectionTest, failedConnectionLeavesThePointerToTheReleasedService) {
  initialize();
  faults().failOnce("ITaskService::Connect", 0x80070005);
  EXPECT_EQ(ConnectTaskService(), nullptr);
  EXPECT_NE(s_taskService, nullptr);
}

TEST_F(TaskConnectionTest, rootFolderIsTheBackslash) {
  connect();
  ITaskFolder* folder = GetRootFolder(s_taskService);
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ(folder, s_rootFolder);
  EXPECT_EQ(valueOf("ITaskService::GetFolder"), "\\");
  EXPECT_EQ(comCalls(), Texts{"ITaskService::GetFolder"});
  EXPECT_EQ(journal().namesOf({"SysAllocString", "SysFreeString"}),
            (Texts{"SysAllocString", "SysFreeString"}));
  EXPECT_EQ(log.texts(), Texts{});
  folder->Release();
  s_taskService->Release();
  CoUninitialize();
}

}  // namespace
