# Faults that a run of the whole service shows.
add_planted(lost_stop KIND "lost stop" SOURCE service/EventChannels.cpp
  FROM "  SetEvent(std::atomic_ref(s_eventHandles[0]).load(std::memory_order_relaxed));\n" TO ""
  CAUGHT_BY scenario stop-while-waiting)
add_planted(stop_of_the_tries_kept KIND "lost stop" SOURCE service/EventChannels.cpp
  FROM "return kNotRegistered;\n    // The last error" TO "break;\n    // The last error"
  CAUGHT_BY scenario stop-in-tries-lost)
add_planted(task_goal_without_task KIND "goal set too early" SOURCE service/EnrollmentLoop.cpp
  FROM "  if (RegisterVTMEvent() == 0) {" TO "  progress.recertificationArranged = true;\n  if (RegisterVTMEvent() == 0) {"
  CAUGHT_BY scenario first-boot)
add_planted(connection_error_is_done KIND "goal set too early" SOURCE service/EnrollmentLoop.cpp
  FROM "if (status != STATUS_CONNECTION_ERROR) return true;" TO "if (status != STATUS_ERROR) return true;"
  CAUGHT_BY scenario no-network-for-a-day)
add_planted(second_event_not_waited_for KIND "lost event" SOURCE service/EnrollmentLoop.cpp
  FROM "    ++progress.handleCount;\n" TO ""
  CAUGHT_BY scenario first-boot)
add_planted(one_try_too_many KIND "off by one" SOURCE service/EventChannels.cpp
  FROM "retries > 0" TO "retries >= 0"
  CAUGHT_BY scenario event-never-published)
add_planted(event_left_open KIND "leaked handle" SOURCE service/EventChannels.cpp
  FROM "  CloseHandle(s_eventHandles[1]);\n" TO ""
  CAUGHT_BY scenario first-boot)
add_planted(token_left_open KIND "leaked handle" SOURCE service/ProcessHardening.cpp
  FROM "  ~OwnedToken() { CloseToken(token); }\n" TO ""
  CAUGHT_BY scenario started-from-console)
add_planted(key_left_open KIND "leaked key" SOURCE client/HKeyContainer.cpp
  FROM "  if (!IsPredefinedRootKey(openKey)) RegCloseKey(openKey);\n" TO ""
  CAUGHT_BY scenario first-boot)
add_planted(library_left_loaded KIND "leaked library" SOURCE VUSL/Support/win32/SOloader.cpp
  FROM "  FreeLibrary(module);\n" TO ""
  CAUGHT_BY scenario first-boot)
add_planted(devices_not_freed KIND "leaked memory" SOURCE client/HKeyContainer.cpp
  FROM "    if (list != nullptr) HeapFree(GetProcessHeap(), 0, list);\n" TO ""
  CAUGHT_BY scenario first-boot)
add_planted(folder_not_released KIND "leaked reference" SOURCE task/TaskLifecycle.cpp
  FROM "  s_rootFolder->Release();\n  CoUninitialize();\n  // Deliberate: written also"
  TO "  CoUninitialize();\n  // Deliberate: written also"
  CAUGHT_BY scenario task-deleted)
add_planted(token_closed_twice KIND "double release" SOURCE service/ProcessHardening.cpp
  FROM "  ~OwnedToken() { CloseToken(token); }"
  TO "  ~OwnedToken() {\n    CloseToken(token);\n    CloseToken(token);\n  }"
  CAUGHT_BY scenario started-from-console)
add_planted(full_stop_in_a_line KIND "wrong text" SOURCE service/EnrollmentLoop.cpp
  FROM "Waiting for event timed out" TO "Waiting for event timed out."
  CAUGHT_BY scenario no-network-for-a-day)
add_planted(repaired_spelling KIND "wrong text" SOURCE task/TaskLifecycle.cpp
  FROM "Task has beed updated" TO "Task has been updated"
  CAUGHT_BY scenario task-moved)
add_planted(namespace_error_swallowed KIND "swallowed error" SOURCE service/EventChannels.cpp
  FROM "    LogItem().debug() << \"Cannot create private namespace!\";\n    return error;"
  TO "    LogItem().debug() << \"Cannot create private namespace!\";\n    return error * 0;"
  CAUGHT_BY scenario namespace-taken)
add_planted(exit_code_swallowed KIND "swallowed error" SOURCE service/ServiceHost.cpp
  FROM "    return exitCode;" TO "    return 0;"
  CAUGHT_BY scenario namespace-taken)
add_planted(usage_swallowed KIND "swallowed error" SOURCE service/ServiceHost.cpp
  FROM "    PrintUsage(programName);\n    return;" TO "    return;"
  CAUGHT_BY scenario started-from-console)
add_planted(swapped_slots KIND "swapped slots" SOURCE client/talsClientCaller.cpp
  FROM "    entry = loader->entries.talsInitHUB;" TO "    entry = loader->entries.talsInitQX1;"
  CAUGHT_BY scenario first-boot)
add_planted(task_not_saved KIND "dropped call" SOURCE task/TaskLifecycle.cpp
  FROM "  SaveTask(definition);\n" TO ""
  CAUGHT_BY scenario task-moved)
add_planted(path_without_quotes KIND "dropped call" SOURCE task/TaskLifecycle.cpp
  FROM "  directory = QuotedProgramPath(directory);\n" TO ""
  CAUGHT_BY scenario task-moved)
add_planted(running_told_first KIND "exchanged order" SOURCE service/ServiceHost.cpp
  FROM "  const std::int32_t initResult = enrollment.Init();\n"
  TO "  ReportServiceStatus(SERVICE_RUNNING, 0);\n  const std::int32_t initResult = enrollment.Init();\n"
  CAUGHT_BY scenario namespace-taken)
