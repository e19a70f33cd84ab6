#pragma once

#include <string>

// The scheduled task that runs the recertification program on platforms without the named TPM
// event. The operations are called on the service's thread, open COM and close it again by
// themselves, and report nothing: what happens is told by DEBUG lines. They throw nothing but
// ComError, for a platform string that cannot be allocated. A call of the platform that fails while
// an existing task is checked ends the process: no result is looked at there.

// Makes sure that the task exists and runs the program in the directory of this one. Does nothing
// but write a line if the thread's last error is not 0 once the directory has been asked for.
void ScheduleTask();

// Creates the task if there is none, leaves it alone if its action is in `directory`, and points it
// there if it is not. `directory` has no backslash at its end.
void EnsureTask(std::wstring directory);

// The directory of `path`, which is an action's path with or without double quotes: what stands
// before the last slash or backslash, or all of it if it has none, without one leading double
// quote. The closing quote of a path without a separator stays.
std::wstring StoredActionDirectory(const std::wstring& path);

// Removes the task; a missing one is no failure.
void DeleteTask();
