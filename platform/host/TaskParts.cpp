#include "platform/host/TaskParts.h"

#include <algorithm>
#include <array>

namespace host {
namespace {

struct LogonRow {
  TASK_LOGON_TYPE logon;
  const char* word;
};
constexpr std::array kLogons = {
    LogonRow{TASK_LOGON_PASSWORD, "Password"},
    LogonRow{TASK_LOGON_S4U, "S4U"},
    LogonRow{TASK_LOGON_INTERACTIVE_TOKEN, "InteractiveToken"},
    LogonRow{TASK_LOGON_INTERACTIVE_TOKEN_OR_PASSWORD, "InteractiveTokenOrPassword"},
};

constexpr char kLogonPath[] = "Principals/Principal/LogonType";
constexpr char kUserPath[] = "Principals/Principal/UserId";
constexpr char kGroupPath[] = "Principals/Principal/GroupId";
constexpr char kRunLevelPath[] = "Principals/Principal/RunLevel";
constexpr char kHighest[] = "HighestAvailable";

TASK_LOGON_TYPE storedLogon(const TaskNode& task) {
  const auto word = task.value(kLogonPath);
  for (const LogonRow& row : kLogons) {
    if (word == row.word) {
      return row.logon;
    }
  }
  if (task.value(kGroupPath)) {
    return TASK_LOGON_GROUP;
  }
  return isServiceAccount(task.value(kUserPath).value_or("")) ? TASK_LOGON_SERVICE_ACCOUNT
                                                              : TASK_LOGON_NONE;
}

}  // namespace

std::string logonWord(TASK_LOGON_TYPE logon) {
  for (const LogonRow& row : kLogons) {
    if (row.logon == logon) {
      return row.word;
    }
  }
  return {};
}

bool isServiceAccount(const std::string& user) {
  constexpr std::array kAccounts = {L"S-1-5-18",
                                    L"S-1-5-19",
                                    L"S-1-5-20",
                                    L"SYSTEM",
                                    L"LOCAL SERVICE",
                                    L"NETWORK SERVICE",
                                    L"NT AUTHORITY\\SYSTEM",
                                    L"NT AUTHORITY\\LOCAL SERVICE",
                                    L"NT AUTHORITY\\NETWORK SERVICE"};
  return std::any_of(kAccounts.begin(), kAccounts.end(), [&](const wchar_t* account) {
    return equalIgnoringCase(account, toWide(user));
  });
}

// --- registration info --------------------------------------------------------------------------

HRESULT RegistrationInfoObject::get_Description(BSTR* description) {
  return getText("IRegistrationInfo::get_Description", "RegistrationInfo/Description", description);
}
HRESULT RegistrationInfoObject::put_Description(BSTR description) {
  return putText("IRegistrationInfo::put_Description", "RegistrationInfo/Description", description);
}
HRESULT RegistrationInfoObject::get_Author(BSTR* author) {
  return getText("IRegistrationInfo::get_Author", "RegistrationInfo/Author", author);
}
HRESULT RegistrationInfoObject::put_Author(BSTR author) {
  return putText("IRegistrationInfo::put_Author", "RegistrationInfo/Author", author);
}
HRESULT RegistrationInfoObject::get_Version(BSTR* version) {
  return getText("IRegistrationInfo::get_Version", "RegistrationInfo/Version", version);
}
HRESULT RegistrationInfoObject::put_Version(BSTR version) {
  return putText("IRegistrationInfo::put_Version", "RegistrationInfo/Version", version);
}
HRESULT RegistrationInfoObject::get_Date(BSTR* date) {
  return getText("IRegistrationInfo::get_Date", "RegistrationInfo/Date", date);
}
HRESULT RegistrationInfoObject::put_Date(BSTR date) {
  return putText("IRegistrationInfo::put_Date", "RegistrationInfo/Date", date);
}
HRESULT RegistrationInfoObject::get_Documentation(BSTR* documentation) {
  return getText("IRegistrationInfo::get_Documentation", "RegistrationInfo/Documentation",
                 documentation);
}
HRESULT RegistrationInfoObject::put_Documentation(BSTR documentation) {
  return putText("IRegistrationInfo::put_Documentation", "RegistrationInfo/Documentation",
                 documentation);
}
HRESULT RegistrationInfoObject::get_XmlText(BSTR* /*xml*/) {
  return notBuilt("IRegistrationInfo::get_XmlText");
}
HRESULT RegistrationInfoObject::put_XmlText(BSTR /*xml*/) {
  return notBuilt("IRegistrationInfo::put_XmlText");
}
HRESULT RegistrationInfoObject::get_URI(BSTR* uri) {
  return getText("IRegistrationInfo::get_URI", "RegistrationInfo/URI", uri);
}
HRESULT RegistrationInfoObject::put_URI(BSTR uri) {
  return putText("IRegistrationInfo::put_URI", "RegistrationInfo/URI", uri);
}
HRESULT RegistrationInfoObject::get_SecurityDescriptor(VARIANT* /*sddl*/) {
  return notBuilt("IRegistrationInfo::get_SecurityDescriptor");
}
HRESULT RegistrationInfoObject::put_SecurityDescriptor(VARIANT /*sddl*/) {
  return notBuilt("IRegistrationInfo::put_SecurityDescriptor");
}
HRESULT RegistrationInfoObject::get_Source(BSTR* source) {
  return getText("IRegistrationInfo::get_Source", "RegistrationInfo/Source", source);
}
HRESULT RegistrationInfoObject::put_Source(BSTR source) {
  return putText("IRegistrationInfo::put_Source", "RegistrationInfo/Source", source);
}

// --- principal ----------------------------------------------------------------------------------

HRESULT PrincipalObject::get_Id(BSTR* id) {
  return get("IPrincipal::get_Id", id, BSTR{}, [&]() -> BSTR {
    const auto principals = node()->child("Principals");
    const auto principal = principals == nullptr ? nullptr : principals->child("Principal");
    const auto text = principal == nullptr ? std::nullopt : principal->attribute("id");
    return text ? makeString(toWide(*text), "IPrincipal::get_Id") : nullptr;
  });
}
HRESULT PrincipalObject::put_Id(BSTR id) {
  return put("IPrincipal::put_Id", id, [&](const std::string& value) {
    node()->needChild("Principals")->needChild("Principal")->setAttribute("id", value);
  });
}
HRESULT PrincipalObject::get_DisplayName(BSTR* name) {
  return getText("IPrincipal::get_DisplayName", "Principals/Principal/DisplayName", name);
}
HRESULT PrincipalObject::put_DisplayName(BSTR name) {
  return putText("IPrincipal::put_DisplayName", "Principals/Principal/DisplayName", name);
}
HRESULT PrincipalObject::get_UserId(BSTR* user) {
  return getText("IPrincipal::get_UserId", kUserPath, user);
}
HRESULT PrincipalObject::put_UserId(BSTR user) {
  return putText("IPrincipal::put_UserId", kUserPath, user);
}
HRESULT PrincipalObject::get_LogonType(TASK_LOGON_TYPE* logon) {
  return get("IPrincipal::get_LogonType", logon, TASK_LOGON_NONE,
             [&] { return logon_.value_or(storedLogon(*node())); });
}
HRESULT PrincipalObject::put_LogonType(TASK_LOGON_TYPE logon) {
  MethodCall call(*this, "IPrincipal::put_LogonType", static_cast<int>(logon));
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  logon_ = logon;
  const std::string word = logonWord(logon);
  if (word.empty()) {
    node()->removeValue(kLogonPath);
  } else {
    node()->setValue(kLogonPath, word);
  }
  return call.answers(S_OK);
}
HRESULT PrincipalObject::get_GroupId(BSTR* group) {
  return getText("IPrincipal::get_GroupId", kGroupPath, group);
}
HRESULT PrincipalObject::put_GroupId(BSTR group) {
  return putText("IPrincipal::put_GroupId", kGroupPath, group);
}
HRESULT PrincipalObject::get_RunLevel(TASK_RUNLEVEL_TYPE* level) {
  return get("IPrincipal::get_RunLevel", level, TASK_RUNLEVEL_LUA, [&] {
    return node()->value(kRunLevelPath) == kHighest ? TASK_RUNLEVEL_HIGHEST : TASK_RUNLEVEL_LUA;
  });
}
HRESULT PrincipalObject::put_RunLevel(TASK_RUNLEVEL_TYPE level) {
  MethodCall call(*this, "IPrincipal::put_RunLevel", static_cast<int>(level));
  if (call.isRefused()) {
    return call.refuses();
  }
  const Scheduler::Guard guard;
  node()->setValue(kRunLevelPath, level == TASK_RUNLEVEL_HIGHEST ? kHighest : "LeastPrivilege");
  return call.answers(S_OK);
}

// --- idle settings ------------------------------------------------------------------------------

HRESULT IdleSettingsObject::get_IdleDuration(BSTR* duration) {
  return getText("IIdleSettings::get_IdleDuration", "Settings/IdleSettings/Duration", duration);
}
HRESULT IdleSettingsObject::put_IdleDuration(BSTR duration) {
  return putText("IIdleSettings::put_IdleDuration", "Settings/IdleSettings/Duration", duration);
}
HRESULT IdleSettingsObject::get_WaitTimeout(BSTR* timeout) {
  return getText("IIdleSettings::get_WaitTimeout", "Settings/IdleSettings/WaitTimeout", timeout);
}
HRESULT IdleSettingsObject::put_WaitTimeout(BSTR timeout) {
  return putText("IIdleSettings::put_WaitTimeout", "Settings/IdleSettings/WaitTimeout", timeout);
}
HRESULT IdleSettingsObject::get_StopOnIdleEnd(VARIANT_BOOL* stop) {
  return getFlag("IIdleSettings::get_StopOnIdleEnd", "Settings/IdleSettings/StopOnIdleEnd", true,
                 stop);
}
HRESULT IdleSettingsObject::put_StopOnIdleEnd(VARIANT_BOOL stop) {
  return putFlag("IIdleSettings::put_StopOnIdleEnd", "Settings/IdleSettings/StopOnIdleEnd", stop);
}
HRESULT IdleSettingsObject::get_RestartOnIdle(VARIANT_BOOL* restart) {
  return getFlag("IIdleSettings::get_RestartOnIdle", "Settings/IdleSettings/RestartOnIdle", false,
                 restart);
}
HRESULT IdleSettingsObject::put_RestartOnIdle(VARIANT_BOOL restart) {
  return putFlag("IIdleSettings::put_RestartOnIdle", "Settings/IdleSettings/RestartOnIdle",
                 restart);
}

}  // namespace host
