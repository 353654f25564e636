// SPDX-License-Identifier: MIT
//
// A photograph as a host keeps it: the record, the flat arrays, and the blocks that they point to.

#ifndef CELUMBRANT_TOOLS_PHOTO_H_
#define CELUMBRANT_TOOLS_PHOTO_H_

#include <CelumbrantMetaLib.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace celumbrant_meta {

struct ImageFormat {
  const char* name;
  int image_type;  // as getExifData takes it
};

// Tells by the first bytes what a file is. Throws a Failure when it cannot be read.
std::optional<ImageFormat> format_of(const std::string& file);

struct Photo {
  std::string file;
  ImageFormat format;
  ExifInfo2 record;
  std::array<int, CELUMBRANT_EXIF_SLOTS> exif{};
  std::array<int, CELUMBRANT_GPS_SLOTS> gps{};
};

// Throws a Failure when the file cannot be read or is no photograph. One without metadata is read.
Photo read_photo(const std::string& file);
Photo read_photo(const std::string& file, const ImageFormat& format);

// What get_exif_count tells of the arrays.
struct ExifSizes {
  int exif_count = 0;
  int exif_bytes = 0;
  int gps_count = 0;
  int gps_bytes = 0;
  int model = 0;
  int make = 0;
  int date_time = 0;
  int gps_date = 0;
  int lens = 0;
  std::array<char, CELUMBRANT_MAKE_BYTES> make_text{};
};
ExifSizes measure_exif(const Photo& photo);

// The IPTC block, empty when there is none; nothing when what the file says of it is wrong.
std::optional<std::string> iptc_of(const Photo& photo);

// The XMP packet with the NUL behind it that the settings functions ask for; empty when there is none
// in the file.
std::string xmp_of(const Photo& photo);

// The keywords of an IPTC block, as their bytes are.
std::vector<std::string> keywords_of(const std::string& iptc);

}  // namespace celumbrant_meta

#endif
