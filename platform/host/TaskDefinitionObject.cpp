#include "platform/host/TaskDefinitionObject.h"

#include "platform/host/TaskRules.h"

namespace host {

void TaskDefinitionObject::lastBreath() {
  info_.set(nullptr);
  triggers_.set(nullptr);
  settings_.set(nullptr);
  principal_.set(nullptr);
  actions_.set(nullptr);
}

HRESULT TaskDefinitionObject::get_RegistrationInfo(IRegistrationInfo** info) {
  return givePart("ITaskDefinition::get_RegistrationInfo", info_, info, node());
}
HRESULT TaskDefinitionObject::put_RegistrationInfo(IRegistrationInfo* /*info*/) {
  return notBuilt("ITaskDefinition::put_RegistrationInfo");
}
HRESULT TaskDefinitionObject::get_Triggers(ITriggerCollection** triggers) {
  return givePart("ITaskDefinition::get_Triggers", triggers_, triggers, node());
}
HRESULT TaskDefinitionObject::put_Triggers(ITriggerCollection* /*triggers*/) {
  return notBuilt("ITaskDefinition::put_Triggers");
}
HRESULT TaskDefinitionObject::get_Settings(ITaskSettings** settings) {
  return givePart("ITaskDefinition::get_Settings", settings_, settings, node());
}
HRESULT TaskDefinitionObject::put_Settings(ITaskSettings* /*settings*/) {
  return notBuilt("ITaskDefinition::put_Settings");
}
HRESULT TaskDefinitionObject::get_Data(BSTR* data) {
  return getText("ITaskDefinition::get_Data", "Data", data);
}
HRESULT TaskDefinitionObject::put_Data(BSTR /*data*/) {
  return notBuilt("ITaskDefinition::put_Data");
}
HRESULT TaskDefinitionObject::get_Principal(IPrincipal** principal) {
  return givePart("ITaskDefinition::get_Principal", principal_, principal, node());
}
HRESULT TaskDefinitionObject::put_Principal(IPrincipal* /*principal*/) {
  return notBuilt("ITaskDefinition::put_Principal");
}
HRESULT TaskDefinitionObject::get_Actions(IActionCollection** actions) {
  return givePart("ITaskDefinition::get_Actions", actions_, actions, node());
}
HRESULT TaskDefinitionObject::put_Actions(IActionCollection* /*actions*/) {
  return notBuilt("ITaskDefinition::put_Actions");
}
HRESULT TaskDefinitionObject::get_XmlText(BSTR* xml) {
  return get("ITaskDefinition::get_XmlText", xml, BSTR{}, [&] {
    return makeString(toWide(taskDocumentText(*node())), "ITaskDefinition::get_XmlText");
  });
}
HRESULT TaskDefinitionObject::put_XmlText(BSTR xml) {
  std::wstring text;
  const bool isString = readString(xml, "ITaskDefinition::put_XmlText", text);
  MethodCall call(*this, "ITaskDefinition::put_XmlText", text.c_str());
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  const auto read = isString ? readTaskDocument(toUtf8(text)) : nullptr;
  if (read == nullptr) {
    return call.answers(kTaskMalformed);
  }
  *node() = *read;
  return call.answers(S_OK);
}

}  // namespace host
