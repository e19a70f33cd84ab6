// Events of the machine's logs, and the tasks that they start.

#include "tests/unit/host/TaskTriggerFixture.h"

namespace host {
namespace {

TEST_F(TaskTriggerTest, AnEventThatTheQuerySelectsStartsTheProgramAsTheTasksAccount) {
  makeTask();
  machine().raiseEvent(L"System", kProvider, 1025);
  EXPECT_EQ(notes, (Texts{"event Some-Provider 1025 raised in System",
                          "task \"Some Task\" started C:\\x\\Program.exe as S-1-5-18"}));
}

TEST_F(TaskTriggerTest, TheProgramIsARealProcess) {
  makeTask();
  machine().raiseEvent(L"System", kProvider, 1026);
  waitForPrograms();
  EXPECT_EQ(machine().drive.read(L"C:\\x\\recertification.log"), "started\n");
}

TEST_F(TaskTriggerTest, NearMissesStartNothing) {
  makeTask();
  EXPECT_EQ(startedBy(L"System", kProvider, 1024), 0U);
  EXPECT_EQ(startedBy(L"System", kProvider, 1027), 0U);
  EXPECT_EQ(startedBy(L"System", L"Some-Providers", 1025), 0U);
  EXPECT_EQ(startedBy(L"System", L"some-provider", 1025), 0U);
  EXPECT_EQ(startedBy(L"Application", kProvider, 1025), 0U);
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 1U);
}

TEST_F(TaskTriggerTest, ALogsNameIgnoresCase) {
  makeTask();
  EXPECT_EQ(startedBy(L"SYSTEM", kProvider, 1025), 1U);
}

TEST_F(TaskTriggerTest, WithoutAnyTaskAnEventIsOnlyNoted) {
  machine().raiseEvent(L"System", kProvider, 1025);
  EXPECT_EQ(notes, Texts{"event Some-Provider 1025 raised in System"});
}

TEST_F(TaskTriggerTest, ADeletedTaskIsNotStarted) {
  makeTask();
  root->DeleteTask(TestString(kName), 0);
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 0U);
}

TEST_F(TaskTriggerTest, ADisabledTaskIsNotStarted) {
  makeTask([](ITaskSettings& settings) { settings.put_Enabled(VARIANT_FALSE); });
  machine().raiseEvent(L"System", kProvider, 1025);
  EXPECT_EQ(notes.back(), "task \"Some Task\" not started: it is disabled");
}

TEST_F(TaskTriggerTest, ADisabledTriggerSelectsNothing) {
  const auto task = newTask();
  addProgram(*task, kProgram);
  addEventTrigger(*task, kQuery);
  ITriggerCollection* found = nullptr;
  task->get_Triggers(&found);
  const Reference<ITriggerCollection> triggers(found);
  ITrigger* trigger = nullptr;
  triggers->get_Item(1, &trigger);
  trigger->put_Enabled(VARIANT_FALSE);
  trigger->Release();
  put(kName, *task);
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 0U);
}

TEST_F(TaskTriggerTest, ATaskThatNeedsANetworkWaitsForNone) {
  makeTask([](ITaskSettings& settings) { settings.put_RunOnlyIfNetworkAvailable(VARIANT_TRUE); });
  machine().network = false;
  machine().raiseEvent(L"System", kProvider, 1025);
  EXPECT_EQ(notes.back(), "task \"Some Task\" not started: there is no network");
  machine().network = true;
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 1U);
}

TEST_F(TaskTriggerTest, ATaskThatNeedsNoNetworkStartsWithoutOne) {
  makeTask();
  machine().network = false;
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 1U);
}

TEST_F(TaskTriggerTest, ATaskThatDeclinesBatteriesIsNotStartedOnThem) {
  makeTask();
  machine().onBatteries = true;
  machine().raiseEvent(L"System", kProvider, 1025);
  EXPECT_EQ(notes.back(), "task \"Some Task\" not started: the machine is on batteries");
}

TEST_F(TaskTriggerTest, ATaskThatAllowsBatteriesIsStartedOnThem) {
  makeTask([](ITaskSettings& settings) { settings.put_DisallowStartIfOnBatteries(VARIANT_FALSE); });
  machine().onBatteries = true;
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 1U);
}

TEST_F(TaskTriggerTest, AProgramThatIsNotThereIsNoted) {
  makeTask();
  machine().drive.remove(kProgram);
  machine().raiseEvent(L"System", kProvider, 1025);
  EXPECT_EQ(notes.back(), "task \"Some Task\" could not start C:\\x\\Program.exe, error 2");
}

TEST_F(TaskTriggerTest, ASuppressedEventStartsNothing) {
  makeTask(nullptr,
           L"<QueryList><Query Id=\"0\" Path=\"System\"><Select>*</Select>"
           L"<Suppress>*[System[EventID=1026]]</Suppress></Query></QueryList>");
  EXPECT_EQ(startedBy(L"System", kProvider, 1026), 0U);
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 1U);
}

TEST_F(TaskTriggerTest, ASelectionWithoutALogHasItsQuerys) {
  makeTask(nullptr,
           L"<QueryList><Query Id=\"0\" Path=\"Application\"><Select>*</Select></Query>"
           L"</QueryList>");
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 0U);
  EXPECT_EQ(startedBy(L"Application", kProvider, 1025), 1U);
}

TEST_F(TaskTriggerTest, AMalformedQuerySelectsNothing) {
  for (const wchar_t* query : {L"*", L"<QueryList>", L"<Query/>",
                               L"<QueryList><Query Path=\"System\"><Select>*[</Select></Query>"
                               L"</QueryList>"}) {
    makeTask(nullptr, query);
    EXPECT_EQ(startedBy(L"System", kProvider, 1025), 0U) << toUtf8(query);
  }
}

TEST_F(TaskTriggerTest, TasksStartInTheOrderOfTheirNames) {
  const auto task = newTask();
  addProgram(*task, kProgram);
  addEventTrigger(*task, kQuery);
  put(L"b", *task);
  put(L"\\folder\\c", *task);
  put(L"a", *task);
  machine().raiseEvent(L"System", kProvider, 1025);
  ASSERT_EQ(machine().tasksStarted.size(), 3U);
  EXPECT_EQ(machine().tasksStarted[0].task, L"a");
  EXPECT_EQ(machine().tasksStarted[1].task, L"b");
  EXPECT_EQ(machine().tasksStarted[2].task, L"folder\\c");
  EXPECT_EQ(machine().tasksStarted[0].program, L"C:\\x\\Program.exe");
  EXPECT_EQ(machine().tasksStarted[0].account, L"S-1-5-18");
}

TEST_F(TaskTriggerTest, AnUnreadableTaskDoesNotKeepOthersFromStarting) {
  makeTask();
  machine().drive.write(L"C:\\Windows\\System32\\Tasks\\A broken one", "<Task");
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 1U);
}

}  // namespace
}  // namespace host
