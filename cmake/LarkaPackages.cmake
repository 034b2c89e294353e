# Debian packages: the library, what hosts are built with, and larka-shot. `cpack` makes them from a
# build with LARKA_PACKAGES (the preset "package").
option(LARKA_PACKAGES "Prepare for Debian packages" OFF)
if(NOT LARKA_PACKAGES)
  return()
endif()

# Debian names a library's package after its soname.
string(REPLACE "_" "-" soname_package "larkabrowser-${LARKA_CPU}-linux")
set(package_runtime lib${soname_package}0)
set(package_development larkabrowser-dev)
set(package_tools larka-tools)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME larka)
set(CPACK_PACKAGE_CONTACT "The Larka authors <larka@larka.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "off-screen web browser engine for television")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/PackagesStrip.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/PackagesWithoutScripts.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)

# What packages of hosts depend on. A symbol that the template lacks, or has too many, is an error:
# add it there with the version that brings it.
set(control_directory ${PROJECT_BINARY_DIR}/control)
set(soname liblarkabrowser-${LARKA_CPU}-linux.so.0)
configure_file(${templates}/symbols.in ${control_directory}/symbols.in @ONLY)
add_custom_command(OUTPUT ${control_directory}/symbols
  COMMAND dpkg-gensymbols -c2 -p${package_runtime} -v${PROJECT_VERSION} -e$<TARGET_FILE:larkabrowser>
    -I${control_directory}/symbols.in -O${control_directory}/symbols
  DEPENDS larkabrowser ${control_directory}/symbols.in
  VERBATIM)
add_custom_target(symbols ALL DEPENDS ${control_directory}/symbols)

set(about "Larka renders web pages off screen, into images that a television\n\
application shows inside its own screens. It lays out and paints pages\nwith QtWebKit.\n.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${package_runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS qt5-style-plugins)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS
  "fonts-dejavu-core, gstreamer1.0-plugins-base, gstreamer1.0-plugins-good")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${templates}/triggers ${control_directory}/symbols)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${about}\nThis package has the library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${package_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${package_runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS qtbase5-dev)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${about}\n\
This package has the headers, and what CMake and pkg-config find the\nlibrary by.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${package_tools})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION web)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${package_runtime} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "${about}\n\
This package has larka-shot, which renders pages into PNG and JPEG files.")

# Each package has its licence and its history where Debian looks for them.
string(TIMESTAMP larka_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${templates}/changelog.in ${PROJECT_BINARY_DIR}/changelog @ONLY)
execute_process(COMMAND gzip -9nkf changelog WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  COMMAND_ERROR_IS_FATAL ANY)
foreach(component runtime development tools)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/${package_${component}})
  install(FILES ${PROJECT_BINARY_DIR}/changelog.gz DESTINATION ${documents} COMPONENT ${component})
  install(FILES ${templates}/copyright DESTINATION ${documents} COMPONENT ${component})
endforeach()

include(CPack)
cpack_add_component(runtime)
cpack_add_component(development)
cpack_add_component(tools)
