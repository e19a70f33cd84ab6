#pragma once

#include "platform/host/windows/Com.h"

// Task Scheduler 2.0, with the platform's order of slots.

enum TASK_STATE {
  TASK_STATE_UNKNOWN = 0,
  TASK_STATE_DISABLED = 1,
  TASK_STATE_QUEUED = 2,
  TASK_STATE_READY = 3,
  TASK_STATE_RUNNING = 4
};
enum TASK_LOGON_TYPE {
  TASK_LOGON_NONE = 0,
  TASK_LOGON_PASSWORD = 1,
  TASK_LOGON_S4U = 2,
  TASK_LOGON_INTERACTIVE_TOKEN = 3,
  TASK_LOGON_GROUP = 4,
  TASK_LOGON_SERVICE_ACCOUNT = 5,
  TASK_LOGON_INTERACTIVE_TOKEN_OR_PASSWORD = 6
};
enum TASK_RUNLEVEL_TYPE { TASK_RUNLEVEL_LUA = 0, TASK_RUNLEVEL_HIGHEST = 1 };
enum TASK_TRIGGER_TYPE2 {
  TASK_TRIGGER_EVENT = 0,
  TASK_TRIGGER_TIME = 1,
  TASK_TRIGGER_DAILY = 2,
  TASK_TRIGGER_WEEKLY = 3,
  TASK_TRIGGER_MONTHLY = 4,
  TASK_TRIGGER_MONTHLYDOW = 5,
  TASK_TRIGGER_IDLE = 6,
  TASK_TRIGGER_REGISTRATION = 7,
  TASK_TRIGGER_BOOT = 8,
  TASK_TRIGGER_LOGON = 9,
  TASK_TRIGGER_SESSION_STATE_CHANGE = 11
};
enum TASK_ACTION_TYPE {
  TASK_ACTION_EXEC = 0,
  TASK_ACTION_COM_HANDLER = 5,
  TASK_ACTION_SEND_EMAIL = 6,
  TASK_ACTION_SHOW_MESSAGE = 7
};
enum TASK_INSTANCES_POLICY {
  TASK_INSTANCES_PARALLEL = 0,
  TASK_INSTANCES_QUEUE = 1,
  TASK_INSTANCES_IGNORE_NEW = 2,
  TASK_INSTANCES_STOP_EXISTING = 3
};
enum TASK_COMPATIBILITY {
  TASK_COMPATIBILITY_AT = 0,
  TASK_COMPATIBILITY_V1 = 1,
  TASK_COMPATIBILITY_V2 = 2,
  TASK_COMPATIBILITY_V2_1 = 3
};
enum TASK_CREATION {
  TASK_VALIDATE_ONLY = 1,
  TASK_CREATE = 2,
  TASK_UPDATE = 4,
  TASK_CREATE_OR_UPDATE = 6,
  TASK_DISABLE = 8,
  TASK_DONT_ADD_PRINCIPAL_ACE = 16,
  TASK_IGNORE_REGISTRATION_TRIGGERS = 32
};

inline constexpr CLSID CLSID_TaskScheduler = {
    0x0F87369F, 0xA4E5, 0x4CFC, {0xBD, 0x3E, 0x73, 0xE6, 0x15, 0x45, 0x72, 0xDD}};
inline constexpr IID IID_IRegistrationInfo = {
    0x416D8B73, 0xCB41, 0x4EA1, {0x80, 0x5C, 0x9B, 0xE9, 0xA5, 0xAC, 0x4A, 0x74}};
inline constexpr IID IID_IPrincipal = {
    0xD98D51E5, 0xC9B4, 0x496A, {0xA9, 0xC1, 0x18, 0x98, 0x02, 0x61, 0xCF, 0x0F}};
inline constexpr IID IID_IIdleSettings = {
    0x84594461, 0x0053, 0x4342, {0xA8, 0xFD, 0x08, 0x8F, 0xAB, 0xF1, 0x1F, 0x32}};
inline constexpr IID IID_ITaskSettings = {
    0x8FD4711D, 0x2D02, 0x4C8C, {0x87, 0xE3, 0xEF, 0xF6, 0x99, 0xDE, 0x12, 0x7E}};
inline constexpr IID IID_ITrigger = {
    0x09941815, 0xEA89, 0x4B5B, {0x89, 0xE0, 0x2A, 0x77, 0x38, 0x01, 0xFA, 0xC3}};
inline constexpr IID IID_IEventTrigger = {
    0xD45B0167, 0x9653, 0x4EEF, {0xB9, 0x4F, 0x07, 0x32, 0xCA, 0x7A, 0xF2, 0x51}};
inline constexpr IID IID_ITriggerCollection = {
    0x85DF5081, 0x1B24, 0x4F32, {0x87, 0x8A, 0xD9, 0xD1, 0x4D, 0xF4, 0xCB, 0x77}};
inline constexpr IID IID_IAction = {
    0xBAE54997, 0x48B1, 0x4CBE, {0x99, 0x65, 0xD6, 0xBE, 0x26, 0x3E, 0xBE, 0xA4}};
inline constexpr IID IID_IExecAction = {
    0x4C3D624D, 0xFD6B, 0x49A3, {0xB9, 0xB7, 0x09, 0xCB, 0x3C, 0xD3, 0xF0, 0x47}};
inline constexpr IID IID_IActionCollection = {
    0x02820E19, 0x7B98, 0x4ED2, {0xB2, 0xE8, 0xFD, 0xCC, 0xCE, 0xFF, 0x61, 0x9B}};
inline constexpr IID IID_ITaskDefinition = {
    0xF5BC8FC5, 0x536D, 0x4F77, {0xB8, 0x52, 0xFB, 0xC1, 0x35, 0x6F, 0xDE, 0xB6}};
inline constexpr IID IID_IRegisteredTask = {
    0x9C86F320, 0xDEE3, 0x4DD1, {0xB9, 0x72, 0xA3, 0x03, 0xF2, 0x6B, 0x06, 0x1E}};
inline constexpr IID IID_ITaskFolder = {
    0x8CFAC062, 0xA080, 0x4C15, {0x9A, 0x88, 0xAA, 0x7C, 0x2A, 0xF8, 0x0D, 0xFC}};
inline constexpr IID IID_ITaskService = {
    0x2FABA4C7, 0x4DA9, 0x4013, {0x96, 0x97, 0x20, 0xCC, 0x3F, 0xD4, 0x0F, 0x85}};

struct INetworkSettings;
struct IRegisteredTaskCollection;
struct IRepetitionPattern;
struct IRunningTask;
struct IRunningTaskCollection;
struct ITaskFolderCollection;
struct ITaskNamedValueCollection;

struct IRegistrationInfo : IDispatch {
  virtual HRESULT get_Description(BSTR* description) = 0;
  virtual HRESULT put_Description(BSTR description) = 0;
  virtual HRESULT get_Author(BSTR* author) = 0;
  virtual HRESULT put_Author(BSTR author) = 0;
  virtual HRESULT get_Version(BSTR* version) = 0;
  virtual HRESULT put_Version(BSTR version) = 0;
  virtual HRESULT get_Date(BSTR* date) = 0;
  virtual HRESULT put_Date(BSTR date) = 0;
  virtual HRESULT get_Documentation(BSTR* doc) = 0;
  virtual HRESULT put_Documentation(BSTR doc) = 0;
  virtual HRESULT get_XmlText(BSTR* xml) = 0;
  virtual HRESULT put_XmlText(BSTR xml) = 0;
  virtual HRESULT get_URI(BSTR* uri) = 0;
  virtual HRESULT put_URI(BSTR uri) = 0;
  virtual HRESULT get_SecurityDescriptor(VARIANT* sddl) = 0;
  virtual HRESULT put_SecurityDescriptor(VARIANT sddl) = 0;
  virtual HRESULT get_Source(BSTR* source) = 0;
  virtual HRESULT put_Source(BSTR source) = 0;

 protected:
  ~IRegistrationInfo() = default;
};

struct IPrincipal : IDispatch {
  virtual HRESULT get_Id(BSTR* id) = 0;
  virtual HRESULT put_Id(BSTR id) = 0;
  virtual HRESULT get_DisplayName(BSTR* name) = 0;
  virtual HRESULT put_DisplayName(BSTR name) = 0;
  virtual HRESULT get_UserId(BSTR* user) = 0;
  virtual HRESULT put_UserId(BSTR user) = 0;
  virtual HRESULT get_LogonType(TASK_LOGON_TYPE* logon) = 0;
  virtual HRESULT put_LogonType(TASK_LOGON_TYPE logon) = 0;
  virtual HRESULT get_GroupId(BSTR* group) = 0;
  virtual HRESULT put_GroupId(BSTR group) = 0;
  virtual HRESULT get_RunLevel(TASK_RUNLEVEL_TYPE* level) = 0;
  virtual HRESULT put_RunLevel(TASK_RUNLEVEL_TYPE level) = 0;

 protected:
  ~IPrincipal() = default;
};

struct IIdleSettings : IDispatch {
  virtual HRESULT get_IdleDuration(BSTR* delay) = 0;
  virtual HRESULT put_IdleDuration(BSTR delay) = 0;
  virtual HRESULT get_WaitTimeout(BSTR* timeout) = 0;
  virtual HRESULT put_WaitTimeout(BSTR timeout) = 0;
  virtual HRESULT get_StopOnIdleEnd(VARIANT_BOOL* stop) = 0;
  virtual HRESULT put_StopOnIdleEnd(VARIANT_BOOL stop) = 0;
  virtual HRESULT get_RestartOnIdle(VARIANT_BOOL* restart) = 0;
  virtual HRESULT put_RestartOnIdle(VARIANT_BOOL restart) = 0;

 protected:
  ~IIdleSettings() = default;
};

struct ITaskSettings : IDispatch {
  virtual HRESULT get_AllowDemandStart(VARIANT_BOOL* allow) = 0;
  virtual HRESULT put_AllowDemandStart(VARIANT_BOOL allow) = 0;
  virtual HRESULT get_RestartInterval(BSTR* interval) = 0;
  virtual HRESULT put_RestartInterval(BSTR interval) = 0;
  virtual HRESULT get_RestartCount(INT* count) = 0;
  virtual HRESULT put_RestartCount(INT count) = 0;
  virtual HRESULT get_MultipleInstances(TASK_INSTANCES_POLICY* policy) = 0;
  virtual HRESULT put_MultipleInstances(TASK_INSTANCES_POLICY policy) = 0;
  virtual HRESULT get_StopIfGoingOnBatteries(VARIANT_BOOL* stop) = 0;
  virtual HRESULT put_StopIfGoingOnBatteries(VARIANT_BOOL stop) = 0;
  virtual HRESULT get_DisallowStartIfOnBatteries(VARIANT_BOOL* disallow) = 0;
  virtual HRESULT put_DisallowStartIfOnBatteries(VARIANT_BOOL disallow) = 0;
  virtual HRESULT get_AllowHardTerminate(VARIANT_BOOL* allow) = 0;
  virtual HRESULT put_AllowHardTerminate(VARIANT_BOOL allow) = 0;
  virtual HRESULT get_StartWhenAvailable(VARIANT_BOOL* start) = 0;
  virtual HRESULT put_StartWhenAvailable(VARIANT_BOOL start) = 0;
  virtual HRESULT get_XmlText(BSTR* xml) = 0;
  virtual HRESULT put_XmlText(BSTR xml) = 0;
  virtual HRESULT get_RunOnlyIfNetworkAvailable(VARIANT_BOOL* run) = 0;
  virtual HRESULT put_RunOnlyIfNetworkAvailable(VARIANT_BOOL run) = 0;
  virtual HRESULT get_ExecutionTimeLimit(BSTR* limit) = 0;
  virtual HRESULT put_ExecutionTimeLimit(BSTR limit) = 0;
  virtual HRESULT get_Enabled(VARIANT_BOOL* enabled) = 0;
  virtual HRESULT put_Enabled(VARIANT_BOOL enabled) = 0;
  virtual HRESULT get_DeleteExpiredTaskAfter(BSTR* delay) = 0;
  virtual HRESULT put_DeleteExpiredTaskAfter(BSTR delay) = 0;
  virtual HRESULT get_Priority(INT* priority) = 0;
  virtual HRESULT put_Priority(INT priority) = 0;
  virtual HRESULT get_Compatibility(TASK_COMPATIBILITY* level) = 0;
  virtual HRESULT put_Compatibility(TASK_COMPATIBILITY level) = 0;
  virtual HRESULT get_Hidden(VARIANT_BOOL* hidden) = 0;
  virtual HRESULT put_Hidden(VARIANT_BOOL hidden) = 0;
  virtual HRESULT get_IdleSettings(IIdleSettings** settings) = 0;
  virtual HRESULT put_IdleSettings(IIdleSettings* settings) = 0;
  virtual HRESULT get_RunOnlyIfIdle(VARIANT_BOOL* run) = 0;
  virtual HRESULT put_RunOnlyIfIdle(VARIANT_BOOL run) = 0;
  virtual HRESULT get_WakeToRun(VARIANT_BOOL* wake) = 0;
  virtual HRESULT put_WakeToRun(VARIANT_BOOL wake) = 0;
  virtual HRESULT get_NetworkSettings(INetworkSettings** settings) = 0;
  virtual HRESULT put_NetworkSettings(INetworkSettings* settings) = 0;

 protected:
  ~ITaskSettings() = default;
};

struct ITrigger : IDispatch {
  virtual HRESULT get_Type(TASK_TRIGGER_TYPE2* type) = 0;
  virtual HRESULT get_Id(BSTR* id) = 0;
  virtual HRESULT put_Id(BSTR id) = 0;
  virtual HRESULT get_Repetition(IRepetitionPattern** repeat) = 0;
  virtual HRESULT put_Repetition(IRepetitionPattern* repeat) = 0;
  virtual HRESULT get_ExecutionTimeLimit(BSTR* limit) = 0;
  virtual HRESULT put_ExecutionTimeLimit(BSTR limit) = 0;
  virtual HRESULT get_StartBoundary(BSTR* start) = 0;
  virtual HRESULT put_StartBoundary(BSTR start) = 0;
  virtual HRESULT get_EndBoundary(BSTR* end) = 0;
  virtual HRESULT put_EndBoundary(BSTR end) = 0;
  virtual HRESULT get_Enabled(VARIANT_BOOL* enabled) = 0;
  virtual HRESULT put_Enabled(VARIANT_BOOL enabled) = 0;

 protected:
  ~ITrigger() = default;
};

struct IEventTrigger : ITrigger {
  virtual HRESULT get_Subscription(BSTR* query) = 0;
  virtual HRESULT put_Subscription(BSTR query) = 0;
  virtual HRESULT get_Delay(BSTR* delay) = 0;
  virtual HRESULT put_Delay(BSTR delay) = 0;
  virtual HRESULT get_ValueQueries(ITaskNamedValueCollection** queries) = 0;
  virtual HRESULT put_ValueQueries(ITaskNamedValueCollection* queries) = 0;

 protected:
  ~IEventTrigger() = default;
};

struct ITriggerCollection : IDispatch {
  virtual HRESULT get_Count(LONG* count) = 0;
  virtual HRESULT get_Item(LONG index, ITrigger** trigger) = 0;
  virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT Create(TASK_TRIGGER_TYPE2 type, ITrigger** trigger) = 0;
  virtual HRESULT Remove(VARIANT index) = 0;
  virtual HRESULT Clear() = 0;

 protected:
  ~ITriggerCollection() = default;
};

struct IAction : IDispatch {
  virtual HRESULT get_Id(BSTR* id) = 0;
  virtual HRESULT put_Id(BSTR id) = 0;
  virtual HRESULT get_Type(TASK_ACTION_TYPE* type) = 0;

 protected:
  ~IAction() = default;
};

struct IExecAction : IAction {
  virtual HRESULT get_Path(BSTR* path) = 0;
  virtual HRESULT put_Path(BSTR path) = 0;
  virtual HRESULT get_Arguments(BSTR* argument) = 0;
  virtual HRESULT put_Arguments(BSTR argument) = 0;
  virtual HRESULT get_WorkingDirectory(BSTR* directory) = 0;
  virtual HRESULT put_WorkingDirectory(BSTR directory) = 0;

 protected:
  ~IExecAction() = default;
};

struct IActionCollection : IDispatch {
  virtual HRESULT get_Count(LONG* count) = 0;
  virtual HRESULT get_Item(LONG index, IAction** action) = 0;
  virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT get_XmlText(BSTR* xml) = 0;
  virtual HRESULT put_XmlText(BSTR xml) = 0;
  virtual HRESULT Create(TASK_ACTION_TYPE type, IAction** action) = 0;
  virtual HRESULT Remove(VARIANT index) = 0;
  virtual HRESULT Clear() = 0;
  virtual HRESULT get_Context(BSTR* context) = 0;
  virtual HRESULT put_Context(BSTR context) = 0;

 protected:
  ~IActionCollection() = default;
};

struct ITaskDefinition : IDispatch {
  virtual HRESULT get_RegistrationInfo(IRegistrationInfo** info) = 0;
  virtual HRESULT put_RegistrationInfo(IRegistrationInfo* info) = 0;
  virtual HRESULT get_Triggers(ITriggerCollection** triggers) = 0;
  virtual HRESULT put_Triggers(ITriggerCollection* triggers) = 0;
  virtual HRESULT get_Settings(ITaskSettings** settings) = 0;
  virtual HRESULT put_Settings(ITaskSettings* settings) = 0;
  virtual HRESULT get_Data(BSTR* data) = 0;
  virtual HRESULT put_Data(BSTR data) = 0;
  virtual HRESULT get_Principal(IPrincipal** principal) = 0;
  virtual HRESULT put_Principal(IPrincipal* principal) = 0;
  virtual HRESULT get_Actions(IActionCollection** actions) = 0;
  virtual HRESULT put_Actions(IActionCollection* actions) = 0;
  virtual HRESULT get_XmlText(BSTR* xml) = 0;
  virtual HRESULT put_XmlText(BSTR xml) = 0;

 protected:
  ~ITaskDefinition() = default;
};

struct IRegisteredTask : IDispatch {
  virtual HRESULT get_Name(BSTR* name) = 0;
  virtual HRESULT get_Path(BSTR* path) = 0;
  virtual HRESULT get_State(TASK_STATE* state) = 0;
  virtual HRESULT get_Enabled(VARIANT_BOOL* enabled) = 0;
  virtual HRESULT put_Enabled(VARIANT_BOOL enabled) = 0;
  virtual HRESULT Run(VARIANT params, IRunningTask** task) = 0;
  virtual HRESULT RunEx(VARIANT params, LONG flags, LONG sessionID, BSTR user,
                        IRunningTask** task) = 0;
  virtual HRESULT GetInstances(LONG flags, IRunningTaskCollection** tasks) = 0;
  virtual HRESULT get_LastRunTime(DATE* date) = 0;
  virtual HRESULT get_LastTaskResult(LONG* result) = 0;
  virtual HRESULT get_NumberOfMissedRuns(LONG* runs) = 0;
  virtual HRESULT get_NextRunTime(DATE* date) = 0;
  virtual HRESULT get_Definition(ITaskDefinition** task) = 0;
  virtual HRESULT get_Xml(BSTR* xml) = 0;
  virtual HRESULT GetSecurityDescriptor(LONG info, BSTR* sddl) = 0;
  virtual HRESULT SetSecurityDescriptor(BSTR sddl, LONG flags) = 0;
  virtual HRESULT Stop(LONG flags) = 0;
  virtual HRESULT GetRunTimes(const LPSYSTEMTIME start, const LPSYSTEMTIME end, DWORD* count,
                              LPSYSTEMTIME* time) = 0;

 protected:
  ~IRegisteredTask() = default;
};

struct ITaskFolder : IDispatch {
  virtual HRESULT get_Name(BSTR* name) = 0;
  virtual HRESULT get_Path(BSTR* path) = 0;
  virtual HRESULT GetFolder(BSTR path, ITaskFolder** folder) = 0;
  virtual HRESULT GetFolders(LONG flags, ITaskFolderCollection** folders) = 0;
  virtual HRESULT CreateFolder(BSTR name, VARIANT sddl, ITaskFolder** folder) = 0;
  virtual HRESULT DeleteFolder(BSTR name, LONG flags) = 0;
  virtual HRESULT GetTask(BSTR path, IRegisteredTask** task) = 0;
  virtual HRESULT GetTasks(LONG flags, IRegisteredTaskCollection** tasks) = 0;
  virtual HRESULT DeleteTask(BSTR name, LONG flags) = 0;
  virtual HRESULT RegisterTask(BSTR path, BSTR xml, LONG flags, VARIANT user, VARIANT password,
                               TASK_LOGON_TYPE logonType, VARIANT sddl, IRegisteredTask** task) = 0;
  virtual HRESULT RegisterTaskDefinition(BSTR path, ITaskDefinition* definition, LONG flags,
                                         VARIANT user, VARIANT password, TASK_LOGON_TYPE logon,
                                         VARIANT sddl, IRegisteredTask** task) = 0;
  virtual HRESULT GetSecurityDescriptor(LONG info, BSTR* sddl) = 0;
  virtual HRESULT SetSecurityDescriptor(BSTR sddl, LONG flags) = 0;

 protected:
  ~ITaskFolder() = default;
};

struct ITaskService : IDispatch {
  virtual HRESULT GetFolder(BSTR path, ITaskFolder** folder) = 0;
  virtual HRESULT GetRunningTasks(LONG flags, IRunningTaskCollection** tasks) = 0;
  virtual HRESULT NewTask(DWORD flags, ITaskDefinition** definition) = 0;
  virtual HRESULT Connect(VARIANT server, VARIANT user, VARIANT domain, VARIANT password) = 0;
  virtual HRESULT get_Connected(VARIANT_BOOL* connected) = 0;
  virtual HRESULT get_TargetServer(BSTR* server) = 0;
  virtual HRESULT get_ConnectedUser(BSTR* user) = 0;
  virtual HRESULT get_ConnectedDomain(BSTR* domain) = 0;
  virtual HRESULT get_HighestVersion(DWORD* version) = 0;

 protected:
  ~ITaskService() = default;
};
