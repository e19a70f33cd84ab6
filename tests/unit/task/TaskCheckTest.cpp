#include "task/TaskState.h"
#include "tests/support/NullPointerEnd.h"
#include "tests/unit/task/LifecycleFixture.h"

namespace {

class TaskCheckTest : public LifecycleTest {};

// The task is there.

TEST_F(TaskCheckTest, taskInOrderIsLeftAlone) {
  makeTask(L"C:\\x");
  EnsureTask(L"C:\\x");
  EXPECT_EQ(
      comCalls(),
      joined({kOpening,
              {"ITaskFolder::GetTask", "IRegisteredTask::get_Definition", "Release IRegisteredTask",
               "ITaskDefinition::get_Actions", "IActionCollection::get_Item",
               "Release IActionCollection", "IUnknown::QueryInterface", "Release IAction",
               "IExecAction::get_Path", "Release IExecAction", "Release ITaskDefinition",
               "Release ITaskService", "Release ITaskFolder", "CoUninitialize"}}));
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] Compare: C:\\xandC:\\x", "[DBG] [TPM] Task is Ok, Skipping..."}));
  expectBalanced();
}

// Only a negative result is a failure.
TEST_F(TaskCheckTest, successOfAnotherKindLeadsToTheCheckAsWell) {
  makeTask(L"C:\\x");
  faults().failOnce("ITaskFolder::GetTask", 1);
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] Compare: C:\\xandC:\\x", "[DBG] [TPM] Task is Ok, Skipping..."}));
  expectBalanced();
}

TEST_F(TaskCheckTest, firstActionIsTheOneThatCounts) {
  makeTask(L"C:\\x");
  EnsureTask(L"C:\\x");
  EXPECT_EQ(journal().calls("IActionCollection::get_Item").at(0).args, "1");
}

TEST_F(TaskCheckTest, storedPathIsFreedAheadOfTheComparison) {
  makeTask(L"C:\\x");
  Texts atTheFree = {"not freed"};
  // The first two strings are the folder's and the task's names.
  host::CallHooks::instance().before("SysFreeString", 3, [&] { atTheFree = log.texts(); });
  EnsureTask(L"C:\\x");
  EXPECT_EQ(atTheFree, Texts{});
}

TEST_F(TaskCheckTest, definitionOfTheCheckIsNotTheOneThatIsBuilt) {
  makeTask(L"C:\\x");
  s_taskDefinition = nullptr;
  EnsureTask(L"C:\\x");
  EXPECT_EQ(s_taskDefinition, nullptr);
}

TEST_F(TaskCheckTest, taskThatPointsElsewhereIsRepointedInItsOrder) {
  makeTask(L"C:\\old");
  EnsureTask(L"C:\\new");
  EXPECT_EQ(
      comCalls(),
      joined(
          {kOpening,
           {"ITaskFolder::GetTask", "IRegisteredTask::get_Definition", "Release IRegisteredTask",
            "ITaskDefinition::get_Actions", "IActionCollection::get_Item",
            "Release IActionCollection", "IUnknown::QueryInterface", "Release IAction",
            "IExecAction::get_Path", "IExecAction::put_Path", "Release IExecAction",
            "ITaskFolder::RegisterTaskDefinition", "Release ITaskFolder", "Release ITaskDefinition",
            "Release IRegisteredTask", "Release ITaskService", "CoUninitialize"}}));
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: C:\\oldandC:\\new",
                                "[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  expectBalanced();
  EXPECT_EQ(storedPath(), L"\"C:\\new\\OrvixVTMEKRecertification.exe\"");
}

TEST_F(TaskCheckTest, repointedTaskKeepsAllItsOtherValues) {
  makeTask(L"C:\\old");
  changeStored([](ITaskDefinition* definition) {
    ITaskSettings* settings = nullptr;
    ASSERT_EQ(definition->get_Settings(&settings), S_OK);
    EXPECT_EQ(settings->put_Priority(4), S_OK);
    EXPECT_EQ(settings->put_Hidden(VARIANT_FALSE), S_OK);
    EXPECT_EQ(settings->put_Enabled(VARIANT_FALSE), S_OK);
    settings->Release();
  });
  EnsureTask(L"C:\\new");
  EXPECT_EQ(storedPath(), L"\"C:\\new\\OrvixVTMEKRecertification.exe\"");
  EXPECT_TRUE(readStored([](ITaskDefinition* definition) {
    ITaskSettings* settings = nullptr;
    ASSERT_EQ(definition->get_Settings(&settings), S_OK);
    INT priority = 0;
    VARIANT_BOOL hidden = VARIANT_TRUE;
    VARIANT_BOOL enabled = VARIANT_TRUE;
    settings->get_Priority(&priority);
    settings->get_Hidden(&hidden);
    settings->get_Enabled(&enabled);
    EXPECT_EQ(priority, 4);
    EXPECT_EQ(hidden, VARIANT_FALSE);
    EXPECT_EQ(enabled, VARIANT_FALSE);
    settings->Release();
  }));
}

TEST_F(TaskCheckTest, failedNewPathIsNotLookedAtAndTheOldOneIsSaved) {
  makeTask(L"C:\\old");
  faults().failOnce("IExecAction::put_Path", 0x80070005);
  EnsureTask(L"C:\\new");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: C:\\oldandC:\\new",
                                "[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  expectBalanced();
  EXPECT_EQ(storedPath(), L"\"C:\\old\\OrvixVTMEKRecertification.exe\"");
}

// Deliberate: the last line is written whatever came of the save, and COM is closed twice.
TEST_F(TaskCheckTest, failedSaveOfARepointedTaskStillSaysThatItWasUpdated) {
  makeTask(L"C:\\old");
  faults().failOnce("ITaskFolder::RegisterTaskDefinition", 0x80070005);
  EnsureTask(L"C:\\new");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: C:\\oldandC:\\new",
                                "[DBG] [TPM] Error saving the Task : 80070005",
                                "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  EXPECT_EQ(comCallsAfterTheFault(),
            (Texts{"Release ITaskFolder", "Release ITaskDefinition", "CoUninitialize",
                   "Release ITaskService", "CoUninitialize"}));
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{"CoUninitialize: the thread has not begun COM"});
  EXPECT_EQ(storedPath(), L"\"C:\\old\\OrvixVTMEKRecertification.exe\"");
}

// The store takes a path of 260 characters, quotes included, and none that is longer.

TEST_F(TaskCheckTest, taskIsRepointedToTheLongestPathThatTheStoreTakes) {
  makeTask(L"C:\\old");
  const std::wstring directory = L"C:\\" + std::wstring(225, L'x');
  EnsureTask(directory);
  EXPECT_TRUE(log.contains("[DBG] [TPM] Success! Task successfully registered."));
  EXPECT_EQ(storedPath(), L"\"" + directory + L"\\OrvixVTMEKRecertification.exe\"");
  EXPECT_EQ(storedPath().size(), 260U);
}

class TooLongNewPathTest : public TaskCheckTest,
                           public ::testing::WithParamInterface<std::size_t> {};

TEST_P(TooLongNewPathTest, isRefusedAtRegistrationAndTheOldOneStays) {
  makeTask(L"C:\\old");
  EnsureTask(L"C:\\" + std::wstring(GetParam(), L'x'));
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] Compare: C:\\oldandC:\\" + std::string(GetParam(), 'x'),
                   "[DBG] [TPM] Error saving the Task : 80041318",
                   "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{"CoUninitialize: the thread has not begun COM"});
  EXPECT_EQ(storedPath(), L"\"C:\\old\\OrvixVTMEKRecertification.exe\"");
}

INSTANTIATE_TEST_SUITE_P(Lengths, TooLongNewPathTest, ::testing::Values(226U, 32'000U));

TEST_F(TaskCheckTest, documentOfARepointedTaskIsValid) {
  makeTask(L"C:\\old");
  EnsureTask(L"C:\\new");
  EXPECT_NE(storedDocument().find("\"C:\\new\\OrvixVTMEKRecertification.exe\""), std::string::npos);
  EXPECT_TRUE(isStoredDocumentValid());
}

// Deliberate: no result is looked at on the way to the stored path, so what is used next is null.
class UncheckedCallTest : public TaskCheckTest,
                          public ::testing::WithParamInterface<const char*> {};

TEST_P(UncheckedCallTest, failureEndsTheProcess) {
  makeTask(L"C:\\x");
  EXPECT_EXIT(
      {
        letTheFaultEndTheProcess();
        faults().failOnce(GetParam(), 0x80070005);
        EnsureTask(L"C:\\x");
      },
      usedANullPointer, "");
}

INSTANTIATE_TEST_SUITE_P(Calls, UncheckedCallTest,
                         ::testing::Values("IRegisteredTask::get_Definition",
                                           "ITaskDefinition::get_Actions",
                                           "IActionCollection::get_Item",
                                           "IUnknown::QueryInterface", "IExecAction::get_Path"),
                         [](const auto& row) {
                           const std::string name = row.param;
                           return name.substr(name.find("::") + 2);
                         });

}  // namespace
