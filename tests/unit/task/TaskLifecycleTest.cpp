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

// What the document escapes, and what it cannot hold in one byte.
TEST_F(TaskLifecycleTest, directoryOfAnyCharactersIsStoredAndFoundInOrder) {
  const std::wstring directory = L"C:\\R&D 'x' \u00DC \u8A8D";
  EnsureTask(directory);
  EXPECT_EQ(storedPath(), L"\"" + directory + L"\\OrvixVTMEKRecertification.exe\"");
  EnsureTask(directory);
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: C:\\R&D 'x' ? ?andC:\\R&D 'x' ? ?",
                                "[DBG] [TPM] Task is Ok, Skipping..."}));
}

TEST_F(TaskLifecycleTest, taskIsLookedForByItsName) {
  EnsureTask(L"C:\\x");
  EXPECT_EQ(journal().calls("ITaskFolder::GetTask").at(0).args, "Orvix VTM EK Recertification");
}

TEST_F(TaskLifecycleTest, definitionIsNewWithFlagsZero) {
  EnsureTask(L"C:\\x");
  EXPECT_EQ(journal().calls("ITaskService::NewTask").at(0).args, "0");
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
  EXPECT_EQ(ledger().violations(),
            (Texts{"ITaskDefinition::get_Settings: the ITaskDefinition was released before",
                   "IUnknown::Release: the ITaskFolder was released before",
                   "IUnknown::Release: the ITaskDefinition was released before",
                   "CoUninitialize: the thread has not begun COM"}));
  EXPECT_EQ(storedPath(), L"no task");
}

// Each step that fails stops the creation; its own clean-up is all that follows.
struct StoppedAt {
  const char* call;
  std::size_t left = 0;  // references that are never given back
};

class StoppedCreationTest : public TaskLifecycleTest,
                            public ::testing::WithParamInterface<StoppedAt> {};

TEST_P(StoppedCreationTest, nothingFollowsTheCleanUpOfTheStep) {
  faults().failOnce(GetParam().call, 0x80070005);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(comCallsAfterTheFault().back(), "CoUninitialize");
  EXPECT_EQ(journal().calls("CoUninitialize").size(), 1U);
  ASSERT_EQ(log.texts().size(), 1U);
  EXPECT_TRUE(log.texts()[0].ends_with(": 80070005")) << log.texts()[0];
  EXPECT_TRUE(journal().calls("ITaskFolder::RegisterTaskDefinition").empty());
  EXPECT_EQ(ledger().open("reference"), GetParam().left);
  EXPECT_EQ(ledger().violations(), Texts{});
  EXPECT_EQ(storedPath(), L"no task");
}

INSTANTIATE_TEST_SUITE_P(
    Calls, StoppedCreationTest,
    ::testing::Values(
        StoppedAt{"IRegistrationInfo::put_Author"}, StoppedAt{"ITaskDefinition::get_Principal"},
        StoppedAt{"IPrincipal::put_LogonType"}, StoppedAt{"ITaskDefinition::get_Settings"},
        // Deliberate: the two that follow never give the settings back.
        StoppedAt{"ITaskSettings::get_IdleSettings", 1},
        StoppedAt{"IIdleSettings::put_RestartOnIdle", 1},
        StoppedAt{"ITaskSettings::put_IdleSettings"}, StoppedAt{"ITaskDefinition::get_Triggers"},
        StoppedAt{"ITriggerCollection::Create"}, StoppedAt{"IEventTrigger::put_Subscription"},
        StoppedAt{"ITaskDefinition::get_Actions"}, StoppedAt{"IActionCollection::Create"},
        StoppedAt{"IExecAction::put_Path"}, StoppedAt{"IUnknown::QueryInterface"}),
    [](const auto& row) {
      const std::string name = row.param.call;
      return name.substr(name.find("::") + 2) + std::to_string(row.index);
    });

// Only a negative result is a failure.
class OtherSuccessTest : public TaskLifecycleTest,
                         public ::testing::WithParamInterface<const char*> {};

TEST_P(OtherSuccessTest, doesNotStopTheCreation) {
  faults().failOnce(GetParam(), 1);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(journal().calls(GetParam()).at(0).result, "0x1");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task not found, scheduled new one sucessfully"}));
  expectBalanced();
  EXPECT_EQ(storedPath(), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
}

INSTANTIATE_TEST_SUITE_P(
    Calls, OtherSuccessTest,
    ::testing::Values("ITaskService::Connect", "ITaskService::GetFolder", "ITaskService::NewTask",
                      "ITaskDefinition::get_RegistrationInfo", "IRegistrationInfo::put_Author",
                      "ITaskDefinition::get_Principal", "IPrincipal::put_LogonType",
                      "ITaskDefinition::get_Settings", "ITaskSettings::get_IdleSettings",
                      "IIdleSettings::put_RestartOnIdle", "ITaskSettings::put_IdleSettings",
                      "ITaskDefinition::get_Triggers", "ITriggerCollection::Create",
                      "IUnknown::QueryInterface", "IEventTrigger::put_Subscription",
                      "ITaskDefinition::get_Actions", "IActionCollection::Create",
                      "IExecAction::put_Path", "ITaskFolder::RegisterTaskDefinition"),
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
  EXPECT_EQ(ledger().violations(), Texts{"CoUninitialize: the thread has not begun COM"});
  EXPECT_EQ(storedPath(), L"no task");
}

// The store takes a path of 260 characters, quotes included, and none that is longer.
TEST_F(TaskLifecycleTest, longestPathThatTheStoreTakesIsRegistered) {
  const std::wstring directory = L"C:\\" + std::wstring(225, L'x');
  EnsureTask(directory);
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task not found, scheduled new one sucessfully"}));
  EXPECT_EQ(storedPath(), L"\"" + directory + L"\\OrvixVTMEKRecertification.exe\"");
  EXPECT_EQ(storedPath().size(), 260U);
}

class TooLongPathTest : public TaskLifecycleTest,
                        public ::testing::WithParamInterface<std::size_t> {};

TEST_P(TooLongPathTest, isRefusedAtRegistration) {
  EnsureTask(L"C:\\" + std::wstring(GetParam(), L'x'));
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Error saving the Task : 80041318",
                                "[DBG] [TPM] Task not found, scheduled new one sucessfully"}));
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{"CoUninitialize: the thread has not begun COM"});
  EXPECT_EQ(storedPath(), L"no task");
}

INSTANTIATE_TEST_SUITE_P(Lengths, TooLongPathTest, ::testing::Values(226U, 32'000U));

// A value that cannot be set is missing in what is stored, and nothing else.
TEST_F(TaskLifecycleTest, failedDateMakesATaskWithoutADate) {
  faults().failOnce("IRegistrationInfo::put_Date", 0x80070057);
  EnsureTask(L"C:\\x");
  const std::string document = storedDocument();
  EXPECT_EQ(document.find("<Date>"), std::string::npos) << document;
  EXPECT_NE(document.find("<Author>Orvix Corporation</Author>"), std::string::npos) << document;
  EXPECT_TRUE(isStoredDocumentValid());
}

// Each operation opens COM anew; where its security may be set only once in a process, no second
// operation comes through.
TEST_F(TaskLifecycleTest, securityThatOutlivesComStopsTheSecondOperation) {
  host::machine().com.securityEndsWithLastThread = false;
  makeTask(L"C:\\old");
  EnsureTask(L"C:\\new");
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] CoInitializeSecurity failed: 80010119"});
  EXPECT_EQ(comCalls(), (Texts{"CoInitializeEx", "CoInitializeSecurity", "CoUninitialize"}));
  expectBalanced();
  EXPECT_EQ(storedPath(), L"\"C:\\old\\OrvixVTMEKRecertification.exe\"");
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
