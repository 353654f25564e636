// SPDX-License-Identifier: MIT
#ifndef CELUMBRANT_TESTS_FAILING_MEMORY_H_
#define CELUMBRANT_TESTS_FAILING_MEMORY_H_

// While one lives, the library's calls of calloc fail after the first `successes`.
class FailingMemory {
 public:
  explicit FailingMemory(int successes);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  int calls() const;  // of calloc, since it lives
};

#endif
