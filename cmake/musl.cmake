# Debian's compiler, whose C library is glibc, made to build for musl. A toolchain file includes this when it has named
# the compilers, the folder with musl's headers (musl_headers) and the file with its link specs (musl_specs).

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
set(headers "-isystem ${own} -isystem ${musl_headers}")

string(APPEND CMAKE_C_FLAGS_INIT " -nostdinc ${headers}")
string(APPEND CMAKE_CXX_FLAGS_INIT " -nostdinc${cxx} ${headers} '-D__GLIBC_PREREQ(x,y)=0'")
foreach(kind EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -specs=${musl_specs}")
endforeach()
