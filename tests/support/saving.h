// SPDX-License-Identifier: MIT
//
// A picture that is saved with everything, for tests to which its bytes do not matter.

#ifndef CELUMBRANT_TESTS_SAVING_H_
#define CELUMBRANT_TESTS_SAVING_H_

#include "support/flat_arrays.h"

inline const unsigned char* bytes_of(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

// RGBA in, RGB out: 3 * width * height bytes from position 8 on.
inline int save(const std::string& name, int width, int height, int method, const std::string& xmp = "") {
  const std::array<float, CBTM_SETTINGS_COUNT> settings{};
  const Arrays arrays = Arrays::of_photo().with_position();
  const std::string profile = icc_profile("sRGB"), pixels(static_cast<std::size_t>(width * height) * 4, 'p');
  const int dim[] = {width, height, 4, 8, 72, 0, static_cast<int>(profile.size()), 0, 0, 0, 1};
  return buf2tif(bytes_of(pixels), dim, width * 4, bytes_of(profile), arrays.exif.data(), arrays.gps.data(), 4,
                 bytes_of("IPTC"), method, settings.data(), static_cast<int>(xmp.size()), xmp.data(), name.c_str());
}

#endif
