target_sources(product PRIVATE
  ${CMAKE_CURRENT_SOURCE_DIR}/CmdLineParameter.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/CmdLinePrompt.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/CmdLineProc.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/ConfigLine.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/ConfigMemory.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/ConfigMgmt.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/CriticalSection.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/EnvironmentPath.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/Event.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/LoadConfig.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/Mutex.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/ScopedLock.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/Thread.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/Waitable.cpp)
