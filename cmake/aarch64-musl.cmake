# The 64-bit Arm gateway whose C library is musl, still with Debian's cross compiler.
# rig/musl runs rig/fetch first: that leaves musl's headers, library and link specs in build/rig-cache.
include(${CMAKE_CURRENT_LIST_DIR}/aarch64.cmake)

get_filename_component(cache "${CMAKE_CURRENT_LIST_DIR}/../build/rig-cache" ABSOLUTE)
set(musl_headers "${cache}/root/usr/include/aarch64-linux-musl")
set(musl_specs "${cache}/musl.specs")
if(NOT EXISTS "${musl_specs}")
  message(FATAL_ERROR "musl is not there: run rig/fetch build/rig-cache")
endif()
include(${CMAKE_CURRENT_LIST_DIR}/musl.cmake)

# Atomics stay inline: the compiler's out-of-line ones ask glibc for the processor.
foreach(language C CXX)
  string(APPEND CMAKE_${language}_FLAGS_INIT " -mno-outline-atomics")
endforeach()
