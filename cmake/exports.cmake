# SPDX-License-Identifier: MIT
# Hidden visibility does not reach what the standard library's templates leave in a shared library;
# the list of exported functions does, where the linker takes one.

include(CheckLinkerFlag)
set(celumbrant_export_list ${CMAKE_CURRENT_LIST_DIR}/exports.map)
check_linker_flag(CXX "LINKER:--version-script=${celumbrant_export_list}"
                  CELUMBRANT_META_HAS_VERSION_SCRIPT)

function(celumbrant_limit_exports target)
  if(CELUMBRANT_META_HAS_VERSION_SCRIPT)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${celumbrant_export_list}")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${celumbrant_export_list})
  endif()
endfunction()
