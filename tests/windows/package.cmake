# Tests of the package. Each function test_<name> of the script is a test of its own; the first makes
# the package out of this build, for all the others.
set(package_settings
  SOURCE_ROOT=${CMAKE_SOURCE_DIR} BUILD_ROOT=${CMAKE_BINARY_DIR} PROGRAM_FOLDER=${PROGRAM_FOLDER}
  PACKAGE_FOLDER=${CMAKE_BINARY_DIR}/package CMAKE=${CMAKE_COMMAND})
file(STRINGS package_test.sh package_test_lines REGEX "^test_[a-z_0-9]+\\(\\)")
foreach(line IN LISTS package_test_lines)
  string(REGEX REPLACE "^test_([a-z_0-9]+).*" "\\1" name "${line}")
  add_test(NAME package.${name}
    COMMAND ${CMAKE_COMMAND} -E env ${package_settings}
            bash ${CMAKE_CURRENT_SOURCE_DIR}/package_test.sh ${name})
  set_tests_properties(package.${name} PROPERTIES TIMEOUT 240 FIXTURES_REQUIRED package)
endforeach()
set_tests_properties(package.can_be_made PROPERTIES
  FIXTURES_REQUIRED "" FIXTURES_SETUP package)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS package_test.sh)

# Scripts and installer at work, under Wine.
add_executable(package_sc package_sc.cpp)
target_include_directories(package_sc PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(package_sc PRIVATE strict_warnings)
target_link_options(package_sc PRIVATE -municode -static)
foreach(name IN ITEMS scripts msi)
  add_test(NAME package_wine.${name}
    COMMAND ${CMAKE_COMMAND} -E env ${package_settings}
            SC_TOOL=$<TARGET_FILE:package_sc> SESSION=${CMAKE_SOURCE_DIR}/platform/wine/session.sh
            TEMPLATE=${CMAKE_SOURCE_DIR}/build/wine/template
            bash ${CMAKE_CURRENT_SOURCE_DIR}/package_${name}_test.sh)
  set_tests_properties(package_wine.${name} PROPERTIES TIMEOUT 600 FIXTURES_REQUIRED package)
endforeach()
