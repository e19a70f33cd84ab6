// Connecting, registering, looking up and deleting tasks.

#include "tests/unit/host/ComFixture.h"

namespace host {
namespace {

using Texts = std::vector<std::string>;

constexpr wchar_t kName[] = L"Some Task";
constexpr wchar_t kFile[] = L"C:\\Windows\\System32\\Tasks\\Some Task";
constexpr wchar_t kProgram[] = L"\"C:\\x\\Program.exe\"";

class TaskSchedulerTest : public TaskServiceTest {
 protected:
  // A definition that lacks nothing.
  Reference<ITaskDefinition> wholeTask() const {
    auto task = newTask();
    addProgram(*task, kProgram);
    return task;
  }

  HRESULT find(const std::wstring& name) const {
    IRegisteredTask* task = nullptr;
    const HRESULT result = root->GetTask(TestString(name), &task);
    if (task != nullptr) {
      task->Release();
    }
    return result;
  }

  HRESULT withInterval(const std::wstring& interval) const {
    const auto task = wholeTask();
    const auto settings = settingsOf(*task);
    EXPECT_EQ(settings->put_RestartInterval(TestString(interval)), 0);
    EXPECT_EQ(settings->put_RestartCount(3), 0);
    return put(kName, *task);
  }
};

TEST_F(TaskSchedulerTest, BeforeConnectMethodsFail) {
  const auto other = newService();
  ITaskFolder* folder = nullptr;
  EXPECT_EQ(code(other->GetFolder(TestString(L"\\"), &folder)), 0x800704E3U);
  ITaskDefinition* task = nullptr;
  EXPECT_EQ(code(other->NewTask(0, &task)), 0x800704E3U);
  VARIANT_BOOL connected = VARIANT_TRUE;
  EXPECT_EQ(other->get_Connected(&connected), 0);
  EXPECT_EQ(connected, VARIANT_FALSE);
}

TEST_F(TaskSchedulerTest, ASchedulerThatRefusesAnswersAccessDenied) {
  machine().schedulerRefuses = true;
  EXPECT_EQ(code(newService()->Connect(kEmpty, kEmpty, kEmpty, kEmpty)), 0x80070005U);
}

TEST_F(TaskSchedulerTest, OnlyTheLocalMachineIsThere) {
  const TestString server(L"elsewhere");
  EXPECT_EQ(code(newService()->Connect(textVariant(server), kEmpty, kEmpty, kEmpty)), 0x80070035U);
}

TEST_F(TaskSchedulerTest, AFolderThatIsNotThereIsNotFound) {
  ITaskFolder* folder = nullptr;
  EXPECT_EQ(code(service->GetFolder(TestString(L"\\Elsewhere"), &folder)), 0x80070002U);
}

TEST_F(TaskSchedulerTest, ATaskInAFolderIsFoundThere) {
  put(L"\\Folder\\Inside", *wholeTask());
  ITaskFolder* found = nullptr;
  ASSERT_EQ(service->GetFolder(TestString(L"\\Folder"), &found), 0);
  const Reference<ITaskFolder> folder(found);
  IRegisteredTask* task = nullptr;
  ASSERT_EQ(folder->GetTask(TestString(L"Inside"), &task), 0);
  BSTR path = nullptr;
  task->get_Path(&path);
  EXPECT_EQ(taken(path), L"\\Folder\\Inside");
  task->Release();
}

TEST_F(TaskSchedulerTest, AMissingTaskIsNotFound) {
  EXPECT_EQ(code(find(kName)), 0x80070002U);
}

TEST_F(TaskSchedulerTest, NamesIgnoreCase) {
  put(kName, *wholeTask());
  EXPECT_EQ(find(L"SOME task"), 0);
}

TEST_F(TaskSchedulerTest, AFileThatIsNoTaskIsMalformed) {
  machine().drive.write(kFile, "<Task>");
  EXPECT_EQ(code(find(kName)), 0x8004131AU);
}

TEST_F(TaskSchedulerTest, CreatingOverAnExistingTaskIsRefused) {
  EXPECT_EQ(put(kName, *wholeTask(), TASK_CREATE), 0);
  EXPECT_EQ(code(put(kName, *wholeTask(), TASK_CREATE)), 0x800700B7U);
}

TEST_F(TaskSchedulerTest, UpdatingAMissingTaskIsRefused) {
  EXPECT_EQ(code(put(kName, *wholeTask(), TASK_UPDATE)), 0x80070002U);
  EXPECT_FALSE(machine().drive.exists(kFile));
}

TEST_F(TaskSchedulerTest, CreateOrUpdateDoesBoth) {
  EXPECT_EQ(put(kName, *wholeTask()), 0);
  const auto other = newTask();
  addProgram(*other, L"C:\\other.exe");
  EXPECT_EQ(put(kName, *other), 0);
  BSTR text = nullptr;
  stored(kName)->get_XmlText(&text);
  EXPECT_NE(taken(text).find(L"<Command>C:\\other.exe</Command>"), std::wstring::npos);
}

TEST_F(TaskSchedulerTest, ARegistrationThatIsNeitherIsRefused) {
  EXPECT_EQ(code(put(kName, *wholeTask(), 0)), 0x80070057U);
}

TEST_F(TaskSchedulerTest, AValidationStoresNothing) {
  EXPECT_EQ(put(kName, *wholeTask(), TASK_VALIDATE_ONLY), 0);
  EXPECT_FALSE(machine().drive.exists(kFile));
}

TEST_F(TaskSchedulerTest, ATaskWithANameThatNoFileCanHaveIsRefused) {
  EXPECT_EQ(code(put(L"a?b", *wholeTask())), 0x8007007BU);
  EXPECT_EQ(code(put(std::wstring(300, L'a'), *wholeTask())), 0x80070003U);
}

TEST_F(TaskSchedulerTest, SomebodyWhoIsNoAdministratorMayNotRegister) {
  machine().token.administrator = false;
  EXPECT_EQ(code(put(kName, *wholeTask())), 0x80070005U);
}

TEST_F(TaskSchedulerTest, AServiceAccountMustBeOne) {
  EXPECT_EQ(code(put(kName, *wholeTask(), TASK_CREATE_OR_UPDATE, L"somebody")), 0x80070534U);
}

TEST_F(TaskSchedulerTest, ADefinitionAfterItsLastReleaseIsNotRegistered) {
  ITaskDefinition* task = wholeTask().release();
  task->Release();
  EXPECT_EQ(code(put(kName, *task)), 0x80010108U);
}

TEST_F(TaskSchedulerTest, ATaskIsDeletedOnce) {
  put(kName, *wholeTask());
  EXPECT_EQ(root->DeleteTask(TestString(kName), 0), 0);
  EXPECT_FALSE(machine().drive.exists(kFile));
  EXPECT_EQ(code(root->DeleteTask(TestString(kName), 0)), 0x80070002U);
}

TEST_F(TaskSchedulerTest, ADeletionTakesNoFlags) {
  put(kName, *wholeTask());
  EXPECT_EQ(code(root->DeleteTask(TestString(kName), 1)), 0x80070057U);
}

TEST_F(TaskSchedulerTest, TheJournalShowsEachVariantWithItsTypeAndItsContents) {
  const TestString name(kName);
  const TestString text(L"a text");
  VARIANT number{};
  number.vt = VT_I4;
  IRegisteredTask* registered = nullptr;
  root->RegisterTaskDefinition(name, nullptr, 6, textVariant(text), kEmpty,
                               TASK_LOGON_SERVICE_ACCOUNT, textVariant(nullptr), &registered);
  root->RegisterTaskDefinition(name, newTask().get(), 2, number, textVariant(text), TASK_LOGON_NONE,
                               kEmpty, &registered);
  const auto calls = journal().calls("ITaskFolder::RegisterTaskDefinition");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0].args, "Some Task, null, 6, BSTR \"a text\", EMPTY, 5, BSTR \"\"");
  EXPECT_EQ(calls[1].args, "Some Task, ITaskDefinition, 2, type 3, BSTR \"a text\", 0, EMPTY");
}

TEST_F(TaskSchedulerTest, AFailedRegistrationChangesNothing) {
  put(kName, *wholeTask());
  const auto before = machine().drive.read(kFile);
  const auto other = newTask();
  addProgram(*other, L"C:\\other.exe");
  faults().failOnce("ITaskFolder::RegisterTaskDefinition", 0x80070005);
  EXPECT_EQ(code(put(kName, *other)), 0x80070005U);
  EXPECT_EQ(machine().drive.read(kFile), before);
}

TEST_F(TaskSchedulerTest, AFullDriveFailsTheRegistration) {
  machine().drive.linkIn("/dev/full", kFile);
  EXPECT_EQ(code(put(kName, *wholeTask(), TASK_CREATE)), 0x80070070U);
}

TEST_F(TaskSchedulerTest, ADriveThatDeniesTheFileFailsTheRegistration) {
  machine().drive.createFolder(kFile);
  EXPECT_EQ(code(put(kName, *wholeTask(), TASK_CREATE)), 0x80070005U);
}

TEST_F(TaskSchedulerTest, AFolderThatCannotBeMadeFailsTheRegistration) {
  machine().drive.write(kFile, "a file");
  EXPECT_EQ(code(put(std::wstring(kName) + L"\\Task", *wholeTask(), TASK_CREATE)), 0x80070003U);
}

// Validation

TEST_F(TaskSchedulerTest, SettersTakeAnythingAndTheRegistrationRefusesIt) {
  EXPECT_EQ(code(withInterval(L"half an hour")), 0x80041318U);
}

TEST_F(TaskSchedulerTest, ARestartIntervalIsFromAMinuteToThirtyOneDays) {
  EXPECT_EQ(withInterval(L"PT1M"), 0);
  EXPECT_EQ(code(withInterval(L"PT59S")), 0x80041318U);
  EXPECT_EQ(withInterval(L"P31D"), 0);
  EXPECT_EQ(code(withInterval(L"P31DT1S")), 0x80041318U);
}

TEST_F(TaskSchedulerTest, DurationsHaveTheirForm) {
  for (const wchar_t* wrong : {L"P", L"PT", L"30M", L"PT30", L"PT5M3H", L"P1H", L"PTM"}) {
    EXPECT_EQ(code(withInterval(wrong)), 0x80041318U) << toUtf8(wrong);
  }
  EXPECT_EQ(withInterval(L"P1DT2H3M4S"), 0);
}

TEST_F(TaskSchedulerTest, OneHalfOfTheRestartSettingsIsNotEnough) {
  const auto task = wholeTask();
  settingsOf(*task)->put_RestartCount(3);
  EXPECT_EQ(code(put(kName, *task)), 0x80041319U);
}

TEST_F(TaskSchedulerTest, APriorityIsFromZeroToTen) {
  const auto task = wholeTask();
  const auto settings = settingsOf(*task);
  EXPECT_EQ(settings->put_Priority(11), 0);
  EXPECT_EQ(code(put(kName, *task)), 0x80041318U);
  settings->put_Priority(10);
  EXPECT_EQ(put(kName, *task), 0);
}

TEST_F(TaskSchedulerTest, ADateHasItsForm) {
  const auto task = wholeTask();
  IRegistrationInfo* found = nullptr;
  task->get_RegistrationInfo(&found);
  const Reference<IRegistrationInfo> info(found);
  EXPECT_EQ(info->put_Date(TestString(L"yesterday")), 0);
  EXPECT_EQ(code(put(kName, *task)), 0x80041318U);
  info->put_Date(TestString(L"2017-13-24T12:34:56"));
  EXPECT_EQ(code(put(kName, *task)), 0x80041318U);
  info->put_Date(TestString(L"2017-10-24T12:34:56.7890"));
  EXPECT_EQ(put(kName, *task), 0);
}

TEST_F(TaskSchedulerTest, APathOfThirtyTwoThousandCharactersIsRefused) {
  const auto task = newTask();
  const auto exec = addProgram(*task, std::wstring(32'000, L'a'));
  EXPECT_EQ(code(put(kName, *task)), 0x80041318U);
  EXPECT_FALSE(machine().drive.exists(kFile));
}

TEST_F(TaskSchedulerTest, APathHasAtMostTwoHundredAndSixtyCharacters) {
  const auto task = newTask();
  const auto exec = addProgram(*task, std::wstring(261, L'a'));
  EXPECT_EQ(code(put(kName, *task)), 0x80041318U);
  exec->put_Path(TestString(std::wstring(260, L'a')));
  EXPECT_EQ(put(kName, *task), 0);
}

TEST_F(TaskSchedulerTest, AnActionWithoutAPathIsRefused) {
  const auto task = newTask();
  const auto exec = addProgram(*task, L"");
  EXPECT_EQ(code(put(kName, *task)), 0x80041319U);
}

TEST_F(TaskSchedulerTest, ATaskWithoutActionsIsRefused) {
  EXPECT_EQ(code(put(kName, *newTask())), 0x80041319U);
}

TEST_F(TaskSchedulerTest, AnEventTriggerWithoutItsQueryIsRefused) {
  const auto task = wholeTask();
  addEventTrigger(*task, L"");
  EXPECT_EQ(code(put(kName, *task)), 0x80041319U);
}

TEST_F(TaskSchedulerTest, ACharacterThatNoDocumentCanHoldIsRefused) {
  const auto task = newTask();
  addProgram(*task, L"C:\\\x01.exe");
  EXPECT_EQ(code(put(kName, *task)), 0x8004131AU);
}

// What others have made

TEST_F(TaskSchedulerTest, AStoredTaskWithoutActionsHasNoFirstAction) {
  machine().drive.write(kFile,
                        "<Task xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">"
                        "<Actions/></Task>");
  IActionCollection* found = nullptr;
  stored(kName)->get_Actions(&found);
  const Reference<IActionCollection> actions(found);
  IAction* action = nullptr;
  EXPECT_EQ(code(actions->get_Item(1, &action)), 0x80070057U);
  EXPECT_EQ(action, nullptr);
}

TEST_F(TaskSchedulerTest, AnActionThatStartsNoProgramHasNoPath) {
  machine().drive.write(
      kFile,
      "<Task xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\"><Actions><ComHandler>"
      "<ClassId>{00000000-0000-0000-0000-000000000000}</ClassId></ComHandler></Actions></Task>");
  IActionCollection* found = nullptr;
  stored(kName)->get_Actions(&found);
  const Reference<IActionCollection> actions(found);
  IAction* action = nullptr;
  ASSERT_EQ(actions->get_Item(1, &action), 0);
  void* exec = nullptr;
  EXPECT_EQ(code(action->QueryInterface(IID_IExecAction, &exec)), 0x80004002U);
  action->Release();
}

TEST_F(TaskSchedulerTest, AReadPathIsTheStoredOne) {
  put(kName, *wholeTask());
  IActionCollection* found = nullptr;
  stored(kName)->get_Actions(&found);
  const Reference<IActionCollection> actions(found);
  IAction* action = nullptr;
  ASSERT_EQ(actions->get_Item(1, &action), 0);
  BSTR path = nullptr;
  face<IExecAction>(*action, IID_IExecAction)->get_Path(&path);
  EXPECT_EQ(taken(path), L"\"C:\\x\\Program.exe\"");
  action->Release();
}

TEST_F(TaskSchedulerTest, NothingIsLeftOpen) {
  put(kName, *wholeTask());
  { const auto definition = stored(kName); }
  root.reset();
  service.reset();
  CoUninitialize();
  EXPECT_EQ(ledger().open("reference"), 0U);
  EXPECT_EQ(ledger().open("bstr"), 0U);
  EXPECT_EQ(ledger().open("com"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

}  // namespace
}  // namespace host
