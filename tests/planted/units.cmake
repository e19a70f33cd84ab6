# Faults that a unit test or a replay of the fuzzer's inputs shows.
add_planted(stop_taken_too_early PROGRAM unit_tests KIND "stop taken too early" SOURCE service/ServiceHost.cpp
  FROM "      controlsAccepted = 0;\n" TO ""
  CAUGHT_BY unit ReportServiceStatus*:ServiceHost*:ServiceLife*)
add_planted(privilege_enabled PROGRAM unit_tests KIND "wrong constant"
  SOURCE service/ProcessHardening.cpp FROM "SE_PRIVILEGE_REMOVED;" TO "SE_PRIVILEGE_ENABLED;"
  CAUGHT_BY unit *Hardening*:*Privileges*)
add_planted(exception_lost PROGRAM unit_tests KIND "swallowed error" SOURCE VUSL/Support/Thread.cpp
  FROM "    std::rethrow_exception(std::exchange(pendingException, nullptr));\n"
  TO "    pendingException = nullptr;\n"
  CAUGHT_BY unit *Thread*)
add_planted(lock_kept PROGRAM unit_tests KIND "lock not released" SOURCE VUSL/Support/ScopedLock.cpp
  FROM "if (object.Unlock() != WaitResult::kDone)" TO "if (false)"
  CAUGHT_BY unit ScopedLock*)
add_planted(backup_lost PROGRAM unit_tests KIND "exchanged order" SOURCE VUSL/Support/ConfigMgmt.cpp
  FROM "return renameFile(configFileName, backupName) && renameFile(newName, configFileName);"
  TO "return renameFile(newName, configFileName);"
  CAUGHT_BY unit ConfigSave*)
add_planted(quote_not_searched PROGRAM unit_tests KIND "dropped call"
  SOURCE VUSL/Support/ConfigLine.cpp
  FROM "return value.substr(0, value.find('\"'));" TO "return value;"
  CAUGHT_BY unit *ConfigLine*)
add_planted(zero_not_sent PROGRAM unit_tests KIND "off by one" SOURCE VUSL/Support/EtwLogOutlet.cpp
  FROM "std::strlen(row.logLevel) + 1" TO "std::strlen(row.logLevel)"
  CAUGHT_BY unit Etw*)
add_planted(later_id_counts PROGRAM fuzz_replay KIND "wrong comparison"
  SOURCE client/GetDeviceHKEY.cpp
  FROM "wcsnlen(ids.data(), given)) == kStackHardwareId"
  TO "given).find(kStackHardwareId) != std::wstring_view::npos"
  CAUGHT_BY fuzz device-list)
add_planted(odd_byte_read PROGRAM fuzz_replay KIND "read behind the end"
  SOURCE client/HKeyContainer.cpp
  FROM "std::min(allocated, size) / sizeof(wchar_t);"
  TO "(std::min(allocated, size) + sizeof(wchar_t) - 1) / sizeof(wchar_t);"
  CAUGHT_BY fuzz registry-text)
add_planted(first_repeated_key_lost PROGRAM fuzz_replay KIND "wrong comparison"
  SOURCE VUSL/Support/ConfigMgmt.cpp
  FROM "(!first || key.at < first->at)" TO "(!first || key.at > first->at)"
  CAUGHT_BY fuzz configuration-file)
