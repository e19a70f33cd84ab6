target_sources(product PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ConsoleLogOutlet.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DebugLogOutlet.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EtwLogOutlet.cpp
  ${CMAKE_CURRENT_LIST_DIR}/GetSystemErrorText.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LogItem.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LogSetup.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LogSink.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ResourceLoader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/RollingDateFileLogOutlet.cpp
  ${CMAKE_CURRENT_LIST_DIR}/RollingFileLogOutlet.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SpareText.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SysException.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Text.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TraceProvider.cpp
  ${CMAKE_CURRENT_LIST_DIR}/UseCaseIdentifier.cpp
)
