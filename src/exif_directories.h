// SPDX-License-Identifier: MIT
//
// The EXIF and the GPS directory that are made from the flat arrays, declared once: what counts
// their entries and bytes and what writes them walk the same rows, so that sizes and contents
// cannot drift apart.

#ifndef CELUMBRANT_EXIF_DIRECTORIES_H_
#define CELUMBRANT_EXIF_DIRECTORIES_H_

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "byte_writer.h"
#include "tiff_format.h"

namespace celumbrant {

enum class RowValue {
  kVersion,    // four bytes, in the entry; there when any other row is
  kShort,      // the low 16 bits of a slot, in the entry; there when the slot is above 0
  kLetter,     // one byte of the array, in the entry; there when it is above 0 as a signed byte
  kRationals,  // pairs of slots, behind the directory; there when the first pair is above 0
  kText,       // bytes of the array, behind the directory; there when its length is above 0
};

struct DirectoryRow {
  std::uint16_t tag;
  TiffType type;
  int count;  // of values; of a text, the bytes that the array has for it
  RowValue value;
  int source;  // a slot of the array; of a letter, the byte
};

// clang-format off
inline constexpr DirectoryRow kExifRows[] = {
    {kTagExposureTime,     kTypeRational, 1, RowValue::kRationals, CELUMBRANT_EXIF_EXPOSURE},
    {kTagFNumber,          kTypeRational, 1, RowValue::kRationals, CELUMBRANT_EXIF_APERTURE},
    {kTagIsoSpeedRatings,  kTypeShort,    1, RowValue::kShort,     CELUMBRANT_EXIF_ISO},
    {kTagDateTimeOriginal, kTypeAscii,   20, RowValue::kText,      CELUMBRANT_EXIF_DATE_TIME},
    {kTagFocalLength,      kTypeRational, 1, RowValue::kRationals, CELUMBRANT_EXIF_FOCAL_LENGTH},
};

// The altitude reference is written as ASCII, although EXIF has a BYTE there: strict readers remark
// on it, and readers of earlier files rely on it.
inline constexpr DirectoryRow kGpsRows[] = {
    {kTagGpsVersionId,    kTypeByte,     4, RowValue::kVersion,   0},
    {kTagGpsLatitudeRef,  kTypeAscii,    2, RowValue::kLetter,    CELUMBRANT_GPS_BYTE_LAT_REF},
    {kTagGpsLatitude,     kTypeRational, 3, RowValue::kRationals, CELUMBRANT_GPS_LATITUDE},
    {kTagGpsLongitudeRef, kTypeAscii,    2, RowValue::kLetter,    CELUMBRANT_GPS_BYTE_LONG_REF},
    {kTagGpsLongitude,    kTypeRational, 3, RowValue::kRationals, CELUMBRANT_GPS_LONGITUDE},
    {kTagGpsAltitudeRef,  kTypeAscii,    2, RowValue::kLetter,    CELUMBRANT_GPS_BYTE_ALT_REF},
    {kTagGpsAltitude,     kTypeRational, 1, RowValue::kRationals, CELUMBRANT_GPS_ALTITUDE},
    {kTagGpsTimeStamp,    kTypeRational, 3, RowValue::kRationals, CELUMBRANT_GPS_TIMESTAMP},
    {kTagGpsDateStamp,    kTypeAscii,   11, RowValue::kText,      CELUMBRANT_GPS_DATESTAMP},
};
// clang-format on

// The bytes of a flat array, from a slot on.
inline const char* bytes_from(const int* slots, int slot) {
  return reinterpret_cast<const char*>(slots + slot);
}

// A flat array as one of the two directories. Each has one text, whose length is known from before.
struct Directory {
  std::span<const DirectoryRow> rows;
  const int* slots;
  int text_length;
};

inline Directory exif_directory(const int* exifBuf, int datetimeLen) {
  return {kExifRows, exifBuf, datetimeLen};
}

inline Directory gps_directory(const int* gpsBuf, int gpsDatestampLen) {
  return {kGpsRows, gpsBuf, gpsDatestampLen};
}

inline bool is_present(const Directory& directory, const DirectoryRow& row) {
  const int* const slots = directory.slots;
  switch (row.value) {
    case RowValue::kVersion:
      return std::ranges::any_of(directory.rows, [&](const DirectoryRow& other) {
        return other.value != RowValue::kVersion && is_present(directory, other);
      });
    case RowValue::kShort:
      return slots[row.source] > 0;
    case RowValue::kLetter:
      return static_cast<signed char>(bytes_from(slots, 0)[row.source]) > 0;
    case RowValue::kRationals:
      return slots[row.source] > 0 && slots[row.source + 1] > 0;
    case RowValue::kText:
      return directory.text_length > 0;
  }
  return false;
}

// Bytes of a row's value behind the directory.
inline int bytes_behind(const Directory& directory, const DirectoryRow& row) {
  if (row.value == RowValue::kRationals) return kRationalBytes * row.count;
  return row.value == RowValue::kText ? directory.text_length : 0;
}

struct DirectorySize {
  int entries = 0;
  int bytes_behind = 0;
};

inline DirectorySize size_of(const Directory& directory) {
  DirectorySize size;
  for (const DirectoryRow& row : directory.rows) {
    if (!is_present(directory, row)) continue;
    ++size.entries;
    size.bytes_behind += bytes_behind(directory, row);
  }
  return size;
}

inline void write_entry(ByteWriter& out, const Directory& directory, const DirectoryRow& row,
                        std::uint64_t value_offset) {
  if (row.value == RowValue::kText) {
    return write_text_entry(out, row.tag, bytes_from(directory.slots, row.source),
                            directory.text_length, value_offset);
  }
  write_entry_head(out, {row.tag, row.type, row.count});
  switch (row.value) {
    case RowValue::kVersion:
      return out.text({"\2\2\0\0", kValueFieldBytes});
    case RowValue::kShort:
      out.u16(directory.slots[row.source]);
      return out.skip(2);
    case RowValue::kLetter:
      out.bytes(bytes_from(directory.slots, 0) + row.source, 1);
      return out.skip(3);
    default:
      return out.u32(static_cast<std::uint32_t>(value_offset));
  }
}

inline void write_value(ByteWriter& out, const Directory& directory, const DirectoryRow& row) {
  if (row.value == RowValue::kText) {
    const int held = std::min(directory.text_length, row.count);
    out.bytes(bytes_from(directory.slots, row.source), held);
    out.zeros(static_cast<std::size_t>(directory.text_length - held));
  }
  if (row.value != RowValue::kRationals) return;
  for (int i = 0; i < 2 * row.count; ++i) out.i32(directory.slots[row.source + i]);
}

// Writes the directory, which lies at `offset` and has as many entries as were counted, and behind
// it the values in the order of their entries. Bytes that a value leaves free in its entry keep
// what the buffer holds.
inline void write_directory(ByteWriter& out, const Directory& directory, int entries,
                            std::uint64_t offset) {
  out.u16(entries);
  std::uint64_t value_offset = offset + static_cast<std::uint64_t>(directory_bytes(entries));
  for (const DirectoryRow& row : directory.rows) {
    if (!is_present(directory, row)) continue;
    write_entry(out, directory, row, value_offset);
    value_offset += static_cast<std::uint64_t>(bytes_behind(directory, row));
  }
  out.u32(0);  // no next directory
  for (const DirectoryRow& row : directory.rows) {
    if (is_present(directory, row)) write_value(out, directory, row);
  }
}

}  // namespace celumbrant

#endif  // CELUMBRANT_EXIF_DIRECTORIES_H_
