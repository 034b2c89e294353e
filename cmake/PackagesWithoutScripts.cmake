# Takes the scripts out of the packages that CPack has made. It adds some that call ldconfig to each
# package with a library, where Debian has the trigger.
foreach(package ${CPACK_PACKAGE_FILES})
  set(content ${CPACK_TEMPORARY_DIRECTORY}/without-scripts)
  file(REMOVE_RECURSE ${content})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${content} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${content}/DEBIAN/postinst ${content}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${content} ${package}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
