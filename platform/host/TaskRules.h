#pragma once

#include <optional>
#include <string_view>

#include "platform/host/TaskDocument.h"
#include "platform/host/windows/Types.h"

namespace host {

// What the Task Scheduler finds wrong with a document.
inline constexpr HRESULT kTaskValueWrong = static_cast<HRESULT>(0x80041318);
inline constexpr HRESULT kTaskElementMissing = static_cast<HRESULT>(0x80041319);
inline constexpr HRESULT kTaskMalformed = static_cast<HRESULT>(0x8004131A);

// Looks at a document that is to be registered; setters take anything, so this is where a wrong
// value shows. `kTaskElementMissing` for a task without actions, an action without a path, a
// trigger without its query, or one half of the restart settings; `kTaskMalformed` for characters
// that no document can hold; `kTaskValueWrong` for any other value outside the public schema, a
// path of more than 260 characters among them.
HRESULT checkTask(const TaskNode& task);

// The seconds of a period such as "PT30M", a year having 365 days and a month 30; nothing if it is
// none.
std::optional<double> durationSeconds(std::string_view text);

}  // namespace host
