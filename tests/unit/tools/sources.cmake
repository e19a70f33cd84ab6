list(APPEND unit_test_sources
  ${CMAKE_CURRENT_LIST_DIR}/ArgumentsTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ConfigCheckTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/KnownSettingsTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LineCheckTest.cpp)
