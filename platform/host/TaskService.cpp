// The scheduler's own object and its folders.

#include <optional>

#include "platform/host/Machine.h"
#include "platform/host/RegisteredTaskObject.h"
#include "platform/host/TaskDefinitionObject.h"
#include "platform/host/TaskRegistration.h"
#include "platform/host/TaskRules.h"
#include "platform/host/TaskScheduler.h"

namespace host {
namespace {

// "This operation is supported only when you are connected to the server."
constexpr HRESULT kNotConnected = static_cast<HRESULT>(0x800704E3);
constexpr DWORD kBadNetworkPath = 53;

bool isText(const VARIANT& variant) {
  return variant.vt == VT_BSTR;
}

bool isEmpty(const VARIANT& variant) {
  return variant.vt == VT_EMPTY || variant.vt == VT_NULL;
}

// The text of a variant that may also be empty; false for any other kind.
bool readVariant(const VARIANT& variant, const char* call, std::wstring& text) {
  text.clear();
  return isEmpty(variant) || (isText(variant) && readString(variant.bstrVal, call, text));
}

// A variant with its type and what is in it, for the journal.
std::string journalForm(const VARIANT& variant, const std::wstring& text) {
  switch (variant.vt) {
    case VT_EMPTY:
      return "EMPTY";
    case VT_NULL:
      return "NULL";
    case VT_BSTR:
      return "BSTR \"" + toUtf8(text) + "\"";
    default:
      return "type " + std::to_string(variant.vt);
  }
}

// Clears the place of the answer, and says what a call that takes a text answers before it looks at
// anything else; nothing if it may go on.
template <class Interface>
std::optional<HRESULT> refusalOf(const MethodCall& call, bool isString, Interface** place) {
  if (place == nullptr) {
    return E_POINTER;
  }
  *place = nullptr;
  if (call.isRefused()) {
    return call.verdict();
  }
  return isString ? std::nullopt : std::optional(E_INVALIDARG);
}

class TaskFolderObject final : public ComBase<ITaskFolder, IID_ITaskFolder> {
 public:
  // `path`: without backslashes at its ends, empty for the root.
  explicit TaskFolderObject(std::wstring path) : ComBase("ITaskFolder"), path_(std::move(path)) {}

  HRESULT get_Name(BSTR* /*name*/) override { return notBuilt("ITaskFolder::get_Name"); }
  HRESULT get_Path(BSTR* /*path*/) override { return notBuilt("ITaskFolder::get_Path"); }
  HRESULT GetFolder(BSTR path, ITaskFolder** folder) override;
  HRESULT GetFolders(LONG /*flags*/, ITaskFolderCollection** /*folders*/) override {
    return notBuilt("ITaskFolder::GetFolders");
  }
  HRESULT CreateFolder(BSTR /*name*/, VARIANT /*sddl*/, ITaskFolder** /*folder*/) override {
    return notBuilt("ITaskFolder::CreateFolder");
  }
  HRESULT DeleteFolder(BSTR /*name*/, LONG /*flags*/) override {
    return notBuilt("ITaskFolder::DeleteFolder");
  }
  HRESULT GetTask(BSTR path, IRegisteredTask** task) override;
  HRESULT GetTasks(LONG /*flags*/, IRegisteredTaskCollection** /*tasks*/) override {
    return notBuilt("ITaskFolder::GetTasks");
  }
  HRESULT DeleteTask(BSTR name, LONG flags) override;
  HRESULT RegisterTask(BSTR /*path*/, BSTR /*xml*/, LONG /*flags*/, VARIANT /*user*/,
                       VARIANT /*password*/, TASK_LOGON_TYPE /*logonType*/, VARIANT /*sddl*/,
                       IRegisteredTask** /*task*/) override {
    return notBuilt("ITaskFolder::RegisterTask");
  }
  HRESULT RegisterTaskDefinition(BSTR path, ITaskDefinition* definition, LONG flags, VARIANT user,
                                 VARIANT password, TASK_LOGON_TYPE logon, VARIANT sddl,
                                 IRegisteredTask** task) override;
  HRESULT GetSecurityDescriptor(LONG /*info*/, BSTR* /*sddl*/) override {
    return notBuilt("ITaskFolder::GetSecurityDescriptor");
  }
  HRESULT SetSecurityDescriptor(BSTR /*sddl*/, LONG /*flags*/) override {
    return notBuilt("ITaskFolder::SetSecurityDescriptor");
  }

 private:
  std::wstring fullName(const std::wstring& name) const {
    return path_.empty() || name.starts_with(L'\\') ? name : path_ + L"\\" + name;
  }

  std::wstring path_;
};

// Gives the folder that a path leads to.
HRESULT giveFolder(MethodCall& call, const char* maker, const std::wstring& path,
                   ITaskFolder** folder) {
  const std::size_t first = path.find_first_not_of(L'\\');
  std::wstring own = first == std::wstring::npos ? L"" : path.substr(first);
  own.resize(own.find_last_not_of(L'\\') + 1);
  if (!taskFolderExists(own)) {
    return call.answers(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  }
  auto* const object = ComObject::keep(std::make_unique<TaskFolderObject>(own));
  object->addReference(maker);
  *folder = object;
  return call.answers(S_OK);
}

HRESULT TaskFolderObject::GetFolder(BSTR path, ITaskFolder** folder) {
  static constexpr char kName[] = "ITaskFolder::GetFolder";
  std::wstring text;
  const bool isString = readString(path, kName, text);
  MethodCall call(*this, kName, text.c_str());
  if (const auto refusal = refusalOf(call, isString, folder)) {
    return call.answers(*refusal);
  }
  const Scheduler::Guard guard;
  return giveFolder(call, kName, fullName(text), folder);
}

HRESULT TaskFolderObject::GetTask(BSTR path, IRegisteredTask** task) {
  static constexpr char kName[] = "ITaskFolder::GetTask";
  std::wstring text;
  const bool isString = readString(path, kName, text);
  MethodCall call(*this, kName, text.c_str());
  if (const auto refusal = refusalOf(call, isString, task)) {
    return call.answers(*refusal);
  }
  const Scheduler::Guard guard;
  const auto stored = readTask(fullName(text));
  if (stored == nullptr) {
    return call.answers(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  }
  if (stored->document == nullptr) {
    return call.answers(kTaskMalformed);
  }
  *task = giveRegisteredTask(*stored, kName);
  return call.answers(S_OK);
}

HRESULT TaskFolderObject::DeleteTask(BSTR name, LONG flags) {
  static constexpr char kName[] = "ITaskFolder::DeleteTask";
  std::wstring text;
  const bool isString = readString(name, kName, text);
  MethodCall call(*this, kName, text.c_str(), flags);
  if (call.isRefused()) {
    return call.refuses();
  }
  if (!isString || flags != 0) {
    return call.answers(E_INVALIDARG);
  }
  const Scheduler::Guard guard;
  return call.answers(removeTask(fullName(text)));
}

HRESULT TaskFolderObject::RegisterTaskDefinition(BSTR path, ITaskDefinition* definition, LONG flags,
                                                 VARIANT user, VARIANT password,
                                                 TASK_LOGON_TYPE logon, VARIANT sddl,
                                                 IRegisteredTask** task) {
  static constexpr char kName[] = "ITaskFolder::RegisterTaskDefinition";
  Registration registration;
  std::wstring name;
  std::wstring secret;
  bool areTexts = readString(path, kName, name);
  areTexts = readVariant(user, kName, registration.user) && areTexts;
  areTexts = readVariant(password, kName, secret) && areTexts;
  areTexts = readVariant(sddl, kName, registration.sddl) && areTexts;
  auto* const object = dynamic_cast<TaskDefinitionObject*>(definition);
  MethodCall call(*this, kName, name.c_str(), object == nullptr ? "null" : object->kind(), flags,
                  journalForm(user, registration.user).c_str(),
                  journalForm(password, secret).c_str(), static_cast<int>(logon),
                  journalForm(sddl, registration.sddl).c_str());
  const bool isGone = object != nullptr && !object->isAlive(kName);
  if (task == nullptr) {
    return call.answers(E_POINTER);
  }
  *task = nullptr;
  if (call.isRefused()) {
    return call.refuses();
  }
  if (object == nullptr || !areTexts) {
    return call.answers(E_INVALIDARG);
  }
  if (isGone) {
    return call.answers(kObjectGone);
  }
  const Scheduler::Guard guard;
  registration.name = fullName(name);
  registration.flags = flags;
  registration.logon = logon;
  std::unique_ptr<StoredTask> stored;
  const HRESULT result = registerTask(registration, *object->node(), stored);
  if (stored != nullptr && !call.failsWhenDone()) {
    *task = giveRegisteredTask(*stored, kName);
  }
  return call.answers(result);
}

class TaskServiceObject final : public ComBase<ITaskService, IID_ITaskService> {
 public:
  TaskServiceObject() : ComBase("ITaskService") {}

  HRESULT GetFolder(BSTR path, ITaskFolder** folder) override;
  HRESULT GetRunningTasks(LONG /*flags*/, IRunningTaskCollection** /*tasks*/) override {
    return notBuilt("ITaskService::GetRunningTasks");
  }
  HRESULT NewTask(DWORD flags, ITaskDefinition** definition) override;
  HRESULT Connect(VARIANT server, VARIANT user, VARIANT domain, VARIANT password) override;
  HRESULT get_Connected(VARIANT_BOOL* connected) override;
  HRESULT get_TargetServer(BSTR* /*server*/) override {
    return notBuilt("ITaskService::get_TargetServer");
  }
  HRESULT get_ConnectedUser(BSTR* /*user*/) override {
    return notBuilt("ITaskService::get_ConnectedUser");
  }
  HRESULT get_ConnectedDomain(BSTR* /*domain*/) override {
    return notBuilt("ITaskService::get_ConnectedDomain");
  }
  HRESULT get_HighestVersion(DWORD* /*version*/) override {
    return notBuilt("ITaskService::get_HighestVersion");
  }

 private:
  bool isConnected_ = false;
};

HRESULT TaskServiceObject::GetFolder(BSTR path, ITaskFolder** folder) {
  static constexpr char kName[] = "ITaskService::GetFolder";
  std::wstring text;
  const bool isString = readString(path, kName, text);
  MethodCall call(*this, kName, text.c_str());
  if (const auto refusal = refusalOf(call, isString, folder)) {
    return call.answers(*refusal);
  }
  if (!isConnected_) {
    return call.answers(kNotConnected);
  }
  const Scheduler::Guard guard;
  return giveFolder(call, kName, text, folder);
}

HRESULT TaskServiceObject::NewTask(DWORD flags, ITaskDefinition** definition) {
  static constexpr char kName[] = "ITaskService::NewTask";
  MethodCall call(*this, kName, flags);
  if (definition == nullptr) {
    return call.answers(E_POINTER);
  }
  *definition = nullptr;
  if (call.isRefused()) {
    return call.refuses();
  }
  if (!isConnected_) {
    return call.answers(kNotConnected);
  }
  if (flags != 0) {
    return call.answers(E_INVALIDARG);
  }
  const Scheduler::Guard guard;
  auto* const made = ComObject::keep(std::make_unique<TaskDefinitionObject>(newTaskDocument()));
  made->addReference(kName);
  *definition = made;
  return call.answers(S_OK);
}

HRESULT TaskServiceObject::Connect(VARIANT server, VARIANT user, VARIANT domain, VARIANT password) {
  MethodCall call(*this, "ITaskService::Connect", server.vt, user.vt, domain.vt, password.vt);
  if (call.isRefused()) {
    return call.refuses();
  }
  // Nobody connects to another machine, nor as another user.
  if (!isEmpty(server)) {
    return call.answers(HRESULT_FROM_WIN32(kBadNetworkPath));
  }
  if (machine().schedulerRefuses || !isEmpty(user) || !isEmpty(domain) || !isEmpty(password)) {
    return call.answers(E_ACCESSDENIED);
  }
  isConnected_ = true;
  return call.answers(S_OK);
}

HRESULT TaskServiceObject::get_Connected(VARIANT_BOOL* connected) {
  MethodCall call(*this, "ITaskService::get_Connected");
  if (connected == nullptr) {
    return call.answers(E_POINTER);
  }
  *connected = isConnected_ && !call.isRefused() ? VARIANT_TRUE : VARIANT_FALSE;
  return call.answers(call.verdict());
}

}  // namespace

void* makeTaskService(REFIID iid, const char* maker) {
  if (iid != IID_ITaskService && iid != IID_IUnknown && iid != IID_IDispatch) {
    return nullptr;
  }
  auto* const made = ComObject::keep(std::make_unique<TaskServiceObject>());
  made->addReference(maker);
  return static_cast<ITaskService*>(made);
}

}  // namespace host
