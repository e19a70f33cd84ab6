# SANITIZE: empty, "address" (with undefined), or "thread". COVERAGE: counters of lines, branches and
# conditions, for the product's rooms alone.
set(SANITIZE "" CACHE STRING "sanitizers to build with: address, thread or none")
option(COVERAGE "count executed lines, branches and conditions; needs clang" OFF)
# The copy of the project that tools/mutate makes.
option(MUTATE "the product's sources have mutation points" OFF)

add_library(instrumentation INTERFACE)
if(SANITIZE STREQUAL "address")
  set(sanitizer_flags -fsanitize=address,undefined -fno-sanitize-recover=all
      -fno-omit-frame-pointer)
elseif(SANITIZE STREQUAL "thread")
  set(sanitizer_flags -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT SANITIZE STREQUAL "")
  message(FATAL_ERROR "SANITIZE is \"${SANITIZE}\": it must be address, thread or empty")
endif()
if(sanitizer_flags)
  # GCC takes what the sanitizers add to the standard library's templates for uninitialised reads;
  # the builds without them keep the warning.
  target_compile_options(instrumentation INTERFACE ${sanitizer_flags} -Wno-maybe-uninitialized)
  target_link_options(instrumentation INTERFACE ${sanitizer_flags})
endif()
if(COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "COVERAGE counts conditions too, and that takes clang")
  endif()
  # The list names the rooms that are counted, wherever their code is compiled: what stands in a
  # header of theirs is compiled with the tests as well. Warnings are the other builds' affair.
  set(counted_rooms ${CMAKE_BINARY_DIR}/counted_rooms.list)
  file(CONFIGURE OUTPUT ${counted_rooms} @ONLY CONTENT "[clang]
default:skip
source:@CMAKE_SOURCE_DIR@/VUSL/*=allow
source:@CMAKE_SOURCE_DIR@/client/*=allow
source:@CMAKE_SOURCE_DIR@/task/*=allow
source:@CMAKE_SOURCE_DIR@/service/*=allow
")
  # The table of faults has more rows than this compiler takes by itself.
  target_compile_options(instrumentation INTERFACE -O0 -w -fbracket-depth=1024
                         -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc
                         -fprofile-list=${counted_rooms})
  target_link_options(instrumentation INTERFACE -fprofile-instr-generate LINKER:--wrap=signal)
endif()

# Has several source files of each target compiled in one go under the address sanitizer: most of the
# time of such a build is the reading of headers. Every other build compiles each file alone, and
# there a missing include shows. Files whose unnamed namespaces share a name do not go together: name
# such a one with the property SKIP_UNITY_BUILD_INCLUSION.
function(compile_together)
  if(SANITIZE STREQUAL "address")
    set_target_properties(${ARGV} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
  endif()
endfunction()
