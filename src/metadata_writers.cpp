// SPDX-License-Identifier: MIT
//
// The flat arrays.

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <cstring>

#include "saturate.h"

namespace celumbrant {
namespace {

// ---- Flat arrays -------------------------------------------------------------------------------

// Hundredths, cut and not rounded; a value below 1 as the inverse of its inverse.
void store_pair(float value, int* pair) {
  constexpr int kHundred = 100;
  const double v = static_cast<double>(value);
  if (v >= 1.0) {
    pair[0] = truncated_to_int(v * kHundred);
    pair[1] = kHundred;
  } else if (v > 0.0) {
    pair[0] = kHundred;
    pair[1] = truncated_to_int((1.0 / v) * kHundred);
  }
}

void store_exif(const ExifInfo2& record, int* exifBuf) {
  store_pair(record.exposure, exifBuf + CELUMBRANT_EXIF_EXPOSURE);
  store_pair(record.aperture, exifBuf + CELUMBRANT_EXIF_APERTURE);
  exifBuf[CELUMBRANT_EXIF_ISO] = record.iso;
  exifBuf[CELUMBRANT_EXIF_CAMERA] = record.camera;
  store_pair(record.focalLength, exifBuf + CELUMBRANT_EXIF_FOCAL_LENGTH);
  exifBuf[CELUMBRANT_EXIF_FOCAL_35] = record.focal35;
  store_pair(record.fpxRes, exifBuf + CELUMBRANT_EXIF_FPX_RES);
  exifBuf[CELUMBRANT_EXIF_FP_UNIT] = record.fpUnit;
  exifBuf[CELUMBRANT_EXIF_THUMB_OFFSET] = record.thumb_offset;
  exifBuf[CELUMBRANT_EXIF_THUMB_LEN] = record.thumb_datalen;
  exifBuf[CELUMBRANT_EXIF_IPTC_OFFSET] = record.iptc_offset;
  exifBuf[CELUMBRANT_EXIF_IPTC_LEN] = record.iptc_len;
  exifBuf[CELUMBRANT_EXIF_ORIENTATION] = record.orientation;
  exifBuf[CELUMBRANT_EXIF_XMP_OFFSET] = record.embeddedXmp_offset;
  exifBuf[CELUMBRANT_EXIF_XMP_LEN] = record.embeddedXmp_len;
  std::memcpy(exifBuf + CELUMBRANT_EXIF_MODEL, record.model, CELUMBRANT_MODEL_BYTES);
  std::memcpy(exifBuf + CELUMBRANT_EXIF_DATE_TIME, record.date_time, CELUMBRANT_DATE_TIME_BYTES);
  std::memcpy(exifBuf + CELUMBRANT_EXIF_LENS, record.lens, CELUMBRANT_LENS_BYTES);
}

void store_gps(const ExifInfo2& record, int* gpsBuf) {
  std::ranges::copy(record.lat_val, gpsBuf + CELUMBRANT_GPS_LATITUDE);
  std::ranges::copy(record.long_val, gpsBuf + CELUMBRANT_GPS_LONGITUDE);
  std::ranges::copy(record.alt_val, gpsBuf + CELUMBRANT_GPS_ALTITUDE);
  std::ranges::copy(record.gps_timestamp, gpsBuf + CELUMBRANT_GPS_TIMESTAMP);
  char* const bytes = reinterpret_cast<char*>(gpsBuf);
  bytes[CELUMBRANT_GPS_BYTE_LAT_REF] = record.lat_ref;
  bytes[CELUMBRANT_GPS_BYTE_LONG_REF] = record.long_ref;
  bytes[CELUMBRANT_GPS_BYTE_ALT_REF] = record.alt_ref;
  std::memcpy(gpsBuf + CELUMBRANT_GPS_DATESTAMP, record.gps_datestamp, CELUMBRANT_DATESTAMP_BYTES);
}

}  // namespace
}  // namespace celumbrant

using namespace celumbrant;  // NOLINT: the exported functions below have C names

int metadataBufFromExifInfo(const ExifInfo2* exifInfo, int* exifBuf, int* gpsBuf) noexcept {
  store_exif(*exifInfo, exifBuf);
  store_gps(*exifInfo, gpsBuf);
  return exifBuf[CELUMBRANT_EXIF_EXPOSURE];
}

int get_exif_data(const char* nomfic, int imageType, int* exifBuf, int* gpsBuf) noexcept {
  ExifInfo2 record;
  getExifData(nomfic, imageType, &record);
  return metadataBufFromExifInfo(&record, exifBuf, gpsBuf);
}
