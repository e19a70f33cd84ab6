#pragma once

#include "platform/win32.h"

// The way to the Task Scheduler. The three steps run in this order on the service's thread. Each
// that fails writes a DEBUG line with the result, gives back what the steps before it took, and
// closes COM; then nothing is left for its caller to release. All may throw ComError.

// Opens COM for the process, for any thread, with calls that are encrypted and that let the
// scheduler act as the caller. Returns whether COM is open.
bool InitializeCom();

// Makes the scheduler's object in `s_taskService` and connects it to the local machine as the
// current user. Returns it, or null.
ITaskService* ConnectTaskService();

// Opens the folder "\" of `service` into `s_rootFolder`. Returns it, or null.
ITaskFolder* GetRootFolder(ITaskService*& service);
