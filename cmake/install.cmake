# `cmake --install build --prefix P`: the shared library with its soname
# links, the public headers under P/include/gnr_projectdb/, the projectdb tool,
# the CMake package (find_package(gnr_projectdb CONFIG) gives
# gnr_projectdb::gnr_projectdb) and the pkg-config file gnr_projectdb.pc.
include(CMakePackageConfigHelpers)

set(GNR_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/gnr_projectdb)

install(TARGETS gnr_projectdb EXPORT gnr_projectdbTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/gnr_projectdb/include/gnr_projectdb
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
install(TARGETS projectdb RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(EXPORT gnr_projectdbTargets
  NAMESPACE gnr_projectdb::
  FILE gnr_projectdbTargets.cmake
  DESTINATION ${GNR_CMAKE_PACKAGE_DIR})
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/gnr_projectdbConfig.cmake.in
  ${CMAKE_BINARY_DIR}/gnr_projectdbConfig.cmake
  INSTALL_DESTINATION ${GNR_CMAKE_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/gnr_projectdbConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_BINARY_DIR}/gnr_projectdbConfig.cmake
  ${CMAKE_BINARY_DIR}/gnr_projectdbConfigVersion.cmake
  DESTINATION ${GNR_CMAKE_PACKAGE_DIR})

# pkg-config: the prefix is worked out from the .pc file's own place, so the
# file stays right under whatever --prefix the install was given.
file(RELATIVE_PATH GNR_PC_PREFIX_FROM_PCDIR
  ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" GNR_PC_PREFIX_FROM_PCDIR "${GNR_PC_PREFIX_FROM_PCDIR}")
configure_file(${CMAKE_SOURCE_DIR}/cmake/gnr_projectdb.pc.in ${CMAKE_BINARY_DIR}/gnr_projectdb.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/gnr_projectdb.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
