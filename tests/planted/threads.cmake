# Faults that only the thread sanitizer shows: in the tests of threads.
add_planted(flag_without_order PROGRAM thread_tests KIND "race on a flag"
  SOURCE VUSL/Support/Thread.cpp
  FROM "  bodyRunning.store(false, std::memory_order_relaxed);"
  TO "  *reinterpret_cast<bool*>(&bodyRunning) = false;"
  CAUGHT_BY threads ThreadsTest.*)
add_planted(file_without_lock PROGRAM thread_tests KIND "removed lock"
  SOURCE VUSL/Support/RollingFileLogOutlet.cpp
  FROM "  const vusl::ScopedLock lock(sharedSection);\n" TO ""
  CAUGHT_BY threads OutletsTest.*)
# And in whole lives: what the thread of the service and that of the control handler share.
add_planted(running_without_order KIND "race on a flag" SOURCE service/EnrollmentLoop.cpp
  FROM "  m_running.store(false, std::memory_order_relaxed);\n  return 0;"
  TO "  *reinterpret_cast<bool*>(&m_running) = false;\n  return 0;"
  CAUGHT_BY lives stop-while-waiting)
add_planted(stop_event_without_order KIND "race on a handle" SOURCE service/EventChannels.cpp
  FROM "  std::atomic_ref(s_eventHandles[0]).store(event, std::memory_order_relaxed);"
  TO "  s_eventHandles[0] = event;"
  CAUGHT_BY lives stop-while-waiting)
add_planted(status_without_order KIND "race on a record" SOURCE service/ServiceHost.cpp
  FROM "  std::atomic_ref(field).store(value, std::memory_order_relaxed);" TO "  field = value;"
  CAUGHT_BY lives stop-while-waiting)
