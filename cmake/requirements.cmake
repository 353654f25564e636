# SPDX-License-Identifier: MIT
# celumbrant_require(CLI11 libcli11-dev CELUMBRANT_META_TOOL): find_package, and when there is none,
# what to install on Debian or which switch does without.

macro(celumbrant_require package debian_package switch)
  find_package(${package} QUIET)
  if(NOT ${package}_FOUND)
    message(FATAL_ERROR "${switch} is ON and needs ${package}, which was not found.\n"
      "Install it (on Debian: apt-get install ${debian_package}) or configure with -D${switch}=OFF.")
  endif()
endmacro()
