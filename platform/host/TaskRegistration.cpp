#include "platform/host/TaskRegistration.h"

#include "platform/host/Machine.h"
#include "platform/host/TaskParts.h"
#include "platform/host/TaskRules.h"

namespace host {
namespace {

constexpr DWORD kNoSuchAccount = 1332;
constexpr char kPrincipal[] = "Principals/Principal/";
constexpr char kOwnAccount[] = "S-1-5-18";

HRESULT checkFlags(const Registration& registration) {
  if ((registration.flags & TASK_CREATE_OR_UPDATE) == 0) {
    return E_INVALIDARG;
  }
  const bool isThere = taskExists(registration.name);
  if (isThere && (registration.flags & TASK_UPDATE) == 0) {
    return HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS);
  }
  if (!isThere && (registration.flags & TASK_CREATE) == 0) {
    return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
  }
  return S_OK;
}

// The account is the registration's: what the definition says of it is replaced.
HRESULT setAccount(const Registration& registration, TaskNode& task) {
  const std::string user = toUtf8(registration.user);
  if (registration.logon == TASK_LOGON_SERVICE_ACCOUNT && !isServiceAccount(user)) {
    return HRESULT_FROM_WIN32(kNoSuchAccount);
  }
  const std::string principal = kPrincipal;
  if (!user.empty()) {
    const bool isGroup = registration.logon == TASK_LOGON_GROUP;
    task.removeValue(principal + (isGroup ? "UserId" : "GroupId"));
    task.setValue(principal + (isGroup ? "GroupId" : "UserId"), user);
  } else if (!task.value(principal + "UserId") && !task.value(principal + "GroupId")) {
    task.setValue(principal + "UserId", kOwnAccount);
  }
  if (registration.logon != TASK_LOGON_NONE) {
    const std::string word = logonWord(registration.logon);
    if (word.empty()) {
      task.removeValue(principal + "LogonType");
    } else {
      task.setValue(principal + "LogonType", word);
    }
  }
  return S_OK;
}

}  // namespace

HRESULT registerTask(const Registration& registration, const TaskNode& definition,
                     std::unique_ptr<StoredTask>& stored) {
  stored = nullptr;
  const auto task = definition.clone();
  if (const HRESULT result = checkTask(*task); FAILED(result)) {
    return result;
  }
  if ((registration.flags & TASK_VALIDATE_ONLY) != 0) {
    return S_OK;
  }
  if (const HRESULT result = checkFlags(registration); FAILED(result)) {
    return result;
  }
  if (!machine().token.administrator) {
    return E_ACCESSDENIED;
  }
  if (const HRESULT result = setAccount(registration, *task); FAILED(result)) {
    return result;
  }
  const std::size_t first = registration.name.find_first_not_of(L'\\');
  const std::wstring name =
      first == std::wstring::npos ? std::wstring() : registration.name.substr(first);
  task->setValue("RegistrationInfo/URI", "\\" + toUtf8(name));
  if (!registration.sddl.empty()) {
    task->setValue("RegistrationInfo/SecurityDescriptor", toUtf8(registration.sddl));
  }
  if ((registration.flags & TASK_DISABLE) != 0) {
    task->setValue("Settings/Enabled", booleanText(false));
  }
  if (const HRESULT result = writeTask(name, *task); FAILED(result)) {
    return result;
  }
  stored = std::make_unique<StoredTask>(StoredTask{name, task});
  return S_OK;
}

}  // namespace host
