add_library(strict_warnings INTERFACE)
if(MSVC)
  # Sources are UTF-8. 4702: what follows a call that never returns cannot be reached, by design.
  target_compile_options(strict_warnings INTERFACE
    /W4 /WX /wd4702 /permissive- /utf-8 /EHsc /Zc:__cplusplus /Zc:preprocessor)
else()
  # Where several files are compiled in one go, a local name may well be that of something in the
  # file ahead of it (cmake/Sanitizers.cmake).
  if(NOT SANITIZE STREQUAL "address")
    set(shadow -Wshadow)
  endif()
  target_compile_options(strict_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion ${shadow} -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wformat=2 -Wimplicit-fallthrough -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(strict_warnings INTERFACE -Wduplicated-cond -Wlogical-op)
  # GCC 12 sees overlapping copies in every short std::string assignment when it optimises.
  target_compile_options(strict_warnings INTERFACE -Wno-restrict)
endif()
