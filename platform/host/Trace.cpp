// Event tracing. The calls answer with a status and leave the last error alone.

#include <algorithm>

#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/StatusCall.h"

namespace host {
namespace {

// More data descriptors than this are refused.
constexpr ULONG kMostBlocks = 128;
constexpr ULONGLONG kAllKeywords = ~ULONGLONG{0};

constexpr REGHANDLE kFirstProvider = 0x1000;

TraceSessions::Provider* registered(REGHANDLE handle) {
  auto& providers = machine().trace.providers;
  const auto found = std::find_if(providers.begin(), providers.end(), [&](const auto& provider) {
    return provider.registered && provider.handle == handle;
  });
  return found == providers.end() ? nullptr : &*found;
}

// Tells the provider's callback about a session. The machine is not guarded meanwhile: the
// callback is the program's own code.
void tell(const TraceSessions::Provider& provider, bool enabled, UCHAR level, ULONGLONG anyKeyword,
          ULONGLONG allKeyword) {
  constexpr GUID kSession{};
  if (provider.callback != nullptr) {
    provider.callback(&kSession, enabled ? 1 : 0, level, anyKeyword, allKeyword, nullptr,
                      provider.context);
  }
}

TraceEvent copyOf(REGHANDLE handle, const EVENT_DESCRIPTOR& descriptor, ULONG count,
                  const EVENT_DATA_DESCRIPTOR* data) {
  TraceEvent event{handle, descriptor, {}};
  for (ULONG i = 0; i < count; ++i) {
    const auto* bytes = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(data[i].Ptr));
    event.blocks.emplace_back(bytes, data[i].Size);
  }
  return event;
}

}  // namespace

void TraceSessions::enable(REGHANDLE provider, UCHAR level, ULONGLONG anyKeyword,
                           ULONGLONG allKeyword) {
  if (const Provider* found = registered(provider)) {
    tell(Provider(*found), true, level, anyKeyword, allKeyword);
  }
}

void TraceSessions::disable(REGHANDLE provider) {
  if (const Provider* found = registered(provider)) {
    tell(Provider(*found), false, 0, 0, 0);
  }
}

}  // namespace host

using host::StatusCall;

ULONG EventRegister(LPCGUID guid, PENABLECALLBACK callback, PVOID context, PREGHANDLE handle) {
  StatusCall call("EventRegister", guid, context);
  if (call.faulted()) {
    return call.returns<ULONG>(call.fault());
  }
  if (guid == nullptr || handle == nullptr) {
    return call.returns<ULONG>(ERROR_INVALID_PARAMETER);
  }
  host::TraceSessions::Provider provider{0, *guid, callback, context, "", true};
  bool sessionWaiting = false;
  UCHAR level = 0;
  {
    const host::Scheduler::Guard guard;
    host::TraceSessions& trace = host::machine().trace;
    provider.handle = host::kFirstProvider + trace.providers.size();
    trace.providers.push_back(provider);
    host::Ledger::instance().acquire("provider", provider.handle, "EventRegister");
    sessionWaiting = trace.sessionWaiting;
    level = trace.sessionLevel;
    *handle = provider.handle;
  }
  if (sessionWaiting) {
    host::tell(provider, true, level, host::kAllKeywords, 0);
  }
  return call.returns<ULONG>(ERROR_SUCCESS);
}

ULONG EventUnregister(REGHANDLE handle) {
  StatusCall call("EventUnregister", handle);
  if (call.faulted()) {
    return call.returns<ULONG>(call.fault());
  }
  const host::Scheduler::Guard guard;
  auto* provider = host::registered(handle);
  if (!host::Ledger::instance().release("provider", handle, "EventUnregister") ||
      provider == nullptr) {
    return call.returns<ULONG>(ERROR_INVALID_HANDLE);
  }
  provider->registered = false;
  return call.returns<ULONG>(ERROR_SUCCESS);
}

ULONG EventSetInformation(REGHANDLE handle, EVENT_INFO_CLASS informationClass, PVOID information,
                          ULONG length) {
  StatusCall call("EventSetInformation", handle, static_cast<int>(informationClass), length);
  if (call.faulted()) {
    return call.returns<ULONG>(call.fault());
  }
  const host::Scheduler::Guard guard;
  auto* provider = host::registered(handle);
  if (!host::Ledger::instance().uses("provider", handle, "EventSetInformation") ||
      provider == nullptr) {
    return call.returns<ULONG>(ERROR_INVALID_HANDLE);
  }
  if (informationClass != EventProviderSetTraits || information == nullptr) {
    return call.returns<ULONG>(ERROR_INVALID_PARAMETER);
  }
  provider->traits.assign(static_cast<const char*>(information), length);
  return call.returns<ULONG>(ERROR_SUCCESS);
}

ULONG EventWriteTransfer(REGHANDLE handle, PCEVENT_DESCRIPTOR descriptor, LPCGUID activityId,
                         LPCGUID relatedActivityId, ULONG count, PEVENT_DATA_DESCRIPTOR data) {
  StatusCall call("EventWriteTransfer", handle, descriptor == nullptr ? 0 : descriptor->Level,
                  activityId, relatedActivityId, count);
  if (call.faulted()) {
    return call.returns<ULONG>(call.fault());
  }
  const host::Scheduler::Guard guard;
  if (!host::Ledger::instance().uses("provider", handle, "EventWriteTransfer") ||
      host::registered(handle) == nullptr) {
    return call.returns<ULONG>(ERROR_INVALID_HANDLE);
  }
  if (descriptor == nullptr || count > host::kMostBlocks || (count > 0 && data == nullptr)) {
    return call.returns<ULONG>(ERROR_INVALID_PARAMETER);
  }
  host::machine().trace.events.push_back(host::copyOf(handle, *descriptor, count, data));
  return call.returns<ULONG>(ERROR_SUCCESS);
}
