#pragma once

#include <string>

#include "platform/win32.h"

// The values of the scheduled task. The steps work on `s_taskDefinition`, in the order in which
// they stand here, on the service's thread.
//
// A step that fails writes a DEBUG line with the result, releases `s_rootFolder` and
// `s_taskDefinition` and closes COM, so that its caller only has to stop; it returns false, with
// the one exception told below. A platform string that cannot be allocated is a ComError out of any
// of them, and then nothing is released.

// Date, author, and the kind of logon. No account is named here: it is given when the task is
// saved.
//
// Returns true also when the definition gave no registration info; everything is released by then.
bool PutRegistrationInfo();

// When the task may run, for how long, and what happens when it cannot. If the idle settings cannot
// be had or refuse the last of their values, the reference to the settings is never given back.
bool PutTaskSettings();

// The task starts on either of two events of the TPM's provider in the System log.
bool AddEventTrigger();

// The task runs the recertification program in `directory`, a path without a backslash at its end.
// The stored path is in double quotes; there are no arguments and no working directory.
bool AddExecAction(const std::wstring& directory);

// Registers `definition` in `s_rootFolder` under the task's name and for the system's account,
// in place of a task that has the name already. Takes the caller's references to `definition` and
// to the folder, whatever comes of it.
//
// Reports nothing. A failure is a DEBUG line, and it closes COM; the caller closes it once more.
void SaveTask(ITaskDefinition* definition);
