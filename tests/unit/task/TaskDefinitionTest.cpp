#include "task/TaskDefinition.h"

#include "task/TaskState.h"
#include "tests/unit/task/TaskFixture.h"

namespace {

const std::string kTpmEvents =
    "<QueryList><Query Id=\"0\" Path=\"System\"><Select Path=\"System\">*[System["
    "Provider[@Name='Microsoft-Windows-TPM-WMI'] and (EventID=1025 or EventID=1026)]]"
    "</Select></Query></QueryList>";

class TaskDefinitionTest : public TaskTest {
 protected:
  TaskDefinitionTest() { beginDefinition(); }

  // Gives back what a successful step leaves to its caller.
  void close() {
    s_rootFolder->Release();
    s_taskDefinition->Release();
    CoUninitialize();
    EXPECT_EQ(ledger().open("reference"), 0U);
    EXPECT_EQ(ledger().violations(), Texts{});
  }
};

// Names.

TEST_F(TaskDefinitionTest, namesOfTheTaskAndOfItsProgram) {
  EXPECT_EQ(s_taskName, L"Orvix VTM EK Recertification");
  EXPECT_EQ(s_taskExecutable, L"\\OrvixVTMEKRecertification.exe");
  close();
}

// Registration info.

TEST_F(TaskDefinitionTest, registrationInfoIsSetInItsOrder) {
  EXPECT_TRUE(PutRegistrationInfo());
  EXPECT_EQ(comCalls(), (Texts{"ITaskDefinition::get_RegistrationInfo",
                               "IRegistrationInfo::put_Date", "IRegistrationInfo::put_Author",
                               "Release IRegistrationInfo", "ITaskDefinition::get_Principal",
                               "IPrincipal::put_LogonType", "Release IPrincipal"}));
  EXPECT_EQ(log.texts(), Texts{});
  close();
}

TEST_F(TaskDefinitionTest, dateIsTheSameFixedTextOnEveryRun) {
  EXPECT_TRUE(PutRegistrationInfo());
  EXPECT_EQ(valueOf("IRegistrationInfo::put_Date"), "2017-10-24T12:34:56.7890");
  forget();
  Sleep(86'400'000);
  host::machine().setLocalTime(2031, 5, 6, 7, 8, 9, 10);
  EXPECT_TRUE(PutRegistrationInfo());
  EXPECT_EQ(valueOf("IRegistrationInfo::put_Date"), "2017-10-24T12:34:56.7890");
  close();
}

TEST_F(TaskDefinitionTest, authorIsTheMaker) {
  EXPECT_TRUE(PutRegistrationInfo());
  EXPECT_EQ(valueOf("IRegistrationInfo::put_Author"), "Orvix Corporation");
  close();
}

TEST_F(TaskDefinitionTest, logonIsThatOfAServiceAccount) {
  EXPECT_TRUE(PutRegistrationInfo());
  EXPECT_EQ(valueOf("IPrincipal::put_LogonType"), "5");
  close();
}

TEST_F(TaskDefinitionTest, failedDateChangesNothing) {
  faults().failOnce("IRegistrationInfo::put_Date", 0x80070057);
  EXPECT_TRUE(PutRegistrationInfo());
  EXPECT_EQ(
      comCallsAfterTheFault(),
      (Texts{"IRegistrationInfo::put_Author", "Release IRegistrationInfo",
             "ITaskDefinition::get_Principal", "IPrincipal::put_LogonType", "Release IPrincipal"}));
  EXPECT_EQ(log.texts(), Texts{});
  close();
}

TEST_F(TaskDefinitionTest, textsAreFreedAheadOfTheRelease) {
  EXPECT_TRUE(PutRegistrationInfo());
  EXPECT_EQ(
      journal().namesOf({"SysAllocString", "IRegistrationInfo::put_Date",
                         "IRegistrationInfo::put_Author", "SysFreeString", "IUnknown::Release"}),
      (Texts{"SysAllocString", "IRegistrationInfo::put_Date", "SysFreeString", "SysAllocString",
             "IRegistrationInfo::put_Author", "SysFreeString", "IUnknown::Release",
             "IUnknown::Release"}));
  close();
}

// Trigger.

TEST_F(TaskDefinitionTest, triggerIsAddedInItsOrder) {
  EXPECT_TRUE(AddEventTrigger());
  EXPECT_EQ(comCalls(), (Texts{"ITaskDefinition::get_Triggers", "ITriggerCollection::Create",
                               "Release ITriggerCollection", "IUnknown::QueryInterface",
                               "Release ITrigger", "IEventTrigger::put_Enabled",
                               "IEventTrigger::put_Subscription", "Release IEventTrigger"}));
  EXPECT_EQ(log.texts(), Texts{});
  close();
}

TEST_F(TaskDefinitionTest, triggerIsAnEnabledOneForEvents) {
  EXPECT_TRUE(AddEventTrigger());
  EXPECT_EQ(journal().calls("ITriggerCollection::Create").at(0).args, "0");
  EXPECT_EQ(journal().calls("IUnknown::QueryInterface").at(0).args, "ITrigger, IEventTrigger");
  EXPECT_EQ(valueOf("IEventTrigger::put_Enabled"), "-1");
  close();
}

TEST_F(TaskDefinitionTest, subscriptionIsOneLineForTheTwoEventsOfTheTpm) {
  EXPECT_TRUE(AddEventTrigger());
  EXPECT_EQ(valueOf("IEventTrigger::put_Subscription"), kTpmEvents);
  close();
}

TEST_F(TaskDefinitionTest, triggerThatCannotBeEnabledStaysAsItIs) {
  faults().failOnce("IEventTrigger::put_Enabled", 0x80070005);
  EXPECT_TRUE(AddEventTrigger());
  EXPECT_EQ(comCallsAfterTheFault(),
            (Texts{"IEventTrigger::put_Subscription", "Release IEventTrigger"}));
  EXPECT_EQ(log.texts(), Texts{});
  close();
}

// Deliberate: no start boundary is involved.
TEST_F(TaskDefinitionTest, failedSubscriptionIsLoggedAsAStartBoundary) {
  faults().failOnce("IEventTrigger::put_Subscription", 0x80041318);
  EXPECT_FALSE(AddEventTrigger());
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Cannot add start boundary to trigger: 80041318"});
}

// Action.

TEST_F(TaskDefinitionTest, actionIsAddedInItsOrder) {
  EXPECT_TRUE(AddExecAction(L"C:\\x"));
  EXPECT_EQ(comCalls(), (Texts{"ITaskDefinition::get_Actions", "IActionCollection::Create",
                               "Release IActionCollection", "IUnknown::QueryInterface",
                               "Release IAction", "IExecAction::put_Path", "Release IExecAction"}));
  EXPECT_EQ(log.texts(), Texts{});
  close();
}

TEST_F(TaskDefinitionTest, actionStartsAProgram) {
  EXPECT_TRUE(AddExecAction(L"C:\\x"));
  EXPECT_EQ(journal().calls("IActionCollection::Create").at(0).args, "0");
  EXPECT_EQ(journal().calls("IUnknown::QueryInterface").at(0).args, "IAction, IExecAction");
  close();
}

TEST_F(TaskDefinitionTest, pathOfTheModuleDirectoryCxIsQuotedAndHasNoArguments) {
  EXPECT_TRUE(AddExecAction(L"C:\\x"));
  EXPECT_EQ(valueOf("IExecAction::put_Path"), "\"C:\\x\\OrvixVTMEKRecertification.exe\"");
  EXPECT_TRUE(journal().calls("IExecAction::put_Arguments").empty());
  EXPECT_TRUE(journal().calls("IExecAction::put_WorkingDirectory").empty());
  close();
}

TEST_F(TaskDefinitionTest, directoryIsTakenAsItIs) {
  EXPECT_TRUE(AddExecAction(L"C:\\Program Files\\\u00DC\\"));
  EXPECT_EQ(firstPathOf(s_taskDefinition),
            L"\"C:\\Program Files\\\u00DC\\\\OrvixVTMEKRecertification.exe\"");
  close();
}

}  // namespace
