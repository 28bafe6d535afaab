# What is installed, and the Debian packages. Included at the end of the top CMakeLists.txt, for its targets.
include(GNUInstallDirs)

# Two builds give the same bytes wherever they are made.
foreach(target kxqosctl_core kxqosctl_seams kxqosctl kx kxqos-lab-preload kxqos-lab)
  target_compile_options(${target} PRIVATE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endforeach()

install(TARGETS kxqosctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
# The installed tool looks for its library where the loader looks for every library.
install(CODE "file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/kxqosctl\")"
        COMPONENT tool)
install(PROGRAMS tools/kxqos-save tools/kxqos-restore DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
install(FILES completions/kxqosctl.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME kxqosctl COMPONENT tool)
install(FILES completions/_kxqosctl DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tool)
install(FILES packaging/systemd/kxqos.service packaging/systemd/kxqos-save.service
        DESTINATION lib/systemd/system COMPONENT tool)
install(FILES docs/kxqosctl.8 tools/kxqos-save.8 tools/kxqos-restore.8
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT tool OPTIONAL)

# In a folder of their own, where the lab looks for them, and where the stand-in never hides a gateway's own libkx.
install(TARGETS kxqos-lab RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT lab)
install(TARGETS kx kxqos-lab-preload LIBRARY DESTINATION lib/kxqos-lab COMPONENT lab)
install(FILES lab/README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kxqos-lab COMPONENT lab)

set(CPACK_GENERATOR DEB)
# Where bugs are to go is the owner's to say, as the licence is.
set(CPACK_PACKAGE_CONTACT "kxqosctl developers <kxqosctl@localhost.localdomain>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL tool lab)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()
# Written by hand, and held against the binaries by a test: dpkg-shlibdeps would want a package for libkx, which comes
# with the gateway and in none.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.34)")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME kxqosctl)
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS kxqos-lab)
set(CPACK_COMPONENT_TOOL_DESCRIPTION
    "control of the QoS engine of a home gateway
kxqosctl sets up the rules, rate buckets, counters and limits of a home
gateway's QoS engine, through the kernel module behind /dev/kxqos and the
gateway's own library libkx, which is not part of the package. With it come
kxqos-save and kxqos-restore, which keep the configuration over a reboot.")
set(CPACK_DEBIAN_LAB_PACKAGE_NAME kxqos-lab)
set(CPACK_DEBIAN_LAB_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_LAB_PACKAGE_RECOMMENDS kxqosctl)
set(CPACK_COMPONENT_LAB_DESCRIPTION
    "simulated home gateway for kxqosctl
kxqos-lab runs kxqosctl, unmodified, against a model of the QoS kernel module
and a stand-in for the gateway's library libkx. For development: it needs no
hardware, traces every request and can make any of them fail.")
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/finish.cmake)
set(CPACK_KXQOS_SOURCE ${PROJECT_SOURCE_DIR})
include(CPack)
