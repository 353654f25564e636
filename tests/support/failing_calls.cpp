// SPDX-License-Identifier: MIT
//
// The linker puts these between the library and the C library.

#include "support/failing_calls.h"

#include <stdio_ext.h>

#include <cstddef>
#include <cstdio>

namespace {

std::string_view g_function;
int g_successes = 0;
int g_calls = 0;

bool fails(std::string_view function) {
  return function == g_function && g_calls++ == g_successes;
}

// A stream that cannot be closed properly: what it still holds is lost.
int close_without_flush(std::FILE* stream, int (*close)(std::FILE*)) {
  __fpurge(stream);
  close(stream);
  return EOF;
}

}  // namespace

#define WRAP(type, name, parameters, arguments, failure)                     \
  extern "C" type __real_##name parameters;  /* NOLINT: the linker's name */ \
  extern "C" type __wrap_##name parameters;  /* NOLINT */                    \
  extern "C" type __wrap_##name parameters { /* NOLINT */                    \
    return fails(#name) ? failure : __real_##name arguments;                 \
  }

WRAP(void*, calloc, (std::size_t count, std::size_t size), (count, size), nullptr)
WRAP(std::FILE*, fopen, (const char* name, const char* mode), (name, mode), nullptr)
WRAP(int, fclose, (std::FILE * file), (file), close_without_flush(file, __real_fclose))
WRAP(std::size_t, fread, (void* to, std::size_t size, std::size_t n, std::FILE* file), (to, size, n, file), 0)
WRAP(std::size_t, fwrite, (const void* from, std::size_t size, std::size_t n, std::FILE* file), (from, size, n, file),
     0)
WRAP(int, fseek, (std::FILE * file, long offset, int whence), (file, offset, whence), -1)
WRAP(long, ftell, (std::FILE * file), (file), -1)
WRAP(int, fgetc, (std::FILE * file), (file), EOF)

FailingCalls::FailingCalls(std::string_view function, int successes) {
  g_calls = 0;
  g_successes = successes;
  g_function = function;
}
FailingCalls::~FailingCalls() {
  g_function = {};
}
int FailingCalls::calls() const {
  return g_calls;
}
