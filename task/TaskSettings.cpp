#include "task/ComCalls.h"
#include "task/TaskDefinition.h"
#include "task/TaskState.h"
#include "task/TaskSteps.h"

namespace {

constexpr wchar_t kNoTimeLimit[] = L"PT0S";
constexpr wchar_t kHalfAnHour[] = L"PT30M";
constexpr INT kPriorityOfBackgroundWork = 7;
constexpr INT kRestarts = 3;

// No result is looked at: a value that cannot be set stays at the scheduler's default.
void PutValues(ITaskSettings* settings) {
  settings->put_MultipleInstances(TASK_INSTANCES_IGNORE_NEW);
  settings->put_DisallowStartIfOnBatteries(VARIANT_FALSE);
  settings->put_StopIfGoingOnBatteries(VARIANT_TRUE);
  settings->put_AllowHardTerminate(VARIANT_FALSE);
  settings->put_StartWhenAvailable(VARIANT_FALSE);
  settings->put_RunOnlyIfNetworkAvailable(VARIANT_TRUE);
  settings->put_AllowDemandStart(VARIANT_TRUE);
  settings->put_Enabled(VARIANT_TRUE);
  settings->put_Hidden(VARIANT_TRUE);
  settings->put_RunOnlyIfIdle(VARIANT_FALSE);
  settings->put_WakeToRun(VARIANT_FALSE);
  PutText(settings, &ITaskSettings::put_ExecutionTimeLimit, kNoTimeLimit);
  settings->put_Priority(kPriorityOfBackgroundWork);
  PutText(settings, &ITaskSettings::put_RestartInterval, kHalfAnHour);
  settings->put_RestartCount(kRestarts);
}

// Only the last result counts.
HRESULT PutIdleValues(IIdleSettings* idle) {
  PutText(idle, &IIdleSettings::put_IdleDuration, L"");
  PutText(idle, &IIdleSettings::put_WaitTimeout, L"");
  idle->put_StopOnIdleEnd(VARIANT_TRUE);
  return idle->put_RestartOnIdle(VARIANT_FALSE);
}

}  // namespace

bool PutTaskSettings() {
  ITaskSettings* settings = nullptr;
  HRESULT result = s_taskDefinition->get_Settings(&settings);
  if (StepFailed("Cannot get settings pointer: ", result)) return false;
  PutValues(settings);

  // Deliberate: on the two failures that follow the settings are not released. The one reference
  // that stays open is expected there; giving it back would change the order of releases.
  IIdleSettings* idle = nullptr;
  result = settings->get_IdleSettings(&idle);
  if (StepFailed("Cannot get idle setting information: ", result)) return false;
  result = PutIdleValues(idle);
  idle->Release();
  if (StepFailed("Cannot put idle setting information: ", result)) return false;

  // Deliberate: the pointer is passed on after its release. The settings hold a reference of their
  // own to their idle settings; releasing later would change the order of the releases.
  result = settings->put_IdleSettings(idle);
  settings->Release();
  return !StepFailed("Cannot put setting information: ", result);
}
