#pragma once

#include "platform/host/TaskParts.h"

namespace host {

// The settings of a definition. The node is the whole document.
class TaskSettingsObject final : public TaskFace<ITaskSettings, IID_ITaskSettings> {
 public:
  explicit TaskSettingsObject(const std::shared_ptr<TaskNode>& task)
      : TaskFace("ITaskSettings", task) {}

  HRESULT get_AllowDemandStart(VARIANT_BOOL* allow) override;
  HRESULT put_AllowDemandStart(VARIANT_BOOL allow) override;
  HRESULT get_RestartInterval(BSTR* interval) override;
  HRESULT put_RestartInterval(BSTR interval) override;
  HRESULT get_RestartCount(INT* count) override;
  HRESULT put_RestartCount(INT count) override;
  HRESULT get_MultipleInstances(TASK_INSTANCES_POLICY* policy) override;
  HRESULT put_MultipleInstances(TASK_INSTANCES_POLICY policy) override;
  HRESULT get_StopIfGoingOnBatteries(VARIANT_BOOL* stop) override;
  HRESULT put_StopIfGoingOnBatteries(VARIANT_BOOL stop) override;
  HRESULT get_DisallowStartIfOnBatteries(VARIANT_BOOL* disallow) override;
  HRESULT put_DisallowStartIfOnBatteries(VARIANT_BOOL disallow) override;
  HRESULT get_AllowHardTerminate(VARIANT_BOOL* allow) override;
  HRESULT put_AllowHardTerminate(VARIANT_BOOL allow) override;
  HRESULT get_StartWhenAvailable(VARIANT_BOOL* start) override;
  HRESULT put_StartWhenAvailable(VARIANT_BOOL start) override;
  HRESULT get_XmlText(BSTR* xml) override;
  HRESULT put_XmlText(BSTR xml) override;
  HRESULT get_RunOnlyIfNetworkAvailable(VARIANT_BOOL* run) override;
  HRESULT put_RunOnlyIfNetworkAvailable(VARIANT_BOOL run) override;
  HRESULT get_ExecutionTimeLimit(BSTR* limit) override;
  HRESULT put_ExecutionTimeLimit(BSTR limit) override;
  HRESULT get_Enabled(VARIANT_BOOL* enabled) override;
  HRESULT put_Enabled(VARIANT_BOOL enabled) override;
  HRESULT get_DeleteExpiredTaskAfter(BSTR* delay) override;
  HRESULT put_DeleteExpiredTaskAfter(BSTR delay) override;
  HRESULT get_Priority(INT* priority) override;
  HRESULT put_Priority(INT priority) override;
  HRESULT get_Compatibility(TASK_COMPATIBILITY* level) override;
  HRESULT put_Compatibility(TASK_COMPATIBILITY level) override;
  HRESULT get_Hidden(VARIANT_BOOL* hidden) override;
  HRESULT put_Hidden(VARIANT_BOOL hidden) override;
  HRESULT get_IdleSettings(IIdleSettings** settings) override;
  HRESULT put_IdleSettings(IIdleSettings* settings) override;
  HRESULT get_RunOnlyIfIdle(VARIANT_BOOL* run) override;
  HRESULT put_RunOnlyIfIdle(VARIANT_BOOL run) override;
  HRESULT get_WakeToRun(VARIANT_BOOL* wake) override;
  HRESULT put_WakeToRun(VARIANT_BOOL wake) override;
  HRESULT get_NetworkSettings(INetworkSettings** settings) override;
  HRESULT put_NetworkSettings(INetworkSettings* settings) override;

 private:
  void lastBreath() override { idle_.set(nullptr); }

  // The settings keep a reference of their own: a program may release its own and then still put
  // the idle settings back.
  Held<IdleSettingsObject> idle_;
};

}  // namespace host
