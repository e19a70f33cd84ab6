# SANITIZE: empty, "address" (with undefined), "thread", or "fuzzer" (address; `fuzzed` adds the
# rest). COVERAGE: counters of lines, branches and conditions, for the product's rooms alone.
set(SANITIZE "" CACHE STRING "sanitizers to build with: address, thread, fuzzer or none")
option(COVERAGE "count executed lines, branches and conditions; needs clang" OFF)
# The copy of the project that tools/mutate makes.
option(MUTATE "the product's sources have mutation points" OFF)

add_library(instrumentation INTERFACE)
if(SANITIZE STREQUAL "address")
  # Every access through a pointer is checked for null and for its alignment in the product alone: in
  # the model, the tools and the tests that is a third of the time that compiling takes, for what
  # ends them in any case.
  set(sanitizer_flags -fsanitize=address,undefined -fno-sanitize-recover=all
      -fno-omit-frame-pointer
      $<$<NOT:$<BOOL:$<TARGET_PROPERTY:ACCESSES_CHECKED>>>:-fno-sanitize=null,alignment>)
elseif(SANITIZE STREQUAL "thread")
  set(sanitizer_flags -fsanitize=thread -fno-omit-frame-pointer)
elseif(SANITIZE STREQUAL "fuzzer")
  set(sanitizer_flags -fsanitize=address -fno-omit-frame-pointer)
  # What is fuzzed, and is watched for what of it a run reaches. The rest of the model only goes along
  # and would make a run many times as slow.
  set(fuzzed_flags -fsanitize=fuzzer-no-link,undefined -fno-sanitize-recover=all)
elseif(NOT SANITIZE STREQUAL "")
  message(FATAL_ERROR "SANITIZE is \"${SANITIZE}\": it must be address, thread, fuzzer or empty")
endif()
if(sanitizer_flags)
  # GCC takes what the sanitizers add to the standard library's templates for uninitialised reads;
  # the builds without them keep the warning.
  target_compile_options(instrumentation INTERFACE ${sanitizer_flags}
                         $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
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

# Has several source files of a target compiled in one go under the address sanitizer: most of the
# time of such a build is the reading of headers. Every other build compiles each file alone, and
# there a missing include shows. Files whose unnamed namespaces share a name do not go together: those
# named after APART go with such as stand far from them in that list.
function(compile_together target)
  if(NOT SANITIZE STREQUAL "address")
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 files "" "" APART)
  get_target_property(neighbours ${target} SOURCES)
  list(FILTER neighbours INCLUDE REGEX "\\.cpp$")
  list(REMOVE_ITEM neighbours ${files_APART})
  set(batch_size 6)
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  set(place 0)
  foreach(file IN LISTS neighbours)
    math(EXPR batch "${place} / ${batch_size}")
    set_source_files_properties(${file} PROPERTIES UNITY_GROUP neighbours_${batch})
    math(EXPR place "${place} + 1")
  endforeach()
  list(LENGTH files_APART count)
  math(EXPR batches "(${count} + ${batch_size} - 1) / ${batch_size}")
  set(place 0)
  foreach(file IN LISTS files_APART)
    math(EXPR batch "${place} % ${batches}")
    set_source_files_properties(${file} PROPERTIES UNITY_GROUP apart_${batch})
    math(EXPR place "${place} + 1")
  endforeach()
endfunction()
