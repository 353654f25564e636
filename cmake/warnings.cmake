# SPDX-License-Identifier: MIT
# Warnings of the project's own targets. They are errors only where CELUMBRANT_META_WERROR says so
# (the presets do), so that a newer compiler never breaks somebody else's build.

function(celumbrant_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 $<$<BOOL:${CELUMBRANT_META_WERROR}>:/WX>)
    return()
  endif()
  # gcc 12 sees overlapping copies in the standard library's string concatenation.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
  endif()
  set(cxx_only -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wcast-qual -Wcast-align
    -Wformat=2 -Wundef -Wdouble-promotion
    "$<$<COMPILE_LANGUAGE:CXX>:${cxx_only}>"
    $<$<BOOL:${CELUMBRANT_META_WERROR}>:-Werror>)
endfunction()
