# Holds a bill of materials against the files that it is about: BILL, FOLDER, VERSION.
cmake_policy(VERSION 3.25)
file(READ ${BILL} bill)

function(expect what value)
  string(JSON found GET "${bill}" ${ARGN})
  if(NOT found STREQUAL value)
    message(FATAL_ERROR "${what} is \"${found}\" and not \"${value}\"")
  endif()
endfunction()

expect("the format" CycloneDX bomFormat)
expect("its version" 1.5 specVersion)
expect("the product" TPMEnrollmentService metadata component name)
expect("the version" ${VERSION} metadata component version)

set(files)
set(libraries)
string(JSON count LENGTH "${bill}" components)
math(EXPR last "${count} - 1")
foreach(i RANGE ${last})
  string(JSON type GET "${bill}" components ${i} type)
  string(JSON name GET "${bill}" components ${i} name)
  if(type STREQUAL file)
    file(SHA256 ${FOLDER}/${name} sum)
    expect("the checksum of ${name}" ${sum} components ${i} hashes 0 content)
    list(APPEND files ${name})
  else()
    string(JSON version GET "${bill}" components ${i} version)
    string(JSON licence GET "${bill}" components ${i} licenses 0 expression)
    string(REGEX REPLACE "^([0-9]+)\\..*" "\\1" version "${version}")
    list(APPEND libraries "${name} ${version} ${licence}")
  endif()
endforeach()

file(GLOB programs RELATIVE ${FOLDER} ${FOLDER}/*.exe ${FOLDER}/*.dll)
list(SORT programs)
list(SORT files)
if(NOT files STREQUAL programs)
  message(FATAL_ERROR "the files of the bill are ${files}")
endif()
set(expected
  "libstdc++ 12 GPL-3.0-or-later WITH GCC-exception-3.1"
  "libgcc 12 GPL-3.0-or-later WITH GCC-exception-3.1"
  "libgcc_eh 12 GPL-3.0-or-later WITH GCC-exception-3.1"
  "libssp 12 GPL-3.0-or-later WITH GCC-exception-3.1"
  "mingw-w64-runtime 10 ZPL-2.1"
  "winpthreads 10 MIT AND BSD-3-Clause")
if(NOT libraries STREQUAL expected)
  message(FATAL_ERROR "the libraries of the bill are ${libraries}")
endif()
