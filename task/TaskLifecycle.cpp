#include "task/TaskLifecycle.h"

#include <cwchar>

#include "VUSL/Support/LogItem.h"
#include "platform/win32.h"
#include "task/ComCalls.h"
#include "task/TaskConnection.h"
#include "task/TaskDefinition.h"
#include "task/TaskState.h"
#include "task/TaskSteps.h"

namespace {

constexpr HRESULT kTaskNotFound = static_cast<HRESULT>(0x80070002);
constexpr LONG kFirstAction = 1;

bool OpenScheduler() {
  if (!InitializeCom()) return false;
  s_taskService = ConnectTaskService();
  if (s_taskService == nullptr) return false;
  s_rootFolder = GetRootFolder(s_taskService);
  return s_rootFolder != nullptr;
}

HRESULT FindTask(IRegisteredTask** task) {
  const PlatformString name(s_taskName);
  return s_rootFolder->GetTask(name.Get(), task);
}

void RemoveTask() {
  const PlatformString name(s_taskName);
  s_rootFolder->DeleteTask(name.Get(), 0);
}

void CreateTask(const std::wstring& directory) {
  s_taskDefinition = nullptr;
  const HRESULT result = s_taskService->NewTask(0, &s_taskDefinition);
  s_taskService->Release();
  if (FAILED(result)) {
    // Deliberate: the text speaks of another call, and of a class that was there long before.
    // Whoever searches the log for this failure searches for these words.
    LogResult("Failed to CoCreate an instance of the TaskService class:", result);
    s_rootFolder->Release();
    CoUninitialize();
    return;
  }
  // A step that fails has released everything and closed COM.
  if (!PutRegistrationInfo() || !PutTaskSettings() || !AddEventTrigger() ||
      !AddExecAction(directory)) {
    return;
  }
  SaveTask(s_taskDefinition);
  CoUninitialize();
  // Deliberate: written whether or not the task was saved, which nobody here can tell.
  LogItem().debug() << "Task not found, scheduled new one sucessfully";
}

// The first action of `definition`, which is taken to start a program.
IExecAction* FirstAction(ITaskDefinition* definition) {
  IActionCollection* actions = nullptr;
  definition->get_Actions(&actions);
  IAction* action = nullptr;
  actions->get_Item(kFirstAction, &action);
  actions->Release();
  IExecAction* execAction = nullptr;
  QueryFor(action, IID_IExecAction, &execAction);
  action->Release();
  return execAction;
}

std::wstring DirectoryOf(IExecAction* action) {
  BSTR path = nullptr;
  action->get_Path(&path);
  // Not by SysStringLen, which would take a path that was not given for an empty one.
  const std::wstring directory = StoredActionDirectory(std::wstring(path, std::wcslen(path)));
  SysFreeString(path);
  return directory;
}

void LeaveTask(ITaskDefinition* definition, IExecAction* action) {
  LogItem().debug() << "Task is Ok, Skipping...";
  action->Release();
  definition->Release();
  s_taskService->Release();
  s_rootFolder->Release();
  CoUninitialize();
}

void RepointTask(ITaskDefinition* definition, IExecAction* action, std::wstring& directory) {
  directory = QuotedProgramPath(directory);
  // Deliberate: the result is not looked at. A path that cannot be set leaves the old one, which is
  // saved once more and told of as updated; the next start compares anew.
  PutText(action, &IExecAction::put_Path, directory);
  action->Release();
  // The definition is the existing task's: all of its other values stay, whatever they are.
  SaveTask(definition);
  s_taskService->Release();
  CoUninitialize();
  // Deliberate: written whether or not the task was saved, like the line of a new task.
  LogItem().debug() << "Task has beed updated to new OVER location, Ending";
}

// Deliberate: no result is looked at on the way to the stored directory, so a call that fails leads
// to the use of a null pointer. A test here would let the service go on with a task that nobody has
// seen.
void CheckTask(IRegisteredTask* task, std::wstring& directory) {
  ITaskDefinition* definition = nullptr;
  task->get_Definition(&definition);
  task->Release();
  IExecAction* action = FirstAction(definition);
  const std::wstring stored = DirectoryOf(action);
  LogItem().debug() << "Compare: " << stored << "and" << directory;
  // Deliberate: letter case counts, although file names ignore it; a task whose path differs in
  // nothing else is repointed.
  if (stored == directory) {
    LeaveTask(definition, action);
    return;
  }
  RepointTask(definition, action, directory);
}

}  // namespace

void ScheduleTask() {
  constexpr DWORD kSize = 260;
  wchar_t path[kSize + 1] = {};
  GetModuleFileNameW(nullptr, path, kSize);
  // Deliberate: the last error alone decides, and it was not cleared, so an error that an earlier
  // call left behind stops the operation too. Looking at the call's result instead would make tasks
  // where none come about today.
  if (GetLastError() != ERROR_SUCCESS) {
    LogItem().debug() << "GetModulePath failed";
    return;
  }
  PathRemoveFileSpecW(path);
  EnsureTask(path);
}

void EnsureTask(std::wstring directory) {
  if (!OpenScheduler()) return;
  IRegisteredTask* task = nullptr;
  const HRESULT result = FindTask(&task);
  if (result == kTaskNotFound) {
    CreateTask(directory);
    return;
  }
  if (FAILED(result)) {
    LogResult("Failed to Get Existing Task: ", result);
    s_taskService->Release();
    s_rootFolder->Release();
    CoUninitialize();
    return;
  }
  CheckTask(task, directory);
}

std::wstring StoredActionDirectory(const std::wstring& path) {
  std::wstring directory = path.substr(0, path.find_last_of(L"/\\"));
  if (!directory.empty() && directory.front() == L'"') directory.erase(0, 1);
  return directory;
}

void DeleteTask() {
  if (!OpenScheduler()) return;
  // The result is not looked at: a task that is not there is as good as deleted.
  RemoveTask();
  s_taskService->Release();
  s_rootFolder->Release();
  CoUninitialize();
  // Deliberate: written also when there was no task, or when it could not be removed.
  LogItem().debug() << "Task Deleted sucessfully";
}
