# A fault planted on purpose: a program of this build in which one text of one source is another.
#
# add_planted(<name> [PROGRAM <target>] SOURCE <file> FROM <text> TO <text>
#             [KIND <words> CAUGHT_BY <words>...])
#
# PROGRAM is the service if none is named; otherwise a test program, of whose objects all but the
# source's are taken as they are. A text that is not there, because the source has changed, is an
# error. With CAUGHT_BY the fault is built only when it is asked for, and `./dev net` does that:
# tests/planted/net.sh says what the words mean.
function(add_planted name)
  cmake_parse_arguments(PARSE_ARGV 1 planted "" "PROGRAM;SOURCE;FROM;TO;KIND" "CAUGHT_BY")
  file(READ ${CMAKE_SOURCE_DIR}/${planted_SOURCE} sound)
  string(REPLACE "${planted_FROM}" "${planted_TO}" faulty "${sound}")
  if(sound STREQUAL faulty)
    message(FATAL_ERROR "${planted_SOURCE} has no \"${planted_FROM}\" to be replaced")
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
               ${CMAKE_SOURCE_DIR}/${planted_SOURCE})
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp CONTENT "${faulty}" @ONLY)
  string(REPLACE "/" ".*" pattern ${planted_SOURCE})
  add_executable(${name} ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE strict_warnings instrumentation Threads::Threads
                        ${CMAKE_DL_LIBS})
  # It is the tests that are to find it, and not the compiler.
  target_compile_options(${name} PRIVATE -w)
  target_link_options(${name} PRIVATE $<TARGET_PROPERTY:platform,INTERFACE_LINK_OPTIONS>)
  if(NOT planted_PROGRAM)
    target_sources(${name} PRIVATE
      $<TARGET_OBJECTS:TPMEnrollmentService>
      $<FILTER:$<TARGET_OBJECTS:product>,EXCLUDE,${pattern}> $<TARGET_OBJECTS:platform>)
    target_link_options(${name} PRIVATE
      LINKER:--export-dynamic-symbol=host_client_sleep
      LINKER:--export-dynamic-symbol=host_client_run
      LINKER:--export-dynamic-symbol=host_client_answered)
  elseif(planted_PROGRAM STREQUAL thread_tests)
    target_sources(${name} PRIVATE
      $<FILTER:$<TARGET_OBJECTS:${planted_PROGRAM}>,EXCLUDE,${pattern}>)
    target_link_libraries(${name} PRIVATE GTest::gtest_main)
  else()
    target_sources(${name} PRIVATE
      $<FILTER:$<TARGET_OBJECTS:product>,EXCLUDE,${pattern}> $<TARGET_OBJECTS:platform>
      $<TARGET_OBJECTS:${planted_PROGRAM}>)
    target_link_libraries(${name} PRIVATE config_check GTest::gtest GTest::gmock)
    target_link_options(${name} PRIVATE
      $<TARGET_PROPERTY:${planted_PROGRAM},LINK_OPTIONS> -rdynamic)
  endif()
  if(planted_CAUGHT_BY)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
  endif()
  if(planted_KIND)
    list(JOIN planted_CAUGHT_BY " " caught_by)
    set_property(GLOBAL APPEND PROPERTY planted_faults
                 "${name}\t${CMAKE_CURRENT_BINARY_DIR}/${name}\t${planted_KIND}\t${caught_by}")
  endif()
endfunction()

# Writes the list of the planted faults that `./dev net` reads: a line each of name, program, kind and
# what is to catch it, with tabs between them.
function(write_planted_faults file)
  get_property(faults GLOBAL PROPERTY planted_faults)
  list(JOIN faults "\n" lines)
  file(WRITE ${file} "${lines}\n")
endfunction()
