#pragma once

#include "platform/host/windows/TaskScheduler.h"

namespace host {

// The scheduler's object under one of its interfaces, not connected yet, with a reference that
// `maker` gave; null if it has no such interface.
void* makeTaskService(REFIID iid, const char* maker);

}  // namespace host
