// SPDX-License-Identifier: MIT
#include "support/failing_memory.h"

#include <cstddef>
#include <limits>

namespace {
constexpr int kNever = std::numeric_limits<int>::max();
int g_successes = kNever;
int g_calls = 0;
}  // namespace

extern "C" void* __real_calloc(std::size_t count, std::size_t size);  // NOLINT: the linker's name

extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);   // NOLINT: the linker's name
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {  // NOLINT
  return g_calls++ < g_successes ? __real_calloc(count, size) : nullptr;
}

FailingMemory::FailingMemory(int successes) {
  g_calls = 0;
  g_successes = successes;
}
FailingMemory::~FailingMemory() {
  g_successes = kNever;
}
int FailingMemory::calls() const {
  return g_calls;
}
