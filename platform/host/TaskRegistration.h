#pragma once

#include <memory>
#include <string>

#include "platform/host/TaskStore.h"
#include "platform/host/windows/TaskScheduler.h"

namespace host {

// What a registration says beside the definition.
struct Registration {
  std::wstring name;
  LONG flags = 0;
  std::wstring user;  // empty: the account is the definition's
  TASK_LOGON_TYPE logon = TASK_LOGON_NONE;
  std::wstring sddl;  // empty for none
};

// Validates a definition, sets the account that the registration gives, and stores the task over
// an older one of its name. `stored` is what was stored, and null after a failure.
// Besides the answers of `checkTask` and `writeTask`: 0x800700B7 if the task is there and may only
// be created, 0x80070002 if it is not and may only be updated, 0x80070005 if the token is not
// inside the administrators' group, 0x80070534 if a service account is meant and the user is none.
HRESULT registerTask(const Registration& registration, const TaskNode& definition,
                     std::unique_ptr<StoredTask>& stored);

}  // namespace host
