#pragma once

#include "platform/host/TaskStore.h"
#include "platform/host/windows/TaskScheduler.h"

namespace host {

// A registered task for the program, with a reference that `maker` gave. It shows the document as
// it was when the task was looked up.
IRegisteredTask* giveRegisteredTask(const StoredTask& task, const char* maker);

}  // namespace host
