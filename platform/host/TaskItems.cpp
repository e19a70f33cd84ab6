// Single triggers and actions.

#include "platform/host/TaskItems.h"

#include <array>
#include <string_view>

namespace host {
namespace {

struct TriggerRow {
  TASK_TRIGGER_TYPE2 type;
  const char* element;
};
// The calendar's kinds share an element; the first stands for all when one is read.
constexpr std::array kTriggers = {
    TriggerRow{TASK_TRIGGER_EVENT, "EventTrigger"},
    TriggerRow{TASK_TRIGGER_TIME, "TimeTrigger"},
    TriggerRow{TASK_TRIGGER_DAILY, "CalendarTrigger"},
    TriggerRow{TASK_TRIGGER_WEEKLY, "CalendarTrigger"},
    TriggerRow{TASK_TRIGGER_MONTHLY, "CalendarTrigger"},
    TriggerRow{TASK_TRIGGER_MONTHLYDOW, "CalendarTrigger"},
    TriggerRow{TASK_TRIGGER_IDLE, "IdleTrigger"},
    TriggerRow{TASK_TRIGGER_REGISTRATION, "RegistrationTrigger"},
    TriggerRow{TASK_TRIGGER_BOOT, "BootTrigger"},
    TriggerRow{TASK_TRIGGER_LOGON, "LogonTrigger"},
    TriggerRow{TASK_TRIGGER_SESSION_STATE_CHANGE, "SessionStateChangeTrigger"},
};

struct ActionRow {
  TASK_ACTION_TYPE type;
  const char* element;
};
constexpr std::array kActions = {
    ActionRow{TASK_ACTION_EXEC, "Exec"},
    ActionRow{TASK_ACTION_COM_HANDLER, "ComHandler"},
    ActionRow{TASK_ACTION_SEND_EMAIL, "SendEmail"},
    ActionRow{TASK_ACTION_SHOW_MESSAGE, "ShowMessage"},
};

// What a trigger shows under either of its interfaces.
template <class Interface, const IID& kIid>
class TriggerFace : public TaskFace<Interface, kIid> {
 public:
  using TaskFace<Interface, kIid>::TaskFace;
  using TaskFace<Interface, kIid>::node;

  HRESULT get_Type(TASK_TRIGGER_TYPE2* type) override {
    return this->get(named("ITrigger::get_Type", "IEventTrigger::get_Type"), type,
                     TASK_TRIGGER_EVENT, [&] {
                       for (const TriggerRow& row : kTriggers) {
                         if (node()->name == row.element) {
                           return row.type;
                         }
                       }
                       return TASK_TRIGGER_TIME;
                     });
  }
  HRESULT get_Id(BSTR* id) override {
    return this->getAttribute(named("ITrigger::get_Id", "IEventTrigger::get_Id"), "id", id);
  }
  HRESULT put_Id(BSTR id) override {
    return this->putAttribute(named("ITrigger::put_Id", "IEventTrigger::put_Id"), "id", id);
  }
  HRESULT get_Repetition(IRepetitionPattern** /*repetition*/) override {
    return this->notBuilt(named("ITrigger::get_Repetition", "IEventTrigger::get_Repetition"));
  }
  HRESULT put_Repetition(IRepetitionPattern* /*repetition*/) override {
    return this->notBuilt(named("ITrigger::put_Repetition", "IEventTrigger::put_Repetition"));
  }
  HRESULT get_ExecutionTimeLimit(BSTR* limit) override {
    return this->getText(
        named("ITrigger::get_ExecutionTimeLimit", "IEventTrigger::get_ExecutionTimeLimit"),
        "ExecutionTimeLimit", limit);
  }
  HRESULT put_ExecutionTimeLimit(BSTR limit) override {
    return this->putText(
        named("ITrigger::put_ExecutionTimeLimit", "IEventTrigger::put_ExecutionTimeLimit"),
        "ExecutionTimeLimit", limit);
  }
  HRESULT get_StartBoundary(BSTR* start) override {
    return this->getText(named("ITrigger::get_StartBoundary", "IEventTrigger::get_StartBoundary"),
                         "StartBoundary", start);
  }
  HRESULT put_StartBoundary(BSTR start) override {
    return this->putText(named("ITrigger::put_StartBoundary", "IEventTrigger::put_StartBoundary"),
                         "StartBoundary", start);
  }
  HRESULT get_EndBoundary(BSTR* end) override {
    return this->getText(named("ITrigger::get_EndBoundary", "IEventTrigger::get_EndBoundary"),
                         "EndBoundary", end);
  }
  HRESULT put_EndBoundary(BSTR end) override {
    return this->putText(named("ITrigger::put_EndBoundary", "IEventTrigger::put_EndBoundary"),
                         "EndBoundary", end);
  }
  HRESULT get_Enabled(VARIANT_BOOL* enabled) override {
    return this->getFlag(named("ITrigger::get_Enabled", "IEventTrigger::get_Enabled"), "Enabled",
                         true, enabled);
  }
  HRESULT put_Enabled(VARIANT_BOOL enabled) override {
    return this->putFlag(named("ITrigger::put_Enabled", "IEventTrigger::put_Enabled"), "Enabled",
                         enabled);
  }

 protected:
  void* face(REFIID iid) override;

 private:
  // The method's name under the interface that this is.
  static const char* named(const char* ofTrigger, const char* ofEventTrigger) {
    return kIid == IID_ITrigger ? ofTrigger : ofEventTrigger;
  }
};

class TriggerObject final : public TriggerFace<ITrigger, IID_ITrigger> {
 public:
  explicit TriggerObject(const std::shared_ptr<TaskNode>& node) : TriggerFace("ITrigger", node) {}
};

class EventTriggerObject final : public TriggerFace<IEventTrigger, IID_IEventTrigger> {
 public:
  explicit EventTriggerObject(const std::shared_ptr<TaskNode>& node)
      : TriggerFace("IEventTrigger", node) {}

  HRESULT get_Subscription(BSTR* query) override {
    return getText("IEventTrigger::get_Subscription", "Subscription", query);
  }
  HRESULT put_Subscription(BSTR query) override {
    return putText("IEventTrigger::put_Subscription", "Subscription", query);
  }
  HRESULT get_Delay(BSTR* delay) override {
    return getText("IEventTrigger::get_Delay", "Delay", delay);
  }
  HRESULT put_Delay(BSTR delay) override {
    return putText("IEventTrigger::put_Delay", "Delay", delay);
  }
  HRESULT get_ValueQueries(ITaskNamedValueCollection** /*queries*/) override {
    return notBuilt("IEventTrigger::get_ValueQueries");
  }
  HRESULT put_ValueQueries(ITaskNamedValueCollection* /*queries*/) override {
    return notBuilt("IEventTrigger::put_ValueQueries");
  }
};

template <class Object>
Object* referenced(const std::shared_ptr<TaskNode>& node, const char* maker) {
  Object* const object = ComObject::keep(std::make_unique<Object>(node));
  object->addReference(maker);
  return object;
}

constexpr char kQuery[] = "IUnknown::QueryInterface";

template <class Interface, const IID& kIid>
void* TriggerFace<Interface, kIid>::face(REFIID iid) {
  if (iid == IID_ITrigger && kIid != IID_ITrigger) {
    return static_cast<ITrigger*>(referenced<TriggerObject>(node(), kQuery));
  }
  if (iid == IID_IEventTrigger && kIid != IID_IEventTrigger && node()->name == "EventTrigger") {
    return static_cast<IEventTrigger*>(referenced<EventTriggerObject>(node(), kQuery));
  }
  return ComBase<Interface, kIid>::face(iid);
}

// What an action shows under either of its interfaces.
template <class Interface, const IID& kIid>
class ActionFace : public TaskFace<Interface, kIid> {
 public:
  using TaskFace<Interface, kIid>::TaskFace;
  using TaskFace<Interface, kIid>::node;

  HRESULT get_Id(BSTR* id) override {
    return this->getAttribute(named("IAction::get_Id", "IExecAction::get_Id"), "id", id);
  }
  HRESULT put_Id(BSTR id) override {
    return this->putAttribute(named("IAction::put_Id", "IExecAction::put_Id"), "id", id);
  }
  HRESULT get_Type(TASK_ACTION_TYPE* type) override {
    return this->get(named("IAction::get_Type", "IExecAction::get_Type"), type, TASK_ACTION_EXEC,
                     [&] {
                       for (const ActionRow& row : kActions) {
                         if (node()->name == row.element) {
                           return row.type;
                         }
                       }
                       return TASK_ACTION_EXEC;
                     });
  }

 protected:
  void* face(REFIID iid) override;

 private:
  static const char* named(const char* ofAction, const char* ofExecAction) {
    return kIid == IID_IAction ? ofAction : ofExecAction;
  }
};

class ActionObject final : public ActionFace<IAction, IID_IAction> {
 public:
  explicit ActionObject(const std::shared_ptr<TaskNode>& node) : ActionFace("IAction", node) {}
};

class ExecActionObject final : public ActionFace<IExecAction, IID_IExecAction> {
 public:
  explicit ExecActionObject(const std::shared_ptr<TaskNode>& node)
      : ActionFace("IExecAction", node) {}

  HRESULT get_Path(BSTR* path) override {
    return getText("IExecAction::get_Path", "Command", path);
  }
  HRESULT put_Path(BSTR path) override { return putText("IExecAction::put_Path", "Command", path); }
  HRESULT get_Arguments(BSTR* arguments) override {
    return getText("IExecAction::get_Arguments", "Arguments", arguments);
  }
  HRESULT put_Arguments(BSTR arguments) override {
    return putText("IExecAction::put_Arguments", "Arguments", arguments);
  }
  HRESULT get_WorkingDirectory(BSTR* directory) override {
    return getText("IExecAction::get_WorkingDirectory", "WorkingDirectory", directory);
  }
  HRESULT put_WorkingDirectory(BSTR directory) override {
    return putText("IExecAction::put_WorkingDirectory", "WorkingDirectory", directory);
  }
};

template <class Interface, const IID& kIid>
void* ActionFace<Interface, kIid>::face(REFIID iid) {
  if (iid == IID_IAction && kIid != IID_IAction) {
    return static_cast<IAction*>(referenced<ActionObject>(node(), kQuery));
  }
  if (iid == IID_IExecAction && kIid != IID_IExecAction && node()->name == "Exec") {
    return static_cast<IExecAction*>(referenced<ExecActionObject>(node(), kQuery));
  }
  return ComBase<Interface, kIid>::face(iid);
}

}  // namespace

ITrigger* triggerFor(const std::shared_ptr<TaskNode>& node, const char* maker) {
  return referenced<TriggerObject>(node, maker);
}

IAction* actionFor(const std::shared_ptr<TaskNode>& node, const char* maker) {
  return referenced<ActionObject>(node, maker);
}

const char* triggerElement(TASK_TRIGGER_TYPE2 type) {
  for (const TriggerRow& row : kTriggers) {
    if (row.type == type) {
      return row.element;
    }
  }
  return nullptr;
}

const char* actionElement(TASK_ACTION_TYPE type) {
  for (const ActionRow& row : kActions) {
    if (row.type == type) {
      return row.element;
    }
  }
  return nullptr;
}

}  // namespace host
