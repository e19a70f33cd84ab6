#include "task/TaskState.h"
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

TEST_F(TaskCheckTest, firstActionIsTheOneThatCounts) {
  makeTask(L"C:\\x");
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(journal().calls("IActionCollection::get_Item").at(0).args.starts_with("1"));
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
  EXPECT_EQ(storedPath(), L"\"C:\\old\\OrvixVTMEKRecertification.exe\"");
}

// Stored paths that the comparison meets.

class StoredPathTest : public TaskCheckTest {
 protected:
  void store(const std::wstring& path) {
    makeTask(L"C:\\x");
    changeStored([&](ITaskDefinition* definition) { setFirstPathOf(definition, path); });
  }
  bool isLeftAlone() const { return log.contains("Task is Ok, Skipping..."); }
  bool isRepointed() const { return log.contains("Task has beed updated to new OVER location"); }
};

TEST_F(StoredPathTest, differenceInLetterCaseAloneIsRepointed) {
  store(L"\"c:\\X\\OrvixVTMEKRecertification.exe\"");
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(isRepointed());
  EXPECT_EQ(storedPath(), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
}

TEST_F(StoredPathTest, trailingBackslashInTheStoredDirectoryIsRepointed) {
  store(L"\"C:\\x\\\\OrvixVTMEKRecertification.exe\"");
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(log.contains("Compare: C:\\x\\andC:\\x"));
  EXPECT_TRUE(isRepointed());
}

TEST_F(StoredPathTest, pathWithoutQuotesInTheSameDirectoryIsLeftAlone) {
  store(L"C:\\x\\OrvixVTMEKRecertification.exe");
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(isLeftAlone());
}

TEST_F(StoredPathTest, anotherProgramInTheSameDirectoryIsLeftAlone) {
  store(L"\"C:\\x\\another.exe\"");
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(isLeftAlone());
}

TEST_F(StoredPathTest, pathWithoutASeparatorIsRepointed) {
  store(L"\"OrvixVTMEKRecertification.exe\"");
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(log.contains("Compare: OrvixVTMEKRecertification.exe\"andC:\\x"));
  EXPECT_TRUE(isRepointed());
}

TEST_F(StoredPathTest, slashesAreNotBackslashesInTheComparison) {
  store(L"\"C:/x/y/z.exe\"");
  EnsureTask(L"C:\\x\\y");
  EXPECT_TRUE(log.contains("Compare: C:/x/yandC:\\x\\y"));
  EXPECT_TRUE(isRepointed());
}

TEST_F(StoredPathTest, blanksAndCharactersBeyondAsciiCompareEqual) {
  store(L"\"C:\\Program Files\\\u00DC \u8A8D\\z.exe\"");
  EnsureTask(L"C:\\Program Files\\\u00DC \u8A8D");
  EXPECT_TRUE(isLeftAlone());
}

// A task of the same name that somebody else has made.

class ForeignTaskTest : public LifecycleTest {
 protected:
  // Stores a task with the given actions past the scheduler, as another program's document.
  static void store(const std::string& actions) {
    host::machine().drive.write(
        L"C:\\Windows\\System32\\Tasks\\Orvix VTM EK Recertification",
        "<?xml version=\"1.0\"?>\n"
        "<Task version=\"1.2\" xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">\n"
        "  <RegistrationInfo><Author>Somebody</Author></RegistrationInfo>\n"
        "  <Triggers><BootTrigger><Enabled>true</Enabled></BootTrigger></Triggers>\n"
        "  <Principals><Principal "
        "id=\"Author\"><UserId>S-1-5-18</UserId></Principal></Principals>\n"
        "  <Settings><Priority>4</Priority></Settings>\n"
        "  <Actions Context=\"Author\">" +
            actions +
            "</Actions>\n"
            "</Task>\n");
  }
};

TEST_F(ForeignTaskTest, firstActionIsPointedAtTheProgramAndTheRestStays) {
  store(
      "<Exec><Command>C:\\other\\a.exe</Command><Arguments>-a</Arguments></Exec>"
      "<Exec><Command>C:\\other\\b.exe</Command></Exec>");
  EnsureTask(L"C:\\x");
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Compare: C:\\otherandC:\\x",
                                "[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  expectBalanced();
  EXPECT_TRUE(readStored([](ITaskDefinition* definition) {
    EXPECT_EQ(firstPathOf(definition), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
    BSTR text = nullptr;
    EXPECT_EQ(definition->get_XmlText(&text), S_OK);
    const std::wstring document(text, SysStringLen(text));
    SysFreeString(text);
    for (const wchar_t* kept : {L"Somebody", L"BootTrigger", L"<Priority>4</Priority>",
                                L"<Arguments>-a</Arguments>", L"C:\\other\\b.exe"}) {
      EXPECT_NE(document.find(kept), std::wstring::npos) << host::toUtf8(kept);
    }
    EXPECT_EQ(document.find(L"EventTrigger"), std::wstring::npos);
  }));
}

TEST_F(ForeignTaskTest, emptyStoredPathIsRepointed) {
  store("<Exec><Command></Command></Exec>");
  EnsureTask(L"C:\\x");
  EXPECT_TRUE(log.contains("Compare: andC:\\x"));
  EXPECT_EQ(storedPath(), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
}

// Deliberate: there is no first action, and nobody looks whether there is.
TEST_F(ForeignTaskTest, taskWithoutActionsEndsTheProcess) {
  store("");
  EXPECT_DEATH(EnsureTask(L"C:\\x"), "");
}

TEST_F(ForeignTaskTest, firstActionThatStartsNoProgramEndsTheProcess) {
  store("<ComHandler><ClassId>{00000000-0000-0000-0000-000000000001}</ClassId></ComHandler>");
  EXPECT_DEATH(EnsureTask(L"C:\\x"), "");
}

// Deliberate: no result is looked at on the way to the stored path, so what is used next is null.
class UncheckedCallTest : public TaskCheckTest,
                          public ::testing::WithParamInterface<const char*> {};

TEST_P(UncheckedCallTest, failureEndsTheProcess) {
  makeTask(L"C:\\x");
  EXPECT_DEATH(
      {
        faults().failOnce(GetParam(), 0x80070005);
        EnsureTask(L"C:\\x");
      },
      "");
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
