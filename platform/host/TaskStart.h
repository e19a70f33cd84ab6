#pragma once

#include <string>

#include "platform/host/Scheduler.h"
#include "platform/host/TaskStore.h"

namespace host {

// What a start needs of a task, as its document says it.
struct TaskPlan {
  std::wstring name;
  std::wstring program;  // of the first action that starts one, without quotes around it
  std::string account;
  std::string policy;  // of instances: Parallel, Queue, IgnoreNew, StopExisting
  bool stopsOnBatteries = true;
  Nanoseconds restartInterval = 0;
  unsigned restarts = 0;  // how often it is started again when it fails
};

TaskPlan planOf(const StoredTask& task);

// Why the task's settings forbid a start now (disabled, no network, on batteries); empty if they do
// not.
std::string obstacleTo(const StoredTask& task);

// Whether the query of an event trigger's subscription selects this event.
// `subscription`: a query list. `eventDocument`: the event as the log describes it, in UTF-8.
bool selectsEvent(const std::string& subscription, const std::string& log,
                  const std::string& eventDocument);

}  // namespace host
