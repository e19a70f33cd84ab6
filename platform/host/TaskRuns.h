#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/TaskStart.h"

namespace host {

// The instances of the machine's tasks: what runs, what waits until another has ended, and what is
// tried again because it failed. Everything that becomes of one is noted by the machine. A program
// counts as running for as long as the machine says, not for as long as the real child takes.
//
// Each operation is called with the guard held, on any thread of the machine.
class TaskRuns {
 public:
  static TaskRuns& instance();

  // What the started programs end with, one after the other, the last one from then on. Without any
  // each ends with what the real child ends with.
  std::vector<DWORD> programExitCodes;

  // Something triggers the task: starts its program as its account, unless its settings forbid it
  // now. What happens while an instance runs is the task's policy.
  void request(const StoredTask& task);

  bool isRunning(const std::wstring& task);

  // The machine's power: batteries or mains. Going over to batteries ends the instances of all
  // tasks that are to stop then; they are not tried again.
  void setPower(bool onBatteries);

  // Forgets everything, for the next test in the same process.
  void clear();

 private:
  struct Instance {
    TaskPlan plan;
    pid_t child;
    Nanoseconds end;
    std::optional<DWORD> exitCode;  // the child's own if there is none
  };
  struct Restart {
    TaskPlan plan;
    Nanoseconds due;
  };

  bool isAmongRunning(const std::wstring& task) const;
  void tryStart(const StoredTask& task, std::optional<unsigned> restarts);
  bool makesRoom(const TaskPlan& plan);
  void start(const TaskPlan& plan);
  void stop(const std::wstring& task, const std::string& reason);
  void failed(const TaskPlan& plan);
  void settle();
  void endInstance(const Instance& instance);
  void startQueued();
  void tryAgain(const TaskPlan& plan);
  Nanoseconds nextMoment() const;
  void watch();
  void keepWatch();
  std::optional<DWORD> nextExitCode();

  std::vector<Instance> running_;
  std::vector<TaskPlan> queued_;
  std::vector<Restart> restarts_;
  std::size_t started_ = 0;
  // A thread of the machine looks after what is to happen later, for as long as there is any.
  bool isWatched_ = false;
  bool isChanged_ = false;
};

}  // namespace host
