#pragma once

#include "platform/win32.h"

// The way to the Task Scheduler. The three steps run in this order on the service's thread. Each
// that fails writes a DEBUG line with the result and gives back what it and the steps before it
// took, the opening of COM included; nothing is left for its caller to release.

// Opens COM for the process, for any thread, with calls that are encrypted and that let the
// scheduler act as the caller. Returns whether COM is open.
bool InitializeCom();

// Makes the scheduler's object in `s_taskService` and connects it to the local machine as the
// current user. Returns it, or null.
ITaskService* ConnectTaskService();

// Opens the folder "\" of `service` into `s_rootFolder`. Returns it, or null. Throws ComError if
// its name cannot be allocated; then nothing is released, and COM stays open.
ITaskFolder* GetRootFolder(ITaskService*& service);
