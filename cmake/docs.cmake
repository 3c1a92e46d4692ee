# `cmake --build build --target docs`: the API reference of the public
# headers, built with Doxygen into build/docs/html/ (index.html). Not part of
# `all`; a warning fails the target, so the reference stays warning-free.
find_package(Doxygen QUIET)
if(DOXYGEN_FOUND)
  set(GNR_DOCS_DIR ${CMAKE_BINARY_DIR}/docs)
  set(GNR_DOCS_INPUT ${CMAKE_SOURCE_DIR}/gnr_projectdb/include/gnr_projectdb)
  configure_file(${CMAKE_SOURCE_DIR}/docs/Doxyfile.in ${CMAKE_BINARY_DIR}/Doxyfile @ONLY)
  file(GLOB GNR_PUBLIC_HEADERS CONFIGURE_DEPENDS ${GNR_DOCS_INPUT}/*.h ${GNR_DOCS_INPUT}/*.inc)
  add_custom_command(
    OUTPUT ${GNR_DOCS_DIR}/html/index.html
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${GNR_DOCS_DIR}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${GNR_DOCS_DIR}
    COMMAND ${DOXYGEN_EXECUTABLE} ${CMAKE_BINARY_DIR}/Doxyfile
    DEPENDS ${CMAKE_BINARY_DIR}/Doxyfile ${GNR_PUBLIC_HEADERS} ${CMAKE_SOURCE_DIR}/docs/mainpage.md
    COMMENT "API reference (Doxygen) into ${GNR_DOCS_DIR}/html"
    VERBATIM)
  add_custom_target(docs DEPENDS ${GNR_DOCS_DIR}/html/index.html)
else()
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E echo "docs: doxygen is not installed (Debian package doxygen, scripts/setup.sh)"
    COMMAND ${CMAKE_COMMAND} -E false
    VERBATIM)
endif()
