#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/win32.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"

// A machine with its scheduler, and a record of the log. Each test ends with all strings of the
// platform freed and with COM closed as often as it was opened, at least.
class TaskTest : public host::MachineTest {
 protected:
  using Texts = std::vector<std::string>;

  TaskTest();
  void TearDown() override;

  // The calls of COM and of the scheduler so far, in order; a release tells of what, as in
  // "Release ITaskFolder". Calls for strings and variants are left out.
  static Texts comCalls();
  // The same, from the first that came after the one that was told to fail.
  static Texts comCallsAfterTheFault();
  // The same with each call's last argument, as in "ITaskSettings::put_Priority 7".
  static Texts comCallsWithValues();
  // The last argument of the only call of this name.
  static std::string valueOf(const std::string& name);

  // Opens the scheduler and begins a definition, as the creation of a task does, and forgets the
  // calls for it.
  void beginDefinition();

  // The stored task, read past the product; the calls for it are forgotten. `look` must release
  // what it takes. False if there is no such task.
  bool readStored(const std::function<void(ITaskDefinition*)>& look);
  // The stored task's first action's path; "no task" if there is none.
  std::wstring storedPath();
  // The same as `readStored`, and stores the definition again.
  void changeStored(const std::function<void(ITaskDefinition*)>& change);

  // Forgets calls and lines so far.
  void forget();

  LogRecorder log;

 private:
  bool withStored(const std::function<void(ITaskDefinition*)>& look, bool store);
};

// The path of the first action of `definition`.
std::wstring firstPathOf(ITaskDefinition* definition);
void setFirstPathOf(ITaskDefinition* definition, const std::wstring& path);
