# The 64-bit Arm gateway whose C library is musl, still with Debian's cross compiler.
# rig/musl runs rig/fetch first: that leaves musl's headers, library and link specs in build/rig-cache.
include(${CMAKE_CURRENT_LIST_DIR}/aarch64.cmake)

get_filename_component(cache "${CMAKE_CURRENT_LIST_DIR}/../build/rig-cache" ABSOLUTE)
if(NOT EXISTS "${cache}/musl.specs")
  message(FATAL_ERROR "musl is not there: run rig/fetch build/rig-cache")
endif()

# A trial program of CMake's would be linked by the C++ driver, whose library is made for glibc; nothing here is.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# The compiler's own headers and those of its C++ library (only what needs no library code is used of them), then
# musl's. The C++ library asks for the version of a C library that is not there.
execute_process(COMMAND ${CMAKE_C_COMPILER} -print-file-name=include
                OUTPUT_VARIABLE own OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -xc++ -E -v /dev/null
                OUTPUT_QUIET ERROR_VARIABLE search COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "\n /[^\n]*/c\\+\\+/[^\n]*" search "${search}")
set(cxx "")
foreach(folder IN LISTS search)
  string(STRIP "${folder}" folder)
  string(APPEND cxx " -isystem ${folder}")
endforeach()
set(headers "-isystem ${own} -isystem ${cache}/root/usr/include/aarch64-linux-musl")

# Atomics stay inline: the compiler's out-of-line ones ask glibc for the processor.
string(APPEND CMAKE_C_FLAGS_INIT " -nostdinc ${headers} -mno-outline-atomics")
string(APPEND CMAKE_CXX_FLAGS_INIT " -nostdinc${cxx} ${headers} -mno-outline-atomics '-D__GLIBC_PREREQ(x,y)=0'")
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -specs=${cache}/musl.specs")
endforeach()
