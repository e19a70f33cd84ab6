# What tests that are built for Windows are made with: `windows_test`, the framework for them to link,
# from its own sources, because nobody brings it compiled for Windows; quickly compiled rather than
# quick, like the tests themselves.
find_path(GOOGLETEST_SOURCES googletest/src/gtest-all.cc HINTS /usr/src/googletest REQUIRED
          NO_CMAKE_FIND_ROOT_PATH)

add_library(googletest_windows STATIC ${GOOGLETEST_SOURCES}/googletest/src/gtest-all.cc
                                      ${GOOGLETEST_SOURCES}/googlemock/src/gmock-all.cc)
target_include_directories(googletest_windows
  PRIVATE ${GOOGLETEST_SOURCES}/googletest ${GOOGLETEST_SOURCES}/googlemock)
target_include_directories(googletest_windows SYSTEM
  PUBLIC ${GOOGLETEST_SOURCES}/googletest/include ${GOOGLETEST_SOURCES}/googlemock/include)
target_compile_options(googletest_windows PUBLIC -O0 -g0)

add_library(windows_test INTERFACE)
target_include_directories(windows_test INTERFACE ${CMAKE_SOURCE_DIR})
target_link_libraries(windows_test INTERFACE googletest_windows strict_warnings)
target_link_options(windows_test INTERFACE -static -s)
