// SPDX-License-Identifier: MIT
//
// The range of any RGBE pixels is what the plain loop over them gives, to the last bit.

#include <bit>
#include <cmath>

#include "support.h"

namespace {

using namespace fuzz;

std::array<float, 3> plain_range(std::size_t width, std::size_t height, const Bytes& pixels) {
  std::array<float, 3> range{99999997952.0F, 0.0F, 0.0F};
  double sum = 0.0;
  std::size_t count = 0;
  for (std::size_t row = 0; row < height; ++row) {
    const unsigned char* const m = pixels.data() + 4 * width * row;
    for (std::size_t i = 0; i < width; ++i) {
      const int exponent = m[3 * width + i];
      if (exponent == 0) continue;
      const int grey = (19 * m[i] + 183 * m[width + i] + 54 * m[2 * width + i]) >> 8;
      const float luminance = static_cast<float>(grey) * std::ldexp(1.0F, exponent - 128);
      if (luminance > 0.0F) range[0] = std::min(range[0], luminance);
      range[1] = std::max(range[1], luminance);
      sum += static_cast<double>(luminance);
      ++count;
    }
  }
  const auto divisor = static_cast<double>(static_cast<float>(count));
  if (count > 0) range[2] = static_cast<float>(sum / divisor);
  return range;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::size_t pixels = (size - std::min<std::size_t>(size, 2)) / 4;
  const auto width = std::min<std::size_t>(input.take<std::uint16_t>(), pixels);
  const std::size_t height = width > 0 ? pixels / width : 3;
  const Bytes rgbe = bytes_of(input.take_bytes(4 * width * height));
  std::vector<float> range(3);
  EXPECT(hdrMinMax(static_cast<int>(width), static_cast<int>(height), rgbe.data(), range.data()) ==
         static_cast<int>(height));
  const std::array<float, 3> expected = plain_range(width, height, rgbe);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT(std::bit_cast<std::uint32_t>(range[i]) == std::bit_cast<std::uint32_t>(expected[i]));
  }
  return 0;
}
