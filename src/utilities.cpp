// SPDX-License-Identifier: MIT
//
// Small services beside the metadata: the brightness range of an HDR picture.

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "file.h"
#include "hdr_range.h"

namespace celumbrant {
namespace {

constexpr int kExponents = 256;

// Not for exponent 0, which has no power of two.
void fill_powers(float* lutE) {
  for (int e = 1; e < kExponents; ++e) lutE[e] = static_cast<float>(std::ldexp(1.0, e - 128));
}

}  // namespace
}  // namespace celumbrant

using namespace celumbrant;  // NOLINT: the exported functions below have C names

int hdrMinMax(int iMax, int jMax, const unsigned char* rgbe, float* pixDim) noexcept {
  constexpr int kNoMemory = -4;
  const Scratch table = zeroed_scratch(kExponents * sizeof(float));
  if (!table) return kNoMemory;
  auto* const lutE = reinterpret_cast<float*>(table.get());
  fill_powers(lutE);
  const HdrRange range = measure_hdr(iMax, jMax, rgbe, lutE);
  pixDim[0] = range.imMin;
  pixDim[1] = range.imMax;
  pixDim[2] = 0.0F;
  if (range.cnt > 0) {
    const auto count = static_cast<double>(static_cast<float>(range.cnt));  // rounded to a float
    pixDim[2] = static_cast<float>(range.Emoy / count);
  }
  return std::max(jMax, 0);
}
