// Events, mutexes, waits and the closing of handles.

#include <algorithm>
#include <set>
#include <vector>

#include "platform/host/Call.h"
#include "platform/host/Machine.h"
#include "platform/host/Objects.h"
#include "platform/host/Races.h"
#include "platform/host/Resets.h"

namespace host {
namespace {

using Waited = std::vector<std::shared_ptr<KernelObject>>;

// The index of the object that ends the wait, or -1.
int firstSignalled(const Waited& objects, bool all, const Thread& waiter) {
  const auto isSignalled = [&](const std::shared_ptr<KernelObject>& object) {
    return object->signalled(waiter);
  };
  if (all) {
    return std::all_of(objects.begin(), objects.end(), isSignalled) ? 0 : -1;
  }
  const auto found = std::find_if(objects.begin(), objects.end(), isSignalled);
  return found == objects.end() ? -1 : static_cast<int>(found - objects.begin());
}

// What a signal passes on goes by the object itself; what a thread passes on at its end, by the
// thread.
const void* publisherOf(const std::shared_ptr<KernelObject>& object) {
  const auto* thread = dynamic_cast<const ThreadObject*>(object.get());
  return thread == nullptr ? static_cast<const void*>(object.get()) : thread->thread;
}

DWORD consume(const Waited& objects, bool all, int index, Thread& waiter) {
  bool abandoned = false;
  if (all) {
    for (const auto& object : objects) {
      abandoned = object->consume(waiter) || abandoned;
      races::receive(publisherOf(object));
    }
  } else {
    // Only the object that ended the wait is changed.
    const auto& object = objects[static_cast<std::size_t>(index)];
    abandoned = object->consume(waiter);
    races::receive(publisherOf(object));
  }
  return (abandoned ? WAIT_ABANDONED_0 : WAIT_OBJECT_0) + static_cast<DWORD>(index);
}

// Another thread that holds one of the objects, or null.
const Thread* holderOf(const Waited& objects, const Thread& waiter) {
  for (const auto& object : objects) {
    if (const Thread* holder = object->holder(); holder != nullptr && holder != &waiter) {
      return holder;
    }
  }
  return nullptr;
}

std::string describe(const Waited& objects, DWORD milliseconds) {
  std::string text;
  for (const auto& object : objects) {
    text += text.empty() ? "" : ", ";
    text += object->kind();
    text += object->name.empty() ? "" : " " + toUtf8(object->name);
  }
  return text +
         (milliseconds == INFINITE ? " for ever" : " for " + std::to_string(milliseconds) + " ms");
}

// What creating a named object of this kind comes to.
template <class Kind, class Make>
HANDLE createNamed(Call& call, const char* maker, LPCWSTR name, const Make& make) {
  const Scheduler::Guard guard;
  NamedObjects& objects = machine().objects;
  const NamedObjects::Place place = objects.resolve(name == nullptr ? L"" : name);
  if (place.error != 0) {
    return call.fails<HANDLE>(place.error, nullptr);
  }
  if (const auto existing = place.key.empty() ? nullptr : objects.find(place.key)) {
    if (std::dynamic_pointer_cast<Kind>(existing) == nullptr) {
      return call.fails<HANDLE>(ERROR_INVALID_HANDLE, nullptr);
    }
    setLastError(ERROR_ALREADY_EXISTS);
    return call.returns(HandleTable::instance().add(existing, maker));
  }
  const std::shared_ptr<Kind> made = make();
  if (!place.key.empty()) {
    objects.put(place.key, made);
  }
  setLastError(ERROR_SUCCESS);
  return call.returns(HandleTable::instance().add(made, maker));
}

// The handles of events that were opened for waiting and not for changing them.
std::set<HANDLE>& handlesForWaiting() {
  static auto* const handles = [] {
    auto* const made = new std::set<HANDLE>;
    atReset([made] { made->clear(); });
    return made;
  }();
  return *handles;
}

BOOL changeEvent(Call& call, const char* name, HANDLE handle, bool isSet) {
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  {
    const Scheduler::Guard guard;
    const auto event = HandleTable::instance().find<EventObject>(handle, name);
    if (event == nullptr) {
      return call.fails(ERROR_INVALID_HANDLE, FALSE);
    }
    if (handlesForWaiting().contains(handle)) {
      return call.fails(ERROR_ACCESS_DENIED, FALSE);
    }
    if (isSet) {
      races::publish(event.get());
    }
    event->isSet = isSet;
    Scheduler::instance().changed();
  }
  const BOOL result = call.returns(TRUE);
  Scheduler::instance().yield(name);
  return result;
}

// What a wait has taken is taken before the caller does anything with it: the turn may pass here.
DWORD afterWait(Call& call, const char* name, DWORD result) {
  call.returns(result);
  Scheduler::instance().yield(name);
  return result;
}

}  // namespace

Nanoseconds deadlineAfter(DWORD milliseconds) {
  return milliseconds == INFINITE
             ? kForever
             : Scheduler::instance().now() + milliseconds * kNanosecondsPerMillisecond;
}

void sleepFor(DWORD milliseconds, const std::string& why) {
  const Scheduler::Guard guard;
  Scheduler::instance().block(
      why, [] { return false; }, deadlineAfter(milliseconds));
}

DWORD waitFor(DWORD count, const HANDLE* handles, bool all, DWORD milliseconds, const char* call) {
  const Scheduler::Guard guard;
  Thread& self = Scheduler::current();
  Waited objects;
  for (DWORD i = 0; i < count; ++i) {
    objects.push_back(HandleTable::instance().find(handles[i], call));
    if (objects.back() == nullptr || !objects.back()->waitable()) {
      setLastError(ERROR_INVALID_HANDLE);
      return WAIT_FAILED;
    }
  }
  const auto ready = [&] { return firstSignalled(objects, all, self) >= 0; };
  const auto holder = [&] { return holderOf(objects, self); };
  if (!ready() &&
      (milliseconds == 0 || !Scheduler::instance().block(describe(objects, milliseconds), ready,
                                                         deadlineAfter(milliseconds), holder))) {
    return WAIT_TIMEOUT;
  }
  return consume(objects, all, firstSignalled(objects, all, self), self);
}

}  // namespace host

using host::Call;
using host::HandleTable;

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                    LPCWSTR name) {
  Call call("CreateEventW", attributes, manualReset, initialState, name);
  if (call.faulted()) {
    return call.returns<HANDLE>(nullptr);
  }
  return host::createNamed<host::EventObject>(call, "CreateEventW", name, [&] {
    return std::make_shared<host::EventObject>(manualReset != FALSE, initialState != FALSE);
  });
}

HANDLE OpenEventW(DWORD access, BOOL inherit, LPCWSTR name) {
  Call call("OpenEventW", access, inherit, name);
  if (call.faulted()) {
    return call.returns<HANDLE>(nullptr);
  }
  if (name == nullptr) {
    return call.fails<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
  }
  const host::Scheduler::Guard guard;
  const host::NamedObjects::Place place = host::machine().objects.resolve(name);
  if (place.error != 0) {
    return call.fails<HANDLE>(place.error, nullptr);
  }
  const auto object = host::machine().objects.find(place.key);
  if (object == nullptr) {
    return call.fails<HANDLE>(ERROR_FILE_NOT_FOUND, nullptr);
  }
  if (std::dynamic_pointer_cast<host::EventObject>(object) == nullptr) {
    return call.fails<HANDLE>(ERROR_INVALID_HANDLE, nullptr);
  }
  const HANDLE opened = HandleTable::instance().add(object, "OpenEventW");
  if ((access & EVENT_MODIFY_STATE) == 0) {
    host::handlesForWaiting().insert(opened);
  }
  return call.returns(opened);
}

BOOL SetEvent(HANDLE event) {
  Call call("SetEvent", event);
  return host::changeEvent(call, "SetEvent", event, true);
}

BOOL ResetEvent(HANDLE event) {
  Call call("ResetEvent", event);
  return host::changeEvent(call, "ResetEvent", event, false);
}

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) {
  Call call("CreateMutexW", attributes, initialOwner, name);
  if (call.faulted()) {
    return call.returns<HANDLE>(nullptr);
  }
  return host::createNamed<host::MutexObject>(call, "CreateMutexW", name, [&] {
    return std::make_shared<host::MutexObject>(initialOwner != FALSE ? &host::Scheduler::current()
                                                                     : nullptr);
  });
}

BOOL ReleaseMutex(HANDLE handle) {
  Call call("ReleaseMutex", handle);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  {
    const host::Scheduler::Guard guard;
    const auto mutex = HandleTable::instance().find<host::MutexObject>(handle, "ReleaseMutex");
    if (mutex == nullptr) {
      return call.fails(ERROR_INVALID_HANDLE, FALSE);
    }
    if (mutex->owner != &host::Scheduler::current()) {
      return call.fails(ERROR_NOT_OWNER, FALSE);
    }
    if (--mutex->depth == 0) {
      host::races::publish(mutex.get());
      mutex->owner = nullptr;
    }
    host::Scheduler::instance().changed();
  }
  // Told to fail when all is done, which no scenario can, it answers the number it was given: any
  // but 0 is a success.
  const BOOL result = call.returns(call.failsWhenDone() ? static_cast<BOOL>(call.fault()) : TRUE);
  host::Scheduler::instance().yield("ReleaseMutex");
  return result;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  Call call("WaitForSingleObject", handle, milliseconds);
  if (call.faulted()) {
    return call.returns(WAIT_FAILED);
  }
  const DWORD result = host::waitFor(1, &handle, false, milliseconds, "WaitForSingleObject");
  return host::afterWait(call, "WaitForSingleObject", result);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds) {
  Call call("WaitForMultipleObjects", count, handles == nullptr ? nullptr : handles[0], waitAll,
            milliseconds);
  if (call.faulted()) {
    return call.returns(WAIT_FAILED);
  }
  if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || handles == nullptr) {
    return call.fails(ERROR_INVALID_PARAMETER, WAIT_FAILED);
  }
  const DWORD result =
      host::waitFor(count, handles, waitAll != FALSE, milliseconds, "WaitForMultipleObjects");
  return host::afterWait(call, "WaitForMultipleObjects", result);
}

BOOL CloseHandle(HANDLE handle) {
  Call call("CloseHandle", handle);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  if (!HandleTable::instance().close(handle, "CloseHandle")) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  return call.returns(TRUE);
}

void Sleep(DWORD milliseconds) {
  Call call("Sleep", milliseconds);
  host::sleepFor(milliseconds, "Sleep(" + std::to_string(milliseconds) + ")");
}
