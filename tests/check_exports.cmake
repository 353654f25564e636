# SPDX-License-Identifier: MIT
# Compares the symbols that LIBRARY exports (as NM lists them) with the functions that HEADER
# declares with CELUMBRANT_META_API.

execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[0-9a-fA-F]+ [A-Za-z] [^\n]+" symbols "${symbols}")
list(TRANSFORM symbols REPLACE "^[0-9a-fA-F]+ [A-Za-z] " "")
list(SORT symbols)

file(READ ${HEADER} header)
string(REGEX MATCHALL "CELUMBRANT_META_API [a-z ]+[ *][A-Za-z0-9_]+\\(" declared "${header}")
list(TRANSFORM declared REPLACE "^.*[ *]([A-Za-z0-9_]+)\\($" "\\1")
list(SORT declared)

if(NOT declared OR NOT symbols STREQUAL declared)
  message(FATAL_ERROR "exported: ${symbols}\ndeclared: ${declared}")
endif()
list(LENGTH declared count)
message(STATUS "${count} functions are declared and exported")
