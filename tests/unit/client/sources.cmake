list(APPEND unit_test_sources
  ${CMAKE_CURRENT_LIST_DIR}/ClientStandinTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DeviceManagerWrapperTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ErrorStringTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/FileUtilsTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/GetDeviceHKEYTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/GetValueStringTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HKeyContainerTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/IntegrityLevelTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ProgressTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SOloaderTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TalsClientLoaderTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TalsEntryTableTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/talsClientCallerRecertificationTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/talsClientCallerTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/talsClientCallerThreadTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/talsStatusTest.cpp)
