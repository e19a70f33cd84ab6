#pragma once

// The scheduled task that runs the recertification program on platforms without the named TPM
// event. Both operations are called on the service's thread, report nothing and throw nothing.
// Neither is built yet: each says so on the standard error and does nothing else; in particular
// they write no log line and leave the last error alone.

// Creates the task, or repairs it when it points at another installation.
void ScheduleTask();

// Removes the task; a missing one is no failure.
void DeleteTask();
