#include <algorithm>

#include "task/TaskConnection.h"
#include "task/TaskDefinition.h"
#include "task/TaskState.h"
#include "tests/unit/task/TaskFixture.h"

// Every failure that is looked at: its line, what is released after it, and what comes back.

namespace {

using Texts = std::vector<std::string>;

std::string told(bool result) {
  return result ? "true" : "false";
}

std::string initialize() {
  return told(InitializeCom());
}
std::string connect() {
  return ConnectTaskService() == nullptr ? "null" : "a service";
}
std::string openRoot() {
  return GetRootFolder(s_taskService) == nullptr ? "null" : "a folder";
}
std::string putInfo() {
  return told(PutRegistrationInfo());
}
std::string putSettings() {
  return told(PutTaskSettings());
}
std::string addTrigger() {
  return told(AddEventTrigger());
}
std::string addAction() {
  return told(AddExecAction(L"C:\\x"));
}
std::string save() {
  SaveTask(s_taskDefinition);
  return "nothing";
}

// What has been done when the step begins.
enum class Before { kNothing, kInitialized, kConnected, kBegun };

struct Row {
  const char* name;
  Before before;
  std::string (*step)();
  const char* call;      // fails with access denied
  const char* text;      // the line, up to the result
  const char* released;  // ahead of the clean-up; none if empty
  Texts cleanUp;
  const char* result;
  std::size_t left = 0;  // references that are never given back
};

const Texts kNone = {};
const Texts kCom = {"CoUninitialize"};
const Texts kService = {"Release ITaskService", "CoUninitialize"};
const Texts kA = {"Release ITaskFolder", "Release ITaskDefinition", "CoUninitialize"};

const std::vector<Row> kRows = {
    {"Com", Before::kNothing, initialize, "CoInitializeEx", "CoInitializeEx failed: ", "", kNone,
     "false"},
    {"Security", Before::kNothing, initialize, "CoInitializeSecurity",
     "CoInitializeSecurity failed: ", "", kCom, "false"},
    {"Service", Before::kInitialized, connect, "CoCreateInstance",
     "Failed to create an instance of ITaskService: ", "", kCom, "null"},
    {"Connect", Before::kInitialized, connect, "ITaskService::Connect",
     "ITaskService::Connect failed: ", "", kService, "null"},
    {"RootFolder", Before::kConnected, openRoot, "ITaskService::GetFolder",
     "Cannot get Root folder pointer: ", "", kService, "null"},
    // Deliberate: the one failure that is reported as success.
    {"RegistrationInfoIsReportedAsSuccess", Before::kBegun, putInfo,
     "ITaskDefinition::get_RegistrationInfo", "Cannot get identification pointer: ", "", kA,
     "true"},
    {"Author", Before::kBegun, putInfo, "IRegistrationInfo::put_Author",
     "Cannot put identification info: ", "Release IRegistrationInfo", kA, "false"},
    {"Principal", Before::kBegun, putInfo, "ITaskDefinition::get_Principal",
     "Cannot get principal pointer: ", "", kA, "false"},
    {"LogonType", Before::kBegun, putInfo, "IPrincipal::put_LogonType",
     "Cannot put principal info logon type: ", "Release IPrincipal", kA, "false"},
    {"Settings", Before::kBegun, putSettings, "ITaskDefinition::get_Settings",
     "Cannot get settings pointer: ", "", kA, "false"},
    // Deliberate: the two that follow never give the settings back.
    {"IdleSettings", Before::kBegun, putSettings, "ITaskSettings::get_IdleSettings",
     "Cannot get idle setting information: ", "", kA, "false", 1},
    {"RestartOnIdle", Before::kBegun, putSettings, "IIdleSettings::put_RestartOnIdle",
     "Cannot put idle setting information: ", "Release IIdleSettings", kA, "false", 1},
    {"IdleSettingsOfTheSettings", Before::kBegun, putSettings, "ITaskSettings::put_IdleSettings",
     "Cannot put setting information: ", "Release ITaskSettings", kA, "false"},
    {"Triggers", Before::kBegun, addTrigger, "ITaskDefinition::get_Triggers",
     "Cannot get trigger collection: ", "", kA, "false"},
    {"Trigger", Before::kBegun, addTrigger, "ITriggerCollection::Create",
     "Cannot create trigger: ", "Release ITriggerCollection", kA, "false"},
    {"EventTrigger", Before::kBegun, addTrigger, "IUnknown::QueryInterface",
     "QueryInterface call failed for IEventTrigger: ", "Release ITrigger", kA, "false"},
    {"Subscription", Before::kBegun, addTrigger, "IEventTrigger::put_Subscription",
     "Cannot add start boundary to trigger: ", "Release IEventTrigger", kA, "false"},
    {"Actions", Before::kBegun, addAction, "ITaskDefinition::get_Actions",
     "Cannot get Task collection pointer: ", "", kA, "false"},
    {"Action", Before::kBegun, addAction, "IActionCollection::Create",
     "Cannot create the action: ", "Release IActionCollection", kA, "false"},
    {"ExecAction", Before::kBegun, addAction, "IUnknown::QueryInterface",
     "QueryInterface call failed for IExecAction: ", "Release IAction", kA, "false"},
    {"Path", Before::kBegun, addAction, "IExecAction::put_Path",
     "Cannot put action path: ", "Release IExecAction", kA, "false"},
    {"Save", Before::kBegun, save, "ITaskFolder::RegisterTaskDefinition",
     "Error saving the Task : ", "", kA, "nothing"},
};

class TaskFailureTest : public TaskTest, public ::testing::WithParamInterface<Row> {
 protected:
  TaskFailureTest() {
    const Before before = GetParam().before;
    if (before == Before::kBegun) {
      beginDefinition();
      return;
    }
    if (before == Before::kInitialized || before == Before::kConnected) InitializeCom();
    if (before == Before::kConnected) ConnectTaskService();
    forget();
  }
};

TEST_P(TaskFailureTest, isLoggedWithItsResultCleanedUpAndReported) {
  const Row& row = GetParam();
  faults().failOnce(row.call, 0x80070005);
  EXPECT_EQ(row.step(), row.result);
  EXPECT_EQ(log.texts(), Texts{std::string("[DBG] [TPM] ") + row.text + "80070005"});
  Texts expected = row.cleanUp;
  if (*row.released != '\0') expected.insert(expected.begin(), row.released);
  EXPECT_EQ(comCallsAfterTheFault(), expected);
  EXPECT_EQ(ledger().open("reference"), row.left);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_P(TaskFailureTest, fromThenOnIsNoDifferentFromOnce) {
  const Row& row = GetParam();
  faults().failFrom(row.call, 0x80070005);
  EXPECT_EQ(row.step(), row.result);
  EXPECT_EQ(log.texts(), Texts{std::string("[DBG] [TPM] ") + row.text + "80070005"});
  EXPECT_EQ(ledger().open("reference"), row.left);
  EXPECT_EQ(ledger().violations(), Texts{});
}

INSTANTIATE_TEST_SUITE_P(Rows, TaskFailureTest, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

class TaskFailureTextTest : public TaskTest {};

TEST_F(TaskFailureTextTest, resultIsInLowerCaseHexadecimalWithoutAPrefix) {
  faults().failOnce("CoInitializeEx", 0x8ABCDEF0);
  EXPECT_FALSE(InitializeCom());
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] CoInitializeEx failed: 8abcdef0"});
}

// Deliberate: after the clean-up the pointers name objects that are gone.
TEST_F(TaskFailureTextTest, cleanUpLeavesThePointersAsTheyAre) {
  beginDefinition();
  const ITaskFolder* folder = s_rootFolder;
  const ITaskDefinition* definition = s_taskDefinition;
  faults().failOnce("ITaskDefinition::get_Triggers", 0x80070005);
  EXPECT_FALSE(AddEventTrigger());
  EXPECT_EQ(s_rootFolder, folder);
  EXPECT_EQ(s_taskDefinition, definition);
}

// The clean-up is told in the log first.
TEST_F(TaskFailureTextTest, lineIsWrittenAheadOfTheReleases) {
  beginDefinition();
  Texts atTheFirstRelease;
  host::CallHooks::instance().before("IUnknown::Release", journal().count("IUnknown::Release") + 1,
                                     [&] { atTheFirstRelease = log.texts(); });
  faults().failOnce("ITaskDefinition::get_Triggers", 0x80070005);
  EXPECT_FALSE(AddEventTrigger());
  EXPECT_EQ(atTheFirstRelease, Texts{"[DBG] [TPM] Cannot get trigger collection: 80070005"});
}

}  // namespace
