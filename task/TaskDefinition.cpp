#include "task/TaskDefinition.h"

#include "VUSL/Support/LogItem.h"
#include "task/ComCalls.h"
#include "task/TaskState.h"
#include "task/TaskSteps.h"

namespace {

// The same on every system and in every run: it tells nothing of when the task was registered.
constexpr wchar_t kDate[] = L"2017-10-24T12:34:56.7890";
constexpr wchar_t kAuthor[] = L"Orvix Corporation";
constexpr wchar_t kTpmEvents[] =
    L"<QueryList><Query Id=\"0\" Path=\"System\"><Select Path=\"System\">"
    L"*[System[Provider[@Name='Microsoft-Windows-TPM-WMI'] and (EventID=1025 or EventID=1026)]]"
    L"</Select></Query></QueryList>";
constexpr wchar_t kLocalSystem[] = L"S-1-5-18";

HRESULT RegisterDefinition(ITaskDefinition* definition, IRegisteredTask** task) {
  const PlatformString name(s_taskName);
  const PlatformString account(kLocalSystem);
  const PlatformString descriptor(L"");
  return s_rootFolder->RegisterTaskDefinition(
      name.Get(), definition, TASK_CREATE_OR_UPDATE, account.AsVariant(), EmptyVariant(),
      TASK_LOGON_SERVICE_ACCOUNT, descriptor.AsVariant(), task);
}

}  // namespace

bool PutRegistrationInfo() {
  IRegistrationInfo* info = nullptr;
  HRESULT result = s_taskDefinition->get_RegistrationInfo(&info);
  // Deliberate: the one failure that is reported as success. The caller goes on to the settings
  // with objects that have been released. A false here would take a second line, a second pair of
  // releases and a second closing of COM from the end of a failed creation.
  if (StepFailed("Cannot get identification pointer: ", result)) return true;
  // The result is not looked at: the task does without its date.
  PutText(info, &IRegistrationInfo::put_Date, kDate);
  result = PutText(info, &IRegistrationInfo::put_Author, kAuthor);
  info->Release();
  if (StepFailed("Cannot put identification info: ", result)) return false;

  IPrincipal* principal = nullptr;
  result = s_taskDefinition->get_Principal(&principal);
  if (StepFailed("Cannot get principal pointer: ", result)) return false;
  result = principal->put_LogonType(TASK_LOGON_SERVICE_ACCOUNT);
  principal->Release();
  return !StepFailed("Cannot put principal info logon type: ", result);
}

bool AddEventTrigger() {
  ITriggerCollection* triggers = nullptr;
  HRESULT result = s_taskDefinition->get_Triggers(&triggers);
  if (StepFailed("Cannot get trigger collection: ", result)) return false;

  ITrigger* trigger = nullptr;
  result = triggers->Create(TASK_TRIGGER_EVENT, &trigger);
  triggers->Release();
  if (StepFailed("Cannot create trigger: ", result)) return false;

  IEventTrigger* eventTrigger = nullptr;
  result = QueryFor(trigger, IID_IEventTrigger, &eventTrigger);
  trigger->Release();
  if (StepFailed("QueryInterface call failed for IEventTrigger: ", result)) return false;

  eventTrigger->put_Enabled(VARIANT_TRUE);
  result = PutText(eventTrigger, &IEventTrigger::put_Subscription, kTpmEvents);
  eventTrigger->Release();
  // Deliberate: the text speaks of a start boundary, though the trigger has none. Whoever searches
  // the log for this failure searches for these words.
  return !StepFailed("Cannot add start boundary to trigger: ", result);
}

bool AddExecAction(const std::wstring& directory) {
  IActionCollection* actions = nullptr;
  HRESULT result = s_taskDefinition->get_Actions(&actions);
  if (StepFailed("Cannot get Task collection pointer: ", result)) return false;

  IAction* action = nullptr;
  result = actions->Create(TASK_ACTION_EXEC, &action);
  actions->Release();
  if (StepFailed("Cannot create the action: ", result)) return false;

  IExecAction* execAction = nullptr;
  result = QueryFor(action, IID_IExecAction, &execAction);
  action->Release();
  if (StepFailed("QueryInterface call failed for IExecAction: ", result)) return false;

  result = PutText(execAction, &IExecAction::put_Path, QuotedProgramPath(directory));
  execAction->Release();
  return !StepFailed("Cannot put action path: ", result);
}

void SaveTask(ITaskDefinition* definition) {
  IRegisteredTask* task = nullptr;
  const HRESULT result = RegisterDefinition(definition, &task);
  if (FAILED(result)) {
    LogResult("Error saving the Task : ", result);
    s_rootFolder->Release();
    definition->Release();
    // Deliberate: the caller cannot tell that the save failed and closes COM as well.
    CoUninitialize();
    return;
  }
  LogItem().debug() << "Success! Task successfully registered.";
  s_rootFolder->Release();
  definition->Release();
  task->Release();
}
