#pragma once

#include <memory>

#include "platform/host/TaskFace.h"

// Triggers and actions. Each pointer to one of them is an object of its own, as a trigger is known
// by two interfaces: so a release in the journal names the interface that was released.
namespace host {

class TriggerCollectionObject final : public TaskFace<ITriggerCollection, IID_ITriggerCollection> {
 public:
  explicit TriggerCollectionObject(const std::shared_ptr<TaskNode>& task)
      : TaskFace("ITriggerCollection", task) {}

  HRESULT get_Count(LONG* count) override;
  HRESULT get_Item(LONG index, ITrigger** trigger) override;
  HRESULT get__NewEnum(IUnknown** enumerator) override;
  HRESULT Create(TASK_TRIGGER_TYPE2 type, ITrigger** trigger) override;
  HRESULT Remove(VARIANT index) override;
  HRESULT Clear() override;
};

class ActionCollectionObject final : public TaskFace<IActionCollection, IID_IActionCollection> {
 public:
  explicit ActionCollectionObject(const std::shared_ptr<TaskNode>& task)
      : TaskFace("IActionCollection", task) {}

  HRESULT get_Count(LONG* count) override;
  HRESULT get_Item(LONG index, IAction** action) override;
  HRESULT get__NewEnum(IUnknown** enumerator) override;
  HRESULT get_XmlText(BSTR* xml) override;
  HRESULT put_XmlText(BSTR xml) override;
  HRESULT Create(TASK_ACTION_TYPE type, IAction** action) override;
  HRESULT Remove(VARIANT index) override;
  HRESULT Clear() override;
  HRESULT get_Context(BSTR* context) override;
  HRESULT put_Context(BSTR context) override;
};

}  // namespace host
