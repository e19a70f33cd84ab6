#include "platform/host/TaskStart.h"

#include <cstdlib>

#include "platform/host/Machine.h"
#include "platform/host/TaskRules.h"

namespace host {
namespace {

std::string settingOf(const StoredTask& task, const char* name, const char* byDefault) {
  return task.document->value("Settings/" + std::string(name)).value_or(byDefault);
}

bool isSet(const StoredTask& task, const char* name, bool byDefault) {
  return booleanValue(task.document->value("Settings/" + std::string(name)), byDefault);
}

// The program of the first action that starts one. The stored path may stand in double quotes.
std::wstring programOf(const TaskNode& task) {
  const auto actions = task.child("Actions");
  const auto exec = actions == nullptr ? nullptr : actions->child("Exec");
  std::wstring path = exec == nullptr ? L"" : toWide(exec->value("Command").value_or(""));
  if (path.size() >= 2 && path.front() == L'"' && path.back() == L'"') {
    path = path.substr(1, path.size() - 2);
  }
  return path;
}

std::string accountOf(const TaskNode& task) {
  const auto group = task.value("Principals/Principal/GroupId");
  return task.value("Principals/Principal/UserId").value_or(group.value_or("nobody"));
}

}  // namespace

TaskPlan planOf(const StoredTask& task) {
  TaskPlan plan;
  plan.name = task.name;
  plan.program = programOf(*task.document);
  plan.account = accountOf(*task.document);
  plan.policy = settingOf(task, "MultipleInstancesPolicy", "IgnoreNew");
  plan.stopsOnBatteries = isSet(task, "StopIfGoingOnBatteries", true);
  const double seconds =
      durationSeconds(settingOf(task, "RestartOnFailure/Interval", "PT0S")).value_or(0);
  plan.restartInterval = static_cast<Nanoseconds>(seconds * 1000) * kNanosecondsPerMillisecond;
  const std::string count = settingOf(task, "RestartOnFailure/Count", "0");
  plan.restarts = static_cast<unsigned>(std::strtoul(count.c_str(), nullptr, 10));
  return plan;
}

std::string obstacleTo(const StoredTask& task) {
  if (!isSet(task, "Enabled", true)) {
    return "it is disabled";
  }
  if (isSet(task, "RunOnlyIfNetworkAvailable", false) && !machine().network) {
    return "there is no network";
  }
  if (isSet(task, "DisallowStartIfOnBatteries", true) && machine().onBatteries) {
    return "the machine is on batteries";
  }
  return {};
}

}  // namespace host
