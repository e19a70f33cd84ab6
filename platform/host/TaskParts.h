#pragma once

#include <optional>

#include "platform/host/TaskFace.h"

// The parts of a definition of which there is one each. Their nodes are the whole document.
namespace host {

class RegistrationInfoObject final : public TaskFace<IRegistrationInfo, IID_IRegistrationInfo> {
 public:
  explicit RegistrationInfoObject(const std::shared_ptr<TaskNode>& task)
      : TaskFace("IRegistrationInfo", task) {}

  HRESULT get_Description(BSTR* description) override;
  HRESULT put_Description(BSTR description) override;
  HRESULT get_Author(BSTR* author) override;
  HRESULT put_Author(BSTR author) override;
  HRESULT get_Version(BSTR* version) override;
  HRESULT put_Version(BSTR version) override;
  HRESULT get_Date(BSTR* date) override;
  HRESULT put_Date(BSTR date) override;
  HRESULT get_Documentation(BSTR* documentation) override;
  HRESULT put_Documentation(BSTR documentation) override;
  HRESULT get_XmlText(BSTR* xml) override;
  HRESULT put_XmlText(BSTR xml) override;
  HRESULT get_URI(BSTR* uri) override;
  HRESULT put_URI(BSTR uri) override;
  HRESULT get_SecurityDescriptor(VARIANT* sddl) override;
  HRESULT put_SecurityDescriptor(VARIANT sddl) override;
  HRESULT get_Source(BSTR* source) override;
  HRESULT put_Source(BSTR source) override;
};

class PrincipalObject final : public TaskFace<IPrincipal, IID_IPrincipal> {
 public:
  explicit PrincipalObject(const std::shared_ptr<TaskNode>& task) : TaskFace("IPrincipal", task) {}

  HRESULT get_Id(BSTR* id) override;
  HRESULT put_Id(BSTR id) override;
  HRESULT get_DisplayName(BSTR* name) override;
  HRESULT put_DisplayName(BSTR name) override;
  HRESULT get_UserId(BSTR* user) override;
  HRESULT put_UserId(BSTR user) override;
  HRESULT get_LogonType(TASK_LOGON_TYPE* logon) override;
  HRESULT put_LogonType(TASK_LOGON_TYPE logon) override;
  HRESULT get_GroupId(BSTR* group) override;
  HRESULT put_GroupId(BSTR group) override;
  HRESULT get_RunLevel(TASK_RUNLEVEL_TYPE* level) override;
  HRESULT put_RunLevel(TASK_RUNLEVEL_TYPE level) override;

 private:
  // What was put last: a document has no words for some of the kinds.
  std::optional<TASK_LOGON_TYPE> logon_;
};

class IdleSettingsObject final : public TaskFace<IIdleSettings, IID_IIdleSettings> {
 public:
  explicit IdleSettingsObject(const std::shared_ptr<TaskNode>& task)
      : TaskFace("IIdleSettings", task) {}

  HRESULT get_IdleDuration(BSTR* duration) override;
  HRESULT put_IdleDuration(BSTR duration) override;
  HRESULT get_WaitTimeout(BSTR* timeout) override;
  HRESULT put_WaitTimeout(BSTR timeout) override;
  HRESULT get_StopOnIdleEnd(VARIANT_BOOL* stop) override;
  HRESULT put_StopOnIdleEnd(VARIANT_BOOL stop) override;
  HRESULT get_RestartOnIdle(VARIANT_BOOL* restart) override;
  HRESULT put_RestartOnIdle(VARIANT_BOOL restart) override;
};

// The word of a document for a way of logging on, empty if it has none: service accounts and groups
// are told by their names.
std::string logonWord(TASK_LOGON_TYPE logon);
// Whether this is the name of one of the accounts that services run under.
bool isServiceAccount(const std::string& user);

}  // namespace host
