#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/win32.h"

// A provider of self-describing trace events, laid out as the platform publishes it, with its GUID
// behind. Records are static; what the trace session enables is written by the platform's enable
// callback on a thread of its own and read without a lock, as the layout intends.
struct TraceProvider {
  // The level that the session enables, plus one; 0 while no session does.
  std::atomic<uint32_t> levelPlus1;
  // The provider's metadata; the first 16 bits are its length in bytes.
  const uint8_t* metadata;
  std::atomic<uint64_t> keywordAny;
  std::atomic<uint64_t> keywordAll;
  REGHANDLE handle;
  // Called after the enable callback with this context, if it is set.
  PENABLECALLBACK chainedCallback;
  void* chainedContext;
  GUID id;

  // Whether a session wants events of `eventLevel` and `keyword`.
  bool isEnabled(uint8_t eventLevel, uint64_t keyword) const;

  // The platform's standard enable callback; `provider` is the record.
  static void NTAPI OnEnable(LPCGUID source, ULONG control, UCHAR level, ULONGLONG keywordAny,
                             ULONGLONG keywordAll, PEVENT_FILTER_DESCRIPTOR filter, PVOID provider);
};

// Debuggers and trace tools know these places.
static_assert(offsetof(TraceProvider, levelPlus1) == 0x00);
static_assert(offsetof(TraceProvider, metadata) == 0x08);
static_assert(offsetof(TraceProvider, keywordAny) == 0x10);
static_assert(offsetof(TraceProvider, keywordAll) == 0x18);
static_assert(offsetof(TraceProvider, handle) == 0x20);
static_assert(offsetof(TraceProvider, chainedCallback) == 0x28);
static_assert(offsetof(TraceProvider, chainedContext) == 0x30);

// The provider that belongs to a program's log file name, null if there is none. A new program's
// name must be added to the table behind this.
TraceProvider* FindTraceProvider(const std::string& logFileName);
