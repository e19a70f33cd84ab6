// Threads, critical sections and structured exceptions.

#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "platform/host/Call.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/Objects.h"
#include "platform/host/Races.h"

extern "C" void host_client_sleep(std::uint32_t milliseconds);
extern "C" void host_client_run(void (*body)(void*), void* argument);
extern "C" void host_client_answered(const char* entry, std::int32_t status);

namespace host {
namespace {

// Structured exception with which a program names a thread for its debugger.
constexpr DWORD kThreadNameException = 0x406D1388;

struct Section {
  Thread* owner = nullptr;
  unsigned depth = 0;
};

std::vector<PVECTORED_EXCEPTION_HANDLER>& vectoredHandlers() {
  static auto* handlers = new std::vector<PVECTORED_EXCEPTION_HANDLER>;
  return *handlers;
}

// The section's record, or null if it is not initialised; that use is a violation.
Section* sectionOf(const CRITICAL_SECTION* section, const char* call) {
  const auto value = reinterpret_cast<std::uintptr_t>(section);
  return Ledger::instance().uses("section", value, call) ? static_cast<Section*>(section->state)
                                                         : nullptr;
}

}  // namespace
}  // namespace host

using host::Call;

HANDLE CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stackSize,
                    LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags, LPDWORD threadId) {
  Call call("CreateThread", attributes, stackSize, flags);
  if (call.faulted()) {
    return call.returns<HANDLE>(nullptr);
  }
  if (start == nullptr) {
    return call.fails<HANDLE>(ERROR_INVALID_PARAMETER, nullptr);
  }
  const auto object = std::make_shared<host::ThreadObject>();
  object->thread =
      &host::Scheduler::instance().spawn("CreateThread", [start, parameter] { start(parameter); });
  const host::Scheduler::Guard guard;
  if (threadId != nullptr) {
    *threadId = object->thread->id;
  }
  return call.returns(host::HandleTable::instance().add(object, "CreateThread"));
}

DWORD GetCurrentThreadId() {
  Call call("GetCurrentThreadId");
  return call.returns(host::Scheduler::current().id);
}

BOOL InitializeCriticalSectionAndSpinCount(LPCRITICAL_SECTION section, DWORD spinCount) {
  Call call("InitializeCriticalSectionAndSpinCount", spinCount);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  section->state = new host::Section;
  host::Ledger::instance().acquire("section", reinterpret_cast<std::uintptr_t>(section),
                                   "InitializeCriticalSectionAndSpinCount");
  return call.returns(TRUE);
}

void EnterCriticalSection(LPCRITICAL_SECTION section) {
  Call call("EnterCriticalSection");
  {
    const host::Scheduler::Guard guard;
    host::Section* state = host::sectionOf(section, "EnterCriticalSection");
    if (state == nullptr) {
      return;
    }
    host::Thread* self = &host::Scheduler::current();
    const auto isFree = [state, self] { return state->owner == nullptr || state->owner == self; };
    if (!isFree()) {
      host::Scheduler::instance().block("a critical section", isFree, host::kForever,
                                        [state] { return state->owner; });
    }
    state->owner = self;
    ++state->depth;
    host::races::receive(state);
  }
  host::Scheduler::instance().yield("EnterCriticalSection");
}

void LeaveCriticalSection(LPCRITICAL_SECTION section) {
  Call call("LeaveCriticalSection");
  {
    const host::Scheduler::Guard guard;
    host::Section* state = host::sectionOf(section, "LeaveCriticalSection");
    if (state == nullptr) {
      return;
    }
    if (state->owner != &host::Scheduler::current()) {
      host::Ledger::instance().violation("LeaveCriticalSection: the caller does not own it");
      return;
    }
    if (--state->depth == 0) {
      host::races::publish(state);
      state->owner = nullptr;
      host::Scheduler::instance().changed();
    }
  }
  host::Scheduler::instance().yield("LeaveCriticalSection");
}

void DeleteCriticalSection(LPCRITICAL_SECTION section) {
  Call call("DeleteCriticalSection");
  const host::Scheduler::Guard guard;
  if (host::Ledger::instance().release("section", reinterpret_cast<std::uintptr_t>(section),
                                       "DeleteCriticalSection")) {
    delete static_cast<host::Section*>(section->state);
    section->state = nullptr;
  }
}

PVOID AddVectoredExceptionHandler(ULONG first, PVECTORED_EXCEPTION_HANDLER handler) {
  Call call("AddVectoredExceptionHandler", first);
  if (call.faulted()) {
    return call.returns<PVOID>(nullptr);
  }
  const host::Scheduler::Guard guard;
  auto& handlers = host::vectoredHandlers();
  handlers.insert(first != 0 ? handlers.begin() : handlers.end(), handler);
  return call.returns(reinterpret_cast<PVOID>(handler));
}

ULONG RemoveVectoredExceptionHandler(PVOID handle) {
  Call call("RemoveVectoredExceptionHandler");
  const host::Scheduler::Guard guard;
  auto& handlers = host::vectoredHandlers();
  for (auto handler = handlers.begin(); handler != handlers.end(); ++handler) {
    if (reinterpret_cast<PVOID>(*handler) == handle) {
      handlers.erase(handler);
      return call.returns(ULONG{1});
    }
  }
  return call.returns(ULONG{0});
}

void RaiseException(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* arguments) {
  Call call("RaiseException", code, flags, count);
  EXCEPTION_RECORD record{};
  record.ExceptionCode = code;
  record.ExceptionFlags = flags;
  record.NumberParameters = count;
  for (DWORD i = 0; i < count && i < std::size(record.ExceptionInformation); ++i) {
    record.ExceptionInformation[i] = arguments[i];
  }
  EXCEPTION_POINTERS pointers{&record, nullptr};
  std::vector<PVECTORED_EXCEPTION_HANDLER> handlers;
  {
    const host::Scheduler::Guard guard;
    handlers = host::vectoredHandlers();
  }
  for (const PVECTORED_EXCEPTION_HANDLER handler : handlers) {
    if (handler(&pointers) == EXCEPTION_CONTINUE_EXECUTION) {
      return;
    }
  }
  // Nobody took it: that ends the process. A thread's name alone does nothing when no debugger
  // listens.
  if (code != host::kThreadNameException) {
    std::abort();
  }
}

// For the stand-in client library, which is a module of its own: its waits and its threads are the
// machine's too, and the machine keeps its answers for tests.
void host_client_sleep(std::uint32_t milliseconds) {
  host::sleepFor(milliseconds, "the client library");
}

void host_client_run(void (*body)(void*), void* argument) {
  host::Scheduler& scheduler = host::Scheduler::instance();
  host::Thread& thread =
      scheduler.spawn("the client library", [body, argument] { body(argument); });
  const host::Scheduler::Guard guard;
  scheduler.block(
      "a thread of the client library", [&] { return scheduler.hasEnded(thread); }, host::kForever);
  host::races::receive(&thread);
}

void host_client_answered(const char* entry, std::int32_t status) {
  const host::Scheduler::Guard guard;
  host::machine().clientAnswers.push_back(std::string(entry) + " " + std::to_string(status));
}
