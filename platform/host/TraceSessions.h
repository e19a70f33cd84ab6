#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/windows/Trace.h"

namespace host {

// An event as a provider wrote it: the descriptor, and type and bytes of each data descriptor.
struct TraceEvent {
  struct Block {
    ULONG type = 0;
    std::string bytes;
    bool operator==(const Block&) const = default;
  };
  REGHANDLE provider = 0;
  EVENT_DESCRIPTOR descriptor{};
  bool hasActivity = false;  // whether one of the two activity ids was given
  std::vector<Block> blocks;
};

// What a session wants of a provider: levels up to `level`, 0 meaning all; and of the events that
// have keywords, those with one of `anyKeyword` and all of `allKeyword`.
struct TraceFilter {
  UCHAR level = 5;
  ULONGLONG anyKeyword = ~ULONGLONG{0};
  ULONGLONG allKeyword = 0;

  bool lets(const EVENT_DESCRIPTOR& event) const;
};

// The tracing side of the machine: registered providers, and the sessions that listen to them.
struct TraceSessions {
  struct Provider {
    REGHANDLE handle;
    GUID guid;
    PENABLECALLBACK callback;
    PVOID context;
    std::string traits;
    bool registered;
  };
  struct Session {
    std::string name;
    GUID provider;
    TraceFilter filter;
    bool enabled;
    std::vector<TraceEvent> events;  // what it received
  };

  // The providers registered so far, in order.
  std::vector<Provider> providers;
  std::vector<Session> sessions;

  // A session enables the provider, or changes what it wants of it. Those registered under the id
  // are told on the caller's thread, and those to come inside EventRegister. A provider is told of
  // all its sessions as of one: the highest level, any of the keywords, all that they have in
  // common.
  void enable(const std::string& session, const GUID& provider, const TraceFilter& filter = {});
  // The session lets go of its provider, which is told that it is disabled if no other one is left.
  void disable(const std::string& session);
  // The session asks its provider to write its state down.
  void captureState(const std::string& session);

  // The session of that name, null if there is none.
  const Session* find(const std::string& session) const;
  // What that session received so far.
  std::vector<TraceEvent> received(const std::string& session) const;

  // Called for each event and each session that receives it, with the machine guarded.
  std::function<void(const Session& session, const TraceEvent& event)> onEvent;
};

}  // namespace host
