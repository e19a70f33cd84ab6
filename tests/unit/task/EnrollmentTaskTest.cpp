#include "task/ComError.h"
#include "task/TaskLifecycle.h"
#include "tests/unit/service/EnrollmentRun.h"
#include "tests/unit/task/LifecycleFixture.h"

namespace {

// What the enrollment's run makes of the task's operations, and of their failures.
class EnrollmentTaskTest : public EnrollmentRun {
 protected:
  EnrollmentTaskTest() {
    installClient();
    Peer::setRetries(enrollment, 0);
  }

  static bool isTaskStored() { return host::machine().drive.read(kStoredTask).has_value(); }

  // What leaves the run: the result of a ComError, 0 for nothing.
  DWORD thrownByRun() {
    try {
      enrollment.Run();
    } catch (const ComError& e) {
      return static_cast<DWORD>(e.Error());
    }
    return 0;
  }

  // The lines of the registration step, without those of the tries.
  Texts linesOfTheStep() const {
    Texts lines = linesFrom("Event not registered by the system.");
    lines.erase(lines.begin());
    lines.erase(std::find(lines.begin(), lines.end(), "[DBG] [TPM] Running Init for method: 2"),
                lines.end());
    return lines;
  }
};

// Nobody in the run catches it, and the flag stays as it was. The client is closed all the same.
TEST_F(EnrollmentTaskTest, missingMemoryWhileTheTaskIsScheduledLeavesRunWithTheFlagStillSet) {
  faults().failOnce("SysAllocString", 8);
  EXPECT_EQ(thrownByRun(), 0x8007000EU);
  EXPECT_TRUE(Peer::running(enrollment));
  EXPECT_TRUE(enrollment.IsRunning());
  EXPECT_TRUE(log.contains("[DBG] [TPM] Closing talsClient access layer"));
  EXPECT_FALSE(log.contains("Running Init for method: 2"));
  EXPECT_EQ(ledger().open("module"), 0U);
  EXPECT_FALSE(isTaskStored());
  CoUninitialize();
}

TEST_F(EnrollmentTaskTest, missingMemoryWhileTheTaskIsDeletedLeavesRunWithTheFlagStillSet) {
  publishTpmEvent();
  faults().failOnce("SysAllocString", 8, 2);
  EXPECT_EQ(thrownByRun(), 0x8007000EU);
  EXPECT_TRUE(enrollment.IsRunning());
  EXPECT_FALSE(log.contains("Task Deleted sucessfully"));
  EXPECT_EQ(ledger().open("module"), 0U);
  CoUninitialize();
}

// A failure is told by lines alone, and the goal counts as met.
TEST_F(EnrollmentTaskTest, schedulerThatRefusesChangesNothingOfTheRun) {
  host::machine().schedulerRefuses = true;
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(linesOfTheStep(), (Texts{"[DBG] [TPM] Scheduling VTM Task ...",
                                     "[DBG] [TPM] ITaskService::Connect failed: 80070005"}));
  EXPECT_FALSE(enrollment.IsRunning());
  EXPECT_TRUE(journal().calls("WaitForMultipleObjects").empty());
  EXPECT_FALSE(isTaskStored());
}

TEST_F(EnrollmentTaskTest, saveThatFailsChangesNothingOfTheRun) {
  faults().failOnce("ITaskFolder::RegisterTaskDefinition", 0x80070005);
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(linesOfTheStep(), (Texts{"[DBG] [TPM] Scheduling VTM Task ...",
                                     "[DBG] [TPM] Error saving the Task : 80070005",
                                     "[DBG] [TPM] Task not found, scheduled new one sucessfully"}));
  EXPECT_TRUE(journal().calls("WaitForMultipleObjects").empty());
}

// The tries have left a 2 behind.
TEST_F(EnrollmentTaskTest, errorOfTheTriesStopsTheTaskWhereTheNameOfTheProgramDoesNotClearIt) {
  host::machine().moduleFileNameClearsLastError = false;
  EXPECT_EQ(enrollment.Run(), 0U);
  EXPECT_EQ(linesOfTheStep(),
            (Texts{"[DBG] [TPM] Scheduling VTM Task ...", "[DBG] [TPM] GetModulePath failed"}));
  EXPECT_TRUE(journal().calls("CoInitializeEx").empty());
  EXPECT_FALSE(isTaskStored());
}

// Deleting is no goal: the run waits for the event whatever comes of it.
TEST_F(EnrollmentTaskTest, deletionThatFailsChangesNothingOfTheRun) {
  publishTpmEvent();
  faults().failOnce("CoCreateInstance", 0x80040154);
  EXPECT_EQ(runAndStopAfter(1'000), 0U);
  EXPECT_TRUE(log.contains("[DBG] [TPM] Failed to create an instance of ITaskService: 80040154"));
  EXPECT_FALSE(log.contains("Task Deleted sucessfully"));
  EXPECT_TRUE(journal().calls("WaitForMultipleObjects").at(0).args.starts_with("2, "));
}

TEST_F(EnrollmentTaskTest, taskOfAnEarlierStartIsDeletedOnceTheEventIsPublished) {
  EXPECT_EQ(enrollment.Run(), 0U);
  ASSERT_TRUE(isTaskStored());
  publishTpmEvent();
  EXPECT_EQ(runAndStopAfter(1'000), 0U);
  EXPECT_TRUE(log.contains("[DBG] [TPM] Task Deleted sucessfully"));
  EXPECT_FALSE(isTaskStored());
}

}  // namespace
