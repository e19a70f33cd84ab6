#include "task/TaskConnection.h"

#include "task/ComCalls.h"
#include "task/TaskState.h"

namespace {

constexpr wchar_t kRootPath[] = L"\\";
constexpr LONG kServicesOfTheSystem = -1;
constexpr DWORD kNoCapabilities = 0;

HRESULT CreateService() {
  void* created = nullptr;
  const HRESULT result = CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_INPROC_SERVER,
                                          IID_ITaskService, &created);
  s_taskService = static_cast<ITaskService*>(created);
  return result;
}

HRESULT OpenRootFolder(ITaskService* service) {
  s_rootFolder = nullptr;
  const PlatformString path(kRootPath);
  return service->GetFolder(path.Get(), &s_rootFolder);
}

}  // namespace

bool InitializeCom() {
  HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  if (FAILED(result)) {
    LogResult("CoInitializeEx failed: ", result);
    return false;
  }
  result = CoInitializeSecurity(nullptr, kServicesOfTheSystem, nullptr, nullptr,
                                RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                                kNoCapabilities, nullptr);
  if (FAILED(result)) {
    LogResult("CoInitializeSecurity failed: ", result);
    CoUninitialize();
    return false;
  }
  return true;
}

ITaskService* ConnectTaskService() {
  HRESULT result = CreateService();
  if (FAILED(result)) {
    LogResult("Failed to create an instance of ITaskService: ", result);
    CoUninitialize();
    return nullptr;
  }
  result = s_taskService->Connect(EmptyVariant(), EmptyVariant(), EmptyVariant(), EmptyVariant());
  if (FAILED(result)) {
    LogResult("ITaskService::Connect failed: ", result);
    s_taskService->Release();
    CoUninitialize();
    return nullptr;
  }
  return s_taskService;
}

ITaskFolder* GetRootFolder(ITaskService*& service) {
  const HRESULT result = OpenRootFolder(service);
  if (FAILED(result)) {
    LogResult("Cannot get Root folder pointer: ", result);
    service->Release();
    CoUninitialize();
    return nullptr;
  }
  return s_rootFolder;
}
