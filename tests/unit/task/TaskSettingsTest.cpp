#include "task/TaskDefinition.h"
#include "task/TaskState.h"
#include "tests/unit/task/TaskFixture.h"

namespace {

class TaskSettingsTest : public TaskTest {
 protected:
  TaskSettingsTest() { beginDefinition(); }

  static void close() {
    s_rootFolder->Release();
    s_taskDefinition->Release();
    CoUninitialize();
  }
};

TEST_F(TaskSettingsTest, everyValueIsSetInItsOrder) {
  EXPECT_TRUE(PutTaskSettings());
  EXPECT_EQ(comCallsWithValues(), (Texts{"ITaskDefinition::get_Settings ",
                                         "ITaskSettings::put_MultipleInstances 2",
                                         "ITaskSettings::put_DisallowStartIfOnBatteries 0",
                                         "ITaskSettings::put_StopIfGoingOnBatteries -1",
                                         "ITaskSettings::put_AllowHardTerminate 0",
                                         "ITaskSettings::put_StartWhenAvailable 0",
                                         "ITaskSettings::put_RunOnlyIfNetworkAvailable -1",
                                         "ITaskSettings::put_AllowDemandStart -1",
                                         "ITaskSettings::put_Enabled -1",
                                         "ITaskSettings::put_Hidden -1",
                                         "ITaskSettings::put_RunOnlyIfIdle 0",
                                         "ITaskSettings::put_WakeToRun 0",
                                         "ITaskSettings::put_ExecutionTimeLimit PT0S",
                                         "ITaskSettings::put_Priority 7",
                                         "ITaskSettings::put_RestartInterval PT30M",
                                         "ITaskSettings::put_RestartCount 3",
                                         "ITaskSettings::get_IdleSettings ",
                                         "IIdleSettings::put_IdleDuration ",
                                         "IIdleSettings::put_WaitTimeout ",
                                         "IIdleSettings::put_StopOnIdleEnd -1",
                                         "IIdleSettings::put_RestartOnIdle 0",
                                         "Release IIdleSettings",
                                         "ITaskSettings::put_IdleSettings its own",
                                         "Release ITaskSettings"}));
  EXPECT_EQ(log.texts(), Texts{});
  close();
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

// Deliberate: the settings keep a reference of their own.
TEST_F(TaskSettingsTest, idleSettingsArePassedOnAfterTheirRelease) {
  EXPECT_TRUE(PutTaskSettings());
  const Texts calls = comCalls();
  ASSERT_EQ(calls.size(), 24U);
  EXPECT_EQ(Texts(calls.end() - 4, calls.end()),
            (Texts{"IIdleSettings::put_RestartOnIdle", "Release IIdleSettings",
                   "ITaskSettings::put_IdleSettings", "Release ITaskSettings"}));
  EXPECT_EQ(valueOf("ITaskSettings::put_IdleSettings"), "its own");
  EXPECT_EQ(ledger().violations(), Texts{});
  close();
}

TEST_F(TaskSettingsTest, emptyIdleDurationsAreAllocatedAndFreedLikeAnyText) {
  EXPECT_TRUE(PutTaskSettings());
  EXPECT_EQ(
      journal().namesOf({"SysAllocString", "ITaskSettings::put_ExecutionTimeLimit",
                         "ITaskSettings::put_RestartInterval", "IIdleSettings::put_IdleDuration",
                         "IIdleSettings::put_WaitTimeout", "SysFreeString"}),
      (Texts{"SysAllocString", "ITaskSettings::put_ExecutionTimeLimit", "SysFreeString",
             "SysAllocString", "ITaskSettings::put_RestartInterval", "SysFreeString",
             "SysAllocString", "IIdleSettings::put_IdleDuration", "SysFreeString", "SysAllocString",
             "IIdleSettings::put_WaitTimeout", "SysFreeString"}));
  close();
}

// The values whose results are not looked at.
class UntestedSettingTest : public TaskSettingsTest,
                            public ::testing::WithParamInterface<const char*> {};

TEST_P(UntestedSettingTest, failureChangesNothing) {
  faults().failOnce(GetParam(), 0x80070057);
  EXPECT_TRUE(PutTaskSettings());
  EXPECT_EQ(comCalls().size(), 24U);
  EXPECT_EQ(comCalls().back(), "Release ITaskSettings");
  EXPECT_EQ(log.texts(), Texts{});
  comCallsAfterTheFault();
  close();
  EXPECT_EQ(ledger().open("reference"), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Values, UntestedSettingTest,
    ::testing::Values(
        "ITaskSettings::put_MultipleInstances", "ITaskSettings::put_DisallowStartIfOnBatteries",
        "ITaskSettings::put_StopIfGoingOnBatteries", "ITaskSettings::put_AllowHardTerminate",
        "ITaskSettings::put_StartWhenAvailable", "ITaskSettings::put_RunOnlyIfNetworkAvailable",
        "ITaskSettings::put_AllowDemandStart", "ITaskSettings::put_Enabled",
        "ITaskSettings::put_Hidden", "ITaskSettings::put_RunOnlyIfIdle",
        "ITaskSettings::put_WakeToRun", "ITaskSettings::put_ExecutionTimeLimit",
        "ITaskSettings::put_Priority", "ITaskSettings::put_RestartInterval",
        "ITaskSettings::put_RestartCount", "IIdleSettings::put_IdleDuration",
        "IIdleSettings::put_WaitTimeout", "IIdleSettings::put_StopOnIdleEnd"),
    [](const auto& row) {
      const std::string name = row.param;
      return name.substr(name.find("::put_") + 6);
    });

}  // namespace
