#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/TaskDocument.h"
#include "platform/host/windows/Types.h"

namespace host {

// The registered tasks: documents on the machine's drive, where the platform keeps them. Nothing
// else records them, so a file put there is a task, and a removed one is gone. Names are those of
// the folder "\", with or without a backslash ahead: "x", "\x", "\folder\x".

// Where the task's document lies.
std::wstring taskFile(std::wstring_view name);
// Whether the folder is there; "\" always is.
bool taskFolderExists(std::wstring_view name);
bool taskExists(std::wstring_view name);

struct StoredTask {
  std::wstring name;                   // without a backslash ahead
  std::shared_ptr<TaskNode> document;  // null if the file holds none
};
// The task, and null for one that is not there.
std::unique_ptr<StoredTask> readTask(std::wstring_view name);
// All tasks, ordered by name.
std::vector<StoredTask> readAllTasks();

// Writes the document, and makes the folders on the way. 0x8007007B for a name that no file can
// have, 0x80070003 for one that is too long, and the drive's error if it does not take the file.
HRESULT writeTask(std::wstring_view name, const TaskNode& document);
// 0x80070002 if there is no such task.
HRESULT removeTask(std::wstring_view name);

}  // namespace host
