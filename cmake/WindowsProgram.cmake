# How the program that is shipped is compiled (`shipped_code`, for all of its objects) and linked
# (`shipped_program`). Neither has any effect on the native builds.
add_library(shipped_code INTERFACE)
add_library(shipped_program INTERFACE)

if(MSVC)
  # The C runtime is linked in, as with the other compiler.
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  target_compile_definitions(shipped_code INTERFACE UNICODE _UNICODE NOMINMAX)
  target_compile_options(shipped_code INTERFACE /GS /guard:cf /Gy /Brepro)
  # The manifest is a resource of ours.
  target_link_options(shipped_program INTERFACE
    /SUBSYSTEM:CONSOLE /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT /guard:cf /CETCOMPAT /OPT:REF
    /MANIFEST:NO /Brepro)
elseif(WIN32)
  file(RELATIVE_PATH way_to_sources ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
  string(REGEX REPLACE "/$" "" way_to_sources "${way_to_sources}")
  target_compile_options(shipped_code INTERFACE
    # What overwrites a return address ends the process.
    -fstack-protector-strong -fcf-protection=full
    # What nobody uses is left out by the linker.
    -ffunction-sections -fdata-sections
    # The bytes do not tell where they were made. Caches of compilations name the sources by the way
    # from the build's folder to them.
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -ffile-prefix-map=${way_to_sources}=.)
  # The code that looks at the stack is in a library of the compiler's.
  target_link_options(shipped_code INTERFACE -fstack-protector-strong)
  target_compile_definitions(shipped_code INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
  # The entry is the wide one. Nothing but the system's own libraries is needed beside the program.
  # Without time stamp and symbols two builds of one source are the same bytes.
  target_link_options(shipped_program INTERFACE
    -municode -mconsole -static -s
    -Wl,--gc-sections -Wl,--no-insert-timestamp
    -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat)
endif()
