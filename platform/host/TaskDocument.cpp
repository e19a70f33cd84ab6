// The tree of a task's document, its defaults and its stored form.

#include "platform/host/TaskDocument.h"

#include <algorithm>
#include <array>
#include <span>

#include "platform/host/Text.h"

namespace host {
namespace {

using Names = std::span<const std::string_view>;

// The order in which the platform keeps the elements of each parent. Only inside triggers does
// anything depend on it.
constexpr std::array<std::string_view, 6> kTaskOrder = {
    "RegistrationInfo", "Triggers", "Principals", "Settings", "Data", "Actions"};
constexpr std::array<std::string_view, 8> kRegistrationOrder = {
    "Source",      "Date",          "Author", "Version",
    "Description", "Documentation", "URI",    "SecurityDescriptor"};
constexpr std::array<std::string_view, 5> kPrincipalOrder = {"UserId", "GroupId", "LogonType",
                                                             "DisplayName", "RunLevel"};
constexpr std::array<std::string_view, 16> kSettingsOrder = {"MultipleInstancesPolicy",
                                                             "DisallowStartIfOnBatteries",
                                                             "StopIfGoingOnBatteries",
                                                             "AllowHardTerminate",
                                                             "StartWhenAvailable",
                                                             "RunOnlyIfNetworkAvailable",
                                                             "IdleSettings",
                                                             "AllowStartOnDemand",
                                                             "Enabled",
                                                             "Hidden",
                                                             "RunOnlyIfIdle",
                                                             "WakeToRun",
                                                             "ExecutionTimeLimit",
                                                             "DeleteExpiredTaskAfter",
                                                             "Priority",
                                                             "RestartOnFailure"};
constexpr std::array<std::string_view, 4> kIdleOrder = {"Duration", "WaitTimeout", "StopOnIdleEnd",
                                                        "RestartOnIdle"};
constexpr std::array<std::string_view, 2> kRestartOrder = {"Interval", "Count"};
constexpr std::array<std::string_view, 11> kTriggerOrder = {
    "Enabled",         "StartBoundary",      "EndBoundary",
    "Repetition",      "ExecutionTimeLimit", "Subscription",
    "Delay",           "PeriodOfOccurrence", "NumberOfOccurrences",
    "MatchingElement", "ValueQueries"};
constexpr std::array<std::string_view, 3> kExecOrder = {"Command", "Arguments", "WorkingDirectory"};

struct Order {
  std::string_view parent;
  Names children;
};
constexpr std::array<Order, 8> kOrders = {{{"Task", kTaskOrder},
                                           {"RegistrationInfo", kRegistrationOrder},
                                           {"Principal", kPrincipalOrder},
                                           {"Settings", kSettingsOrder},
                                           {"IdleSettings", kIdleOrder},
                                           {"RestartOnFailure", kRestartOrder},
                                           {"EventTrigger", kTriggerOrder},
                                           {"Exec", kExecOrder}}};

// How far behind an element stands in its parent; unknown ones stand last.
std::size_t rankOf(std::string_view parent, std::string_view name) {
  for (const Order& order : kOrders) {
    if (order.parent == parent) {
      const auto found = std::find(order.children.begin(), order.children.end(), name);
      return static_cast<std::size_t>(found - order.children.begin());
    }
  }
  return 0;
}

// The first name of a path, which loses it.
std::string takeName(std::string_view& path) {
  const std::size_t end = std::min(path.find('/'), path.size());
  const std::string name(path.substr(0, end));
  path.remove_prefix(std::min(end + 1, path.size()));
  return name;
}

struct Escape {
  char character;
  const char* text;
};
constexpr std::array kTextEscapes = {Escape{'&', "&amp;"}, Escape{'<', "&lt;"}, Escape{'>', "&gt;"},
                                     Escape{'\r', "&#xD;"}};
constexpr std::array kAttributeEscapes = {
    Escape{'&', "&amp;"},  Escape{'<', "&lt;"},   Escape{'>', "&gt;"},  Escape{'"', "&quot;"},
    Escape{'\r', "&#xD;"}, Escape{'\n', "&#xA;"}, Escape{'\t', "&#x9;"}};

std::string escaped(std::string_view text, std::span<const Escape> escapes) {
  std::string result;
  for (const char character : text) {
    const auto found = std::find_if(escapes.begin(), escapes.end(), [&](const Escape& escape) {
      return escape.character == character;
    });
    if (found == escapes.end()) {
      result += character;
    } else {
      result += found->text;
    }
  }
  return result;
}

bool hasText(const TaskNode& node) {
  return std::any_of(node.children.begin(), node.children.end(),
                     [](const auto& child) { return child->name.empty(); });
}

constexpr std::string_view kLineEnd = "\r\n";

// `isInline`: text stands beside the elements, so no white space of ours may come between them.
void append(const TaskNode& node, std::size_t depth, bool isInline, std::string& text) {
  if (node.name.empty()) {
    text += escaped(node.text, kTextEscapes);
    return;
  }
  const std::string indent = isInline ? "" : std::string(2 * depth, ' ');
  text += indent + "<" + node.name;
  for (const auto& [name, value] : node.attributes) {
    text += " " + name + "=\"" + escaped(value, kAttributeEscapes) + "\"";
  }
  if (node.children.empty() && node.text.empty()) {
    text += " />";
  } else {
    text += ">" + escaped(node.text, kTextEscapes);
    const bool isInlineInside = isInline || hasText(node);
    if (!node.children.empty() && !isInlineInside) {
      text += kLineEnd;
    }
    for (const auto& child : node.children) {
      append(*child, depth + 1, isInlineInside, text);
    }
    text += (node.children.empty() || isInlineInside ? "" : indent) + "</" + node.name + ">";
  }
  if (!isInline) {
    text += kLineEnd;
  }
}

void appendUnit(char32_t unit, std::string& bytes) {
  bytes += static_cast<char>(unit & 0xFFU);
  bytes += static_cast<char>(unit >> 8U);
}

}  // namespace

std::shared_ptr<TaskNode> TaskNode::child(std::string_view wanted) const {
  for (const auto& candidate : children) {
    if (candidate->name == wanted) {
      return candidate;
    }
  }
  return nullptr;
}

std::shared_ptr<TaskNode> TaskNode::needChild(const std::string& wanted) {
  if (auto found = child(wanted)) {
    return found;
  }
  const std::size_t rank = rankOf(name, wanted);
  const auto place = std::find_if(children.begin(), children.end(), [&](const auto& candidate) {
    return rankOf(name, candidate->name) > rank;
  });
  auto added = std::make_shared<TaskNode>();
  added->name = wanted;
  children.insert(place, added);
  return added;
}

void TaskNode::removeChild(std::string_view wanted) {
  std::erase_if(children, [&](const auto& candidate) { return candidate->name == wanted; });
}

std::optional<std::string> TaskNode::value(std::string_view path) const {
  const auto next = child(takeName(path));
  if (next == nullptr) {
    return std::nullopt;
  }
  return path.empty() ? next->text : next->value(path);
}

void TaskNode::setValue(std::string_view path, const std::string& value) {
  const auto next = needChild(takeName(path));
  if (path.empty()) {
    next->text = value;
    return;
  }
  next->setValue(path, value);
}

void TaskNode::removeValue(std::string_view path) {
  const std::string first = takeName(path);
  const auto next = child(first);
  if (next == nullptr) {
    return;
  }
  if (!path.empty()) {
    next->removeValue(path);
    if (!next->children.empty() || !next->attributes.empty()) {
      return;
    }
  }
  removeChild(first);
}

std::optional<std::string> TaskNode::attribute(std::string_view wanted) const {
  for (const auto& [attributeName, value] : attributes) {
    if (attributeName == wanted) {
      return value;
    }
  }
  return std::nullopt;
}

void TaskNode::setAttribute(const std::string& wanted, const std::string& value) {
  for (auto& [attributeName, old] : attributes) {
    if (attributeName == wanted) {
      old = value;
      return;
    }
  }
  attributes.emplace_back(wanted, value);
}

std::shared_ptr<TaskNode> TaskNode::clone() const {
  auto copy = std::make_shared<TaskNode>(*this);
  for (auto& copied : copy->children) {
    copied = copied->clone();
  }
  return copy;
}

std::string booleanText(bool value) {
  return value ? "true" : "false";
}

bool booleanValue(const std::optional<std::string>& text, bool byDefault) {
  if (!text) {
    return byDefault;
  }
  const std::string_view value = trimmed(*text);
  return value == "true" || value == "1";
}

std::shared_ptr<TaskNode> newTaskDocument() {
  constexpr std::array<std::pair<const char*, const char*>, 18> kDefaults = {
      {{"Settings/MultipleInstancesPolicy", "IgnoreNew"},
       {"Settings/DisallowStartIfOnBatteries", "true"},
       {"Settings/StopIfGoingOnBatteries", "true"},
       {"Settings/AllowHardTerminate", "true"},
       {"Settings/StartWhenAvailable", "false"},
       {"Settings/RunOnlyIfNetworkAvailable", "false"},
       {"Settings/IdleSettings/Duration", "PT10M"},
       {"Settings/IdleSettings/WaitTimeout", "PT1H"},
       {"Settings/IdleSettings/StopOnIdleEnd", "true"},
       {"Settings/IdleSettings/RestartOnIdle", "false"},
       {"Settings/AllowStartOnDemand", "true"},
       {"Settings/Enabled", "true"},
       {"Settings/Hidden", "false"},
       {"Settings/RunOnlyIfIdle", "false"},
       {"Settings/WakeToRun", "false"},
       {"Settings/ExecutionTimeLimit", "PT72H"},
       {"Settings/Priority", "7"},
       {"Actions", ""}}};
  auto task = std::make_shared<TaskNode>();
  task->name = "Task";
  task->attributes = {{"version", "1.2"},
                      {"xmlns", "http://schemas.microsoft.com/windows/2004/02/mit/task"}};
  task->needChild("RegistrationInfo");
  task->needChild("Triggers");
  task->needChild("Principals")->needChild("Principal")->setAttribute("id", "Author");
  for (const auto& [path, value] : kDefaults) {
    task->setValue(path, value);
  }
  task->child("Actions")->setAttribute("Context", "Author");
  return task;
}

std::string taskDocumentText(const TaskNode& task) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>";
  text += kLineEnd;
  append(task, 0, false, text);
  text.resize(text.size() - kLineEnd.size());
  return text;
}

std::string storedTaskDocument(const TaskNode& task) {
  std::string bytes = "\xFF\xFE";
  for (const wchar_t character : toWide(taskDocumentText(task))) {
    const auto value = static_cast<char32_t>(character);
    if (value < 0x10000) {
      appendUnit(value, bytes);
    } else {
      appendUnit(0xD800U + ((value - 0x10000U) >> 10U), bytes);
      appendUnit(0xDC00U + ((value - 0x10000U) & 0x3FFU), bytes);
    }
  }
  return bytes;
}

}  // namespace host
