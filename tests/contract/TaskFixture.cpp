#include "tests/contract/TaskFixture.h"

namespace contract {

Scheduler::Scheduler(By whom) {
  if (whom == By::kStandIn) {
    keptByStandIn("Wine's own scheduler has not built it");
    class_.emplace();
  }
  service = newService();
  EXPECT_EQ(code(service->Connect(empty(), empty(), empty(), empty())), 0U);
  ITaskFolder* found = nullptr;
  EXPECT_EQ(code(service->GetFolder(Text(L"\\"), &found)), 0U);
  root.reset(found);
}

Reference<ITaskService> Scheduler::newService() {
  void* object = nullptr;
  EXPECT_EQ(code(CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_INPROC_SERVER,
                                  IID_ITaskService, &object)),
            0U);
  return Reference<ITaskService>(static_cast<ITaskService*>(object));
}

Reference<ITaskDefinition> Scheduler::newTask() const {
  ITaskDefinition* made = nullptr;
  EXPECT_EQ(code(service->NewTask(0, &made)), 0U);
  return Reference<ITaskDefinition>(made);
}

Reference<ITaskDefinition> Scheduler::wholeTask(const std::wstring& program) const {
  Reference<ITaskDefinition> task = newTask();
  addProgram(*task, program);
  return task;
}

Reference<IExecAction> Scheduler::addProgram(ITaskDefinition& task, const std::wstring& path) {
  const auto actions = part(task, &ITaskDefinition::get_Actions);
  IAction* made = nullptr;
  EXPECT_EQ(code(actions->Create(TASK_ACTION_EXEC, &made)), 0U);
  const Reference<IAction> action(made);
  auto program = face<IExecAction>(*action, IID_IExecAction);
  EXPECT_EQ(code(program->put_Path(Text(path))), 0U);
  return program;
}

Reference<IEventTrigger> Scheduler::addEventTrigger(ITaskDefinition& task) {
  const auto triggers = part(task, &ITaskDefinition::get_Triggers);
  ITrigger* made = nullptr;
  EXPECT_EQ(code(triggers->Create(TASK_TRIGGER_EVENT, &made)), 0U);
  const Reference<ITrigger> trigger(made);
  return face<IEventTrigger>(*trigger, IID_IEventTrigger);
}

HRESULT Scheduler::put(const std::wstring& name, ITaskDefinition& task, LONG flags) const {
  IRegisteredTask* registered = nullptr;
  const Text account(L"S-1-5-18");
  const HRESULT result =
      root->RegisterTaskDefinition(Text(name), &task, flags, textVariant(account), empty(),
                                   TASK_LOGON_SERVICE_ACCOUNT, textVariant(Text(L"")), &registered);
  EXPECT_EQ(registered != nullptr, SUCCEEDED(result));
  if (registered != nullptr) {
    registered->Release();
  }
  return result;
}

Reference<IRegisteredTask> Scheduler::find(const std::wstring& name) const {
  IRegisteredTask* task = nullptr;
  EXPECT_EQ(code(root->GetTask(Text(name), &task)), 0U);
  return Reference<IRegisteredTask>(task);
}

HRESULT Scheduler::drop(const std::wstring& name) const {
  return root->DeleteTask(Text(name), 0);
}

}  // namespace contract
