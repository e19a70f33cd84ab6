# One source for each family of calls, and what all of them share. Sources are named from the root.
set(contract_sources
  ComCallsTest.cpp
  DeviceCallsTest.cpp
  EventCallsTest.cpp
  FileCallsTest.cpp
  FolderCallsTest.cpp
  LibraryCallsTest.cpp
  NamespaceCallsTest.cpp
  ProcessCallsTest.cpp
  RegistryCallsTest.cpp
  RuntimeCallsTest.cpp
  ServiceCallsTest.cpp
  SystemCallsTest.cpp
  TaskCallsTest.cpp
  TaskSettingsCallsTest.cpp
  ThreadCallsTest.cpp
  TokenCallsTest.cpp
  TraceCallsTest.cpp
  Contract.cpp
  SmallService.cpp
  TaskFixture.cpp
  ../support/ResourceLibrary.cpp)
list(TRANSFORM contract_sources PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
