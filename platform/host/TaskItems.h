#pragma once

#include "platform/host/TaskFace.h"

namespace host {

// Pointers to the trigger, or the action, that a node of the document is. They come with a
// reference that `maker` gave.
ITrigger* triggerFor(const std::shared_ptr<TaskNode>& node, const char* maker);
IAction* actionFor(const std::shared_ptr<TaskNode>& node, const char* maker);

// The name of the element for each kind, null for one that is unknown.
const char* triggerElement(TASK_TRIGGER_TYPE2 type);
const char* actionElement(TASK_ACTION_TYPE type);

}  // namespace host
