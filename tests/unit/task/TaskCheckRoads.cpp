#include "task/TaskLifecycle.h"
#include "tests/unit/task/RoadSteps.h"

namespace roads {
namespace {

const std::string kService = "CoCreateInstance";
const std::string kFolder = "ITaskService::GetFolder";
const std::string kDefinition = "IRegisteredTask::get_Definition";
const std::string kFace = "IUnknown::QueryInterface";

// Deliberate: from the definition on no result is looked at, and what is used next is null.
std::vector<Step> checking(const std::string& compared) {
  return {
      allocates("Orvix VTM EK Recertification", {kService, kFolder}),
      stops("ITaskFolder::GetTask", {kFree}, "Failed to Get Existing Task: ",
            {"Release ITaskService", "Release ITaskFolder", kUninitialize}),
      plain(kFree),
      dies(kDefinition, {"Release IRegisteredTask"}),
      plain("Release IRegisteredTask"),
      dies("ITaskDefinition::get_Actions", {}),
      dies("IActionCollection::get_Item", {"Release IActionCollection"}),
      plain("Release IActionCollection"),
      dies("IUnknown::QueryInterface IExecAction", {"Release IAction"}),
      plain("Release IAction"),
      dies("IExecAction::get_Path", {}),
      plain(kFree),
      logs(compared),
  };
}

Step unheededPath() {
  Step step = goesOn("IExecAction::put_Path");
  step.losesThePath = true;
  return step;
}

std::vector<Step> repointed() {
  const std::string last = "Task has beed updated to new OVER location, Ending";
  return std::vector<Step>{
             allocates("\"C:\\new\\OrvixVTMEKRecertification.exe\"",
                       {kService, kFolder, kDefinition, kFace}),
             unheededPath(),
             plain(kFree),
             plain("Release IExecAction"),
         } +
         saving({kService, kFolder, kDefinition},
                {"Release ITaskService", kUninitialize, line(last)}) +
         std::vector<Step>{
             plain("Release ITaskService"),
             plain(kUninitialize),
             logs(last),
         };
}

std::vector<Step> removing() {
  Step remove = goesOn("ITaskFolder::DeleteTask");
  remove.losesThePath = true;
  return {
      allocates("Orvix VTM EK Recertification", {kService, kFolder}),
      remove,
      plain(kFree),
      plain("Release ITaskService"),
      plain("Release ITaskFolder"),
      plain(kUninitialize),
      logs("Task Deleted sucessfully"),
  };
}

}  // namespace

std::vector<Step> opening() {
  return {
      stops("CoInitializeEx", {}, "CoInitializeEx failed: ", {}),
      stops("CoInitializeSecurity", {}, "CoInitializeSecurity failed: ", {kUninitialize}),
      stops("CoCreateInstance", {},
            "Failed to create an instance of ITaskService: ", {kUninitialize}),
      stops("ITaskService::Connect", {},
            "ITaskService::Connect failed: ", {"Release ITaskService", kUninitialize}),
      allocates("\\", {kService}),
      stops("ITaskService::GetFolder", {kFree},
            "Cannot get Root folder pointer: ", {"Release ITaskService", kUninitialize}),
      plain(kFree),
  };
}

std::vector<Step> saving(const Texts& left, const Texts& behind) {
  Step save = stops("ITaskFolder::RegisterTaskDefinition", {kFree, kFree, kFree},
                    "Error saving the Task : ", kCleanUp + behind);
  // Deliberate: COM is closed once here and once by the caller.
  save.violations = {"CoUninitialize: the thread has not begun COM"};
  return {
      allocates("Orvix VTM EK Recertification", left),
      allocates("S-1-5-18", left, {kFree}),
      allocates("", left, {kFree, kFree}),
      save,
      plain(kFree),
      plain(kFree),
      plain(kFree),
      logs("Success! Task successfully registered."),
      plain("Release ITaskFolder"),
      plain("Release ITaskDefinition"),
      plain("Release IRegisteredTask"),
  };
}

const Road& inOrder() {
  static const Road road = {"InOrder",
                            L"C:\\new",
                            [] { EnsureTask(L"C:\\new"); },
                            L"\"C:\\new\\OrvixVTMEKRecertification.exe\"",
                            L"\"C:\\new\\OrvixVTMEKRecertification.exe\"",
                            opening() + checking("Compare: C:\\newandC:\\new") +
                                std::vector<Step>{
                                    logs("Task is Ok, Skipping..."),
                                    plain("Release IExecAction"),
                                    plain("Release ITaskDefinition"),
                                    plain("Release ITaskService"),
                                    plain("Release ITaskFolder"),
                                    plain(kUninitialize),
                                }};
  return road;
}

const Road& repointing() {
  static const Road road = {"Repointing",
                            L"C:\\old",
                            [] { EnsureTask(L"C:\\new"); },
                            L"\"C:\\old\\OrvixVTMEKRecertification.exe\"",
                            L"\"C:\\new\\OrvixVTMEKRecertification.exe\"",
                            opening() + checking("Compare: C:\\oldandC:\\new") + repointed()};
  return road;
}

const Road& deletion() {
  static const Road road = {"Deletion",           L"C:\\old",
                            [] { DeleteTask(); }, L"\"C:\\old\\OrvixVTMEKRecertification.exe\"",
                            L"no task",           opening() + removing()};
  return road;
}

}  // namespace roads
