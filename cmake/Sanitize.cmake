# KXQOS_SANITIZE=ON builds the tool and the unit tests with AddressSanitizer and UndefinedBehaviorSanitizer; the first
# finding ends the process. The lab stays as it is, because its libraries are preloaded into any process.
option(KXQOS_SANITIZE "Build the tool with sanitizers" OFF)

if(KXQOS_SANITIZE)
  set(sanitize_compile -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  set(sanitize_link -fsanitize=address,undefined)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # As a shared library the run-time insists on coming before whatever is preloaded.
    list(APPEND sanitize_link -static-libasan -static-libubsan)
  else()
    # These two need the C++ library and type information, and the tool has neither.
    list(APPEND sanitize_compile -fno-sanitize=function,vptr)
    # The gateway's library may know results that the header does not name; the tool prints their numbers.
    list(APPEND sanitize_compile -fno-sanitize=enum)
  endif()
  # The core's options are public: what links them gets the same. Deferred, because the target is yet to come.
  cmake_language(DEFER CALL target_compile_options kxqosctl_core PUBLIC ${sanitize_compile})
  cmake_language(DEFER CALL target_link_options kxqosctl_core PUBLIC ${sanitize_link})
endif()
