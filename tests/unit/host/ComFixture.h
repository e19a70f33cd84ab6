#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

#include "platform/host/windows/windows.h"
#include "tests/support/MachineTest.h"

// For tests of the model's COM and Task Scheduler: strings, references and definitions without the
// bookkeeping around them.
namespace host {

// A string of the platform's for the length of a statement or a block.
class TestString {
 public:
  explicit TestString(const std::wstring& text)
      : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  ~TestString() { SysFreeString(text_); }
  TestString(const TestString&) = delete;
  TestString& operator=(const TestString&) = delete;
  operator BSTR() const { return text_; }

 private:
  BSTR text_;
};

struct Releaser {
  void operator()(IUnknown* object) const { object->Release(); }
};
template <class Interface>
using Reference = std::unique_ptr<Interface, Releaser>;

// An HRESULT as it is written in documents.
constexpr std::uint32_t code(HRESULT result) {
  return static_cast<std::uint32_t>(result);
}

class ComTest : public MachineTest {
 protected:
  static constexpr VARIANT kEmpty{};

  static VARIANT textVariant(BSTR text) {
    VARIANT variant{};
    variant.vt = VT_BSTR;
    variant.bstrVal = text;
    return variant;
  }

  // The text of a string that a getter gave, which is freed; "(null)" for none.
  static std::wstring taken(BSTR text) {
    const std::wstring copy = text == nullptr ? L"(null)" : std::wstring(text, SysStringLen(text));
    SysFreeString(text);
    return copy;
  }

  template <class Interface>
  static Reference<Interface> face(IUnknown& object, REFIID iid) {
    void* found = nullptr;
    EXPECT_EQ(code(object.QueryInterface(iid, &found)), 0U);
    return Reference<Interface>(static_cast<Interface*>(found));
  }
};

// With COM begun, and a connected service with its root folder.
class TaskServiceTest : public ComTest {
 protected:
  TaskServiceTest() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    service = newService();
    service->Connect(kEmpty, kEmpty, kEmpty, kEmpty);
    ITaskFolder* found = nullptr;
    service->GetFolder(TestString(L"\\"), &found);
    root.reset(found);
  }

  static Reference<ITaskService> newService() {
    void* object = nullptr;
    EXPECT_EQ(code(CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_INPROC_SERVER,
                                    IID_ITaskService, &object)),
              0U);
    return Reference<ITaskService>(static_cast<ITaskService*>(object));
  }

  Reference<ITaskDefinition> newTask() const {
    ITaskDefinition* made = nullptr;
    EXPECT_EQ(code(service->NewTask(0, &made)), 0U);
    return Reference<ITaskDefinition>(made);
  }

  static Reference<ITaskSettings> settingsOf(ITaskDefinition& task) {
    ITaskSettings* found = nullptr;
    EXPECT_EQ(code(task.get_Settings(&found)), 0U);
    return Reference<ITaskSettings>(found);
  }

  static Reference<IExecAction> addProgram(ITaskDefinition& task, const std::wstring& path) {
    IActionCollection* actions = nullptr;
    EXPECT_EQ(code(task.get_Actions(&actions)), 0U);
    const Reference<IActionCollection> heldActions(actions);
    IAction* action = nullptr;
    EXPECT_EQ(code(actions->Create(TASK_ACTION_EXEC, &action)), 0U);
    const Reference<IAction> heldAction(action);
    auto exec = face<IExecAction>(*action, IID_IExecAction);
    EXPECT_EQ(code(exec->put_Path(TestString(path))), 0U);
    return exec;
  }

  static void addEventTrigger(ITaskDefinition& task, const std::wstring& query) {
    ITriggerCollection* triggers = nullptr;
    EXPECT_EQ(code(task.get_Triggers(&triggers)), 0U);
    const Reference<ITriggerCollection> heldTriggers(triggers);
    ITrigger* trigger = nullptr;
    EXPECT_EQ(code(triggers->Create(TASK_TRIGGER_EVENT, &trigger)), 0U);
    const Reference<ITrigger> heldTrigger(trigger);
    EXPECT_EQ(
        code(face<IEventTrigger>(*trigger, IID_IEventTrigger)->put_Subscription(TestString(query))),
        0U);
  }

  HRESULT put(const std::wstring& name, ITaskDefinition& task, LONG flags = TASK_CREATE_OR_UPDATE,
              const std::wstring& user = L"S-1-5-18",
              TASK_LOGON_TYPE logon = TASK_LOGON_SERVICE_ACCOUNT) const {
    IRegisteredTask* registered = nullptr;
    const TestString account(user);
    const HRESULT result =
        root->RegisterTaskDefinition(TestString(name), &task, flags, textVariant(account), kEmpty,
                                     logon, textVariant(nullptr), &registered);
    EXPECT_EQ(registered != nullptr, SUCCEEDED(result) && (flags & TASK_VALIDATE_ONLY) == 0);
    if (registered != nullptr) {
      registered->Release();
    }
    return result;
  }

  // Null, and a failed expectation, if the task cannot be read.
  Reference<ITaskDefinition> stored(const std::wstring& name) const {
    IRegisteredTask* task = nullptr;
    EXPECT_EQ(code(root->GetTask(TestString(name), &task)), 0U);
    if (task == nullptr) {
      return nullptr;
    }
    const Reference<IRegisteredTask> held(task);
    ITaskDefinition* definition = nullptr;
    EXPECT_EQ(code(task->get_Definition(&definition)), 0U);
    return Reference<ITaskDefinition>(definition);
  }

  Reference<ITaskService> service;
  Reference<ITaskFolder> root;
};

}  // namespace host
