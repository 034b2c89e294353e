# What `cmake --install` puts where: the library with its link name, larka-engine, the headers, larka-shot with its
# manual page, and what other projects find the library by (CMake, pkg-config).
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
foreach(directory LIBDIR INCLUDEDIR BINDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${directory}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${directory} must be relative: an installed tree can be moved")
  endif()
endforeach()
set(config_directory ${CMAKE_INSTALL_LIBDIR}/cmake/LarkaBrowser)
set(templates ${PROJECT_SOURCE_DIR}/cmake/templates)

install(TARGETS larkabrowser EXPORT LarkaBrowserTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
# The library finds it relative to itself.
install(TARGETS larka-engine RUNTIME DESTINATION ${LARKA_ENGINE_DIRECTORY} COMPONENT runtime)
if(LARKA_INSTALL_RPATH)
  file(RELATIVE_PATH engine_to_library /p/${LARKA_ENGINE_DIRECTORY} /p/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(larka-engine PROPERTIES INSTALL_RPATH "$ORIGIN/${engine_to_library}")
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/larka DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development FILES_MATCHING PATTERN "*.h")
install(EXPORT LarkaBrowserTargets NAMESPACE Larka:: DESTINATION ${config_directory}
  COMPONENT development)

configure_package_config_file(${templates}/LarkaBrowserConfig.cmake.in
  ${PROJECT_BINARY_DIR}/LarkaBrowserConfig.cmake INSTALL_DESTINATION ${config_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LarkaBrowserConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LarkaBrowserConfig.cmake
  ${PROJECT_BINARY_DIR}/LarkaBrowserConfigVersion.cmake
  DESTINATION ${config_directory} COMPONENT development)

# The paths in it are relative to the file, so that the tree can be moved.
file(RELATIVE_PATH larka_pc_to_prefix
  "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
configure_file(${templates}/larkabrowser.pc.in ${PROJECT_BINARY_DIR}/larkabrowser.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/larkabrowser.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(LARKA_BUILD_TOOLS)
  install(TARGETS larka-shot RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  if(LARKA_INSTALL_RPATH)
    set_target_properties(larka-shot PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  endif()
  install(FILES ${PROJECT_BINARY_DIR}/larka-shot.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT tools)
endif()

if(LARKA_PACKAGES)  # each brings the licence as its copyright
  set(guide_directory ${CMAKE_INSTALL_DATADIR}/doc/larkabrowser-dev)
else()
  set(guide_directory ${CMAKE_INSTALL_DATADIR}/doc/larkabrowser)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${guide_directory} COMPONENT runtime)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/docs/integration.md ${PROJECT_SOURCE_DIR}/docs/cookie-file.md
  ${PROJECT_SOURCE_DIR}/docs/performance.md DESTINATION ${guide_directory} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/examples/minimal-host.cpp
  ${PROJECT_SOURCE_DIR}/examples/careful-host.cpp
  DESTINATION ${guide_directory}/examples COMPONENT development)
