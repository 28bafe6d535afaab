# What distributions harden programs with, and what each costs: in the instructions of a rule added on x86_64, and in the
# text of the AArch64 build, which integration/check-size limits. docs/performance.md has the whole of both.
#
# Kept:
#   position-independent, so that addresses are random   +2,581 instructions, +897 bytes
#   _FORTIFY_SOURCE=2                                       +760 instructions, +96 bytes; with musl it does nothing
#   read-only relocations (partial RELRO)                      0 within what the layout makes of it
#   no executable stack                                        0
#   -mbranch-protection=standard     on AArch64 +632 bytes, with link-time optimisation; older cores ignore it
# Left out:
#   -z now (full RELRO)              +27,813 instructions, a fifth of a start: every function is looked up at once, of
#                                    which a command calls a few
#   -fstack-protector-strong         +937 instructions, +2,609 bytes, which takes the text over its limit. The few
#                                    arrays on the stack are filled by functions that are given their sizes, and the
#                                    fuzzers run these under AddressSanitizer
#   -fstack-clash-protection         nothing: no frame is as large as the page that guards a stack
if(NOT KXQOS_SANITIZE)
  target_compile_options(kxqosctl_core PUBLIC
      -fPIE $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    target_compile_options(kxqosctl_core PUBLIC -mbranch-protection=standard)
  endif()
  foreach(program kxqosctl kxqos-config)
    target_link_options(${program} PRIVATE -pie -Wl,-z,relro -Wl,-z,lazy -Wl,-z,noexecstack)
  endforeach()
endif()
