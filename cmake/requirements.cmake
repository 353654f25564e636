# SPDX-License-Identifier: MIT
# What the switches need. The library itself needs nothing.

# Ends with what to install on Debian, or which switch does without.
function(celumbrant_missing package debian_package switch)
  message(FATAL_ERROR "${switch} is ON and needs ${package}, which was not found.\n"
    "Install it (on Debian: apt-get install ${debian_package}) or configure with -D${switch}=OFF.")
endfunction()

# celumbrant_require(CLI11 libcli11-dev CELUMBRANT_META_TOOL): find_package, or that end.
macro(celumbrant_require package debian_package switch)
  find_package(${package} QUIET)
  if(NOT ${package}_FOUND)
    celumbrant_missing(${package} ${debian_package} ${switch})
  endif()
endmacro()
