#include "platform/host/TaskRuns.h"

#include <algorithm>
#include <utility>

#include "platform/host/Machine.h"
#include "platform/host/ProcessObject.h"
#include "platform/host/Resets.h"

namespace host {
namespace {

void noteOf(const std::wstring& task, const std::string& what) {
  machine().note("task \"" + toUtf8(task) + "\" " + what);
}

}  // namespace

TaskRuns& TaskRuns::instance() {
  static TaskRuns* const runs = [] {
    auto* made = new TaskRuns;
    atReset([made] { made->clear(); });
    return made;
  }();
  return *runs;
}

void TaskRuns::request(const StoredTask& task) {
  settle();
  tryStart(task, std::nullopt);
}

bool TaskRuns::isRunning(const std::wstring& task) {
  settle();
  return isAmongRunning(task);
}

bool TaskRuns::isAmongRunning(const std::wstring& task) const {
  return std::any_of(running_.begin(), running_.end(), [&](const Instance& instance) {
    return equalIgnoringCase(instance.plan.name, task);
  });
}

void TaskRuns::setPower(bool onBatteries) {
  settle();
  const bool goesOver = onBatteries && !machine().onBatteries;
  machine().onBatteries = onBatteries;
  if (!goesOver) {
    return;
  }
  const std::vector<Instance> all = running_;
  for (const Instance& instance : all) {
    if (instance.plan.stopsOnBatteries) {
      stop(instance.plan.name, "the machine is on batteries");
    }
  }
  startQueued();
}

void TaskRuns::clear() {
  running_.clear();
  queued_.clear();
  restarts_.clear();
  programExitCodes.clear();
  started_ = 0;
  if (isWatched_) {
    isChanged_ = true;
    Scheduler::instance().changed();
    Scheduler::instance().standBack();
  }
}

// `restarts`: how many are left, if this is one.
void TaskRuns::tryStart(const StoredTask& task, std::optional<unsigned> restarts) {
  TaskPlan plan = planOf(task);
  plan.restarts = restarts.value_or(plan.restarts);
  const std::string reason = obstacleTo(task);
  if (!reason.empty()) {
    noteOf(task.name, "not started: " + reason);
    if (restarts) {
      failed(plan);
    }
    return;
  }
  if (makesRoom(plan)) {
    start(plan);
  }
}

// Whether the task's policy lets another instance start now.
bool TaskRuns::makesRoom(const TaskPlan& plan) {
  if (!isAmongRunning(plan.name) || plan.policy == "Parallel") {
    return true;
  }
  if (plan.policy == "StopExisting") {
    stop(plan.name, "a new instance takes its place");
    return true;
  }
  if (plan.policy == "Queue") {
    noteOf(plan.name, "queued: it is still running");
    queued_.push_back(plan);
    watch();
    return false;
  }
  noteOf(plan.name, "not started: it is still running");
  return false;
}

void TaskRuns::start(const TaskPlan& plan) {
  const StartedProgram program = startProgram(plan.program);
  if (program.error != ERROR_SUCCESS) {
    noteOf(plan.name,
           "could not start " + toUtf8(plan.program) + ", error " + std::to_string(program.error));
    failed(plan);
    return;
  }
  running_.push_back({plan, program.child, Scheduler::instance().now() + machine().taskProgramRuns,
                      nextExitCode()});
  machine().tasksStarted.push_back({plan.name, plan.program, toWide(plan.account)});
  noteOf(plan.name, "started " + toUtf8(plan.program) + " as " + plan.account);
  watch();
}

// The model's programs heed the request to close, so it does not matter whether the task lets them
// be terminated.
void TaskRuns::stop(const std::wstring& task, const std::string& reason) {
  const auto isOfTask = [&](const Instance& instance) {
    return equalIgnoringCase(instance.plan.name, task);
  };
  for (const Instance& instance : running_) {
    if (isOfTask(instance)) {
      endProgram(instance.child);
      noteOf(instance.plan.name, "stopped: " + reason);
    }
  }
  std::erase_if(running_, isOfTask);
}

// Tried again after the task's interval, for as often as it says.
void TaskRuns::failed(const TaskPlan& plan) {
  if (plan.restarts == 0) {
    return;
  }
  TaskPlan next = plan;
  --next.restarts;
  restarts_.push_back({next, Scheduler::instance().now() + plan.restartInterval});
  watch();
}

// Lets everything happen whose time has come.
void TaskRuns::settle() {
  const Nanoseconds now = Scheduler::instance().now();
  std::vector<Instance> over;
  std::vector<Instance> left;
  for (Instance& instance : running_) {
    (instance.end <= now ? over : left).push_back(std::move(instance));
  }
  running_ = std::move(left);
  for (const Instance& instance : over) {
    endInstance(instance);
  }
  startQueued();
  std::vector<Restart> due;
  std::vector<Restart> later;
  for (Restart& restart : restarts_) {
    (restart.due <= now ? due : later).push_back(std::move(restart));
  }
  restarts_ = std::move(later);
  for (const Restart& restart : due) {
    tryAgain(restart.plan);
  }
}

void TaskRuns::endInstance(const Instance& instance) {
  const DWORD code =
      instance.exitCode ? *instance.exitCode : static_cast<DWORD>(exitCodeOf(instance.child));
  if (code != 0) {
    noteOf(instance.plan.name, "ended with exit code " + std::to_string(code));
    failed(instance.plan);
  }
}

// One instance of a task after the other, in the order in which they were asked for.
void TaskRuns::startQueued() {
  const std::vector<TaskPlan> waiting = std::exchange(queued_, {});
  for (const TaskPlan& plan : waiting) {
    if (isAmongRunning(plan.name)) {
      queued_.push_back(plan);
      continue;
    }
    const auto task = readTask(plan.name);
    if (task == nullptr || task->document == nullptr) {
      continue;
    }
    const std::string reason = obstacleTo(*task);
    if (reason.empty()) {
      start(plan);
    } else {
      noteOf(plan.name, "not started: " + reason);
    }
  }
}

// The task may have been changed or removed in the meantime.
void TaskRuns::tryAgain(const TaskPlan& plan) {
  const auto task = readTask(plan.name);
  if (task != nullptr && task->document != nullptr) {
    tryStart(*task, plan.restarts);
  }
}

// When something happens next that nobody has to ask for.
Nanoseconds TaskRuns::nextMoment() const {
  Nanoseconds moment = kForever;
  for (const Restart& restart : restarts_) {
    moment = std::min(moment, restart.due);
  }
  for (const Instance& instance : running_) {
    moment = std::min(moment, instance.end);
  }
  return moment;
}

void TaskRuns::watch() {
  isChanged_ = true;
  Scheduler::instance().changed();
  if (!isWatched_) {
    isWatched_ = true;
    Scheduler::instance().spawn("task scheduler", [this] { keepWatch(); });
  }
}

void TaskRuns::keepWatch() {
  const Scheduler::Guard guard;
  while (nextMoment() != kForever) {
    isChanged_ = false;
    Scheduler::instance().block(
        "the next end or start of a task", [this] { return isChanged_; }, nextMoment());
    settle();
  }
  isWatched_ = false;
}

std::optional<DWORD> TaskRuns::nextExitCode() {
  if (programExitCodes.empty()) {
    return std::nullopt;
  }
  return programExitCodes[std::min(started_++, programExitCodes.size() - 1)];
}

}  // namespace host
