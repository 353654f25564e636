// SPDX-License-Identifier: MIT
//
// TIFF structures: a header of 8 bytes (byte-order mark, 42, offset of the first directory) and
// directories. A directory is a 16-bit entry count, entries of 12 bytes and the 32-bit offset of
// the next directory, 0 for none. Offsets count from the header's first byte.
//
//   entry   0  tag, 16 bits
//           2  type of the values, 16 bits
//           4  count of the values, 32 bits
//           8  the values when they take 4 bytes or fewer, else their offset

#ifndef CELUMBRANT_TIFF_FORMAT_H_
#define CELUMBRANT_TIFF_FORMAT_H_

#include <array>
#include <cstdint>

#include "byte_order.h"
#include "byte_writer.h"
#include "file_window.h"

namespace celumbrant {

inline constexpr int kTiffMagic = 42;
inline constexpr int kEntryBytes = 12;
inline constexpr int kCountFieldOffset = 4;  // in an entry; the value field follows it
inline constexpr int kValueFieldBytes = 4;
inline constexpr int kRationalBytes = 8;

// Bytes of a directory without the values behind it: its count, its entries, the next one's offset.
constexpr int directory_bytes(int entries) {
  return kEntryBytes * entries + 6;
}

enum TiffType : std::uint16_t {
  kTypeByte = 1,
  kTypeAscii = 2,
  kTypeShort = 3,
  kTypeLong = 4,
  kTypeRational = 5,
  kTypeUndefined = 7
};

enum TiffTag : std::uint16_t {
  kTagImageWidth = 256,
  kTagImageLength = 257,
  kTagBitsPerSample = 258,
  kTagCompression = 259,
  kTagPhotometricInterpretation = 262,
  kTagMake = 271,
  kTagModel = 272,
  kTagStripOffsets = 273,
  kTagOrientation = 274,
  kTagSamplesPerPixel = 277,
  kTagRowsPerStrip = 278,
  kTagStripByteCounts = 279,
  kTagXResolution = 282,
  kTagYResolution = 283,
  kTagPlanarConfiguration = 284,
  kTagResolutionUnit = 296,
  kTagSoftware = 305,
  kTagSampleFormat = 339,
  kTagThumbnailOffset = 513,
  kTagThumbnailLength = 514,
  kTagXmp = 700,
  kTagIptc = 33723,
  kTagPhotoshopResources = 34377,
  kTagExifDirectory = 34665,
  kTagIccProfile = 34675,
  kTagGpsDirectory = 34853
};

enum ExifTag : std::uint16_t {
  kTagExposureTime = 33434,
  kTagFNumber = 33437,
  kTagIsoSpeedRatings = 34855,
  kTagDateTimeOriginal = 36867,
  kTagShutterSpeedValue = 37377,
  kTagApertureValue = 37378,
  kTagMaxApertureValue = 37381,
  kTagFocalLength = 37386,
  kTagFocalPlaneXResolution = 41486,
  kTagFocalPlaneResolutionUnit = 41488,
  kTagExposureIndex = 41493,
  kTagFocalLengthIn35mmFilm = 41989
};

enum GpsTag : std::uint16_t {
  kTagGpsVersionId = 0,
  kTagGpsLatitudeRef = 1,
  kTagGpsLatitude = 2,
  kTagGpsLongitudeRef = 3,
  kTagGpsLongitude = 4,
  kTagGpsAltitudeRef = 5,
  kTagGpsAltitude = 6,
  kTagGpsTimeStamp = 7,
  kTagGpsDateStamp = 29
};

// Bytes of one value. Types from 14 on, and 0, which TIFF does not have, count as bytes; 13, a
// directory offset of 4 bytes in TIFF, counts 8.
constexpr int type_size(int type) {
  constexpr std::array<int, 14> kSizes{1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 8};
  return kSizes[static_cast<std::size_t>(type) < kSizes.size() ? static_cast<std::size_t>(type)
                                                               : 0];
}

// How an entry's last 4 bytes are read: one 32-bit number whatever the type; or, when they hold one
// or two SHORTs, the first of these.
enum class ValueReading { kField, kShortOrField };

struct Entry {
  std::uint16_t tag;
  std::uint16_t type;
  std::int32_t count;
  std::int32_t value;
  std::int64_t end;  // position after the entry

  std::int64_t value_field() const { return end - kValueFieldBytes; }
};

inline Entry read_entry(FileWindow& file, ByteOrder order, ValueReading reading) {
  Entry entry{};
  entry.tag = file.u16(order);
  entry.type = file.u16(order);
  entry.count = file.i32(order);
  if (reading == ValueReading::kShortOrField && entry.type == kTypeShort && entry.count <= 2) {
    entry.value = file.u16(order);
    file.u16(order);
  } else {
    entry.value = file.i32(order);
  }
  entry.end = file.position();
  return entry;
}

struct EntryHead {
  int tag;
  int type;
  int count;
};

inline void write_entry_head(ByteWriter& out, const EntryHead& head) {
  out.u16(head.tag);
  out.u16(head.type);
  out.i32(head.count);
}

// A value of up to four bytes stands in the entry itself, where readers look for it: the bytes that
// are laid out for it behind the directory are then referred to by nothing.
constexpr bool is_in_entry(int length) {
  return length <= kValueFieldBytes;
}

inline std::uint32_t value_in_entry(const char* bytes, int length) {
  std::array<unsigned char, kValueFieldBytes> field{};
  ByteWriter(field).bytes(bytes, length);
  const auto [a, b, c, d] = field;
  return static_cast<std::uint32_t>(assemble32(ByteOrder::kLittleEndian, a, b, c, d));
}

inline void write_text_entry(ByteWriter& out, int tag, const char* text, int length,
                             std::uint64_t offset) {
  write_entry_head(out, {tag, kTypeAscii, length});
  out.u32(is_in_entry(length) ? value_in_entry(text, length) : static_cast<std::uint32_t>(offset));
}

}  // namespace celumbrant

#endif  // CELUMBRANT_TIFF_FORMAT_H_
