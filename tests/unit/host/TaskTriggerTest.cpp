// Events of the machine's logs, and the tasks that they start.

#include "platform/host/ProcessObject.h"
#include "tests/unit/host/ComFixture.h"

namespace host {
namespace {

using Texts = std::vector<std::string>;

constexpr wchar_t kName[] = L"Some Task";
constexpr wchar_t kProgram[] = L"C:\\x\\Program.exe";
constexpr wchar_t kProvider[] = L"Some-Provider";
constexpr wchar_t kQuery[] =
    L"<QueryList><Query Id=\"0\" Path=\"System\"><Select Path=\"System\">"
    L"*[System[Provider[@Name='Some-Provider'] and (EventID=1025 or EventID=1026)]]"
    L"</Select></Query></QueryList>";

class TaskTriggerTest : public TaskServiceTest {
 protected:
  TaskTriggerTest() {
    machine().drive.linkIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", kProgram);
    machine().onNote = [this](const std::string& what) { notes.push_back(what); };
  }
  ~TaskTriggerTest() override {
    waitForPrograms();
    machine().onNote = nullptr;
  }

  // A task that waits for events 1025 and 1026, changed before it is stored.
  void makeTask(const std::function<void(ITaskSettings&)>& change = nullptr,
                const std::wstring& query = kQuery) const {
    const auto task = newTask();
    addProgram(*task, std::wstring(L"\"") + kProgram + L"\"");
    addEventTrigger(*task, query);
    if (change) {
      change(*settingsOf(*task));
    }
    ASSERT_EQ(put(kName, *task), 0);
  }

  // How many tasks an event starts.
  static std::size_t startedBy(const wchar_t* log, const wchar_t* provider, DWORD id) {
    const std::size_t before = machine().tasksStarted.size();
    machine().raiseEvent(log, provider, id);
    return machine().tasksStarted.size() - before;
  }

  Texts notes;
};

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

TEST_F(TaskTriggerTest, ANewInstanceIsIgnoredWhileAnotherRuns) {
  makeTask();
  machine().raiseEvent(L"System", kProvider, 1025);
  Sleep(900);
  machine().raiseEvent(L"System", kProvider, 1026);
  EXPECT_EQ(notes.back(), "task \"Some Task\" not started: it is still running");
  Sleep(200);
  EXPECT_EQ(startedBy(L"System", kProvider, 1026), 1U);
}

TEST_F(TaskTriggerTest, ParallelInstancesRunSideBySide) {
  makeTask(
      [](ITaskSettings& settings) { settings.put_MultipleInstances(TASK_INSTANCES_PARALLEL); });
  EXPECT_EQ(startedBy(L"System", kProvider, 1025), 1U);
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
