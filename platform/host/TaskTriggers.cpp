// Events of the machine's logs, and the tasks that wait for them.

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/host/Machine.h"
#include "platform/host/TaskRuns.h"
#include "platform/host/TaskStart.h"
#include "platform/host/XmlLibrary.h"

namespace host {
namespace {

std::string timeText(std::int64_t utcMs) {
  const SYSTEMTIME time = toSystemTime(utcMs);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ",
                unsigned{time.wYear}, unsigned{time.wMonth}, unsigned{time.wDay},
                unsigned{time.wHour}, unsigned{time.wMinute}, unsigned{time.wSecond},
                unsigned{time.wMilliseconds});
  return text.data();
}

std::shared_ptr<TaskNode> element(const std::string& name, const std::string& text) {
  auto made = std::make_shared<TaskNode>();
  made->name = name;
  made->text = text;
  return made;
}

// The event as queries see it: they name its elements without the event's own namespace.
std::string eventText(const Machine& machine, const std::wstring& log, const std::wstring& provider,
                      DWORD id) {
  TaskNode system;
  system.name = "System";
  const auto source = system.needChild("Provider");
  source->setAttribute("Name", toUtf8(provider));
  for (const auto& [name, value] : std::initializer_list<std::pair<const char*, std::string>>{
           {"EventID", std::to_string(id)},
           {"Version", "0"},
           {"Level", "4"},
           {"Task", "0"},
           {"Opcode", "0"},
           {"Keywords", "0x8000000000000000"}}) {
    system.children.push_back(element(name, value));
  }
  system.children.push_back(element("TimeCreated", ""));
  system.children.back()->setAttribute("SystemTime", timeText(machine.utcMs()));
  system.children.push_back(element("Channel", toUtf8(log)));
  TaskNode event;
  event.name = "Event";
  event.children.push_back(std::make_shared<TaskNode>(system));
  return taskDocumentText(event);
}

std::string attributeOf(const xmlNode& node, std::string_view wanted) {
  for (const xmlAttr* attribute = node.properties; attribute != nullptr;
       attribute = attribute->next) {
    if (nameOf(attribute->name) == wanted) {
      return textOf(attribute->children);
    }
  }
  return {};
}

bool isOfLog(const std::string& path, const std::string& log) {
  return equalIgnoringCase(toWide(path), toWide(log));
}

// A query selects what one of its selections has and none of its suppressions.
bool queryMatches(const xmlNode& query, const std::string& log, const XmlLibrary::Document& event) {
  const XmlLibrary& library = XmlLibrary::instance();
  bool isSelected = false;
  for (const xmlNode* node = query.children; node != nullptr; node = node->next) {
    const std::string name = node->type == XML_ELEMENT_NODE ? nameOf(node->name) : "";
    if (name != "Select" && name != "Suppress") {
      continue;
    }
    const std::string path = attributeOf(*node, "Path");
    bool isValid = false;
    if (!isOfLog(path.empty() ? attributeOf(query, "Path") : path, log) ||
        !library.matches(event, textOf(node->children), &isValid)) {
      continue;
    }
    if (name == "Suppress") {
      return false;
    }
    isSelected = true;
  }
  return isSelected;
}

bool hasTriggerFor(const TaskNode& task, const std::string& log, const std::string& event) {
  const auto triggers = task.child("Triggers");
  if (triggers == nullptr) {
    return false;
  }
  return std::any_of(
      triggers->children.begin(), triggers->children.end(), [&](const auto& trigger) {
        return trigger->name == "EventTrigger" && booleanValue(trigger->value("Enabled"), true) &&
               selectsEvent(trigger->value("Subscription").value_or(""), log, event);
      });
}

}  // namespace

bool selectsEvent(const std::string& subscription, const std::string& log,
                  const std::string& eventDocument) {
  const XmlLibrary& library = XmlLibrary::instance();
  const auto list = library.parse(subscription);
  const auto event = library.parse(eventDocument);
  const xmlNode* const root = list == nullptr ? nullptr : library.root(list);
  if (root == nullptr || nameOf(root->name) != "QueryList" || event == nullptr) {
    return false;
  }
  for (const xmlNode* node = root->children; node != nullptr; node = node->next) {
    if (node->type == XML_ELEMENT_NODE && nameOf(node->name) == "Query" &&
        queryMatches(*node, log, event)) {
      return true;
    }
  }
  return false;
}

void Machine::raiseEvent(const std::wstring& log, const std::wstring& provider, DWORD id) {
  const Scheduler::Guard guard;
  note("event " + toUtf8(provider) + " " + std::to_string(id) + " raised in " + toUtf8(log));
  const std::string event = eventText(*this, log, provider, id);
  for (const StoredTask& task : readAllTasks()) {
    if (task.document != nullptr && hasTriggerFor(*task.document, toUtf8(log), event)) {
      TaskRuns::instance().request(task);
    }
  }
}

}  // namespace host
