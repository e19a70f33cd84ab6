add_library(strict_warnings INTERFACE)
if(MSVC)
  # Sources are UTF-8. 4702: what follows a call that never returns cannot be reached, by design.
  target_compile_options(strict_warnings INTERFACE
    /W4 /WX /wd4702 /permissive- /utf-8 /EHsc /Zc:__cplusplus /Zc:preprocessor)
else()
  target_compile_options(strict_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wformat=2 -Wimplicit-fallthrough -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(strict_warnings INTERFACE -Wduplicated-cond -Wlogical-op)
  # GCC 12 sees overlapping copies in every short std::string assignment when it optimises.
  target_compile_options(strict_warnings INTERFACE -Wno-restrict)
endif()
