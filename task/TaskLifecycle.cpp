#include "task/TaskLifecycle.h"

#include <iostream>

void ScheduleTask() {
  std::wcerr << L"ScheduleTask is not built yet." << std::endl;
}

void DeleteTask() {
  std::wcerr << L"DeleteTask is not built yet." << std::endl;
}
