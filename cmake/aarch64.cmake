# The 64-bit Arm gateway, with Debian's cross compiler.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# Flash is small: only what is used is kept, nothing is there for unwinding, no segment is padded to 64 KiB, and the
# tool, all that is C++, is written for a program below 1 MiB, which finds its texts with one instruction, not two.
set(small "-ffunction-sections -fdata-sections -fno-unwind-tables -fno-asynchronous-unwind-tables -fomit-frame-pointer")
set(CMAKE_C_FLAGS_INIT "${small}")
set(CMAKE_CXX_FLAGS_INIT "${small} -mcmodel=tiny")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-Wl,--gc-sections -Wl,-z,max-page-size=4096")
endforeach()
