add_library(strict_warnings INTERFACE)
target_compile_options(strict_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-align -Wformat=2 -Wimplicit-fallthrough -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(strict_warnings INTERFACE -Wduplicated-cond -Wlogical-op)
  # GCC 12 sees overlapping copies in every short std::string assignment when it optimises.
  target_compile_options(strict_warnings INTERFACE -Wno-restrict)
endif()
