#include "tests/unit/task/LifecycleFixture.h"

namespace {

class TaskLifecycleTest : public LifecycleTest {};

// No task yet.

TEST_F(TaskLifecycleTest, missingTaskIsCreatedInItsOrder) {
  EnsureTask(L"C:\\x");
  EXPECT_EQ(
      comCalls(),
      joined({kOpening,
              {"ITaskFolder::GetTask", "ITaskService::NewTask", "Release ITaskService"},
              {"ITaskDefinition::get_RegistrationInfo", "IRegistrationInfo::put_Date",
               "IRegistrationInfo::put_Author", "Release IRegistrationInfo",
               "ITaskDefinition::get_Principal", "IPrincipal::put_LogonType", "Release IPrincipal"},
              {"ITaskDefinition::get_Settings",
               "ITaskSettings::put_MultipleInstances",
               "ITaskSettings::put_DisallowStartIfOnBatteries",
               "ITaskSettings::put_StopIfGoingOnBatteries",
               "ITaskSettings::put_AllowHardTerminate",
               "ITaskSettings::put_StartWhenAvailable",
               "ITaskSettings::put_RunOnlyIfNetworkAvailable",
               "ITaskSettings::put_AllowDemandStart",
               "ITaskSettings::put_Enabled",
               "ITaskSettings::put_Hidden",
               "ITaskSettings::put_RunOnlyIfIdle",
               "ITaskSettings::put_WakeToRun",
               "ITaskSettings::put_ExecutionTimeLimit",
               "ITaskSettings::put_Priority",
               "ITaskSettings::put_RestartInterval",
               "ITaskSettings::put_RestartCount",
               "ITaskSettings::get_IdleSettings",
               "IIdleSettings::put_IdleDuration",
               "IIdleSettings::put_WaitTimeout",
               "IIdleSettings::put_StopOnIdleEnd",
               "IIdleSettings::put_RestartOnIdle",
               "Release IIdleSettings",
               "ITaskSettings::put_IdleSettings",
               "Release ITaskSettings"},
              {"ITaskDefinition::get_Triggers", "ITriggerCollection::Create",
               "Release ITriggerCollection", "IUnknown::QueryInterface", "Release ITrigger",
               "IEventTrigger::put_Enabled", "IEventTrigger::put_Subscription",
               "Release IEventTrigger"},
              {"ITaskDefinition::get_Actions", "IActionCollection::Create",
               "Release IActionCollection", "IUnknown::QueryInterface", "Release IAction",
               "IExecAction::put_Path", "Release IExecAction"},
              {"ITaskFolder::RegisterTaskDefinition", "Release ITaskFolder",
               "Release ITaskDefinition", "Release IRegisteredTask", "CoUninitialize"}}));
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task not found, scheduled new one sucessfully"}));
  expectBalanced();
}

TEST_F(TaskLifecycleTest, createdTaskStartsTheProgramInTheDirectory) {
  EnsureTask(L"C:\\x");
  EXPECT_EQ(storedPath(), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
}

TEST_F(TaskLifecycleTest, taskIsLookedForByItsName) {
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(journal()
                  .calls("ITaskFolder::GetTask")
                  .at(0)
                  .args.starts_with("Orvix VTM EK Recertification"));
}

TEST_F(TaskLifecycleTest, definitionIsNewWithFlagsZero) {
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(journal().calls("ITaskService::NewTask").at(0).args.starts_with("0"));
}

TEST_F(TaskLifecycleTest, failedNewTaskStopsWithTheServiceReleasedFirst) {
  faults().failOnce("ITaskService::NewTask", 0x80070005);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(),
            Texts{"[DBG] [TPM] Failed to CoCreate an instance of the TaskService class:80070005"});
  EXPECT_EQ(comCallsAfterTheFault(),
            (Texts{"Release ITaskService", "Release ITaskFolder", "CoUninitialize"}));
  expectBalanced();
  EXPECT_EQ(storedPath(), L"no task");
}

// Deliberate: the step reports success, and the next one finds objects that are gone.
TEST_F(TaskLifecycleTest, failedRegistrationInfoGoesOnToTheSettingsWithReleasedObjects) {
  faults().failOnce("ITaskDefinition::get_RegistrationInfo", 0x80070005);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Cannot get identification pointer: 80070005",
                                "[DBG] [TPM] Cannot get settings pointer: 80010108"}));
  EXPECT_EQ(comCallsAfterTheFault(),
            (Texts{"Release ITaskFolder", "Release ITaskDefinition", "CoUninitialize",
                   "ITaskDefinition::get_Settings", "Release ITaskFolder",
                   "Release ITaskDefinition", "CoUninitialize"}));
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(storedPath(), L"no task");
}

// Each step that fails stops the creation; its own clean-up is all that follows.
class StoppedCreationTest : public TaskLifecycleTest,
                            public ::testing::WithParamInterface<const char*> {};

TEST_P(StoppedCreationTest, nothingFollowsTheCleanUpOfTheStep) {
  faults().failOnce(GetParam(), 0x80070005);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(comCallsAfterTheFault().back(), "CoUninitialize");
  EXPECT_EQ(journal().calls("CoUninitialize").size(), 1U);
  EXPECT_EQ(log.texts().size(), 1U);
  EXPECT_TRUE(log.texts().at(0).ends_with(": 80070005")) << log.texts().at(0);
  EXPECT_TRUE(journal().calls("ITaskFolder::RegisterTaskDefinition").empty());
  EXPECT_EQ(ledger().violations(), Texts{});
  EXPECT_EQ(storedPath(), L"no task");
}

INSTANTIATE_TEST_SUITE_P(
    Calls, StoppedCreationTest,
    ::testing::Values("IRegistrationInfo::put_Author", "ITaskDefinition::get_Principal",
                      "IPrincipal::put_LogonType", "ITaskDefinition::get_Settings",
                      "ITaskSettings::get_IdleSettings", "IIdleSettings::put_RestartOnIdle",
                      "ITaskSettings::put_IdleSettings", "ITaskDefinition::get_Triggers",
                      "ITriggerCollection::Create", "IEventTrigger::put_Subscription",
                      "ITaskDefinition::get_Actions", "IActionCollection::Create",
                      "IExecAction::put_Path", "IUnknown::QueryInterface"),
    [](const auto& row) {
      const std::string name = row.param;
      return name.substr(name.find("::") + 2) + std::to_string(row.index);
    });

// Deliberate: the last line is written whatever came of the save, and COM is closed twice.
TEST_F(TaskLifecycleTest, failedSaveOfANewTaskStillSaysThatItWasScheduled) {
  faults().failOnce("ITaskFolder::RegisterTaskDefinition", 0x80070005);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Error saving the Task : 80070005",
                                "[DBG] [TPM] Task not found, scheduled new one sucessfully"}));
  EXPECT_EQ(comCallsAfterTheFault(), (Texts{"Release ITaskFolder", "Release ITaskDefinition",
                                            "CoUninitialize", "CoUninitialize"}));
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(storedPath(), L"no task");
}

TEST_F(TaskLifecycleTest, pathOf32000CharactersIsRefusedAtRegistration) {
  EnsureTask(L"C:\\" + std::wstring(32'000, L'x'));
  const Texts lines = log.texts();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[0].starts_with("[DBG] [TPM] Error saving the Task : 8")) << lines[0];
  EXPECT_EQ(lines[1], "[DBG] [TPM] Task not found, scheduled new one sucessfully");
  EXPECT_EQ(storedPath(), L"no task");
}

// The scheduler cannot be reached.

class UnreachableTest : public TaskLifecycleTest,
                        public ::testing::WithParamInterface<std::pair<const char*, const char*>> {
};

TEST_P(UnreachableTest, ensuringStopsAfterTheOneLine) {
  faults().failOnce(GetParam().first, 0x80070005);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), Texts{std::string("[DBG] [TPM] ") + GetParam().second + "80070005"});
  EXPECT_TRUE(journal().calls("ITaskFolder::GetTask").empty());
  expectBalanced();
}

TEST_P(UnreachableTest, deletingStopsAfterTheOneLine) {
  faults().failOnce(GetParam().first, 0x80070005);
  DeleteTask();
  EXPECT_EQ(log.texts(), Texts{std::string("[DBG] [TPM] ") + GetParam().second + "80070005"});
  EXPECT_TRUE(journal().calls("ITaskFolder::DeleteTask").empty());
  expectBalanced();
}

INSTANTIATE_TEST_SUITE_P(
    Calls, UnreachableTest,
    ::testing::Values(std::pair("CoInitializeEx", "CoInitializeEx failed: "),
                      std::pair("CoInitializeSecurity", "CoInitializeSecurity failed: "),
                      std::pair("CoCreateInstance",
                                "Failed to create an instance of ITaskService: "),
                      std::pair("ITaskService::Connect", "ITaskService::Connect failed: "),
                      std::pair("ITaskService::GetFolder", "Cannot get Root folder pointer: ")),
    [](const auto& row) { return "Call" + std::to_string(row.index); });

TEST_F(TaskLifecycleTest, failedLookForTheTaskIsLoggedAndReleasesServiceThenFolder) {
  faults().failOnce("ITaskFolder::GetTask", 0x80070005);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Failed to Get Existing Task: 80070005"});
  EXPECT_EQ(comCallsAfterTheFault(),
            (Texts{"Release ITaskService", "Release ITaskFolder", "CoUninitialize"}));
  expectBalanced();
}

// The code of a missing path is not that of a missing task.
TEST_F(TaskLifecycleTest, onlyFileNotFoundMeansThatThereIsNoTask) {
  faults().failOnce("ITaskFolder::GetTask", 0x80070003);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Failed to Get Existing Task: 80070003"});
  EXPECT_TRUE(journal().calls("ITaskService::NewTask").empty());
}

}  // namespace
