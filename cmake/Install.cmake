# What is installed. The Debian packages are made of the components: "tool" is kxqosctl and kxqos-config, "lab" is
# kxqos-lab. Included at the end of the top CMakeLists.txt, for its targets.
include(GNUInstallDirs)

# Below the prefix unless absolute. Distributions have places of their own.
set(KXQOS_UNITS lib/systemd/system CACHE STRING "Where the units for systemd are installed")
set(KXQOS_UDEV lib/udev/rules.d CACHE STRING "Where the rule for udev is installed")
set(KXQOS_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
    "Where the completion for zsh is installed")

# Two builds give the same bytes wherever they are made.
foreach(target kxqosctl_core kxqosctl_seams kxqosctl kxqos-config kx kxqos-lab-preload kxqos-lab)
  target_compile_options(${target} PRIVATE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endforeach()

install(TARGETS kxqosctl kxqos-config RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
foreach(program kxqosctl kxqos-config)
  # What is installed looks for its library where the loader looks for every library.
  set(installed "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${program}")
  install(CODE "file(RPATH_REMOVE FILE \"${installed}\")" COMPONENT tool)
  install(FILES completions/${program}.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME ${program} COMPONENT tool)
  install(FILES completions/_${program} DESTINATION ${KXQOS_ZSH_COMPLETIONS} COMPONENT tool)
  install(FILES docs/${program}.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT tool)
endforeach()
install(FILES packaging/systemd/kxqos.service packaging/systemd/kxqos-save.service
        DESTINATION ${KXQOS_UNITS} COMPONENT tool)
install(FILES packaging/systemd/kxqos.sysusers DESTINATION lib/sysusers.d RENAME kxqos.conf COMPONENT tool)
install(FILES packaging/udev/60-kxqos.rules DESTINATION ${KXQOS_UDEV} COMPONENT tool)

# In a folder of their own, where the lab looks for them, and where the stand-in never hides a gateway's own libkx.
install(TARGETS kxqos-lab RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT lab)
install(TARGETS kx kxqos-lab-preload LIBRARY DESTINATION lib/kxqos-lab COMPONENT lab)
if(EXISTS ${PROJECT_SOURCE_DIR}/lab/kxqos-lab.1)
  install(FILES lab/kxqos-lab.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT lab)
endif()
install(FILES lab/README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kxqos-lab COMPONENT lab)
