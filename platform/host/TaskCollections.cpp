#include "platform/host/TaskCollections.h"

#include "platform/host/TaskItems.h"

namespace host {
namespace {

// The node of a place counted from 1, null if there is none.
std::shared_ptr<TaskNode> itemOf(const std::shared_ptr<TaskNode>& collection, LONG index) {
  const auto count =
      collection == nullptr ? LONG{0} : static_cast<LONG>(collection->children.size());
  return index < 1 || index > count ? nullptr
                                    : collection->children[static_cast<std::size_t>(index - 1)];
}

LONG countOf(const std::shared_ptr<TaskNode>& collection) {
  return collection == nullptr ? 0 : static_cast<LONG>(collection->children.size());
}

// Removes the item that a number names; E_INVALIDARG if there is none.
HRESULT removeItem(const std::shared_ptr<TaskNode>& collection, const VARIANT& index) {
  if (index.vt != VT_I4 || itemOf(collection, index.lVal) == nullptr) {
    return E_INVALIDARG;
  }
  collection->children.erase(collection->children.begin() + (index.lVal - 1));
  return S_OK;
}

}  // namespace

HRESULT TriggerCollectionObject::get_Count(LONG* count) {
  return get("ITriggerCollection::get_Count", count, LONG{0},
             [&] { return countOf(node()->child("Triggers")); });
}

HRESULT TriggerCollectionObject::get_Item(LONG index, ITrigger** trigger) {
  MethodCall call(*this, "ITriggerCollection::get_Item", index);
  if (trigger == nullptr) {
    return call.answers(E_POINTER);
  }
  *trigger = nullptr;
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  const auto item = itemOf(node()->child("Triggers"), index);
  if (item == nullptr) {
    return call.answers(E_INVALIDARG);
  }
  *trigger = triggerFor(item, "ITriggerCollection::get_Item");
  return call.answers(S_OK);
}

HRESULT TriggerCollectionObject::get__NewEnum(IUnknown** /*enumerator*/) {
  return notBuilt("ITriggerCollection::get__NewEnum");
}

HRESULT TriggerCollectionObject::Create(TASK_TRIGGER_TYPE2 type, ITrigger** trigger) {
  MethodCall call(*this, "ITriggerCollection::Create", static_cast<int>(type));
  if (trigger == nullptr) {
    return call.answers(E_POINTER);
  }
  *trigger = nullptr;
  if (call.isRefused()) {
    return call.refuses();
  }
  const char* const element = triggerElement(type);
  if (element == nullptr) {
    return call.answers(E_INVALIDARG);
  }
  const Scheduler::Guard guard;
  auto made = std::make_shared<TaskNode>();
  made->name = element;
  made->setValue("Enabled", "true");
  node()->needChild("Triggers")->children.push_back(made);
  *trigger = triggerFor(made, "ITriggerCollection::Create");
  return call.answers(S_OK);
}

HRESULT TriggerCollectionObject::Remove(VARIANT index) {
  MethodCall call(*this, "ITriggerCollection::Remove", index.lVal);
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  return call.answers(removeItem(node()->child("Triggers"), index));
}

HRESULT TriggerCollectionObject::Clear() {
  MethodCall call(*this, "ITriggerCollection::Clear");
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  node()->needChild("Triggers")->children.clear();
  return call.answers(S_OK);
}

HRESULT ActionCollectionObject::get_Count(LONG* count) {
  return get("IActionCollection::get_Count", count, LONG{0},
             [&] { return countOf(node()->child("Actions")); });
}

HRESULT ActionCollectionObject::get_Item(LONG index, IAction** action) {
  MethodCall call(*this, "IActionCollection::get_Item", index);
  if (action == nullptr) {
    return call.answers(E_POINTER);
  }
  *action = nullptr;
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  const auto item = itemOf(node()->child("Actions"), index);
  if (item == nullptr) {
    return call.answers(E_INVALIDARG);
  }
  *action = actionFor(item, "IActionCollection::get_Item");
  return call.answers(S_OK);
}

HRESULT ActionCollectionObject::get__NewEnum(IUnknown** /*enumerator*/) {
  return notBuilt("IActionCollection::get__NewEnum");
}
HRESULT ActionCollectionObject::get_XmlText(BSTR* /*xml*/) {
  return notBuilt("IActionCollection::get_XmlText");
}
HRESULT ActionCollectionObject::put_XmlText(BSTR /*xml*/) {
  return notBuilt("IActionCollection::put_XmlText");
}

HRESULT ActionCollectionObject::Create(TASK_ACTION_TYPE type, IAction** action) {
  MethodCall call(*this, "IActionCollection::Create", static_cast<int>(type));
  if (action == nullptr) {
    return call.answers(E_POINTER);
  }
  *action = nullptr;
  if (call.isRefused()) {
    return call.refuses();
  }
  const char* const element = actionElement(type);
  if (element == nullptr) {
    return call.answers(E_INVALIDARG);
  }
  const Scheduler::Guard guard;
  auto made = std::make_shared<TaskNode>();
  made->name = element;
  node()->needChild("Actions")->children.push_back(made);
  *action = actionFor(made, "IActionCollection::Create");
  return call.answers(S_OK);
}

HRESULT ActionCollectionObject::Remove(VARIANT index) {
  MethodCall call(*this, "IActionCollection::Remove", index.lVal);
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  return call.answers(removeItem(node()->child("Actions"), index));
}

HRESULT ActionCollectionObject::Clear() {
  MethodCall call(*this, "IActionCollection::Clear");
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  node()->needChild("Actions")->children.clear();
  return call.answers(S_OK);
}

HRESULT ActionCollectionObject::get_Context(BSTR* context) {
  return get("IActionCollection::get_Context", context, BSTR{}, [&]() -> BSTR {
    const auto text = node()->needChild("Actions")->attribute("Context");
    return text ? makeString(toWide(*text), "IActionCollection::get_Context") : nullptr;
  });
}
HRESULT ActionCollectionObject::put_Context(BSTR context) {
  return put("IActionCollection::put_Context", context, [&](const std::string& value) {
    node()->needChild("Actions")->setAttribute("Context", value);
  });
}

}  // namespace host
