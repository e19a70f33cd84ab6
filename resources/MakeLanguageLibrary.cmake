# Makes the two language libraries of one language from its strings:
#   cmake -D WINDRES=... -D LINKER=... -D COMPILER=... -D SOURCE=<language>.rc -D FOLDER=...
#         -P MakeLanguageLibrary.cmake
# They hold resources only: no code, no imports. What is made depends on nothing but the source and
# the tools, so it is the same bytes each time.

get_filename_component(language ${SOURCE} NAME_WE)
set(object ${FOLDER}/objects/${language}.o)

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${language}: failed: ${ARGV}")
  endif()
endfunction()

file(MAKE_DIRECTORY ${FOLDER}/objects)
# The native compiler's preprocessor will do: nothing of the platform's headers is needed.
run(${WINDRES} --preprocessor=${COMPILER} --preprocessor-arg=-E --preprocessor-arg=-xc
    --preprocessor-arg=-DRC_INVOKED -c 65001 ${SOURCE} -O coff -o ${object})
# The image's address comes from the file's name, so each name is linked for itself.
foreach(library ${language}.dll VUSL_${language}.dll)
  run(${LINKER} -shared -e 0 --no-insert-timestamp --exclude-all-symbols -s -o ${FOLDER}/${library}
      ${object})
endforeach()
