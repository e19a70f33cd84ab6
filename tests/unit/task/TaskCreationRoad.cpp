#include "task/TaskLifecycle.h"
#include "tests/unit/task/RoadSteps.h"

namespace roads {
namespace {

const std::string kService = "CoCreateInstance";
const std::string kFolder = "ITaskService::GetFolder";
const Texts kBegun = {kFolder, "ITaskService::NewTask"};
const std::string kInfo = "ITaskDefinition::get_RegistrationInfo";
const std::string kSettings = "ITaskDefinition::get_Settings";
const std::string kIdle = "ITaskSettings::get_IdleSettings";
const std::string kFace = "IUnknown::QueryInterface";

std::vector<Step> finding() {
  return {
      allocates("Orvix VTM EK Recertification", {kService, kFolder}),
      stops("ITaskFolder::GetTask", {kFree}, "Failed to Get Existing Task: ",
            {"Release ITaskService", "Release ITaskFolder", kUninitialize}),
      plain(kFree),
      stops("ITaskService::NewTask", {"Release ITaskService"},
            "Failed to CoCreate an instance of the TaskService class:",
            {"Release ITaskFolder", kUninitialize}),
      plain("Release ITaskService"),
  };
}

// Deliberate: the failure is reported as success, and the settings are asked of a definition that
// is gone. All of the clean-up is done a second time.
Step failedInfo() {
  const std::string first = line("Cannot get identification pointer: 80070005");
  const std::string ask = "ITaskDefinition::get_Settings";
  const auto second = [](const std::string& result) {
    return Texts{line("Cannot get settings pointer: " + result)} + kCleanUp;
  };
  Step step = {kInfo,
               Failure::kStops,
               Texts{first} + kCleanUp + Texts{ask} + second("80010108"),
               {},
               {ask + ": the ITaskDefinition was released before",
                "IUnknown::Release: the ITaskFolder was released before",
                "IUnknown::Release: the ITaskDefinition was released before",
                "CoUninitialize: the thread has not begun COM"}};
  step.afterIfAllFail = Texts{first} + kCleanUp + Texts{ask} + second("80070005");
  return step;
}

std::vector<Step> registrationInfo() {
  const Texts left = kBegun + Texts{kInfo};
  return {
      failedInfo(),
      allocates("2017-10-24T12:34:56.7890", left),
      goesOn("IRegistrationInfo::put_Date"),
      plain(kFree),
      allocates("Orvix Corporation", left),
      stops("IRegistrationInfo::put_Author", {kFree, "Release IRegistrationInfo"},
            "Cannot put identification info: ", kCleanUp),
      plain(kFree),
      plain("Release IRegistrationInfo"),
      stops("ITaskDefinition::get_Principal", {}, "Cannot get principal pointer: ", kCleanUp),
      stops("IPrincipal::put_LogonType", {"Release IPrincipal"},
            "Cannot put principal info logon type: ", kCleanUp),
      plain("Release IPrincipal"),
  };
}

// One half of the restart settings alone is nothing that the scheduler stores.
Step halfOfTheRestart(const std::string& text) {
  Step step = goesOn(text);
  step.refusal = "80041319";
  return step;
}

std::vector<Step> settings() {
  const Texts left = kBegun + Texts{kSettings};
  return {
      stops(kSettings, {}, "Cannot get settings pointer: ", kCleanUp),
      goesOn("ITaskSettings::put_MultipleInstances"),
      goesOn("ITaskSettings::put_DisallowStartIfOnBatteries"),
      goesOn("ITaskSettings::put_StopIfGoingOnBatteries"),
      goesOn("ITaskSettings::put_AllowHardTerminate"),
      goesOn("ITaskSettings::put_StartWhenAvailable"),
      goesOn("ITaskSettings::put_RunOnlyIfNetworkAvailable"),
      goesOn("ITaskSettings::put_AllowDemandStart"),
      goesOn("ITaskSettings::put_Enabled"),
      goesOn("ITaskSettings::put_Hidden"),
      goesOn("ITaskSettings::put_RunOnlyIfIdle"),
      goesOn("ITaskSettings::put_WakeToRun"),
      allocates("PT0S", left),
      goesOn("ITaskSettings::put_ExecutionTimeLimit"),
      plain(kFree),
      goesOn("ITaskSettings::put_Priority"),
      allocates("PT30M", left),
      halfOfTheRestart("ITaskSettings::put_RestartInterval"),
      plain(kFree),
      halfOfTheRestart("ITaskSettings::put_RestartCount"),
  };
}

// Deliberate: the first two failures that are looked at never give the settings back.
std::vector<Step> idleSettings() {
  const Texts left = kBegun + Texts{kSettings, kIdle};
  return {
      stops(kIdle, {}, "Cannot get idle setting information: ", kCleanUp, {kSettings}),
      allocates("", left),
      goesOn("IIdleSettings::put_IdleDuration"),
      plain(kFree),
      allocates("", left),
      goesOn("IIdleSettings::put_WaitTimeout"),
      plain(kFree),
      goesOn("IIdleSettings::put_StopOnIdleEnd"),
      stops("IIdleSettings::put_RestartOnIdle", {"Release IIdleSettings"},
            "Cannot put idle setting information: ", kCleanUp, {kSettings}),
      plain("Release IIdleSettings"),
      stops("ITaskSettings::put_IdleSettings", {"Release ITaskSettings"},
            "Cannot put setting information: ", kCleanUp),
      plain("Release ITaskSettings"),
  };
}

std::vector<Step> trigger() {
  return {
      stops("ITaskDefinition::get_Triggers", {}, "Cannot get trigger collection: ", kCleanUp),
      stops("ITriggerCollection::Create", {"Release ITriggerCollection"},
            "Cannot create trigger: ", kCleanUp),
      plain("Release ITriggerCollection"),
      stops("IUnknown::QueryInterface IEventTrigger", {"Release ITrigger"},
            "QueryInterface call failed for IEventTrigger: ", kCleanUp),
      plain("Release ITrigger"),
      goesOn("IEventTrigger::put_Enabled"),
      allocates("<QueryList><Query Id=\"0\" Path=\"System\"><Select Path=\"System\">*[System["
                "Provider[@Name='Microsoft-Windows-TPM-WMI'] and (EventID=1025 or EventID=1026)]]"
                "</Select></Query></QueryList>",
                kBegun + Texts{kFace}),
      stops("IEventTrigger::put_Subscription", {kFree, "Release IEventTrigger"},
            "Cannot add start boundary to trigger: ", kCleanUp),
      plain(kFree),
      plain("Release IEventTrigger"),
  };
}

std::vector<Step> action() {
  return {
      stops("ITaskDefinition::get_Actions", {}, "Cannot get Task collection pointer: ", kCleanUp),
      stops("IActionCollection::Create", {"Release IActionCollection"},
            "Cannot create the action: ", kCleanUp),
      plain("Release IActionCollection"),
      stops("IUnknown::QueryInterface IExecAction", {"Release IAction"},
            "QueryInterface call failed for IExecAction: ", kCleanUp),
      plain("Release IAction"),
      allocates("\"C:\\new\\OrvixVTMEKRecertification.exe\"", kBegun + Texts{kFace}),
      stops("IExecAction::put_Path", {kFree, "Release IExecAction"},
            "Cannot put action path: ", kCleanUp),
      plain(kFree),
      plain("Release IExecAction"),
  };
}

std::vector<Step> ending() {
  const std::string last = "Task not found, scheduled new one sucessfully";
  return saving(kBegun, {kUninitialize, line(last)}) +
         std::vector<Step>{plain(kUninitialize), logs(last)};
}

}  // namespace

const Road& creation() {
  static const Road road = {"Creation",
                            nullptr,
                            [] { EnsureTask(L"C:\\new"); },
                            L"no task",
                            L"\"C:\\new\\OrvixVTMEKRecertification.exe\"",
                            opening() + finding() + registrationInfo() + settings() +
                                idleSettings() + trigger() + action() + ending()};
  return road;
}

}  // namespace roads
