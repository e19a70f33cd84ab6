// Documents of scheduled tasks: what is read, written and read again is the same document.

#include <memory>
#include <string>

#include "platform/host/TaskDocument.h"
#include "tests/fuzz/Fuzz.h"

namespace fuzz {
namespace {

bool isSame(const host::TaskNode& one, const host::TaskNode& other) {
  if (one.name != other.name || one.text != other.text || one.attributes != other.attributes ||
      one.children.size() != other.children.size()) {
    return false;
  }
  for (std::size_t i = 0; i < one.children.size(); ++i) {
    if (!isSame(*one.children[i], *other.children[i])) {
      return false;
    }
  }
  return true;
}

}  // namespace

void runTaskDocument(std::string_view bytes) {
  const std::shared_ptr<host::TaskNode> task = host::readTaskDocument(bytes);
  if (task == nullptr) {
    return;
  }
  require(task->name == "Task", "a document that is read is a task");
  const auto fromText = host::readTaskDocument(host::taskDocumentText(*task));
  require(fromText != nullptr, "a task's text can be read");
  require(isSame(*task, *fromText), "a task's text is that task");
  const auto fromFile = host::readTaskDocument(host::storedTaskDocument(*task));
  require(fromFile != nullptr, "a stored task can be read");
  require(isSame(*task, *fromFile), "a stored task is that task");
  require(isSame(*task, *task->clone()), "a copy of a task is that task");
}

}  // namespace fuzz
