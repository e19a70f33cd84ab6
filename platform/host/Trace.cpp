// Event tracing. The calls answer with a status and leave the last error alone.

#include <algorithm>
#include <cstring>

#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/StatusCall.h"

namespace host {
namespace {

// More data descriptors than this are refused.
constexpr ULONG kMostBlocks = 128;
// An event and the header that the platform puts before it have room in so many bytes.
constexpr std::size_t kMostEventBytes = 0xFFFF;
constexpr std::size_t kHeaderBytes = 80;

constexpr ULONG kHighestBlockType = 2;
constexpr ULONG kErrorArithmeticOverflow = 534;
constexpr ULONG kErrorNoAccess = 998;

constexpr ULONG kDisable = 0;
constexpr ULONG kEnable = 1;
constexpr ULONG kCaptureState = 2;

constexpr REGHANDLE kFirstProvider = 0x1000;

bool isSame(const GUID& left, const GUID& right) {
  return std::memcmp(&left, &right, sizeof(GUID)) == 0;
}

TraceSessions::Provider* registered(REGHANDLE handle) {
  auto& providers = machine().trace.providers;
  const auto found = std::find_if(providers.begin(), providers.end(), [&](const auto& provider) {
    return provider.registered && provider.handle == handle;
  });
  return found == providers.end() ? nullptr : &*found;
}

// What all sessions together want of a provider; nothing if none has enabled it.
std::optional<TraceFilter> wantedOf(const GUID& provider) {
  std::optional<TraceFilter> all;
  for (const TraceSessions::Session& session : machine().trace.sessions) {
    if (!session.enabled || !isSame(session.provider, provider)) {
      continue;
    }
    if (!all) {
      all = session.filter;
      continue;
    }
    const bool everyLevel = all->level == 0 || session.filter.level == 0;
    all->level = everyLevel ? UCHAR{0} : std::max(all->level, session.filter.level);
    all->anyKeyword |= session.filter.anyKeyword;
    all->allKeyword &= session.filter.allKeyword;
  }
  return all;
}

void tell(const TraceSessions::Provider& provider, ULONG control, const TraceFilter& filter) {
  constexpr GUID kSession{};
  if (provider.callback != nullptr) {
    provider.callback(&kSession, control, filter.level, filter.anyKeyword, filter.allKeyword,
                      nullptr, provider.context);
  }
}

// Tells all that are registered under the id. The machine is not guarded by this meanwhile: the
// callbacks are the program's own code.
void tellAll(const GUID& id, ULONG control, const TraceFilter& filter) {
  std::vector<TraceSessions::Provider> told;
  {
    const Scheduler::Guard guard;
    told = machine().trace.providers;
  }
  for (const TraceSessions::Provider& provider : told) {
    if (provider.registered && isSame(provider.guid, id)) {
      tell(provider, control, filter);
    }
  }
}

TraceSessions::Session* sessionNamed(const std::string& name) {
  auto& sessions = machine().trace.sessions;
  const auto found = std::find_if(sessions.begin(), sessions.end(),
                                  [&](const auto& session) { return session.name == name; });
  return found == sessions.end() ? nullptr : &*found;
}

TraceEvent copyOf(REGHANDLE handle, const EVENT_DESCRIPTOR& descriptor, ULONG count,
                  const EVENT_DATA_DESCRIPTOR* data) {
  TraceEvent event{handle, descriptor, false, {}};
  for (ULONG i = 0; i < count; ++i) {
    const auto* bytes = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(data[i].Ptr));
    event.blocks.push_back({data[i].Reserved, std::string(bytes, data[i].Size)});
  }
  return event;
}

// What is wrong with the data of an event.
ULONG judge(ULONG count, const EVENT_DATA_DESCRIPTOR* data) {
  std::size_t bytes = kHeaderBytes;
  for (ULONG i = 0; i < count; ++i) {
    if (data[i].Reserved > kHighestBlockType) {
      return ERROR_INVALID_PARAMETER;
    }
    if (data[i].Ptr == 0 && data[i].Size > 0) {
      return kErrorNoAccess;
    }
    bytes += data[i].Size;
  }
  return bytes > kMostEventBytes ? kErrorArithmeticOverflow : ERROR_SUCCESS;
}

void deliver(const GUID& provider, const TraceEvent& event) {
  TraceSessions& trace = machine().trace;
  for (TraceSessions::Session& session : trace.sessions) {
    if (session.enabled && isSame(session.provider, provider) &&
        session.filter.lets(event.descriptor)) {
      session.events.push_back(event);
      if (trace.onEvent) {
        trace.onEvent(session, event);
      }
    }
  }
}

// Whether the bytes are a provider's traits: their own length in 16 bits, and a name that ends.
bool areTraits(const char* bytes, ULONG length) {
  constexpr ULONG kLengthBytes = 2;
  if (length <= kLengthBytes) {
    return false;
  }
  const ULONG own = static_cast<unsigned char>(bytes[0]) + 256U * static_cast<UCHAR>(bytes[1]);
  return own == length && std::memchr(bytes + kLengthBytes, 0, length - kLengthBytes) != nullptr;
}

}  // namespace

bool TraceFilter::lets(const EVENT_DESCRIPTOR& event) const {
  if (level != 0 && event.Level > level) {
    return false;
  }
  return event.Keyword == 0 ||
         ((event.Keyword & anyKeyword) != 0 && (event.Keyword & allKeyword) == allKeyword);
}

void TraceSessions::enable(const std::string& session, const GUID& provider,
                           const TraceFilter& filter) {
  TraceFilter wanted;
  {
    const Scheduler::Guard guard;
    Session* known = sessionNamed(session);
    if (known == nullptr) {
      known = &sessions.emplace_back(Session{session, provider, filter, true, {}});
    }
    known->provider = provider;
    known->filter = filter;
    known->enabled = true;
    wanted = *wantedOf(provider);
  }
  tellAll(provider, kEnable, wanted);
}

void TraceSessions::disable(const std::string& session) {
  GUID provider{};
  std::optional<TraceFilter> left;
  {
    const Scheduler::Guard guard;
    Session* known = sessionNamed(session);
    if (known == nullptr || !known->enabled) {
      return;
    }
    known->enabled = false;
    provider = known->provider;
    left = wantedOf(provider);
  }
  tellAll(provider, left ? kEnable : kDisable, left.value_or(TraceFilter{0, 0, 0}));
}

void TraceSessions::captureState(const std::string& session) {
  GUID provider{};
  TraceFilter filter;
  {
    const Scheduler::Guard guard;
    const Session* known = find(session);
    if (known == nullptr || !known->enabled) {
      return;
    }
    provider = known->provider;
    filter = known->filter;
  }
  tellAll(provider, kCaptureState, filter);
}

const TraceSessions::Session* TraceSessions::find(const std::string& session) const {
  return sessionNamed(session);
}

std::vector<TraceEvent> TraceSessions::received(const std::string& session) const {
  const Scheduler::Guard guard;
  const Session* known = find(session);
  return known == nullptr ? std::vector<TraceEvent>{} : known->events;
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
  std::optional<host::TraceFilter> wanted;
  {
    const host::Scheduler::Guard guard;
    host::TraceSessions& trace = host::machine().trace;
    provider.handle = host::kFirstProvider + trace.providers.size();
    trace.providers.push_back(provider);
    host::Ledger::instance().acquire("provider", provider.handle, "EventRegister");
    wanted = host::wantedOf(*guid);
    *handle = provider.handle;
  }
  // The machine is not guarded meanwhile: the callback is the program's own code.
  if (wanted) {
    host::tell(provider, host::kEnable, *wanted);
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
  const auto* bytes = static_cast<const char*>(information);
  if (informationClass != EventProviderSetTraits || information == nullptr ||
      !host::areTraits(bytes, length)) {
    return call.returns<ULONG>(ERROR_INVALID_PARAMETER);
  }
  provider->traits.assign(bytes, length);
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
  const auto* provider = host::registered(handle);
  if (!host::Ledger::instance().uses("provider", handle, "EventWriteTransfer") ||
      provider == nullptr) {
    return call.returns<ULONG>(ERROR_INVALID_HANDLE);
  }
  if (descriptor == nullptr || count > host::kMostBlocks || (count > 0 && data == nullptr)) {
    return call.returns<ULONG>(ERROR_INVALID_PARAMETER);
  }
  // Where nobody listens the data is not looked at.
  const std::optional<host::TraceFilter> wanted = host::wantedOf(provider->guid);
  if (!wanted || !wanted->lets(*descriptor)) {
    return call.returns<ULONG>(ERROR_SUCCESS);
  }
  if (const ULONG error = host::judge(count, data); error != ERROR_SUCCESS) {
    return call.returns(error);
  }
  host::TraceEvent event = host::copyOf(handle, *descriptor, count, data);
  event.hasActivity = activityId != nullptr || relatedActivityId != nullptr;
  host::deliver(provider->guid, event);
  return call.returns<ULONG>(call.failsWhenDone() ? call.fault() : ERROR_SUCCESS);
}
