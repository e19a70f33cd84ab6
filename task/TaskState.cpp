#include "task/TaskState.h"

ITaskService* s_taskService = nullptr;
ITaskFolder* s_rootFolder = nullptr;
ITaskDefinition* s_taskDefinition = nullptr;
const std::wstring s_taskName = L"Orvix VTM EK Recertification";
const std::wstring s_taskExecutable = L"\\OrvixVTMEKRecertification.exe";
