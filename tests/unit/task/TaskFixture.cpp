#include "tests/unit/task/TaskFixture.h"

#include "task/TaskConnection.h"
#include "task/TaskState.h"

namespace {

bool isComCall(const std::string& name) {
  return name.starts_with("Co") || name.find("::") != std::string::npos;
}

std::string firstArgument(const host::JournalEntry& entry) {
  return entry.args.substr(0, entry.args.find(", "));
}

std::string lastArgument(const host::JournalEntry& entry) {
  const std::size_t at = entry.args.rfind(", ");
  return at == std::string::npos ? entry.args : entry.args.substr(at + 2);
}

std::string textOf(const host::JournalEntry& entry) {
  const std::string name = entry.name;
  return name == "IUnknown::Release" ? "Release " + firstArgument(entry) : name;
}

IExecAction* firstActionOf(ITaskDefinition* definition) {
  IActionCollection* actions = nullptr;
  EXPECT_EQ(definition->get_Actions(&actions), S_OK);
  IAction* action = nullptr;
  EXPECT_EQ(actions->get_Item(1, &action), S_OK);
  actions->Release();
  void* found = nullptr;
  EXPECT_EQ(action->QueryInterface(IID_IExecAction, &found), S_OK);
  action->Release();
  return static_cast<IExecAction*>(found);
}

}  // namespace

std::wstring firstPathOf(ITaskDefinition* definition) {
  IExecAction* action = firstActionOf(definition);
  BSTR text = nullptr;
  EXPECT_EQ(action->get_Path(&text), S_OK);
  std::wstring path(text, SysStringLen(text));
  SysFreeString(text);
  action->Release();
  return path;
}

void setFirstPathOf(ITaskDefinition* definition, const std::wstring& path) {
  IExecAction* action = firstActionOf(definition);
  const BSTR text = SysAllocString(path.c_str());
  EXPECT_EQ(action->put_Path(text), S_OK);
  SysFreeString(text);
  action->Release();
}

TaskTest::TaskTest() {
  s_taskService = nullptr;
  s_rootFolder = nullptr;
  s_taskDefinition = nullptr;
}

void TaskTest::TearDown() {
  EXPECT_EQ(ledger().open("bstr"), 0U);
  EXPECT_EQ(ledger().open("com"), 0U);
}

TaskTest::Texts TaskTest::comCalls() {
  Texts all;
  for (const host::JournalEntry& entry : journal().entries()) {
    if (isComCall(entry.name)) all.push_back(textOf(entry));
  }
  return all;
}

TaskTest::Texts TaskTest::comCallsAfterTheFault() {
  Texts all;
  bool faulted = false;
  for (const host::JournalEntry& entry : journal().entries()) {
    if (faulted && isComCall(entry.name)) all.push_back(textOf(entry));
    faulted = faulted || entry.faulted;
  }
  EXPECT_TRUE(faulted) << "no call was told to fail";
  return all;
}

TaskTest::Texts TaskTest::comCallsWithValues() {
  Texts all;
  for (const host::JournalEntry& entry : journal().entries()) {
    if (!isComCall(entry.name)) continue;
    const bool isRelease = std::string(entry.name) == "IUnknown::Release";
    all.push_back(isRelease ? textOf(entry) : textOf(entry) + " " + lastArgument(entry));
  }
  return all;
}

std::string TaskTest::valueOf(const std::string& name) {
  const std::vector<host::JournalEntry> calls = journal().calls(name);
  EXPECT_EQ(calls.size(), 1U) << name;
  return calls.empty() ? "not called" : lastArgument(calls[0]);
}

void TaskTest::beginDefinition() {
  ASSERT_TRUE(InitializeCom());
  ASSERT_NE(ConnectTaskService(), nullptr);
  ASSERT_NE(GetRootFolder(s_taskService), nullptr);
  ASSERT_EQ(s_taskService->NewTask(0, &s_taskDefinition), S_OK);
  s_taskService->Release();
  forget();
}

bool TaskTest::readStored(const std::function<void(ITaskDefinition*)>& look) {
  return withStored(look, false);
}

std::wstring TaskTest::storedPath() {
  std::wstring path = L"no task";
  readStored([&](ITaskDefinition* definition) { path = firstPathOf(definition); });
  return path;
}

void TaskTest::changeStored(const std::function<void(ITaskDefinition*)>& change) {
  EXPECT_TRUE(withStored(change, true));
}

bool TaskTest::withStored(const std::function<void(ITaskDefinition*)>& look, bool store) {
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  void* created = nullptr;
  EXPECT_EQ(CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskService,
                             &created),
            S_OK);
  auto* service = static_cast<ITaskService*>(created);
  VARIANT empty;
  VariantInit(&empty);
  EXPECT_EQ(service->Connect(empty, empty, empty, empty), S_OK);
  const BSTR root = SysAllocString(L"\\");
  ITaskFolder* folder = nullptr;
  EXPECT_EQ(service->GetFolder(root, &folder), S_OK);
  SysFreeString(root);
  const BSTR name = SysAllocString(L"Orvix VTM EK Recertification");
  IRegisteredTask* task = nullptr;
  const bool found = folder->GetTask(name, &task) == S_OK;
  if (found) {
    ITaskDefinition* definition = nullptr;
    EXPECT_EQ(task->get_Definition(&definition), S_OK);
    look(definition);
    if (store) {
      VARIANT account = empty;
      account.vt = VT_BSTR;
      account.bstrVal = SysAllocString(L"S-1-5-18");
      IRegisteredTask* stored = nullptr;
      EXPECT_EQ(folder->RegisterTaskDefinition(name, definition, TASK_UPDATE, account, empty,
                                               TASK_LOGON_SERVICE_ACCOUNT, empty, &stored),
                S_OK);
      SysFreeString(account.bstrVal);
      if (stored != nullptr) stored->Release();
    }
    definition->Release();
    task->Release();
  }
  SysFreeString(name);
  folder->Release();
  service->Release();
  CoUninitialize();
  forget();
  return found;
}

void TaskTest::forget() {
  journal().clear();
  log.clear();
}
