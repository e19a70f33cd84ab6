#include "platform/host/RegisteredTaskObject.h"

#include "platform/host/TaskDefinitionObject.h"
#include "platform/host/TaskRuns.h"

namespace host {
namespace {

class RegisteredTaskObject final : public TaskFace<IRegisteredTask, IID_IRegisteredTask> {
 public:
  explicit RegisteredTaskObject(const StoredTask& task)
      : TaskFace("IRegisteredTask", task.document), name_(task.name) {}

  HRESULT get_Name(BSTR* name) override {
    return get("IRegisteredTask::get_Name", name, BSTR{}, [&] {
      return makeString(name_.substr(name_.rfind(L'\\') + 1), "IRegisteredTask::get_Name");
    });
  }
  HRESULT get_Path(BSTR* path) override {
    return get("IRegisteredTask::get_Path", path, BSTR{},
               [&] { return makeString(L"\\" + name_, "IRegisteredTask::get_Path"); });
  }
  HRESULT get_State(TASK_STATE* state) override;
  HRESULT get_Enabled(VARIANT_BOOL* enabled) override {
    return getFlag("IRegisteredTask::get_Enabled", "Settings/Enabled", true, enabled);
  }
  HRESULT put_Enabled(VARIANT_BOOL enabled) override;
  HRESULT Run(VARIANT /*parameters*/, IRunningTask** /*task*/) override {
    return notBuilt("IRegisteredTask::Run");
  }
  HRESULT RunEx(VARIANT /*parameters*/, LONG /*flags*/, LONG /*session*/, BSTR /*user*/,
                IRunningTask** /*task*/) override {
    return notBuilt("IRegisteredTask::RunEx");
  }
  HRESULT GetInstances(LONG /*flags*/, IRunningTaskCollection** /*tasks*/) override {
    return notBuilt("IRegisteredTask::GetInstances");
  }
  HRESULT get_LastRunTime(DATE* /*date*/) override {
    return notBuilt("IRegisteredTask::get_LastRunTime");
  }
  HRESULT get_LastTaskResult(LONG* /*result*/) override {
    return notBuilt("IRegisteredTask::get_LastTaskResult");
  }
  HRESULT get_NumberOfMissedRuns(LONG* /*runs*/) override {
    return notBuilt("IRegisteredTask::get_NumberOfMissedRuns");
  }
  HRESULT get_NextRunTime(DATE* /*date*/) override {
    return notBuilt("IRegisteredTask::get_NextRunTime");
  }
  HRESULT get_Definition(ITaskDefinition** definition) override;
  HRESULT get_Xml(BSTR* xml) override {
    return get("IRegisteredTask::get_Xml", xml, BSTR{}, [&] {
      return makeString(toWide(taskDocumentText(*node())), "IRegisteredTask::get_Xml");
    });
  }
  HRESULT GetSecurityDescriptor(LONG /*info*/, BSTR* /*sddl*/) override {
    return notBuilt("IRegisteredTask::GetSecurityDescriptor");
  }
  HRESULT SetSecurityDescriptor(BSTR /*sddl*/, LONG /*flags*/) override {
    return notBuilt("IRegisteredTask::SetSecurityDescriptor");
  }
  HRESULT Stop(LONG /*flags*/) override { return notBuilt("IRegisteredTask::Stop"); }
  HRESULT GetRunTimes(const LPSYSTEMTIME /*start*/, const LPSYSTEMTIME /*end*/, DWORD* /*count*/,
                      LPSYSTEMTIME* /*times*/) override {
    return notBuilt("IRegisteredTask::GetRunTimes");
  }

 private:
  std::wstring name_;
};

HRESULT RegisteredTaskObject::get_State(TASK_STATE* state) {
  return get("IRegisteredTask::get_State", state, TASK_STATE_UNKNOWN, [&] {
    if (TaskRuns::instance().isRunning(name_)) {
      return TASK_STATE_RUNNING;
    }
    const bool isEnabled = booleanValue(node()->value("Settings/Enabled"), true);
    return isEnabled ? TASK_STATE_READY : TASK_STATE_DISABLED;
  });
}

HRESULT RegisteredTaskObject::put_Enabled(VARIANT_BOOL enabled) {
  MethodCall call(*this, "IRegisteredTask::put_Enabled", enabled);
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  node()->setValue("Settings/Enabled", booleanText(enabled != VARIANT_FALSE));
  return call.answers(writeTask(name_, *node()));
}

// Each definition is a copy of its own.
HRESULT RegisteredTaskObject::get_Definition(ITaskDefinition** definition) {
  static constexpr char kName[] = "IRegisteredTask::get_Definition";
  return get(kName, definition, static_cast<ITaskDefinition*>(nullptr), [&]() -> ITaskDefinition* {
    auto* const made = ComObject::keep(std::make_unique<TaskDefinitionObject>(node()->clone()));
    made->addReference(kName);
    return made;
  });
}

}  // namespace

IRegisteredTask* giveRegisteredTask(const StoredTask& task, const char* maker) {
  auto* const made = ComObject::keep(std::make_unique<RegisteredTaskObject>(task));
  made->addReference(maker);
  return made;
}

}  // namespace host
