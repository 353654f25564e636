# SPDX-License-Identifier: MIT
# A program in C that links the static library needs the C++ runtime, which only a C++ compiler brings
# by itself: celumbrant_cxx_runtime names its libraries (stdc++ and m, or c++ and the like).

set(celumbrant_cxx_runtime ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER celumbrant_cxx_runtime INCLUDE REGEX "^(stdc|c)\\+\\+|^m$")
list(REMOVE_DUPLICATES celumbrant_cxx_runtime)
target_link_libraries(CelumbrantMetaLib INTERFACE "$<$<LINK_LANGUAGE:C>:${celumbrant_cxx_runtime}>")
