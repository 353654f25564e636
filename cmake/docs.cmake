# SPDX-License-Identifier: MIT
# The target docs: pages of the public header and the documents, docs/html/index.html in the build.
# Warnings are errors: all that is declared is documented, and every link leads somewhere.

find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  return()
endif()

set(DOXYGEN_OUTPUT_DIRECTORY docs)
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
set(DOXYGEN_WARN_NO_PARAMDOC YES)
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE ${CMAKE_CURRENT_SOURCE_DIR}/README.md)
set(DOXYGEN_FILTER_PATTERNS "*.md=sed -f ${CMAKE_CURRENT_SOURCE_DIR}/cmake/docs.sed")
set(DOXYGEN_OPTIMIZE_OUTPUT_FOR_C YES)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED CELUMBRANT_META_API= CELUMBRANT_META_NOEXCEPT=)
set(DOXYGEN_EXCLUDE_SYMBOLS CELUMBRANT_META_API CELUMBRANT_META_NOEXCEPT)
doxygen_add_docs(docs include README.md CHANGELOG.md CONTRIBUTING.md docs/readers.md examples/README.md fuzz/README.md)

# The documents link to these as files.
add_custom_command(TARGET docs POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E copy_directory examples ${CMAKE_CURRENT_BINARY_DIR}/docs/html/examples
  COMMAND ${CMAKE_COMMAND} -E copy LICENSE ${CMAKE_CURRENT_BINARY_DIR}/docs/html
  WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
