// SPDX-License-Identifier: MIT
#include "hdr_range_scalar.h"

#include <cstddef>
#include <cstdint>

void scalar_hdr_range(int iMax, int jMax, const unsigned char* rgbe, const float* lutE,
                      float* pixDim) {
  const auto width = static_cast<std::size_t>(iMax);
  float least = 1e11F;
  float most = 0.0F;
  double sum = 0.0;
  std::uint64_t count = 0;
  std::size_t at = 0;
  for (int j = 0; j < jMax; ++j, at += 3 * width) {
    for (int i = 0; i < iMax; ++i, ++at) {
      const int exponent = rgbe[at + 3 * width];
      if (exponent == 0) continue;
      const int luma = (19 * rgbe[at] + 183 * rgbe[at + width] + 54 * rgbe[at + 2 * width]) >> 8;
      const float value = static_cast<float>(luma) * lutE[exponent];
      if (value > most) most = value;
      if (value > 0.0F && value < least) least = value;
      sum += static_cast<double>(value);
      ++count;
    }
  }
  pixDim[0] = least;
  pixDim[1] = most;
  pixDim[2] = count > 0 ? static_cast<float>(sum / static_cast<double>(count)) : 0.0F;
}
