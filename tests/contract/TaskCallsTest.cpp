// The Task Scheduler's service, folders, registered tasks and definitions.

#include <string>

#include "tests/contract/TaskFixture.h"

namespace {

using contract::By;
using contract::code;
using contract::part;
using contract::Reference;
using contract::Scheduler;
using contract::taken;
using contract::Text;

constexpr char kAsAPath[] = "Wine takes it for a path that is not there";
constexpr wchar_t kName[] = L"Contract Task";

// A scheduler without the suite's task, also when a test left it there.
class Fresh : public Scheduler {
 public:
  explicit Fresh(By whom = By::kWine) : Scheduler(whom) { drop(kName); }
  ~Fresh() { drop(kName); }
  Fresh(const Fresh&) = delete;
  Fresh& operator=(const Fresh&) = delete;
};

TEST(ITaskService_Connect, MakesTheOtherMethodsWork) {
  const contract::Com com;
  const auto service = Scheduler::newService();
  ITaskFolder* folder = nullptr;
  EXPECT_NE(service->GetFolder(Text(L"\\"), &folder), S_OK);
  EXPECT_EQ(folder, nullptr);
  EXPECT_EQ(
      service->Connect(contract::empty(), contract::empty(), contract::empty(), contract::empty()),
      S_OK);
  EXPECT_EQ(service->GetFolder(Text(L"\\"), &folder), S_OK);
  folder->Release();
}

TEST(ITaskService_GetFolder, OfTheRootGivesIt) {
  const Fresh scheduler;
  EXPECT_NE(scheduler.root, nullptr);
}

TEST(ITaskService_GetFolder, OfAMissingFolderFails) {
  const Fresh scheduler;
  ITaskFolder* folder = nullptr;
  EXPECT_EQ(code(scheduler.service->GetFolder(Text(L"\\Contract Elsewhere"), &folder)),
            contract::butUnderWine(0x80070002U, 0x80070003U, kAsAPath));
  EXPECT_EQ(folder, nullptr);
}

TEST(ITaskService_NewTask, GivesADefinitionOfItsOwnEachTime) {
  const Fresh scheduler;
  const auto first = scheduler.newTask();
  const auto second = scheduler.newTask();
  EXPECT_NE(first, second);
}

TEST(ITaskService_NewTask, RefusesFlags) {
  const Fresh scheduler;
  ITaskDefinition* task = nullptr;
  EXPECT_EQ(code(scheduler.service->NewTask(1, &task)),
            contract::butUnderWine(0x80070057U, 0U, "Wine ignores them"));
  if (task != nullptr) {
    task->Release();
  }
}

TEST(ITaskFolder_GetFolder, OfAMissingFolderFails) {
  const Fresh scheduler;
  ITaskFolder* folder = nullptr;
  EXPECT_EQ(code(scheduler.root->GetFolder(Text(L"Contract Elsewhere"), &folder)),
            contract::butUnderWine(0x80070002U, 0x80070003U, kAsAPath));
  EXPECT_EQ(folder, nullptr);
}

TEST(ITaskFolder_GetTask, OfAMissingTaskFails) {
  const Fresh scheduler;
  IRegisteredTask* task = nullptr;
  EXPECT_EQ(code(scheduler.root->GetTask(Text(kName), &task)), 0x80070002U);
  EXPECT_EQ(task, nullptr);
}

TEST(ITaskFolder_GetTask, IgnoresTheCaseOfAName) {
  const Fresh scheduler;
  ASSERT_EQ(code(scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE)), 0U);
  EXPECT_NE(scheduler.find(L"CONTRACT task"), nullptr);
}

TEST(ITaskFolder_RegisterTaskDefinition, OverAnExistingTaskIsRefused) {
  const Fresh scheduler;
  EXPECT_EQ(code(scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE)), 0U);
  EXPECT_EQ(code(scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE)), 0x800700B7U);
}

TEST(ITaskFolder_RegisterTaskDefinition, CreatesOrUpdates) {
  const Fresh scheduler;
  EXPECT_EQ(code(scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE_OR_UPDATE)), 0U);
  EXPECT_EQ(code(scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE_OR_UPDATE)), 0U);
}

TEST(ITaskFolder_RegisterTaskDefinition, OfAMissingTaskDoesNotUpdate) {
  const Fresh scheduler;
  EXPECT_EQ(code(scheduler.put(kName, *scheduler.wholeTask(), TASK_UPDATE)), 0x80070002U);
}

TEST(ITaskFolder_RegisterTaskDefinition, RefusesATaskWithoutActions) {
  const Fresh scheduler(By::kStandIn);
  EXPECT_EQ(code(scheduler.put(kName, *scheduler.newTask(), TASK_CREATE)), 0x80041319U);
}

TEST(ITaskFolder_RegisterTaskDefinition, RefusesWhatSettersTook) {
  const Fresh scheduler(By::kStandIn);
  const auto task = scheduler.wholeTask();
  const auto settings = part(*task, &ITaskDefinition::get_Settings);
  EXPECT_EQ(settings->put_RestartInterval(Text(L"half an hour")), S_OK);
  EXPECT_EQ(settings->put_RestartCount(3), S_OK);
  EXPECT_EQ(code(scheduler.put(kName, *task, TASK_CREATE)), 0x80041318U);
}

TEST(ITaskFolder_DeleteTask, SucceedsOnce) {
  const Fresh scheduler;
  scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE);
  EXPECT_EQ(code(scheduler.drop(kName)), 0U);
  EXPECT_EQ(code(scheduler.drop(kName)), 0x80070002U);
}

TEST(IRegisteredTask_get_Path, BeginsAtTheRoot) {
  const Fresh scheduler;
  scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE);
  const auto task = scheduler.find(kName);
  ASSERT_NE(task, nullptr);
  BSTR path = nullptr;
  EXPECT_EQ(task->get_Path(&path), S_OK);
  EXPECT_EQ(taken(path), L"\\Contract Task");
}

TEST(IRegisteredTask_get_Definition, IsACopyThatCanBeChanged) {
  const Fresh scheduler;
  scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE);
  const auto task = scheduler.find(kName);
  ASSERT_NE(task, nullptr);
  const auto first = part(*task, &IRegisteredTask::get_Definition);
  const auto settings = part(*first, &ITaskDefinition::get_Settings);
  settings->put_Priority(3);
  const auto second = part(*task, &IRegisteredTask::get_Definition);
  INT priority = 0;
  part(*second, &ITaskDefinition::get_Settings)->get_Priority(&priority);
  EXPECT_EQ(priority, contract::butUnderWine(7, 3, "Wine gives the registered one itself"));
}

TEST(IRegisteredTask_put_Enabled, IsKept) {
  const Fresh scheduler(By::kStandIn);
  scheduler.put(kName, *scheduler.wholeTask(), TASK_CREATE);
  const auto task = scheduler.find(kName);
  ASSERT_NE(task, nullptr);
  EXPECT_EQ(task->put_Enabled(VARIANT_FALSE), S_OK);
  VARIANT_BOOL isEnabled = VARIANT_TRUE;
  EXPECT_EQ(scheduler.find(kName)->get_Enabled(&isEnabled), S_OK);
  EXPECT_EQ(isEnabled, VARIANT_FALSE);
}

TEST(ITaskDefinition_get_RegistrationInfo, IsTheSamePartEachTime) {
  const Fresh scheduler;
  const auto task = scheduler.newTask();
  part(*task, &ITaskDefinition::get_RegistrationInfo)->put_Author(Text(L"somebody"));
  BSTR author = nullptr;
  part(*task, &ITaskDefinition::get_RegistrationInfo)->get_Author(&author);
  EXPECT_EQ(taken(author), L"somebody");
}

TEST(ITaskDefinition_get_Principal, IsTheSamePartEachTime) {
  const Fresh scheduler(By::kStandIn);
  const auto task = scheduler.newTask();
  part(*task, &ITaskDefinition::get_Principal)->put_UserId(Text(L"S-1-5-18"));
  BSTR user = nullptr;
  part(*task, &ITaskDefinition::get_Principal)->get_UserId(&user);
  EXPECT_EQ(taken(user), L"S-1-5-18");
}

TEST(ITaskDefinition_get_Settings, IsTheSamePartEachTime) {
  const Fresh scheduler;
  const auto task = scheduler.newTask();
  part(*task, &ITaskDefinition::get_Settings)->put_Priority(3);
  INT priority = 0;
  part(*task, &ITaskDefinition::get_Settings)->get_Priority(&priority);
  EXPECT_EQ(priority, 3);
}

TEST(ITaskDefinition_get_Triggers, IsTheSamePartEachTime) {
  const Fresh scheduler(By::kStandIn);
  const auto task = scheduler.newTask();
  Scheduler::addEventTrigger(*task);
  LONG count = 0;
  part(*task, &ITaskDefinition::get_Triggers)->get_Count(&count);
  EXPECT_EQ(count, 1);
}

TEST(ITaskDefinition_get_Actions, IsTheSamePartEachTime) {
  const Fresh scheduler(By::kStandIn);
  const auto task = scheduler.wholeTask();
  LONG count = 0;
  part(*task, &ITaskDefinition::get_Actions)->get_Count(&count);
  EXPECT_EQ(count, 1);
}

TEST(IActionCollection_Create, GivesAnActionThatStartsAProgram) {
  const Fresh scheduler;
  const auto task = scheduler.newTask();
  const auto actions = part(*task, &ITaskDefinition::get_Actions);
  IAction* made = nullptr;
  ASSERT_EQ(actions->Create(TASK_ACTION_EXEC, &made), S_OK);
  const Reference<IAction> action(made);
  EXPECT_NE(contract::face<IExecAction>(*action, IID_IExecAction), nullptr);
}

TEST(IActionCollection_get_Item, CountsFromOne) {
  const Fresh scheduler(By::kStandIn);
  const auto task = scheduler.wholeTask(L"C:\\x.exe");
  const auto actions = part(*task, &ITaskDefinition::get_Actions);
  IAction* found = nullptr;
  EXPECT_EQ(code(actions->get_Item(0, &found)), 0x80070057U);
  EXPECT_EQ(code(actions->get_Item(2, &found)), 0x80070057U);
  ASSERT_EQ(actions->get_Item(1, &found), S_OK);
  const Reference<IAction> action(found);
  BSTR path = nullptr;
  contract::face<IExecAction>(*action, IID_IExecAction)->get_Path(&path);
  EXPECT_EQ(taken(path), L"C:\\x.exe");
}

TEST(IExecAction_put_Path, IsKeptAsItIs) {
  const Fresh scheduler;
  const auto task = scheduler.newTask();
  const auto action = Scheduler::addProgram(*task, L"\"C:\\a b\\x.exe\"");
  BSTR path = nullptr;
  EXPECT_EQ(action->get_Path(&path), S_OK);
  EXPECT_EQ(taken(path), L"\"C:\\a b\\x.exe\"");
}

TEST(IExecAction_get_Path, OfAStoredTaskIsTheOneThatWasRegistered) {
  const Fresh scheduler(By::kStandIn);
  scheduler.put(kName, *scheduler.wholeTask(L"\"C:\\a b\\x.exe\""), TASK_CREATE);
  const auto task = scheduler.find(kName);
  ASSERT_NE(task, nullptr);
  const auto definition = part(*task, &IRegisteredTask::get_Definition);
  const auto actions = part(*definition, &ITaskDefinition::get_Actions);
  IAction* found = nullptr;
  ASSERT_EQ(actions->get_Item(1, &found), S_OK);
  const Reference<IAction> action(found);
  BSTR path = nullptr;
  contract::face<IExecAction>(*action, IID_IExecAction)->get_Path(&path);
  EXPECT_EQ(taken(path), L"\"C:\\a b\\x.exe\"");
}

TEST(ITriggerCollection_Create, GivesATriggerOfTheKindThatWasAskedFor) {
  const Fresh scheduler(By::kStandIn);
  const auto task = scheduler.newTask();
  TASK_TRIGGER_TYPE2 type = TASK_TRIGGER_TIME;
  EXPECT_EQ(Scheduler::addEventTrigger(*task)->get_Type(&type), S_OK);
  EXPECT_EQ(type, TASK_TRIGGER_EVENT);
}

TEST(ITriggerCollection_get_Item, CountsFromOne) {
  const Fresh scheduler(By::kStandIn);
  const auto task = scheduler.newTask();
  Scheduler::addEventTrigger(*task);
  const auto triggers = part(*task, &ITaskDefinition::get_Triggers);
  ITrigger* trigger = nullptr;
  EXPECT_EQ(code(triggers->get_Item(0, &trigger)), 0x80070057U);
  ASSERT_EQ(triggers->get_Item(1, &trigger), S_OK);
  trigger->Release();
}

TEST(IUnknown_QueryInterface, GivesAnotherReferenceToTheSameObject) {
  const Fresh scheduler;
  const auto task = scheduler.newTask();
  EXPECT_EQ(task->AddRef(), 2U);
  const auto again = contract::face<ITaskDefinition>(*task, IID_ITaskDefinition);
  EXPECT_EQ(task->Release(), 2U);
}

TEST(IUnknown_QueryInterface, OfAnInterfaceThatTheObjectLacksFailsAndGivesNull) {
  const Fresh scheduler;
  const auto task = scheduler.newTask();
  void* found = &found;
  EXPECT_EQ(code(task->QueryInterface(IID_IExecAction, &found)), 0x80004002U);
  EXPECT_EQ(found, nullptr);
}

TEST(IUnknown_Release, LeavesAPartToWhoHoldsIt) {
  const Fresh scheduler;
  auto task = scheduler.newTask();
  const auto settings = part(*task, &ITaskDefinition::get_Settings);
  task.reset();
  EXPECT_EQ(settings->put_Priority(3), S_OK);
}

}  // namespace
