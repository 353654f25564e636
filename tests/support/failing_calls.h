// SPDX-License-Identifier: MIT
#ifndef CELUMBRANT_TESTS_FAILING_CALLS_H_
#define CELUMBRANT_TESTS_FAILING_CALLS_H_

#include <string_view>

// While one lives, a function of the C library that the library uses (calloc, fopen, fclose, fread,
// fwrite, fseek, ftell, fgetc) fails in the library once: after so many calls that succeed.
class FailingCalls {
 public:
  FailingCalls(std::string_view function, int successes);
  ~FailingCalls();
  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;

  int calls() const;  // of that function, since it lives
};

#endif
