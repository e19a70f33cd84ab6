// What a task's definition is made of: each value that is put is given back, and is at its default
// before.

#include <string>

#include "tests/contract/TaskFixture.h"

namespace {

using contract::By;
using contract::part;
using contract::Reference;
using contract::Scheduler;
using contract::taken;
using contract::Text;

// A definition with one of its parts.
template <class Part>
class Held {
 public:
  explicit Held(HRESULT (ITaskDefinition::*get)(Part**), By whom = By::kWine)
      : scheduler_(whom), task_(scheduler_.newTask()), part_(part(*task_, get)) {}
  Part* operator->() const { return part_.get(); }
  Part& operator*() const { return *part_; }

 private:
  Scheduler scheduler_;
  Reference<ITaskDefinition> task_;
  Reference<Part> part_;
};

class Settings : public Held<ITaskSettings> {
 public:
  explicit Settings(By whom = By::kWine) : Held(&ITaskDefinition::get_Settings, whom) {}
};

template <class Object, class Value>
Value got(Object& object, HRESULT (Object::*get)(Value*)) {
  Value value{};
  EXPECT_EQ((object.*get)(&value), S_OK);
  return value;
}

template <class Object>
std::wstring gotText(Object& object, HRESULT (Object::*get)(BSTR*)) {
  return taken(got(object, get));
}

using Flag = VARIANT_BOOL;

// A flag of the settings: its default, and both of its values given back.
void expectFlag(HRESULT (ITaskSettings::*put)(Flag), HRESULT (ITaskSettings::*get)(Flag*),
                Flag byDefault) {
  const Settings settings;
  EXPECT_EQ(got(*settings, get), byDefault);
  for (const Flag value : {VARIANT_FALSE, VARIANT_TRUE}) {
    EXPECT_EQ(((*settings).*put)(value), S_OK);
    EXPECT_EQ(got(*settings, get), value);
  }
}

TEST(ITaskSettings_put_AllowDemandStart, IsKeptAndTrueByDefault) {
  expectFlag(&ITaskSettings::put_AllowDemandStart, &ITaskSettings::get_AllowDemandStart,
             VARIANT_TRUE);
}

TEST(ITaskSettings_put_AllowHardTerminate, IsKeptAndTrueByDefault) {
  expectFlag(&ITaskSettings::put_AllowHardTerminate, &ITaskSettings::get_AllowHardTerminate,
             VARIANT_TRUE);
}

TEST(ITaskSettings_put_DisallowStartIfOnBatteries, IsKeptAndTrueByDefault) {
  expectFlag(&ITaskSettings::put_DisallowStartIfOnBatteries,
             &ITaskSettings::get_DisallowStartIfOnBatteries, VARIANT_TRUE);
}

TEST(ITaskSettings_put_StopIfGoingOnBatteries, IsKeptAndTrueByDefault) {
  expectFlag(&ITaskSettings::put_StopIfGoingOnBatteries, &ITaskSettings::get_StopIfGoingOnBatteries,
             VARIANT_TRUE);
}

TEST(ITaskSettings_put_Enabled, IsKeptAndTrueByDefault) {
  expectFlag(&ITaskSettings::put_Enabled, &ITaskSettings::get_Enabled, VARIANT_TRUE);
}

TEST(ITaskSettings_put_Hidden, IsKeptAndFalseByDefault) {
  expectFlag(&ITaskSettings::put_Hidden, &ITaskSettings::get_Hidden, VARIANT_FALSE);
}

TEST(ITaskSettings_put_RunOnlyIfIdle, IsKeptAndFalseByDefault) {
  expectFlag(&ITaskSettings::put_RunOnlyIfIdle, &ITaskSettings::get_RunOnlyIfIdle, VARIANT_FALSE);
}

TEST(ITaskSettings_put_RunOnlyIfNetworkAvailable, IsKeptAndFalseByDefault) {
  expectFlag(&ITaskSettings::put_RunOnlyIfNetworkAvailable,
             &ITaskSettings::get_RunOnlyIfNetworkAvailable, VARIANT_FALSE);
}

TEST(ITaskSettings_put_StartWhenAvailable, IsKeptAndFalseByDefault) {
  expectFlag(&ITaskSettings::put_StartWhenAvailable, &ITaskSettings::get_StartWhenAvailable,
             VARIANT_FALSE);
}

TEST(ITaskSettings_put_WakeToRun, IsKeptAndFalseByDefault) {
  expectFlag(&ITaskSettings::put_WakeToRun, &ITaskSettings::get_WakeToRun, VARIANT_FALSE);
}

TEST(ITaskSettings_put_ExecutionTimeLimit, IsKeptAndThreeDaysByDefault) {
  const Settings settings;
  EXPECT_EQ(gotText(*settings, &ITaskSettings::get_ExecutionTimeLimit), L"PT72H");
  EXPECT_EQ(settings->put_ExecutionTimeLimit(Text(L"PT0S")), S_OK);
  EXPECT_EQ(gotText(*settings, &ITaskSettings::get_ExecutionTimeLimit), L"PT0S");
}

TEST(ITaskSettings_put_MultipleInstances, IsKeptAndIgnoresNewOnesByDefault) {
  const Settings settings;
  EXPECT_EQ(got(*settings, &ITaskSettings::get_MultipleInstances), TASK_INSTANCES_IGNORE_NEW);
  EXPECT_EQ(settings->put_MultipleInstances(TASK_INSTANCES_QUEUE), S_OK);
  EXPECT_EQ(got(*settings, &ITaskSettings::get_MultipleInstances), TASK_INSTANCES_QUEUE);
}

TEST(ITaskSettings_put_Priority, IsKeptAndSevenByDefault) {
  const Settings settings;
  EXPECT_EQ(got(*settings, &ITaskSettings::get_Priority), 7);
  EXPECT_EQ(settings->put_Priority(10), S_OK);
  EXPECT_EQ(got(*settings, &ITaskSettings::get_Priority), 10);
}

TEST(ITaskSettings_put_RestartCount, IsKeptAndZeroByDefault) {
  const Settings settings;
  EXPECT_EQ(got(*settings, &ITaskSettings::get_RestartCount), 0);
  EXPECT_EQ(settings->put_RestartCount(3), S_OK);
  EXPECT_EQ(got(*settings, &ITaskSettings::get_RestartCount), 3);
}

TEST(ITaskSettings_put_RestartInterval, IsKeptAndThereIsNoneByDefault) {
  const Settings settings;
  EXPECT_EQ(gotText(*settings, &ITaskSettings::get_RestartInterval), L"(null)");
  EXPECT_EQ(settings->put_RestartInterval(Text(L"PT30M")), S_OK);
  EXPECT_EQ(gotText(*settings, &ITaskSettings::get_RestartInterval), L"PT30M");
}

class Idle {
 public:
  Idle() : settings_(By::kStandIn), part_(part(*settings_, &ITaskSettings::get_IdleSettings)) {}
  IIdleSettings* operator->() const { return part_.get(); }
  IIdleSettings& operator*() const { return *part_; }
  const Settings& settings() const { return settings_; }

 private:
  Settings settings_;
  Reference<IIdleSettings> part_;
};

TEST(ITaskSettings_get_IdleSettings, IsTheSamePartEachTime) {
  const Idle idle;
  idle->put_IdleDuration(Text(L"PT1M"));
  EXPECT_EQ(gotText(*part(*idle.settings(), &ITaskSettings::get_IdleSettings),
                    &IIdleSettings::get_IdleDuration),
            L"PT1M");
}

TEST(ITaskSettings_put_IdleSettings, TakesItsOwnPartBack) {
  const Idle idle;
  EXPECT_EQ(idle.settings()->put_IdleSettings(&*idle), S_OK);
}

TEST(IIdleSettings_put_IdleDuration, IsKept) {
  const Idle idle;
  EXPECT_EQ(idle->put_IdleDuration(Text(L"PT1M")), S_OK);
  EXPECT_EQ(gotText(*idle, &IIdleSettings::get_IdleDuration), L"PT1M");
}

TEST(IIdleSettings_put_WaitTimeout, IsKept) {
  const Idle idle;
  EXPECT_EQ(idle->put_WaitTimeout(Text(L"PT2M")), S_OK);
  EXPECT_EQ(gotText(*idle, &IIdleSettings::get_WaitTimeout), L"PT2M");
}

TEST(IIdleSettings_put_StopOnIdleEnd, IsKeptAndTrueByDefault) {
  const Idle idle;
  EXPECT_EQ(got(*idle, &IIdleSettings::get_StopOnIdleEnd), VARIANT_TRUE);
  EXPECT_EQ(idle->put_StopOnIdleEnd(VARIANT_FALSE), S_OK);
  EXPECT_EQ(got(*idle, &IIdleSettings::get_StopOnIdleEnd), VARIANT_FALSE);
}

TEST(IIdleSettings_put_RestartOnIdle, IsKeptAndFalseByDefault) {
  const Idle idle;
  EXPECT_EQ(got(*idle, &IIdleSettings::get_RestartOnIdle), VARIANT_FALSE);
  EXPECT_EQ(idle->put_RestartOnIdle(VARIANT_TRUE), S_OK);
  EXPECT_EQ(got(*idle, &IIdleSettings::get_RestartOnIdle), VARIANT_TRUE);
}

class Info : public Held<IRegistrationInfo> {
 public:
  Info() : Held(&ITaskDefinition::get_RegistrationInfo) {}
};

TEST(IRegistrationInfo_put_Author, IsKeptAndThereIsNoneByDefault) {
  const Info info;
  EXPECT_EQ(gotText(*info, &IRegistrationInfo::get_Author), L"(null)");
  EXPECT_EQ(info->put_Author(Text(L"somebody")), S_OK);
  EXPECT_EQ(gotText(*info, &IRegistrationInfo::get_Author), L"somebody");
}

TEST(IRegistrationInfo_put_Date, TakesAnyText) {
  const Info info;
  EXPECT_EQ(info->put_Date(Text(L"2017-10-24T12:34:56.7890")), S_OK);
  EXPECT_EQ(gotText(*info, &IRegistrationInfo::get_Date), L"2017-10-24T12:34:56.7890");
  EXPECT_EQ(info->put_Date(Text(L"yesterday")), S_OK);
}

TEST(IPrincipal_put_LogonType, IsKept) {
  const Held<IPrincipal> principal(&ITaskDefinition::get_Principal, By::kStandIn);
  EXPECT_EQ(principal->put_LogonType(TASK_LOGON_SERVICE_ACCOUNT), S_OK);
  EXPECT_EQ(got(*principal, &IPrincipal::get_LogonType), TASK_LOGON_SERVICE_ACCOUNT);
}

class EventTrigger {
 public:
  EventTrigger()
      : scheduler_(By::kStandIn),
        task_(scheduler_.newTask()),
        part_(Scheduler::addEventTrigger(*task_)) {}
  IEventTrigger* operator->() const { return part_.get(); }
  IEventTrigger& operator*() const { return *part_; }

 private:
  Scheduler scheduler_;
  Reference<ITaskDefinition> task_;
  Reference<IEventTrigger> part_;
};

template <class Face>
void expectEnabled(Face& trigger) {
  EXPECT_EQ(trigger.put_Enabled(VARIANT_FALSE), S_OK);
  VARIANT_BOOL isEnabled = VARIANT_TRUE;
  EXPECT_EQ(trigger.get_Enabled(&isEnabled), S_OK);
  EXPECT_EQ(isEnabled, VARIANT_FALSE);
}

template <class Face>
void expectTimeLimit(Face& trigger) {
  EXPECT_EQ(trigger.put_ExecutionTimeLimit(Text(L"PT5M")), S_OK);
  BSTR limit = nullptr;
  EXPECT_EQ(trigger.get_ExecutionTimeLimit(&limit), S_OK);
  EXPECT_EQ(taken(limit), L"PT5M");
}

TEST(IEventTrigger_put_Enabled, IsKept) {
  const EventTrigger trigger;
  expectEnabled(*trigger);
}

TEST(IEventTrigger_put_ExecutionTimeLimit, IsKept) {
  const EventTrigger trigger;
  expectTimeLimit(*trigger);
}

TEST(IEventTrigger_put_Subscription, IsKeptAsItIs) {
  const EventTrigger trigger;
  EXPECT_EQ(trigger->put_Subscription(Text(L"<QueryList a='<'/>")), S_OK);
  EXPECT_EQ(gotText(*trigger, &IEventTrigger::get_Subscription), L"<QueryList a='<'/>");
}

TEST(ITrigger_put_Enabled, IsKept) {
  const EventTrigger trigger;
  expectEnabled<ITrigger>(*contract::face<ITrigger>(*trigger, IID_ITrigger));
}

TEST(ITrigger_put_ExecutionTimeLimit, IsKept) {
  const EventTrigger trigger;
  expectTimeLimit<ITrigger>(*contract::face<ITrigger>(*trigger, IID_ITrigger));
}

}  // namespace
