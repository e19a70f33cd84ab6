# The model of Windows. The families of calls first, then the core.
list(APPEND unit_test_sources
  ${CMAKE_CURRENT_LIST_DIR}/ConfigurationManagerTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ConsoleTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CrtFilesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CrtTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DriveTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/FilesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MachineModelTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MessagesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ModulesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/NamespacesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/RegistryTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SearchesTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SecurityTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ShellTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SystemTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TraceTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CallTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LedgerTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SchedulerTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ScenarioDriveTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ScenarioRunTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ScenarioTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ServiceManagerTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SynchronizationTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ThreadsTest.cpp)
