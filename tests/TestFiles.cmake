# Each program that is made of test files gets a test of its own, TestFiles.<program>: that it is one
# of this build's tests, and that each of its files has tests which run. Needs `all_targets`.
foreach(target IN LISTS all_targets)
  get_target_property(type ${target} TYPE)
  if(NOT type STREQUAL "EXECUTABLE")
    continue()
  endif()
  get_target_property(files ${target} SOURCES)
  list(FILTER files INCLUDE REGEX "Test\\.cpp$")
  if(NOT files)
    continue()
  endif()
  get_target_property(by_name_only ${target} EXCLUDE_FROM_ALL)
  if(by_name_only AND NOT target STREQUAL thread_tests)
    message(FATAL_ERROR "the tests of ${target} run in no build of everything: ${files}")
  endif()
  # Its tests are the thread sanitizer's.
  if(by_name_only AND NOT SANITIZE STREQUAL "thread")
    continue()
  endif()
  get_target_property(source_folder ${target} SOURCE_DIR)
  get_target_property(build_folder ${target} BINARY_DIR)
  list(TRANSFORM files PREPEND "${source_folder}/" REGEX "^[^/]")
  # A list within an argument would be taken apart on its way.
  list(JOIN files "|" files)
  set(results)
  if(WIN32)
    # Those run under Wine, once; what they have said is kept.
    set(results -D RESULTS=${CMAKE_BINARY_DIR}/${target}.json)
  endif()
  add_test(NAME TestFiles.${target}
    COMMAND ${CMAKE_COMMAND} -D PROGRAM=$<TARGET_FILE:${target}> -D "FILES=${files}"
            -D REGISTRY=${build_folder}/CTestTestfile.cmake ${results}
            -P ${CMAKE_SOURCE_DIR}/tests/seam/TestFiles.cmake)
  set_tests_properties(TestFiles.${target} PROPERTIES TIMEOUT 60)
  if(WIN32)
    set_tests_properties(TestFiles.${target} PROPERTIES FIXTURES_REQUIRED ${target}_results)
  elseif(target MATCHES "^(unit|machine)_tests$")
    set_tests_properties(TestFiles.${target} PROPERTIES LABELS unit)
  elseif(target STREQUAL thread_tests)
    set_tests_properties(TestFiles.${target} PROPERTIES LABELS threads)
  endif()
endforeach()

# The tests that are scripts: each is one of the build's for which it is made.
if(NOT SANITIZE)
  file(GLOB_RECURSE scripts CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/*_test.sh
       ${CMAKE_SOURCE_DIR}/tests/*_test.py)
  set(for_windows "/tests/(windows/|contract/wine_test)")
  if(WIN32)
    list(FILTER scripts INCLUDE REGEX ${for_windows})
  else()
    list(FILTER scripts EXCLUDE REGEX ${for_windows})
  endif()
  list(JOIN scripts "|" scripts)
  add_test(NAME TestFiles.scripts
    COMMAND ${CMAKE_COMMAND} -D "FILES=${scripts}" -D BUILD=${CMAKE_BINARY_DIR}/tests
            -P ${CMAKE_SOURCE_DIR}/tests/seam/TestScripts.cmake)
endif()
