#pragma once

#include <string>

#include "platform/host/TaskStore.h"

namespace host {

// Starts the program of the task's first action as the task's account, unless the task's settings
// forbid it now: disabled, no network, on batteries, an instance still running. Either way the
// machine notes what came of it.
void startTask(const StoredTask& task);

// Whether the query of an event trigger's subscription selects this event.
// `subscription`: a query list. `eventDocument`: the event as the log describes it, in UTF-8.
bool selectsEvent(const std::string& subscription, const std::string& log,
                  const std::string& eventDocument);

}  // namespace host
