#pragma once

#include "platform/host/TaskCollections.h"
#include "platform/host/TaskParts.h"
#include "platform/host/TaskSettings.h"

namespace host {

// A definition in the making, or a copy of a stored one. Holds each of its parts once it has been
// asked for it.
class TaskDefinitionObject final : public TaskFace<ITaskDefinition, IID_ITaskDefinition> {
 public:
  explicit TaskDefinitionObject(const std::shared_ptr<TaskNode>& task)
      : TaskFace("ITaskDefinition", task) {}

  HRESULT get_RegistrationInfo(IRegistrationInfo** info) override;
  HRESULT put_RegistrationInfo(IRegistrationInfo* info) override;
  HRESULT get_Triggers(ITriggerCollection** triggers) override;
  HRESULT put_Triggers(ITriggerCollection* triggers) override;
  HRESULT get_Settings(ITaskSettings** settings) override;
  HRESULT put_Settings(ITaskSettings* settings) override;
  HRESULT get_Data(BSTR* data) override;
  HRESULT put_Data(BSTR data) override;
  HRESULT get_Principal(IPrincipal** principal) override;
  HRESULT put_Principal(IPrincipal* principal) override;
  HRESULT get_Actions(IActionCollection** actions) override;
  HRESULT put_Actions(IActionCollection* actions) override;
  HRESULT get_XmlText(BSTR* xml) override;
  HRESULT put_XmlText(BSTR xml) override;

 private:
  void lastBreath() override;

  Held<RegistrationInfoObject> info_;
  Held<TriggerCollectionObject> triggers_;
  Held<TaskSettingsObject> settings_;
  Held<PrincipalObject> principal_;
  Held<ActionCollectionObject> actions_;
};

}  // namespace host
