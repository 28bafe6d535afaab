# This machine with musl, from Debian's musl-tools.
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)

# CMake may read this file twice, and what is included here appends.
foreach(flags C_FLAGS CXX_FLAGS EXE_LINKER_FLAGS SHARED_LINKER_FLAGS MODULE_LINKER_FLAGS)
  set(CMAKE_${flags}_INIT "")
endforeach()

execute_process(COMMAND ${CMAKE_C_COMPILER} -print-multiarch
                OUTPUT_VARIABLE machine OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE gnu musl machine "${machine}")
set(musl_headers /usr/include/${machine})
set(musl_specs /usr/lib/${machine}/musl-gcc.specs)
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/musl.cmake)
