#include "tests/unit/task/LifecycleFixture.h"

namespace {

class ScheduleTaskTest : public LifecycleTest {
 protected:
  ScheduleTaskTest() { host::machine().programPath = L"C:\\Orvix\\bin\\Service.exe"; }

  // Leaves what looks like a path in the memory that the next call takes for its variables.
  [[gnu::noinline]] static void soilTheStack() {
    volatile wchar_t soil[2048];
    bool isSeparator = false;
    for (volatile wchar_t& place : soil) {
      place = isSeparator ? L'\\' : L'x';
      isSeparator = !isSeparator;
    }
  }
};

TEST_F(ScheduleTaskTest, taskPointsAtTheDirectoryOfTheRunningProgram) {
  ScheduleTask();
  EXPECT_EQ(journal().calls("GetModuleFileNameW").at(0).args, "null, 260");
  EXPECT_EQ(journal().calls("PathRemoveFileSpecW").at(0).args, "C:\\Orvix\\bin\\Service.exe");
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

TEST_F(ScheduleTaskTest, errorIsReadBehindTheNameAndAheadOfItsCut) {
  ScheduleTask();
  EXPECT_EQ(journal().namesOf({"GetModuleFileNameW", "GetLastError", "PathRemoveFileSpecW",
                               "SetLastError", "CoInitializeEx"}),
            (Texts{"GetModuleFileNameW", "GetLastError", "PathRemoveFileSpecW", "CoInitializeEx"}));
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

TEST_F(ScheduleTaskTest, longestProgramPathThatFitsIsTaken) {
  const std::wstring directory = L"C:\\" + std::wstring(225, L'x');
  host::machine().programPath = directory + L"\\" + std::wstring(30, L'y');
  ASSERT_EQ(host::machine().programPath.size(), 259U);
  ScheduleTask();
  EXPECT_EQ(storedPath(), L"\"" + directory + L"\\OrvixVTMEKRecertification.exe\"");
}

TEST_F(ScheduleTaskTest, programPathThatIsCutStopsTheOperation) {
  host::machine().programPath = L"C:\\" + std::wstring(225, L'x') + L"\\" + std::wstring(31, L'y');
  ASSERT_EQ(host::machine().programPath.size(), 260U);
  ScheduleTask();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] GetModulePath failed"});
  EXPECT_EQ(comCalls(), Texts{});
  EXPECT_TRUE(journal().calls("PathRemoveFileSpecW").empty());
}

// Deliberate: the last error alone decides, also against a result that is a success.
TEST_F(ScheduleTaskTest, errorThatASuccessLeavesStopsTheOperation) {
  host::CallHooks::instance().before("GetLastError", 1, [] { host::setLastError(5); });
  ScheduleTask();
  EXPECT_EQ(journal().calls("GetModuleFileNameW").at(0).result, "24");
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] GetModulePath failed"});
  EXPECT_EQ(comCalls(), Texts{});
}

// Deliberate: the last error alone decides. The place for the path was cleared, so it is empty.
TEST_F(ScheduleTaskTest, resultOfTheCallIsNotLookedAt) {
  faults().failOnce("GetModuleFileNameW", 0);
  soilTheStack();
  ScheduleTask();
  EXPECT_TRUE(log.contains("Task not found, scheduled new one sucessfully"));
  EXPECT_EQ(storedPath(), L"\"\\OrvixVTMEKRecertification.exe\"");
}

TEST_F(ScheduleTaskTest, resultOfTheCutIsNotLookedAt) {
  faults().failOnce("PathRemoveFileSpecW", 0);
  ScheduleTask();
  EXPECT_EQ(storedPath(), L"\"C:\\Orvix\\bin\\Service.exe\\OrvixVTMEKRecertification.exe\"");
}

// The directory of a program in the root of a drive ends in the backslash, unlike all others.
TEST_F(ScheduleTaskTest, programInTheRootOfADriveKeepsTheBackslash) {
  host::machine().programPath = L"C:\\Service.exe";
  ScheduleTask();
  EXPECT_EQ(storedPath(), L"\"C:\\\\OrvixVTMEKRecertification.exe\"");
  ScheduleTask();
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] Compare: C:\\andC:\\", "[DBG] [TPM] Task is Ok, Skipping..."}));
}

}  // namespace
