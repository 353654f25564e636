// SPDX-License-Identifier: MIT
//
// Pictures to save: PNG, JPEG, PNM or Radiance HDR files, and their samples in another depth.

#ifndef CELUMBRANT_TOOLS_PICTURE_H_
#define CELUMBRANT_TOOLS_PICTURE_H_

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace celumbrant_meta {

using Samples8 = std::vector<std::uint8_t>;
using Samples16 = std::vector<std::uint16_t>;
using SamplesFloat = std::vector<float>;

struct Picture {
  int width = 0;
  int height = 0;
  int samples_per_pixel = 0;  // 1 grey, 2 and alpha, 3 RGB, 4 and alpha
  std::variant<Samples8, Samples16, SamplesFloat> samples;  // of Radiance HDR files: float, linear
};

// A Failure tells why the file cannot be read. One that is cut off is not read in part.
Picture read_picture(const std::string& file);

// The pixels of a Radiance HDR file as hdrMinMax takes them: rows of four planes.
struct SharedExponentPicture {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> planes;
};
SharedExponentPicture read_shared_exponent(const std::string& file);

// What buf2tif takes: little-endian samples, and its numbers for them.
struct PixelBuffer {
  std::vector<unsigned char> bytes;
  int depth = 0;         // as CELUMBRANT_DIM_DEPTH
  int from_16_to_8 = 0;  // as CELUMBRANT_DIM_16_TO_8
  int row = 0;           // from row to row: bytes; samples when from_16_to_8 is 1
};

// The depths by name, "8", "16", "half", "32"; an empty one stands for the picture's own. Integer
// samples become 0.0 to 1.0 in floating point. A UsageError tells what a depth cannot hold.
PixelBuffer pixels_of(const Picture& picture, const std::string& depth);

}  // namespace celumbrant_meta

#endif
