#include "task/TaskDefinition.h"
#include "task/TaskState.h"
#include "tests/unit/task/TaskFixture.h"

namespace {

// A definition with an action stands and is to be saved.
class SaveTaskTest : public TaskTest {
 protected:
  SaveTaskTest() {
    beginDefinition();
    EXPECT_TRUE(AddExecAction(L"C:\\x"));
    forget();
  }
};

TEST_F(SaveTaskTest, taskIsCreatedOrUpdatedUnderItsNameForTheSystemsAccount) {
  SaveTask(s_taskDefinition);
  EXPECT_EQ(journal().calls("ITaskFolder::RegisterTaskDefinition").at(0).args,
            "Orvix VTM EK Recertification, ITaskDefinition, 6, BSTR \"S-1-5-18\", EMPTY, 5, "
            "BSTR \"\"");
  CoUninitialize();
}

TEST_F(SaveTaskTest, nameAccountAndTheEmptyDescriptorAreStringsAndThePasswordIsNone) {
  SaveTask(s_taskDefinition);
  Texts strings;
  for (const host::JournalEntry& call : journal().calls("SysAllocString")) {
    strings.push_back(call.args);
  }
  EXPECT_EQ(strings, (Texts{"Orvix VTM EK Recertification", "S-1-5-18", ""}));
  CoUninitialize();
}

TEST_F(SaveTaskTest, successIsLoggedAndThreeObjectsAreReleased) {
  SaveTask(s_taskDefinition);
  EXPECT_EQ(comCalls(), (Texts{"ITaskFolder::RegisterTaskDefinition", "Release ITaskFolder",
                               "Release ITaskDefinition", "Release IRegisteredTask"}));
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Success! Task successfully registered."});
  EXPECT_EQ(ledger().open("reference"), 0U);
  CoUninitialize();
}

TEST_F(SaveTaskTest, threeTextsAreAllocatedAheadOfTheCallAndFreedAfterIt) {
  SaveTask(s_taskDefinition);
  EXPECT_EQ(
      journal().namesOf({"SysAllocString", "ITaskFolder::RegisterTaskDefinition", "SysFreeString",
                         "IUnknown::Release"}),
      (Texts{"SysAllocString", "SysAllocString", "SysAllocString",
             "ITaskFolder::RegisterTaskDefinition", "SysFreeString", "SysFreeString",
             "SysFreeString", "IUnknown::Release", "IUnknown::Release", "IUnknown::Release"}));
  CoUninitialize();
}

// The definition that it is given is the one that counts.
TEST_F(SaveTaskTest, anotherDefinitionIsSavedAndReleasedAndTheOneThatIsBuiltStays) {
  SaveTask(s_taskDefinition);
  CoUninitialize();
  beginDefinition();
  ITaskDefinition* const other = s_taskDefinition;
  EXPECT_TRUE(AddExecAction(L"C:\\other"));
  s_rootFolder->Release();
  CoUninitialize();
  beginDefinition();
  EXPECT_TRUE(AddExecAction(L"C:\\built"));
  forget();
  SaveTask(other);
  EXPECT_EQ(comCalls(), (Texts{"ITaskFolder::RegisterTaskDefinition", "Release ITaskFolder",
                               "Release ITaskDefinition", "Release IRegisteredTask"}));
  EXPECT_EQ(ledger().open("reference"), 1U);
  EXPECT_EQ(firstPathOf(s_taskDefinition), L"\"C:\\built\\OrvixVTMEKRecertification.exe\"");
  s_taskDefinition->Release();
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
  CoUninitialize();
  EXPECT_EQ(storedPath(), L"\"C:\\other\\OrvixVTMEKRecertification.exe\"");
}

TEST_F(SaveTaskTest, failedSaveOfAnotherDefinitionReleasesThatOne) {
  ITaskDefinition* const other = s_taskDefinition;
  s_rootFolder->Release();
  CoUninitialize();
  beginDefinition();
  faults().failOnce("ITaskFolder::RegisterTaskDefinition", 0x80070005);
  SaveTask(other);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Error saving the Task : 80070005"});
  EXPECT_EQ(comCallsAfterTheFault(),
            (Texts{"Release ITaskFolder", "Release ITaskDefinition", "CoUninitialize"}));
  EXPECT_EQ(ledger().open("reference"), 1U);
  s_taskDefinition->Release();
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

// Create or update: nothing of the older task is left, whoever made it.
TEST_F(SaveTaskTest, savingOverATaskOfTheNameReplacesAllOfIt) {
  host::machine().drive.write(
      L"C:\\Windows\\System32\\Tasks\\Orvix VTM EK Recertification",
      "<?xml version=\"1.0\"?>\n"
      "<Task version=\"1.2\" xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">\n"
      "  <RegistrationInfo><Author>Somebody</Author></RegistrationInfo>\n"
      "  <Triggers><BootTrigger><Enabled>true</Enabled></BootTrigger></Triggers>\n"
      "  <Settings><Priority>4</Priority><WakeToRun>true</WakeToRun></Settings>\n"
      "  <Actions Context=\"Author\"><Exec><Command>a.exe</Command><Arguments>-a</Arguments></Exec>"
      "<Exec><Command>b.exe</Command></Exec></Actions>\n"
      "</Task>\n");
  EXPECT_TRUE(PutRegistrationInfo());
  EXPECT_TRUE(PutTaskSettings());
  EXPECT_TRUE(AddEventTrigger());
  SaveTask(s_taskDefinition);
  CoUninitialize();
  EXPECT_TRUE(readStored([](ITaskDefinition* definition) {
    EXPECT_EQ(firstPathOf(definition), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
    BSTR text = nullptr;
    EXPECT_EQ(definition->get_XmlText(&text), S_OK);
    const std::string document = host::toUtf8(std::wstring(text, SysStringLen(text)));
    SysFreeString(text);
    for (const char* gone : {"Somebody", "BootTrigger", "<Priority>4<", "<WakeToRun>true<",
                             "<Arguments>", "a.exe<", "b.exe<"}) {
      EXPECT_EQ(document.find(gone), std::string::npos) << gone;
    }
    for (const char* put : {"<Author>Orvix Corporation<", "<EventTrigger>", "<Priority>7<"}) {
      EXPECT_NE(document.find(put), std::string::npos) << put;
    }
  }));
}

}  // namespace
