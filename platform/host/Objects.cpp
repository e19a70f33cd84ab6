#include "platform/host/Objects.h"

namespace host {
namespace {

constexpr wchar_t kGlobal[] = L"Global\\";
constexpr wchar_t kLocal[] = L"Local\\";

bool startsWith(const std::wstring& text, const std::wstring& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

bool MutexObject::signalled(const Thread& waiter) const {
  return owner == nullptr || owner == &waiter || ownerDied();
}

bool MutexObject::consume(Thread& waiter) {
  const bool abandoned = ownerDied();
  depth = owner == &waiter ? depth + 1 : 1;
  owner = &waiter;
  return abandoned;
}

NamedObjects::Place NamedObjects::resolve(const std::wstring& name) const {
  if (name.empty()) {
    return {};
  }
  // A service lives in session 0, where the session's names and the global ones are the same.
  if (startsWith(name, kGlobal)) {
    return {name.substr(std::wstring_view(kGlobal).size()), 0};
  }
  if (startsWith(name, kLocal)) {
    return {name.substr(std::wstring_view(kLocal).size()), 0};
  }
  const std::size_t separator = name.find(L'\\');
  if (separator == std::wstring::npos) {
    return {name, 0};
  }
  const auto found = namespaces_.find(name.substr(0, separator));
  if (found == namespaces_.end() || found->second.expired()) {
    return {L"", ERROR_PATH_NOT_FOUND};
  }
  return {name, 0};
}

std::shared_ptr<KernelObject> NamedObjects::find(const std::wstring& key) const {
  const auto found = objects_.find(key);
  return found == objects_.end() ? nullptr : found->second.lock();
}

void NamedObjects::put(const std::wstring& key, const std::shared_ptr<KernelObject>& object) {
  object->name = key;
  objects_[key] = object;
}

std::shared_ptr<EventObject> NamedObjects::publish(const std::wstring& name) {
  const std::wstring key = resolve(name).key;
  auto event = std::dynamic_pointer_cast<EventObject>(find(key));
  if (event == nullptr) {
    event = std::make_shared<EventObject>(false, false);
    put(key, event);
  }
  foreign_[key] = event;
  return event;
}

void NamedObjects::withdraw(const std::wstring& name) {
  foreign_.erase(resolve(name).key);
}

bool NamedObjects::namespaceExists(const std::wstring& alias) const {
  const auto found = namespaces_.find(alias);
  return foreignNamespaces_.contains(alias) ||
         (found != namespaces_.end() && !found->second.expired());
}

void NamedObjects::addNamespace(const std::wstring& alias,
                                const std::shared_ptr<NamespaceObject>& object) {
  object->name = alias;
  namespaces_[alias] = object;
}

void NamedObjects::removeNamespace(const std::shared_ptr<KernelObject>& object) {
  namespaces_.erase(object->name);
  const std::wstring prefix = object->name + L"\\";
  std::erase_if(objects_, [&prefix](const auto& named) { return startsWith(named.first, prefix); });
}

}  // namespace host
