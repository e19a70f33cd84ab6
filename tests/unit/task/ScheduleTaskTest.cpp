#include "tests/unit/task/LifecycleFixture.h"

namespace {

class ScheduleTaskTest : public LifecycleTest {
 protected:
  ScheduleTaskTest() { host::machine().programPath = L"C:\\Orvix\\bin\\Service.exe"; }
};

TEST_F(ScheduleTaskTest, taskPointsAtTheDirectoryOfTheRunningProgram) {
  ScheduleTask();
  EXPECT_EQ(journal().calls("GetModuleFileNameW").at(0).args, "null, 260");
  EXPECT_EQ(journal().calls("PathRemoveFileSpecW").size(), 1U);
  EXPECT_TRUE(log.contains("Task not found, scheduled new one sucessfully"));
  EXPECT_EQ(storedPath(), L"\"C:\\Orvix\\bin\\OrvixVTMEKRecertification.exe\"");
}

TEST_F(ScheduleTaskTest, secondCallFindsTheTaskInOrder) {
  ScheduleTask();
  forget();
  ScheduleTask();
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: C:\\Orvix\\binandC:\\Orvix\\bin",
                                "[DBG] [TPM] Task is Ok, Skipping..."}));
}

// Deliberate: the last error is not cleared beforehand.
TEST_F(ScheduleTaskTest, lastErrorLeftByAnEarlierCallStopsTheOperation) {
  host::machine().moduleFileNameClearsLastError = false;
  host::setLastError(2);
  ScheduleTask();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] GetModulePath failed"});
  EXPECT_EQ(comCalls(), Texts{});
  EXPECT_TRUE(journal().calls("PathRemoveFileSpecW").empty());
  EXPECT_EQ(storedPath(), L"no task");
}

TEST_F(ScheduleTaskTest, lastErrorThatTheCallItselfClearsStopsNothing) {
  host::setLastError(2);
  ScheduleTask();
  EXPECT_TRUE(log.contains("Task not found, scheduled new one sucessfully"));
}

TEST_F(ScheduleTaskTest, failedCallStopsTheOperation) {
  faults().failOnce("GetModuleFileNameW", 5);
  ScheduleTask();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] GetModulePath failed"});
  EXPECT_EQ(comCalls(), Texts{});
}

TEST_F(ScheduleTaskTest, pathThatIsCutStopsTheOperation) {
  host::machine().programPath = L"C:\\" + std::wstring(300, L'x') + L"\\Service.exe";
  ScheduleTask();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] GetModulePath failed"});
}

// Deliberate: the last error alone decides.
TEST_F(ScheduleTaskTest, resultOfTheCallIsNotLookedAt) {
  faults().failOnce("GetModuleFileNameW", 0);
  ScheduleTask();
  EXPECT_TRUE(log.contains("Task not found, scheduled new one sucessfully"));
  EXPECT_EQ(storedPath(), L"\"\\OrvixVTMEKRecertification.exe\"");
}

}  // namespace
