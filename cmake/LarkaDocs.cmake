# The API reference, from the public headers and the guide for hosts: the target "docs". What is not
# documented fails it, except the values of enumerations. doxygen is looked for when the target is
# built, so that it can be installed at any time.
set(docs_directory ${PROJECT_BINARY_DIR}/docs)
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(docs
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${docs_directory}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${docs_directory}
  COMMAND doxygen -q ${PROJECT_BINARY_DIR}/Doxyfile
  COMMAND ${CMAKE_COMMAND} -D headers=${PROJECT_SOURCE_DIR}/include/larka
    -D pages=${docs_directory}/html -P ${PROJECT_SOURCE_DIR}/cmake/CheckDocs.cmake
  COMMENT "Writing ${docs_directory}/html/index.html"
  VERBATIM)
