list(APPEND unit_test_sources
  ${CMAKE_CURRENT_LIST_DIR}/DeleteTaskTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PlatformStringTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/RoadEnd.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ScheduleTaskTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/StoredActionDirectoryTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskCheckRoads.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskCheckTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskConnectionTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskCreationRoad.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskDefinitionTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskFailureTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskFixture.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskLifecycleTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskOutOfMemoryTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskPathSweepTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskSettingsTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TaskTrace.cpp)
