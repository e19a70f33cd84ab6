#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

// An element of a scheduled task's document with everything that stands in it, in UTF-8. What the
// model has no meaning for is kept as it was read, so that a task of somebody else's survives a
// change of one value.
struct TaskNode {
  std::string name;  // with its prefix; empty for a piece of text between elements
  std::vector<std::pair<std::string, std::string>> attributes;  // declared namespaces among them
  std::string text;  // of an element without children, or of a piece of text
  std::vector<std::shared_ptr<TaskNode>> children;

  // The first child of this name, null if there is none.
  std::shared_ptr<TaskNode> child(std::string_view wanted) const;
  // The same, put in at its place in the stored order if it is missing.
  std::shared_ptr<TaskNode> needChild(const std::string& wanted);
  void removeChild(std::string_view wanted);

  // `path` names descendants, as in "Settings/Enabled". Nothing if there is no such element.
  std::optional<std::string> value(std::string_view path) const;
  // Makes the elements that are missing on the way.
  void setValue(std::string_view path, const std::string& value);
  // Elements that are left without content on the way go too.
  void removeValue(std::string_view path);

  std::optional<std::string> attribute(std::string_view wanted) const;
  void setAttribute(const std::string& wanted, const std::string& value);

  std::shared_ptr<TaskNode> clone() const;
};

// The text of a boolean element, and the other way round ("1" is true as well).
std::string booleanText(bool value);
bool booleanValue(const std::optional<std::string>& text, bool byDefault);

// The document of a new task, with the platform's defaults.
std::shared_ptr<TaskNode> newTaskDocument();

// The document's text in UTF-8, as the platform lays it out: indented by two, lines ended by CR LF,
// the first line naming UTF-16.
std::string taskDocumentText(const TaskNode& task);
// The bytes of the stored file: UTF-16, low byte first, with a byte order mark.
std::string storedTaskDocument(const TaskNode& task);

// The text in a file's bytes, in UTF-8: UTF-16 with a byte order mark, or UTF-8.
std::string decodedText(std::string_view bytes);

// The document in a stored file: UTF-16 with a byte order mark, or UTF-8 whatever its first line
// says. Nothing if it is not well-formed or no task. Loads the XML library.
std::shared_ptr<TaskNode> readTaskDocument(std::string_view bytes);

}  // namespace host
