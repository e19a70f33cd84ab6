#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/host/windows/Trace.h"

namespace host {

// An event as a provider wrote it: the descriptor, and the bytes of each data descriptor.
struct TraceEvent {
  REGHANDLE provider = 0;
  EVENT_DESCRIPTOR descriptor{};
  std::vector<std::string> blocks;
};

// The tracing side of the machine: registered providers and what they wrote.
struct TraceSessions {
  struct Provider {
    REGHANDLE handle;
    GUID guid;
    PENABLECALLBACK callback;
    PVOID context;
    std::string traits;
    bool registered;
  };

  // The providers registered so far, in order.
  std::vector<Provider> providers;
  std::vector<TraceEvent> events;

  // A session that is there already when the provider registers: its callback runs inside
  // EventRegister with this level.
  bool sessionWaiting = false;
  UCHAR sessionLevel = 5;

  // A session enables or disables a registered provider: its callback runs on the caller's thread.
  void enable(REGHANDLE provider, UCHAR level, ULONGLONG anyKeyword, ULONGLONG allKeyword);
  void disable(REGHANDLE provider);
};

}  // namespace host
