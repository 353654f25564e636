// SPDX-License-Identifier: MIT

#ifndef CELUMBRANT_SATURATE_H_
#define CELUMBRANT_SATURATE_H_

#include <limits>

namespace celumbrant {

// The number cut towards zero, or the nearest int where no int holds it. Not for NaN.
constexpr int truncated_to_int(double number) {
  constexpr int kLowest = std::numeric_limits<int>::min();
  constexpr int kHighest = std::numeric_limits<int>::max();
  if (number <= kLowest) return kLowest;
  return number >= kHighest ? kHighest : static_cast<int>(number);
}

}  // namespace celumbrant

#endif  // CELUMBRANT_SATURATE_H_
