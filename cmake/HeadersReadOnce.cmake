# headers_read_once(<target> <header>...): what nearly every file of the target includes is compiled
# once for all of them. Not for the builds that are optimised: the optimizer warns of the standard
# library's own code there, and what comes from a precompiled header no longer counts as the
# system's. Those builds also show where an include is missing.
function(headers_read_once target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT SANITIZE STREQUAL "thread")
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()
