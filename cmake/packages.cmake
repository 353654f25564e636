# SPDX-License-Identifier: MIT
# `cpack -G DEB` makes a Debian package of each component. The documentation of a package lies where
# Debian looks for it, in a directory of the package's name; a plain installation has one of its own.

set(CPACK_PACKAGE_NAME celumbrantmetalib)
set(CPACK_PACKAGE_VENDOR "CelumbrantMetaLib developers")
set(CPACK_PACKAGE_CONTACT "CelumbrantMetaLib developers <developers@celumbrant.com>")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Each package describes itself.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_COMPONENTS_ALL "")

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
execute_process(COMMAND gzip -9nc ${CMAKE_CURRENT_SOURCE_DIR}/CHANGELOG.md
  OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)

# Arguments: component, package, section, what it is in one line, and in more lines.
macro(celumbrant_package component package section summary description)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
  set(doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
  install(FILES LICENSE RENAME copyright DESTINATION ${doc_dir}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${doc_dir}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

set(about "It reads the camera metadata of JPEG, TIFF and PSD files, saves pictures as
TIFF files with that metadata, and keeps tone-mapping settings as XMP.")
celumbrant_package(development libcelumbrantmetalib-dev libdevel
  "${PROJECT_DESCRIPTION} (development files)"
  "${about}\nThis package is for building programs with it, by CMake or pkg-config.")
if(BUILD_SHARED_LIBS)
  celumbrant_package(runtime libcelumbrantmetalib${abi_version} libs
    "${PROJECT_DESCRIPTION} (shared library)" "${about}")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers)
  set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
endif()
if(TARGET celumbrant-meta)
  celumbrant_package(tools celumbrant-meta graphics
    "${PROJECT_DESCRIPTION} (program)"
    "${about}\nThis package holds the program celumbrant-meta, which does so for files.")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
  if(BUILD_SHARED_LIBS)
    set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})
  endif()
endif()

include(CPack)
