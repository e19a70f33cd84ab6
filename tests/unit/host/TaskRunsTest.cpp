// What becomes of a task's instances: how many there are, what ends them, what is tried again.

#include "platform/host/TaskRuns.h"

#include <signal.h>

#include "tests/unit/host/TaskTriggerFixture.h"

namespace host {
namespace {

const std::string kStarted = "task \"Some Task\" started C:\\x\\Program.exe as S-1-5-18";

class TaskRunsTest : public TaskTriggerTest {
 protected:
  // Lets the event come and forgets its own note.
  void raise() {
    machine().raiseEvent(L"System", kProvider, 1025);
    std::erase(notes, "event Some-Provider 1025 raised in System");
  }

  static std::function<void(ITaskSettings&)> policy(TASK_INSTANCES_POLICY wanted) {
    return [wanted](ITaskSettings& settings) { settings.put_MultipleInstances(wanted); };
  }

  static void tryTwiceMore(ITaskSettings& settings) {
    settings.put_RestartInterval(TestString(L"PT30M"));
    settings.put_RestartCount(2);
  }

  static constexpr DWORD kMinuteMs = 60'000;
};

// While another instance runs.

TEST_F(TaskRunsTest, ANewInstanceIsIgnoredWhileAnotherRuns) {
  makeTask();
  raise();
  Sleep(900);
  raise();
  EXPECT_EQ(notes, (Texts{kStarted, "task \"Some Task\" not started: it is still running"}));
}

TEST_F(TaskRunsTest, ANewInstanceStartsWhenTheOtherHasEnded) {
  makeTask();
  raise();
  Sleep(1100);
  raise();
  EXPECT_EQ(notes, (Texts{kStarted, kStarted}));
}

TEST_F(TaskRunsTest, ParallelInstancesRunSideBySide) {
  makeTask(policy(TASK_INSTANCES_PARALLEL));
  raise();
  raise();
  EXPECT_EQ(notes, (Texts{kStarted, kStarted}));
}

TEST_F(TaskRunsTest, AQueuedInstanceStartsWhenTheOtherHasEnded) {
  makeTask(policy(TASK_INSTANCES_QUEUE));
  raise();
  raise();
  Sleep(900);
  EXPECT_EQ(notes, (Texts{kStarted, "task \"Some Task\" queued: it is still running"}));
  Sleep(200);
  EXPECT_EQ(notes, (Texts{kStarted, "task \"Some Task\" queued: it is still running", kStarted}));
}

TEST_F(TaskRunsTest, QueuedInstancesStartOneAfterTheOther) {
  makeTask(policy(TASK_INSTANCES_QUEUE));
  raise();
  raise();
  raise();
  Sleep(1100);
  EXPECT_EQ(machine().tasksStarted.size(), 2U);
  Sleep(1000);
  EXPECT_EQ(machine().tasksStarted.size(), 3U);
  Sleep(5000);
  EXPECT_EQ(machine().tasksStarted.size(), 3U);
}

TEST_F(TaskRunsTest, AQueuedInstanceIsHeldAgainstTheSettingsWhenItsTurnComes) {
  makeTask([](ITaskSettings& settings) {
    settings.put_MultipleInstances(TASK_INSTANCES_QUEUE);
    settings.put_RunOnlyIfNetworkAvailable(VARIANT_TRUE);
  });
  raise();
  raise();
  machine().network = false;
  Sleep(1100);
  EXPECT_EQ(notes.back(), "task \"Some Task\" not started: there is no network");
  EXPECT_EQ(machine().tasksStarted.size(), 1U);
}

TEST_F(TaskRunsTest, AQueuedInstanceOfADeletedTaskNeverStarts) {
  makeTask(policy(TASK_INSTANCES_QUEUE));
  raise();
  raise();
  root->DeleteTask(TestString(kName), 0);
  Sleep(5000);
  EXPECT_EQ(machine().tasksStarted.size(), 1U);
}

TEST_F(TaskRunsTest, ANewInstanceTakesThePlaceOfTheOther) {
  makeTask(policy(TASK_INSTANCES_STOP_EXISTING));
  raise();
  raise();
  EXPECT_EQ(notes, (Texts{kStarted, "task \"Some Task\" stopped: a new instance takes its place",
                          kStarted}));
}

TEST_F(TaskRunsTest, ATaskRunsUntilItsProgramEnds) {
  makeTask();
  IRegisteredTask* found = nullptr;
  root->GetTask(TestString(kName), &found);
  const Reference<IRegisteredTask> task(found);
  TASK_STATE state = TASK_STATE_UNKNOWN;
  raise();
  EXPECT_EQ(task->get_State(&state), 0);
  EXPECT_EQ(state, TASK_STATE_RUNNING);
  Sleep(1100);
  EXPECT_EQ(task->get_State(&state), 0);
  EXPECT_EQ(state, TASK_STATE_READY);
}

// Batteries.

TEST_F(TaskRunsTest, ATaskThatIsToStopOnBatteriesEndsWhenTheMachineGoesOverToThem) {
  makeTask();
  raise();
  TaskRuns::instance().setPower(true);
  EXPECT_TRUE(machine().onBatteries);
  EXPECT_EQ(notes, (Texts{kStarted, "task \"Some Task\" stopped: the machine is on batteries"}));
  EXPECT_FALSE(TaskRuns::instance().isRunning(kName));
}

TEST_F(TaskRunsTest, ATaskThatMayGoOnOnBatteriesGoesOn) {
  makeTask([](ITaskSettings& settings) { settings.put_StopIfGoingOnBatteries(VARIANT_FALSE); });
  raise();
  TaskRuns::instance().setPower(true);
  EXPECT_EQ(notes, Texts{kStarted});
  EXPECT_TRUE(TaskRuns::instance().isRunning(kName));
}

TEST_F(TaskRunsTest, ATaskThatWasStartedOnBatteriesIsNotEndedByThem) {
  makeTask([](ITaskSettings& settings) { settings.put_DisallowStartIfOnBatteries(VARIANT_FALSE); });
  TaskRuns::instance().setPower(true);
  raise();
  TaskRuns::instance().setPower(true);
  EXPECT_EQ(notes, Texts{kStarted});
}

TEST_F(TaskRunsTest, TheReturnToMainsEndsNothing) {
  makeTask([](ITaskSettings& settings) { settings.put_DisallowStartIfOnBatteries(VARIANT_FALSE); });
  TaskRuns::instance().setPower(true);
  raise();
  TaskRuns::instance().setPower(false);
  EXPECT_FALSE(machine().onBatteries);
  EXPECT_EQ(notes, Texts{kStarted});
}

TEST_F(TaskRunsTest, ATaskThatWasStoppedIsNotTriedAgain) {
  makeTask(tryTwiceMore);
  TaskRuns::instance().programExitCodes = {1};
  raise();
  TaskRuns::instance().setPower(true);
  TaskRuns::instance().setPower(false);
  Sleep(31 * kMinuteMs);
  EXPECT_EQ(machine().tasksStarted.size(), 1U);
}

TEST_F(TaskRunsTest, AProgramThatGoesOnIsReallyEnded) {
  machine().drive.linkIn("/usr/bin/yes", kProgram);
  const StartedProgram program = startProgram(kProgram);
  ASSERT_EQ(program.error, 0U);
  endProgram(program.child);
  EXPECT_EQ(exitCodeOf(program.child), SIGKILL);
}

// Failures.

TEST_F(TaskRunsTest, AProgramThatEndsWithZeroIsNotTriedAgain) {
  makeTask(tryTwiceMore);
  raise();
  Sleep(31 * kMinuteMs);
  EXPECT_EQ(notes, Texts{kStarted});
}

TEST_F(TaskRunsTest, AProgramThatFailsIsTriedAgainAfterTheIntervalAsOftenAsTheTaskSays) {
  makeTask(tryTwiceMore);
  TaskRuns::instance().programExitCodes = {7};
  const std::string ended = "task \"Some Task\" ended with exit code 7";
  raise();
  Sleep(29 * kMinuteMs);
  EXPECT_EQ(notes, (Texts{kStarted, ended}));
  Sleep(2 * kMinuteMs);
  EXPECT_EQ(notes, (Texts{kStarted, ended, kStarted, ended}));
  Sleep(31 * kMinuteMs);
  EXPECT_EQ(notes, (Texts{kStarted, ended, kStarted, ended, kStarted, ended}));
  Sleep(120 * kMinuteMs);
  EXPECT_EQ(machine().tasksStarted.size(), 3U);
}

TEST_F(TaskRunsTest, ATryThatSucceedsIsTheLast) {
  makeTask(tryTwiceMore);
  TaskRuns::instance().programExitCodes = {7, 0};
  raise();
  Sleep(120 * kMinuteMs);
  EXPECT_EQ(notes, (Texts{kStarted, "task \"Some Task\" ended with exit code 7", kStarted}));
}

TEST_F(TaskRunsTest, AProgramThatFailsIsNotTriedAgainIfTheTaskDoesNotSay) {
  makeTask();
  TaskRuns::instance().programExitCodes = {7};
  raise();
  Sleep(120 * kMinuteMs);
  EXPECT_EQ(machine().tasksStarted.size(), 1U);
}

TEST_F(TaskRunsTest, TheRealProgramsExitCodeCountsIfTheMachineSaysNothing) {
  machine().drive.linkIn("/bin/false", kProgram);
  makeTask();
  raise();
  Sleep(1100);
  EXPECT_EQ(notes, (Texts{kStarted, "task \"Some Task\" ended with exit code 1"}));
}

TEST_F(TaskRunsTest, AProgramThatCannotBeStartedIsTriedAgain) {
  makeTask(tryTwiceMore);
  machine().drive.remove(kProgram);
  raise();
  const std::string refused = "task \"Some Task\" could not start C:\\x\\Program.exe, error 2";
  EXPECT_EQ(notes, Texts{refused});
  Sleep(31 * kMinuteMs);
  EXPECT_EQ(notes, (Texts{refused, refused}));
  machine().drive.linkIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", kProgram);
  Sleep(31 * kMinuteMs);
  EXPECT_EQ(notes, (Texts{refused, refused, kStarted}));
}

TEST_F(TaskRunsTest, ATryThatTheSettingsForbidCountsAsOne) {
  makeTask([](ITaskSettings& settings) {
    tryTwiceMore(settings);
    settings.put_RunOnlyIfNetworkAvailable(VARIANT_TRUE);
  });
  TaskRuns::instance().programExitCodes = {7};
  raise();
  machine().network = false;
  Sleep(120 * kMinuteMs);
  const std::string forbidden = "task \"Some Task\" not started: there is no network";
  EXPECT_EQ(notes,
            (Texts{kStarted, "task \"Some Task\" ended with exit code 7", forbidden, forbidden}));
}

TEST_F(TaskRunsTest, ADeletedTaskIsNotTriedAgain) {
  makeTask(tryTwiceMore);
  TaskRuns::instance().programExitCodes = {7};
  raise();
  root->DeleteTask(TestString(kName), 0);
  Sleep(120 * kMinuteMs);
  EXPECT_EQ(machine().tasksStarted.size(), 1U);
}

TEST_F(TaskRunsTest, AFreshMachineKnowsNothingOfEarlierInstances) {
  makeTask(tryTwiceMore);
  TaskRuns::instance().programExitCodes = {7};
  raise();
  TaskRuns::instance().clear();
  Sleep(120 * kMinuteMs);
  EXPECT_EQ(notes, Texts{kStarted});
}

}  // namespace
}  // namespace host
