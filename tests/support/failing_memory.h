// SPDX-License-Identifier: MIT
#ifndef CELUMBRANT_TESTS_FAILING_MEMORY_H_
#define CELUMBRANT_TESTS_FAILING_MEMORY_H_

#include <limits>

#include "support/failing_calls.h"

// While one lives, the library's calls of calloc fail after the first `successes`.
struct FailingMemory : FailingCalls {
  explicit FailingMemory(int successes) : FailingCalls("calloc", successes, std::numeric_limits<int>::max()) {}
};

#endif
