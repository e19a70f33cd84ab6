// What failures may come to while the scheduled task is looked after: no more than lines of the
// log. But where a task is there already no result is looked at, and what is used then is null.

#include <array>

#include "tools/sweep/PermittedRows.h"

namespace sweep::rows {
namespace {

constexpr DWORD kNoSuchTask = 0x80070002;

constexpr std::array kRows = {
    row("GetModuleFileNameW", kWorking, to(kTold), "[DBG] [TPM] GetModulePath failed"),
    row("PathRemoveFileSpecW", kWorking, to(kTold, kUnnoticed)),
    row("VerifyVersionInfoW", kWorking, to(kTold, kUnnoticed)),
    row("CoInitializeEx", kWorking, to(kTold), "[DBG] [TPM] CoInitializeEx failed: {x}"),
    row("CoInitializeSecurity", kWorking, to(kTold),
        "[DBG] [TPM] CoInitializeSecurity failed: {x}"),
    row("CoCreateInstance", kWorking, to(kTold),
        "[DBG] [TPM] Failed to create an instance of ITaskService: {x}"),
    row("SysAllocString*", kWorking, to(kTerminate)),
    row("VariantClear", kWorking, to(kUnnoticed)),
    row("ITaskService::Connect", kWorking, to(kTold),
        "[DBG] [TPM] ITaskService::Connect failed: {x}"),
    row("ITaskService::GetFolder", kWorking, to(kTold),
        "[DBG] [TPM] Cannot get Root folder pointer: {x}"),
    row("ITaskService::NewTask", kWorking, to(kTold),
        "[DBG] [TPM] Failed to CoCreate an instance of the TaskService class:{x}"),
    row("ITaskFolder::GetTask", kWorking, to(kTold),
        "[DBG] [TPM] Failed to Get Existing Task: {x}"),
    withError(kNoSuchTask, row("ITaskFolder::GetTask", kWorking, to(kTold, kUnnoticed))),
    // A task that is still there may be started.
    row("ITaskFolder::DeleteTask", kWorking, to(kUnnoticed, kTold)),
    row("ITaskFolder::RegisterTaskDefinition", kWorking, to(kTold),
        "[DBG] [TPM] Error saving the Task : {x}"),
    row("IRegisteredTask::get_Definition", kWorking, to(kFault)),
    row("ITaskDefinition::get_RegistrationInfo", kWorking, to(kTold),
        "[DBG] [TPM] Cannot get identification pointer: {x}",
        "[DBG] [TPM] Cannot get settings pointer: 80010108"),
    row("ITaskDefinition::get_Principal", kWorking, to(kTold),
        "[DBG] [TPM] Cannot get principal pointer: {x}"),
    row("ITaskDefinition::get_Settings", kWorking, to(kTold),
        "[DBG] [TPM] Cannot get settings pointer: {x}"),
    row("ITaskDefinition::get_Triggers", kWorking, to(kTold),
        "[DBG] [TPM] Cannot get trigger collection: {x}"),
    row("ITaskDefinition::get_Actions", kWorking, to(kTold),
        "[DBG] [TPM] Cannot get Task collection pointer: {x}"),
    only(Only::kWithATask, row("ITaskDefinition::get_Actions", kWorking, to(kFault))),
    row("IRegistrationInfo::put_Author", kWorking, to(kTold),
        "[DBG] [TPM] Cannot put identification info: {x}"),
    row("IRegistrationInfo::put_Date", kWorking, to(kUnnoticed)),
    row("IPrincipal::put_LogonType", kWorking, to(kTold),
        "[DBG] [TPM] Cannot put principal info logon type: {x}"),
    row("ITaskSettings::get_IdleSettings", kWorking, to(kTold),
        "[DBG] [TPM] Cannot get idle setting information: {x}"),
    row("ITaskSettings::put_IdleSettings", kWorking, to(kTold),
        "[DBG] [TPM] Cannot put setting information: {x}"),
    // Not looked at; the scheduler itself may refuse to save what is left, or start it otherwise.
    row("ITaskSettings::put_*", kWorking, to(kUnnoticed, kTold)),
    row("IIdleSettings::put_RestartOnIdle", kWorking, to(kTold),
        "[DBG] [TPM] Cannot put idle setting information: {x}"),
    row("IIdleSettings::put_IdleDuration", kWorking, to(kUnnoticed)),
    row("IIdleSettings::put_WaitTimeout", kWorking, to(kUnnoticed)),
    row("IIdleSettings::put_StopOnIdleEnd", kWorking, to(kUnnoticed)),
    row("ITriggerCollection::Create", kWorking, to(kTold),
        "[DBG] [TPM] Cannot create trigger: {x}"),
    row("IEventTrigger::put_Enabled", kWorking, to(kUnnoticed)),
    row("IEventTrigger::put_Subscription", kWorking, to(kTold),
        "[DBG] [TPM] Cannot add start boundary to trigger: {x}"),
    row("IActionCollection::Create", kWorking, to(kTold),
        "[DBG] [TPM] Cannot create the action: {x}"),
    row("IActionCollection::get_Item", kWorking, to(kFault)),
    row("IUnknown::QueryInterface", kWorking, to(kTold),
        "[DBG] [TPM] QueryInterface call failed for I*: {x}"),
    only(Only::kWithATask, row("IUnknown::QueryInterface", kWorking, to(kFault))),
    row("IExecAction::put_Path", kWorking, to(kTold), "[DBG] [TPM] Cannot put action path: {x}"),
    // Of a task that is pointed at another place: it keeps the old one.
    only(Only::kWithATaskToMend, row("IExecAction::put_Path", kWorking, to(kUnnoticed, kTold))),
    row("IExecAction::get_Path", kWorking, to(kFault)),
};

}  // namespace

std::span<const Permission> ofTheTask() {
  return kRows;
}

}  // namespace sweep::rows
