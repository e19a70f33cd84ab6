#pragma once

#include <sys/types.h>

#include <string>

#include "platform/host/Handles.h"

namespace host {

// A program that the process started: a real child.
class ProcessObject final : public KernelObject {
 public:
  explicit ProcessObject(pid_t child) : child_(child) {}

  const char* kind() const override { return "process"; }
  bool waitable() const override { return true; }
  bool signalled(const Thread& waiter) const override;

 private:
  pid_t child_;
};

// The first thread of such a program.
class ProgramThreadObject final : public KernelObject {
 public:
  explicit ProgramThreadObject(pid_t child) : process_(child) {}

  const char* kind() const override { return "thread"; }
  bool waitable() const override { return true; }
  bool signalled(const Thread& waiter) const override { return process_.signalled(waiter); }

 private:
  ProcessObject process_;
};

struct StartedProgram {
  DWORD error = 0;  // why the platform could not start it
  pid_t child = 0;
  DWORD processId = 0;
};

// Starts a program of the machine's drive as a real child.
StartedProgram startProgram(const std::wstring& path);

// Waits until such a program has ended and gives what it ended with; a program that takes longer
// than ten seconds is ended.
int exitCodeOf(pid_t child);

// Ends such a program, if it is still there after a moment in which it may end by itself.
void endProgram(pid_t child);

// Waits until all programs that were started have ended, so that what they leave on the drive is
// there when the life's end is reported; gives up on one that takes longer than ten seconds.
void waitForPrograms();

}  // namespace host
