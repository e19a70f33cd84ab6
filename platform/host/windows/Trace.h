#pragma once

#include "platform/host/windows/Types.h"

// Event tracing.

using REGHANDLE = ULONGLONG;
using PREGHANDLE = REGHANDLE*;

struct EVENT_DESCRIPTOR {
  USHORT Id;
  UCHAR Version;
  UCHAR Channel;
  UCHAR Level;
  UCHAR Opcode;
  USHORT Task;
  ULONGLONG Keyword;
};
using PCEVENT_DESCRIPTOR = const EVENT_DESCRIPTOR*;
static_assert(sizeof(EVENT_DESCRIPTOR) == 16);

struct EVENT_DATA_DESCRIPTOR {
  ULONGLONG Ptr;
  ULONG Size;
  ULONG Reserved;
};
using PEVENT_DATA_DESCRIPTOR = EVENT_DATA_DESCRIPTOR*;
static_assert(sizeof(EVENT_DATA_DESCRIPTOR) == 16);

struct EVENT_FILTER_DESCRIPTOR;
using PEVENT_FILTER_DESCRIPTOR = EVENT_FILTER_DESCRIPTOR*;
using PENABLECALLBACK = void (*)(LPCGUID source, ULONG isEnabled, UCHAR level,
                                 ULONGLONG matchAnyKeyword, ULONGLONG matchAllKeyword,
                                 PEVENT_FILTER_DESCRIPTOR filter, PVOID context);
enum EVENT_INFO_CLASS {
  EventProviderBinaryTrackInfo,
  EventProviderSetReserved1,
  EventProviderSetTraits
};

ULONG EventRegister(LPCGUID provider, PENABLECALLBACK callback, PVOID context, PREGHANDLE handle);
ULONG EventUnregister(REGHANDLE handle);
ULONG EventSetInformation(REGHANDLE handle, EVENT_INFO_CLASS informationClass, PVOID information,
                          ULONG length);
ULONG EventWriteTransfer(REGHANDLE handle, PCEVENT_DESCRIPTOR descriptor, LPCGUID activityId,
                         LPCGUID relatedActivityId, ULONG count, PEVENT_DATA_DESCRIPTOR data);
