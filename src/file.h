// SPDX-License-Identifier: MIT
//
// Open files and scratch memory that release themselves on every path.

#ifndef CELUMBRANT_FILE_H_
#define CELUMBRANT_FILE_H_

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace celumbrant {

class File {
 public:
  File(const char* name, const char* mode) : stream_(std::fopen(name, mode)) {}
  ~File() { close(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  explicit operator bool() const { return stream_ != nullptr; }
  std::FILE* get() const { return stream_; }

  // False when bytes written before did not reach the file, now or then: buffered ones are written
  // only here.
  bool close() {
    std::FILE* const stream = std::exchange(stream_, nullptr);
    if (stream == nullptr) return true;
    const bool failed_before = std::ferror(stream) != 0;
    return std::fclose(stream) == 0 && !failed_before;
  }

 private:
  std::FILE* stream_;
};

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

// Zero-filled bytes, or null when there is no memory for them.
using Scratch = std::unique_ptr<char[], FreeMemory>;

inline Scratch zeroed_scratch(std::size_t bytes) {
  return Scratch(static_cast<char*>(std::calloc(bytes, 1)));
}

}  // namespace celumbrant

#endif  // CELUMBRANT_FILE_H_
