#include "platform/host/TaskStart.h"

#include "platform/host/Machine.h"
#include "platform/host/ProcessObject.h"

namespace host {
namespace {

std::string settingOf(const StoredTask& task, const char* name, const char* byDefault) {
  return task.document->value("Settings/" + std::string(name)).value_or(byDefault);
}

bool isSet(const StoredTask& task, const char* name, bool byDefault) {
  return booleanValue(task.document->value("Settings/" + std::string(name)), byDefault);
}

bool isRunning(const std::wstring& name) {
  const auto found = machine().taskInstances.find(name);
  return found != machine().taskInstances.end() && found->second > Scheduler::instance().now();
}

// Why the task may not start now; empty if it may.
std::string obstacle(const StoredTask& task) {
  if (!isSet(task, "Enabled", true)) {
    return "it is disabled";
  }
  if (isSet(task, "RunOnlyIfNetworkAvailable", false) && !machine().network) {
    return "there is no network";
  }
  if (isSet(task, "DisallowStartIfOnBatteries", true) && machine().onBatteries) {
    return "the machine is on batteries";
  }
  // A queued instance is not started later: it is as good as ignored here.
  const std::string policy = settingOf(task, "MultipleInstancesPolicy", "IgnoreNew");
  if (isRunning(task.name) && (policy == "IgnoreNew" || policy == "Queue")) {
    return "it is still running";
  }
  return {};
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

void startTask(const StoredTask& task) {
  Machine& machine = host::machine();
  const std::string title = "task \"" + toUtf8(task.name) + "\" ";
  const std::string reason = obstacle(task);
  if (!reason.empty()) {
    machine.note(title + "not started: " + reason);
    return;
  }
  const std::wstring program = programOf(*task.document);
  const StartedProgram started = startProgram(program);
  if (started.error != ERROR_SUCCESS) {
    machine.note(title + "could not start " + toUtf8(program) + ", error " +
                 std::to_string(started.error));
    return;
  }
  machine.taskInstances[task.name] = Scheduler::instance().now() + machine.taskProgramRuns;
  machine.tasksStarted.push_back({task.name, program, toWide(accountOf(*task.document))});
  machine.note(title + "started " + toUtf8(program) + " as " + accountOf(*task.document));
}

}  // namespace host
