// COM's life in the process, and the one class that can be made.

#include <algorithm>

#include "platform/host/ComObject.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/TaskScheduler.h"

namespace host {
namespace {

// How a beginning stands in the ledger: a number for the thread and one for its depth.
std::uintptr_t ledgerValue(std::uint32_t thread, unsigned depth) {
  return (std::uintptr_t{thread} << 32U) | depth;
}

constexpr char kBeginning[] = "com";

}  // namespace

bool ComState::isBegunFor(std::uint32_t thread) const {
  return std::any_of(threads.begin(), threads.end(), [&](const auto& entry) {
    return entry.first == thread || entry.second.mode == COINIT_MULTITHREADED;
  });
}

}  // namespace host

using host::ComCall;
using host::Ledger;
using host::Scheduler;

HRESULT CoInitializeEx(LPVOID reserved, DWORD mode) {
  ComCall call("CoInitializeEx", reserved, mode);
  if (call.isRefused()) {
    return call.refuses();
  }
  if (reserved != nullptr) {
    return call.answers(E_INVALIDARG);
  }
  const Scheduler::Guard guard;
  const std::uint32_t thread = Scheduler::current().id;
  const DWORD apartment = mode & COINIT_APARTMENTTHREADED;
  auto& threads = host::machine().com.threads;
  const auto [entry, isFirst] = threads.try_emplace(thread);
  if (!isFirst && entry->second.mode != apartment) {
    return call.answers(RPC_E_CHANGED_MODE);
  }
  entry->second.mode = apartment;
  ++entry->second.depth;
  Ledger::instance().acquire(host::kBeginning, host::ledgerValue(thread, entry->second.depth),
                             "CoInitializeEx");
  return call.answers(isFirst ? S_OK : S_FALSE);
}

void CoUninitialize() {
  const ComCall call("CoUninitialize");
  const Scheduler::Guard guard;
  host::ComState& com = host::machine().com;
  const std::uint32_t thread = Scheduler::current().id;
  const auto entry = com.threads.find(thread);
  if (entry == com.threads.end()) {
    Ledger::instance().violation("CoUninitialize: the thread has not begun COM");
    return;
  }
  Ledger::instance().release(host::kBeginning, host::ledgerValue(thread, entry->second.depth),
                             "CoUninitialize");
  if (--entry->second.depth > 0) {
    return;
  }
  com.threads.erase(entry);
  if (com.threads.empty() && com.securityEndsWithLastThread) {
    com.securitySet = false;
  }
}

HRESULT CoInitializeSecurity(PSECURITY_DESCRIPTOR descriptor, LONG serviceCount,
                             SOLE_AUTHENTICATION_SERVICE* services, void* reserved1,
                             DWORD authenticationLevel, DWORD impersonationLevel,
                             void* authenticationList, DWORD capabilities, void* reserved3) {
  ComCall call("CoInitializeSecurity", descriptor, serviceCount, static_cast<const void*>(services),
               reserved1, authenticationLevel, impersonationLevel, authenticationList, capabilities,
               reserved3);
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  host::ComState& com = host::machine().com;
  if (!com.isBegunFor(Scheduler::current().id)) {
    return call.answers(CO_E_NOTINITIALIZED);
  }
  if (com.securitySet) {
    return call.answers(RPC_E_TOO_LATE);
  }
  com.securitySet = true;
  return call.answers(S_OK);
}

HRESULT CoCreateInstance(REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID iid,
                         LPVOID* object) {
  const bool isScheduler = classId == CLSID_TaskScheduler;
  ComCall call("CoCreateInstance", isScheduler ? "TaskScheduler" : "another class",
               static_cast<const void*>(outer), context, host::interfaceName(iid).c_str());
  if (object == nullptr) {
    return call.answers(E_POINTER);
  }
  *object = nullptr;
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  if (!host::machine().com.isBegunFor(Scheduler::current().id)) {
    return call.answers(CO_E_NOTINITIALIZED);
  }
  if (!isScheduler || (context & CLSCTX_INPROC_SERVER) == 0) {
    return call.answers(REGDB_E_CLASSNOTREG);
  }
  if (outer != nullptr) {
    return call.answers(CLASS_E_NOAGGREGATION);
  }
  *object = host::makeTaskService(iid, "CoCreateInstance");
  return call.answers(*object != nullptr ? S_OK : E_NOINTERFACE);
}
