// SPDX-License-Identifier: MIT
//
// How the program fails: each message stands behind its name on standard error.

#ifndef CELUMBRANT_TOOLS_ERRORS_H_
#define CELUMBRANT_TOOLS_ERRORS_H_

#include <stdexcept>
#include <string>

namespace celumbrant_meta {

constexpr const char* kProgram = "celumbrant-meta";

// Something could not be read or written.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason) {}
};

// What was asked for does not exist or does not fit together.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace celumbrant_meta

#endif
