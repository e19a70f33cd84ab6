#include "task/TaskSteps.h"

#include "task/ComCalls.h"
#include "task/TaskState.h"

bool StepFailed(const char* text, HRESULT result) {
  if (SUCCEEDED(result)) return false;
  LogResult(text, result);
  s_rootFolder->Release();
  s_taskDefinition->Release();
  CoUninitialize();
  return true;
}

std::wstring QuotedProgramPath(const std::wstring& directory) {
  return L"\"" + directory + s_taskExecutable + L"\"";
}
