# SPDX-License-Identifier: MIT
# What `cmake --install` puts where. Nothing installed holds an absolute path, so that a prefix can be
# moved. Components: runtime (the shared library), development, documentation; tools/ adds its own.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS CelumbrantMetaLib EXPORT CelumbrantMetaLib
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  FILE_SET HEADERS COMPONENT development)

# The library needs no other package, so that the list of its targets is the whole CMake package.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/CelumbrantMetaLib)
install(EXPORT CelumbrantMetaLib
  NAMESPACE CelumbrantMetaLib::
  FILE CelumbrantMetaLibConfig.cmake
  DESTINATION ${package_dir} COMPONENT development)
write_basic_package_version_file(CelumbrantMetaLibConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/CelumbrantMetaLibConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

# pkg-config finds the prefix from where its file lies.
set(pc_prefix ${CMAKE_INSTALL_PREFIX})
set(pc_libdir ${CMAKE_INSTALL_FULL_LIBDIR})
set(pc_includedir ${CMAKE_INSTALL_FULL_INCLUDEDIR})
cmake_path(RELATIVE_PATH pc_prefix BASE_DIRECTORY ${pc_libdir}/pkgconfig)
cmake_path(RELATIVE_PATH pc_libdir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
cmake_path(RELATIVE_PATH pc_includedir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
set(pc_libs CelumbrantMetaLib)
if(NOT BUILD_SHARED_LIBS)
  list(APPEND pc_libs ${celumbrant_cxx_runtime})
endif()
list(TRANSFORM pc_libs PREPEND -l)
list(JOIN pc_libs " " pc_libs)
configure_file(cmake/CelumbrantMetaLib.pc.in CelumbrantMetaLib.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/CelumbrantMetaLib.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(FILES LICENSE README.md CHANGELOG.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
