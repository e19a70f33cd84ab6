# Faults that only the thread sanitizer shows.
add_planted(flag_without_order PROGRAM thread_tests KIND "race on a flag"
  SOURCE VUSL/Support/Thread.cpp
  FROM "  bodyRunning.store(false, std::memory_order_relaxed);"
  TO "  *reinterpret_cast<bool*>(&bodyRunning) = false;"
  CAUGHT_BY threads ThreadsTest.*)
add_planted(file_without_lock PROGRAM thread_tests KIND "removed lock"
  SOURCE VUSL/Support/RollingFileLogOutlet.cpp
  FROM "  const vusl::ScopedLock lock(sharedSection);\n" TO ""
  CAUGHT_BY threads OutletsTest.*)
