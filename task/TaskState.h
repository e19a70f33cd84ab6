#pragma once

#include <string>

#include "platform/win32.h"

// What the steps of the scheduled task share, for the whole process. The service's thread is the
// only user, so nothing here is locked. A pointer is not set to null when its object is released:
// after a failed step it names an object that is gone.

// The connected service; null after a creation that failed.
extern ITaskService* s_taskService;
// The folder "\".
extern ITaskFolder* s_rootFolder;
// The definition that is being built.
extern ITaskDefinition* s_taskDefinition;
// The task's name in the folder.
extern const std::wstring s_taskName;
// What follows the directory in the path of the task's action.
extern const std::wstring s_taskExecutable;
