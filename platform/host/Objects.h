#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "platform/host/Handles.h"
#include "platform/host/windows/Objects.h"

namespace host {

class EventObject final : public KernelObject {
 public:
  EventObject(bool manualReset, bool initiallySet)
      : isSet(initiallySet), manualReset_(manualReset) {}

  const char* kind() const override { return "event"; }
  bool waitable() const override { return true; }
  bool signalled(const Thread& /*waiter*/) const override { return isSet; }
  bool consume(Thread& /*waiter*/) override {
    isSet = manualReset_;
    return false;
  }

  bool isSet;

 private:
  bool manualReset_;
};

class MutexObject final : public KernelObject {
 public:
  explicit MutexObject(Thread* firstOwner) : owner(firstOwner), depth(firstOwner != nullptr) {}

  const char* kind() const override { return "mutex"; }
  bool waitable() const override { return true; }
  bool signalled(const Thread& waiter) const override;
  const Thread* holder() const override { return owner; }
  bool consume(Thread& waiter) override;

  Thread* owner;
  unsigned depth;  // how often the owner took it

 private:
  bool ownerDied() const { return owner != nullptr && owner->state == Thread::State::kDone; }
};

class ThreadObject final : public KernelObject {
 public:
  const char* kind() const override { return "thread"; }
  bool waitable() const override { return true; }
  bool signalled(const Thread& /*waiter*/) const override {
    return thread->state == Thread::State::kDone;
  }
  bool consume(Thread& /*waiter*/) override { return false; }

  Thread* thread = nullptr;  // the machine's, set when it is made
};

class NamespaceObject final : public KernelObject {
 public:
  const char* kind() const override { return "namespace"; }
  bool closedByCloseHandle() const override { return false; }
};

// Named objects and private namespaces, of this process and of the machine's other programs.
class NamedObjects {
 public:
  // Where a name leads: its place, or the error that a creator of such a name gets.
  struct Place {
    std::wstring key;
    DWORD error = 0;
  };

  Place resolve(const std::wstring& name) const;
  std::shared_ptr<KernelObject> find(const std::wstring& key) const;
  void put(const std::wstring& key, const std::shared_ptr<KernelObject>& object);

  // Another program of the machine holds the object, or has created the namespace.
  std::shared_ptr<EventObject> publish(const std::wstring& name);
  void withdraw(const std::wstring& name);
  void takeNamespace(const std::wstring& alias) { foreignNamespaces_.insert(alias); }
  void releaseNamespace(const std::wstring& alias) { foreignNamespaces_.erase(alias); }

  bool namespaceExists(const std::wstring& alias) const;
  void addNamespace(const std::wstring& alias, const std::shared_ptr<NamespaceObject>& object);
  // The name is free again; objects that are still open under it live on without it.
  void removeNamespace(const std::shared_ptr<KernelObject>& object);

 private:
  std::map<std::wstring, std::weak_ptr<KernelObject>> objects_;
  std::map<std::wstring, std::shared_ptr<KernelObject>> foreign_;
  std::map<std::wstring, std::weak_ptr<NamespaceObject>> namespaces_;
  std::set<std::wstring> foreignNamespaces_;
};

// The wait itself, without a place in the journal.
DWORD waitFor(DWORD count, const HANDLE* handles, bool all, DWORD milliseconds, const char* call);

// Blocks for so many milliseconds; 0xFFFFFFFF is for ever.
void sleepFor(DWORD milliseconds, const std::string& why);

// The moment `milliseconds` from now, and kForever for 0xFFFFFFFF.
Nanoseconds deadlineAfter(DWORD milliseconds);

}  // namespace host
