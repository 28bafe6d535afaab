# Run by cpack before it packs: what only Debian wants, a changelog, overrides for lintian and compressed manuals.
foreach(package kxqosctl kxqos-lab)
  set(component tool)
  if(package STREQUAL "kxqos-lab")
    set(component lab)
  endif()
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  file(COPY ${CPACK_KXQOS_SOURCE}/packaging/debian/changelog DESTINATION ${share}/doc/${package}
       FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(MAKE_DIRECTORY ${share}/lintian/overrides)
  file(COPY_FILE ${CPACK_KXQOS_SOURCE}/packaging/debian/${package}.lintian-overrides
       ${share}/lintian/overrides/${package})
  file(CHMOD ${share}/lintian/overrides/${package} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(GLOB_RECURSE manuals ${share}/man/*)
  # Without names and times, so that the bytes are the same each time.
  execute_process(COMMAND gzip -9n ${share}/doc/${package}/changelog ${manuals} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
