list(APPEND unit_test_sources
  ${CMAKE_CURRENT_LIST_DIR}/EnrollmentInitTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EnrollmentLoopTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EnrollmentStartTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EnrollmentTransactionTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EventChannelsTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ProcessHardeningTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/RecertificationLaunchTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ServiceControlHandlerTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ServiceFailureTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ServiceHostTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ServiceLifeTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ServiceFixture.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ServiceThreadsTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TPMEnrollmentProcessExceptionTest.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WmainTest.cpp)
