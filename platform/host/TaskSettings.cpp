#include "platform/host/TaskSettings.h"

#include <algorithm>
#include <array>

namespace host {
namespace {

// In the order of their numbers.
constexpr std::array<const char*, 4> kPolicies = {"Parallel", "Queue", "IgnoreNew", "StopExisting"};
// The version of a document of each level.
constexpr std::array<const char*, 4> kVersions = {"1.0", "1.1", "1.2", "1.3"};

template <std::size_t kCount>
std::optional<std::size_t> indexOf(const std::array<const char*, kCount>& words,
                                   const std::optional<std::string>& word) {
  const auto found = std::find(words.begin(), words.end(), word.value_or(""));
  if (found == words.end()) {
    return std::nullopt;
  }
  return static_cast<std::size_t>(found - words.begin());
}

}  // namespace

HRESULT TaskSettingsObject::get_AllowDemandStart(VARIANT_BOOL* allow) {
  return getFlag("ITaskSettings::get_AllowDemandStart", "Settings/AllowStartOnDemand", true, allow);
}
HRESULT TaskSettingsObject::put_AllowDemandStart(VARIANT_BOOL allow) {
  return putFlag("ITaskSettings::put_AllowDemandStart", "Settings/AllowStartOnDemand", allow);
}
HRESULT TaskSettingsObject::get_RestartInterval(BSTR* interval) {
  return getText("ITaskSettings::get_RestartInterval", "Settings/RestartOnFailure/Interval",
                 interval);
}
HRESULT TaskSettingsObject::put_RestartInterval(BSTR interval) {
  return putText("ITaskSettings::put_RestartInterval", "Settings/RestartOnFailure/Interval",
                 interval);
}
HRESULT TaskSettingsObject::get_RestartCount(INT* count) {
  return getNumber("ITaskSettings::get_RestartCount", "Settings/RestartOnFailure/Count", 0, count);
}
HRESULT TaskSettingsObject::put_RestartCount(INT count) {
  MethodCall call(*this, "ITaskSettings::put_RestartCount", count);
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  if (count == 0) {
    node()->removeValue("Settings/RestartOnFailure/Count");
  } else {
    node()->setValue("Settings/RestartOnFailure/Count", std::to_string(count));
  }
  return call.answers(S_OK);
}
HRESULT TaskSettingsObject::get_MultipleInstances(TASK_INSTANCES_POLICY* policy) {
  return get("ITaskSettings::get_MultipleInstances", policy, TASK_INSTANCES_PARALLEL, [&] {
    const auto index = indexOf(kPolicies, node()->value("Settings/MultipleInstancesPolicy"));
    return static_cast<TASK_INSTANCES_POLICY>(index.value_or(TASK_INSTANCES_IGNORE_NEW));
  });
}
HRESULT TaskSettingsObject::put_MultipleInstances(TASK_INSTANCES_POLICY policy) {
  const auto index = static_cast<std::size_t>(policy);
  MethodCall call(*this, "ITaskSettings::put_MultipleInstances", static_cast<int>(policy));
  if (call.isRefused()) {
    return call.refuses();
  }
  if (index >= kPolicies.size()) {
    return call.answers(E_INVALIDARG);
  }
  const Scheduler::Guard guard;
  node()->setValue("Settings/MultipleInstancesPolicy", kPolicies[index]);
  return call.answers(S_OK);
}
HRESULT TaskSettingsObject::get_StopIfGoingOnBatteries(VARIANT_BOOL* stop) {
  return getFlag("ITaskSettings::get_StopIfGoingOnBatteries", "Settings/StopIfGoingOnBatteries",
                 true, stop);
}
HRESULT TaskSettingsObject::put_StopIfGoingOnBatteries(VARIANT_BOOL stop) {
  return putFlag("ITaskSettings::put_StopIfGoingOnBatteries", "Settings/StopIfGoingOnBatteries",
                 stop);
}
HRESULT TaskSettingsObject::get_DisallowStartIfOnBatteries(VARIANT_BOOL* disallow) {
  return getFlag("ITaskSettings::get_DisallowStartIfOnBatteries",
                 "Settings/DisallowStartIfOnBatteries", true, disallow);
}
HRESULT TaskSettingsObject::put_DisallowStartIfOnBatteries(VARIANT_BOOL disallow) {
  return putFlag("ITaskSettings::put_DisallowStartIfOnBatteries",
                 "Settings/DisallowStartIfOnBatteries", disallow);
}
HRESULT TaskSettingsObject::get_AllowHardTerminate(VARIANT_BOOL* allow) {
  return getFlag("ITaskSettings::get_AllowHardTerminate", "Settings/AllowHardTerminate", true,
                 allow);
}
HRESULT TaskSettingsObject::put_AllowHardTerminate(VARIANT_BOOL allow) {
  return putFlag("ITaskSettings::put_AllowHardTerminate", "Settings/AllowHardTerminate", allow);
}
HRESULT TaskSettingsObject::get_StartWhenAvailable(VARIANT_BOOL* start) {
  return getFlag("ITaskSettings::get_StartWhenAvailable", "Settings/StartWhenAvailable", false,
                 start);
}
HRESULT TaskSettingsObject::put_StartWhenAvailable(VARIANT_BOOL start) {
  return putFlag("ITaskSettings::put_StartWhenAvailable", "Settings/StartWhenAvailable", start);
}
HRESULT TaskSettingsObject::get_XmlText(BSTR* /*xml*/) {
  return notBuilt("ITaskSettings::get_XmlText");
}
HRESULT TaskSettingsObject::put_XmlText(BSTR /*xml*/) {
  return notBuilt("ITaskSettings::put_XmlText");
}
HRESULT TaskSettingsObject::get_RunOnlyIfNetworkAvailable(VARIANT_BOOL* run) {
  return getFlag("ITaskSettings::get_RunOnlyIfNetworkAvailable",
                 "Settings/RunOnlyIfNetworkAvailable", false, run);
}
HRESULT TaskSettingsObject::put_RunOnlyIfNetworkAvailable(VARIANT_BOOL run) {
  return putFlag("ITaskSettings::put_RunOnlyIfNetworkAvailable",
                 "Settings/RunOnlyIfNetworkAvailable", run);
}
HRESULT TaskSettingsObject::get_ExecutionTimeLimit(BSTR* limit) {
  return getText("ITaskSettings::get_ExecutionTimeLimit", "Settings/ExecutionTimeLimit", limit);
}
HRESULT TaskSettingsObject::put_ExecutionTimeLimit(BSTR limit) {
  return putText("ITaskSettings::put_ExecutionTimeLimit", "Settings/ExecutionTimeLimit", limit);
}
HRESULT TaskSettingsObject::get_Enabled(VARIANT_BOOL* enabled) {
  return getFlag("ITaskSettings::get_Enabled", "Settings/Enabled", true, enabled);
}
HRESULT TaskSettingsObject::put_Enabled(VARIANT_BOOL enabled) {
  return putFlag("ITaskSettings::put_Enabled", "Settings/Enabled", enabled);
}
HRESULT TaskSettingsObject::get_DeleteExpiredTaskAfter(BSTR* delay) {
  return getText("ITaskSettings::get_DeleteExpiredTaskAfter", "Settings/DeleteExpiredTaskAfter",
                 delay);
}
HRESULT TaskSettingsObject::put_DeleteExpiredTaskAfter(BSTR delay) {
  return putText("ITaskSettings::put_DeleteExpiredTaskAfter", "Settings/DeleteExpiredTaskAfter",
                 delay);
}
HRESULT TaskSettingsObject::get_Priority(INT* priority) {
  return getNumber("ITaskSettings::get_Priority", "Settings/Priority", 7, priority);
}
HRESULT TaskSettingsObject::put_Priority(INT priority) {
  MethodCall call(*this, "ITaskSettings::put_Priority", priority);
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  node()->setValue("Settings/Priority", std::to_string(priority));
  return call.answers(S_OK);
}
HRESULT TaskSettingsObject::get_Compatibility(TASK_COMPATIBILITY* level) {
  return get("ITaskSettings::get_Compatibility", level, TASK_COMPATIBILITY_AT, [&] {
    const auto index = indexOf(kVersions, node()->attribute("version"));
    return static_cast<TASK_COMPATIBILITY>(index.value_or(TASK_COMPATIBILITY_V2));
  });
}
HRESULT TaskSettingsObject::put_Compatibility(TASK_COMPATIBILITY level) {
  const auto index = static_cast<std::size_t>(level);
  MethodCall call(*this, "ITaskSettings::put_Compatibility", static_cast<int>(level));
  if (call.isRefused()) {
    return call.refuses();
  }
  if (index >= kVersions.size()) {
    return call.answers(E_INVALIDARG);
  }
  const Scheduler::Guard guard;
  node()->setAttribute("version", kVersions[index]);
  return call.answers(S_OK);
}
HRESULT TaskSettingsObject::get_Hidden(VARIANT_BOOL* hidden) {
  return getFlag("ITaskSettings::get_Hidden", "Settings/Hidden", false, hidden);
}
HRESULT TaskSettingsObject::put_Hidden(VARIANT_BOOL hidden) {
  return putFlag("ITaskSettings::put_Hidden", "Settings/Hidden", hidden);
}
HRESULT TaskSettingsObject::get_IdleSettings(IIdleSettings** settings) {
  return givePart("ITaskSettings::get_IdleSettings", idle_, settings, node());
}
HRESULT TaskSettingsObject::put_IdleSettings(IIdleSettings* settings) {
  auto* const object = dynamic_cast<IdleSettingsObject*>(settings);
  const bool isOwn = object != nullptr && object == idle_.get();
  MethodCall call(*this, "ITaskSettings::put_IdleSettings", isOwn ? "its own" : "others");
  const bool isGone = object != nullptr && !object->isAlive("ITaskSettings::put_IdleSettings");
  if (call.isRefused()) {
    return call.refuses();
  }
  if (object == nullptr || isGone) {
    return call.answers(isGone ? kObjectGone : E_INVALIDARG);
  }
  const Scheduler::Guard guard;
  const auto other = object->node()->child("Settings");
  const auto values = other == nullptr ? nullptr : other->child("IdleSettings");
  if (object->node() != node() && values != nullptr) {
    *node()->needChild("Settings")->needChild("IdleSettings") = *values->clone();
  }
  return call.answers(S_OK);
}
HRESULT TaskSettingsObject::get_RunOnlyIfIdle(VARIANT_BOOL* run) {
  return getFlag("ITaskSettings::get_RunOnlyIfIdle", "Settings/RunOnlyIfIdle", false, run);
}
HRESULT TaskSettingsObject::put_RunOnlyIfIdle(VARIANT_BOOL run) {
  return putFlag("ITaskSettings::put_RunOnlyIfIdle", "Settings/RunOnlyIfIdle", run);
}
HRESULT TaskSettingsObject::get_WakeToRun(VARIANT_BOOL* wake) {
  return getFlag("ITaskSettings::get_WakeToRun", "Settings/WakeToRun", false, wake);
}
HRESULT TaskSettingsObject::put_WakeToRun(VARIANT_BOOL wake) {
  return putFlag("ITaskSettings::put_WakeToRun", "Settings/WakeToRun", wake);
}
HRESULT TaskSettingsObject::get_NetworkSettings(INetworkSettings** /*settings*/) {
  return notBuilt("ITaskSettings::get_NetworkSettings");
}
HRESULT TaskSettingsObject::put_NetworkSettings(INetworkSettings* /*settings*/) {
  return notBuilt("ITaskSettings::put_NetworkSettings");
}

}  // namespace host
