// SPDX-License-Identifier: MIT
//
// Reading a photograph: the walks over its container, the EXIF and GPS directories, Photoshop
// resources, and the blocks and texts that a host reads on its own.
//
//   JPEG    0xFF 0xD8, then segments: 0xFF, a marker code, a 16-bit length that counts itself and
//           the payload, the payload. All big-endian. APP1 holds "Exif" and a TIFF structure, or an
//           XMP packet behind its identifier; APP13 holds Photoshop resources.
//   TIFF    see tiff_format.h
//   PSD     "8BPS", 2 version, 6 reserved, 2 channels, 4 height, 4 width, 2 depth, 2 colour mode,
//           4 length of the colour-mode data and these, 4 length of the resources and these
//   Photoshop resource
//           "8BIM", 2 identifier, 2 name (empty: its length byte and a pad byte), 4 data size, the
//           data, padded to an even number of bytes. All big-endian.

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>

#include "byte_order.h"
#include "diagnostics.h"
#include "file.h"
#include "file_window.h"
#include "saturate.h"
#include "tiff_format.h"
#include "work_budget.h"

namespace celumbrant {
namespace {

using namespace std::string_view_literals;

// Reads as many bytes as the text has and compares them with it. The texts are short identifiers.
bool read_matches(FileWindow& file, std::string_view text) {
  std::array<char, 32> bytes;
  const std::size_t count = file.read(bytes.data(), text.size());
  return std::string_view(bytes.data(), count) == text;
}

// ---- Directories -------------------------------------------------------------------------------

// A TIFF structure in an open file.
struct Tiff {
  FileWindow& file;
  WorkBudget& budget;
  ByteOrder order;
  std::int64_t startTiffHeader;

  int i32() const { return file.i32(order); }
};

// Calls `act` for each of `entries` entries, with the file at the offset that the entry's value
// names, if it is one; ends behind the last. Entries past the end of the file have no known tag.
template <typename Act>
void walk_entries(const Tiff& tiff, int entries, ValueReading reading, Act act) {
  for (int i = 0; i < entries && !tiff.file.at_end() && !tiff.budget.spent(); ++i) {
    tiff.budget.charge_entry();
    const Entry entry = read_entry(tiff.file, tiff.order, reading);
    tiff.file.seek(tiff.startTiffHeader + entry.value);
    act(entry);
    tiff.file.seek(entry.end);
  }
}

struct Rational {
  int numerator;
  int denominator;
};

Rational read_rational(const Tiff& tiff) {
  const int numerator = tiff.i32();
  return {numerator, tiff.i32()};
}

float quotient(Rational rational) {
  return static_cast<float>(rational.numerator) / static_cast<float>(rational.denominator);
}

void read_positive_denominator(const Tiff& tiff, float& field) {
  const Rational rational = read_rational(tiff);
  if (rational.denominator > 0) field = quotient(rational);
}

// ---- EXIF directory ----------------------------------------------------------------------------

// 2 to the power of minus the APEX value, in seconds; an APEX value of 0 gives no time.
float read_shutter(const Tiff& tiff) {
  constexpr double kLn2 = 0.6931471805599453;
  const Rational rational = read_rational(tiff);
  const float apex =
      rational.denominator != 0 ? quotient(rational) : static_cast<float>(rational.numerator);
  if (apex == 0.0F) return 0.0F;
  return static_cast<float>(1.0 / std::exp(static_cast<double>(apex) * kLn2));
}

int read_exposure_index(const Tiff& tiff) {
  const Rational rational = read_rational(tiff);
  return rational.denominator > 0 ? rational.numerator / rational.denominator : rational.numerator;
}

// Tags stand in ascending order: what may fill a field in place of a better source comes later.
void store_exif_entry(const Tiff& tiff, const Entry& entry, ExifInfo2& record, float& shutter) {
  trace<_debug2>("EXIF tag", entry.tag, " type", entry.type, " count", entry.count, " value",
                 entry.value);
  switch (entry.tag) {
    case kTagExposureTime:
      return read_positive_denominator(tiff, record.exposure);
    case kTagFNumber:
      return read_positive_denominator(tiff, record.aperture);
    case kTagIsoSpeedRatings:
      record.iso = entry.value;
      return;
    case kTagDateTimeOriginal:
      return tiff.file.read_line(record.date_time, CELUMBRANT_DATE_TIME_BYTES);
    case kTagShutterSpeedValue:
      shutter = read_shutter(tiff);
      return;
    case kTagApertureValue:
    case kTagMaxApertureValue:
      if (record.aperture == 0.0F) read_positive_denominator(tiff, record.aperture);
      return;
    case kTagFocalLength:
      return read_positive_denominator(tiff, record.focalLength);
    case kTagFocalPlaneXResolution:
      return read_positive_denominator(tiff, record.fpxRes);
    case kTagFocalPlaneResolutionUnit:
      record.fpUnit = entry.value;
      return;
    case kTagExposureIndex:
      if (record.iso == 0) record.iso = read_exposure_index(tiff);
      return;
    case kTagFocalLengthIn35mmFilm:
      record.focal35 = entry.value;
      return;
    default:
      return;
  }
}

void read_exif_directory(const Tiff& tiff, ExifInfo2& record) {
  float shutter = 0.0F;
  const int entries = tiff.file.u16(tiff.order);
  walk_entries(tiff, entries, ValueReading::kShortOrField,
               [&](const Entry& entry) { store_exif_entry(tiff, entry, record, shutter); });
  if (record.exposure == 0.0F && shutter > 0.0F) record.exposure = shutter;
}

// ---- GPS directory -----------------------------------------------------------------------------

void read_reference(const Tiff& tiff, const Entry& entry, char& field) {
  tiff.file.seek(entry.value_field());
  field = static_cast<char>(tiff.file.byte());
}

// An entry of fewer rationals leaves the rest of the field.
void read_rationals(const Tiff& tiff, int count, int* field) {
  constexpr int kMost = 3;
  for (int i = 0; i < std::min(count, kMost); ++i) {
    const Rational rational = read_rational(tiff);
    *field++ = rational.numerator;
    *field++ = rational.denominator;
  }
}

void read_datestamp(const Tiff& tiff, int count, char* field) {
  constexpr int kFewest = 6;
  if (count < kFewest) return;
  tiff.file.read_line(field, std::min<int>(count, CELUMBRANT_DATESTAMP_BYTES));
}

void store_gps_entry(const Tiff& tiff, const Entry& entry, ExifInfo2& record) {
  trace<_debug3>("GPS tag", entry.tag, " count", entry.count, " value", entry.value);
  switch (entry.tag) {
    case kTagGpsLatitudeRef:
      return read_reference(tiff, entry, record.lat_ref);
    case kTagGpsLatitude:
      return read_rationals(tiff, entry.count, record.lat_val);
    case kTagGpsLongitudeRef:
      return read_reference(tiff, entry, record.long_ref);
    case kTagGpsLongitude:
      return read_rationals(tiff, entry.count, record.long_val);
    case kTagGpsAltitudeRef:
      return read_reference(tiff, entry, record.alt_ref);
    case kTagGpsAltitude:
      return read_rationals(tiff, 1, record.alt_val);
    case kTagGpsTimeStamp:
      return read_rationals(tiff, entry.count, record.gps_timestamp);
    case kTagGpsDateStamp:
      return read_datestamp(tiff, entry.count, record.gps_datestamp);
    default:
      return;
  }
}

void read_gps_directory(const Tiff& tiff, ExifInfo2& record) {
  const int entries = tiff.file.u16(tiff.order);
  walk_entries(tiff, entries, ValueReading::kField,
               [&](const Entry& entry) { store_gps_entry(tiff, entry, record); });
}

// ---- Photoshop resources -----------------------------------------------------------------------

constexpr std::string_view kResource = "8BIM";
constexpr std::string_view kIptcResource = "8BIM\x04\x04\0\0"sv;  // its name must be empty
constexpr std::string_view kThumbnailResource = "8BIM\x04\x0C";
constexpr std::int64_t kResourceSizeField = 8;
constexpr std::int64_t kThumbnailWidthField = 16;  // behind the thumbnail's format

constexpr int kNoMemory = -4;

void read_iptc_resource(FileWindow& file, std::int64_t resource, ExifInfo2& record) {
  file.seek(resource + kResourceSizeField);
  record.iptc_len = file.be32();
  record.iptc_offset = static_cast<int>(file.position());
  trace<_debug4>("IPTC at", record.iptc_offset, " length", record.iptc_len);
}

void read_thumbnail_resource(FileWindow& file, std::int64_t resource, ExifInfo2& record) {
  file.seek(resource + kThumbnailWidthField);
  record.thumb_width = file.be32();
  record.thumb_height = file.be32();
  record.thumb_row = file.be32();
  file.be32();  // total size
  record.thumb_datalen = file.be32();
  file.be32();  // bits per pixel, planes
  record.thumb_offset = static_cast<int>(file.position());
  trace<_debug4>("thumbnail at", record.thumb_offset, " length", record.thumb_datalen);
}

// How many of `count` bytes the file may still have. A count that needs little memory is not worth
// asking the system for the file's length.
std::size_t bytes_to_read(FileWindow& file, int count) {
  constexpr int kLittle = 65536;
  if (count <= kLittle) return static_cast<std::size_t>(count);
  return static_cast<std::size_t>(std::min<std::int64_t>(count, file.remaining()));
}

// Where the last resource of each kind begins.
struct Resources {
  std::optional<std::size_t> iptc;
  std::optional<std::size_t> thumbnail;
};

// `bytes` hold zeros for what the file lacks: enough of them for a resource that it cuts off.
Resources find_resources(std::string_view bytes, std::size_t breed) {
  Resources found;
  std::size_t at = bytes.find(kResource);
  for (; at != std::string_view::npos && at + kResourceSizeField <= breed;
       at = bytes.find(kResource, at + 1)) {
    const std::string_view resource = bytes.substr(at);
    if (resource.starts_with(kIptcResource)) found.iptc = at;
    if (resource.starts_with(kThumbnailResource)) found.thumbnail = at;
  }
  return found;
}

int read_photoshop_resources(FileWindow& file, WorkBudget& budget, int breed, ExifInfo2& record) {
  constexpr int kNoThumbnail = 1;
  if (breed < 0) return kNoMemory;
  const std::int64_t base = file.position();
  const std::size_t held = bytes_to_read(file, breed);
  const std::size_t scanned = held + kIptcResource.size();
  budget.charge_resource(static_cast<std::int64_t>(held));
  const Scratch bytes = zeroed_scratch(scanned);
  if (!bytes) return kNoMemory;
  file.read_block(bytes.get(), held);

  const Resources found = find_resources({bytes.get(), scanned}, static_cast<std::size_t>(breed));
  const auto position = [base](std::size_t at) { return base + static_cast<std::int64_t>(at); };
  const bool iptc_is_last = found.iptc > found.thumbnail;
  if (found.iptc && !iptc_is_last) read_iptc_resource(file, position(*found.iptc), record);
  if (found.thumbnail) read_thumbnail_resource(file, position(*found.thumbnail), record);
  if (iptc_is_last) read_iptc_resource(file, position(*found.iptc), record);
  return found.thumbnail ? record.thumb_datalen : kNoThumbnail;
}

// ---- The scan of a file ------------------------------------------------------------------------

constexpr int kScanned = 1;  // also: what one step found lets the next begin
constexpr int kCannotOpen = -1;
constexpr int kBrokenFile = -1;
constexpr int kNoExifResource = -1;
constexpr int kNoTiff = -2;
constexpr int kNotPsd = -2;
constexpr int kNotRgb = -3;
constexpr int kWrongMagic = -3;
constexpr int kNoMarker = -10;

struct Scan {
  Scan(std::FILE* stream, int kind, ExifInfo2& found)
      : file(stream, 0), budget(file), imageType(kind), record(found) {}

  FileWindow file;
  WorkBudget budget;
  int imageType;
  ExifInfo2& record;
  std::int64_t startTiffHeader = 0;
};

// ---- TIFF --------------------------------------------------------------------------------------

// A model in the entry itself is padded with blanks to four characters.
void read_short_model(FileWindow& file, const Entry& entry, char* model) {
  file.seek(entry.value_field());
  file.read(model, kValueFieldBytes);
  if (entry.count != 3 && entry.count != 4) return;
  if (entry.count == 3) model[2] = ' ';
  model[3] = ' ';
  model[4] = '\0';
}

void read_model(FileWindow& file, const Entry& entry, char* model) {
  constexpr int kFewest = 3;
  const std::int64_t size = std::int64_t{type_size(entry.type)} * entry.count;
  if (size <= kValueFieldBytes) return read_short_model(file, entry, model);
  if (entry.count < kFewest) return;
  file.read_line(model, std::min<int>(entry.count, CELUMBRANT_MODEL_BYTES));
}

void store_iptc_entry(const Entry& entry, ExifInfo2& record) {
  const auto longs = static_cast<std::uint32_t>(entry.count);
  if (entry.type == kTypeLong) record.iptc_len = static_cast<int>(4 * longs);
  if (entry.type == kTypeUndefined) record.iptc_len = entry.count;
  record.iptc_offset = entry.value;
}

void store_entry(Scan& scan, const Tiff& tiff, int cntIfd, const Entry& entry) {
  trace<_debug>("tag", entry.tag, " type", entry.type, " count", entry.count, " value",
                entry.value);
  ExifInfo2& record = scan.record;
  switch (entry.tag) {
    case kTagModel:
      return read_model(tiff.file, entry, record.model);
    case kTagOrientation:
      if (entry.type == kTypeShort) record.orientation = entry.value;
      return;
    case kTagThumbnailOffset:
      if (cntIfd > 0) record.thumb_offset = static_cast<int>(tiff.startTiffHeader + entry.value);
      return;
    case kTagThumbnailLength:
      if (cntIfd > 0) record.thumb_datalen = entry.value;
      return;
    case kTagXmp:
      record.embeddedXmp_len = entry.count;
      record.embeddedXmp_offset = entry.value;
      return;
    case kTagIptc:
      return store_iptc_entry(entry, record);
    case kTagPhotoshopResources:
      if (scan.imageType == CELUMBRANT_IMAGE_TIFF && !tiff.budget.spent_on_resources()) {
        read_photoshop_resources(tiff.file, tiff.budget, entry.count, record);
      }
      return;
    case kTagExifDirectory:
      return read_exif_directory(tiff, record);
    case kTagGpsDirectory:
      return read_gps_directory(tiff, record);
    default:
      return;
  }
}

// A directory of exactly so many entries is read as the last one.
constexpr int kEntriesOfLastDirectory = 255;

int scan_tiff(Scan& scan) {
  const int order = scan.file.be16();
  if (order != kMarkLittleEndian && order != kMarkBigEndian) return kNoTiff;
  const Tiff tiff{scan.file, scan.budget, byte_order_of(order), scan.startTiffHeader};
  if (tiff.file.u16(tiff.order) != kTiffMagic) return kWrongMagic;

  bool gadoor = true;
  int cntIfd = 0;
  for (int offset = tiff.i32(); offset != 0 && gadoor; offset = tiff.i32()) {
    tiff.file.seek(tiff.startTiffHeader + offset);
    const int entries = tiff.file.u16(tiff.order);
    trace<_debug>("directory", cntIfd, " at", offset, " entries", entries);
    if (entries == kEntriesOfLastDirectory || cntIfd > 1) gadoor = false;
    walk_entries(tiff, entries, ValueReading::kShortOrField,
                 [&](const Entry& entry) { store_entry(scan, tiff, cntIfd, entry); });
    ++cntIfd;
  }
  return kScanned;
}

// ---- JPEG --------------------------------------------------------------------------------------

constexpr int kMarkerStart = 0xFF;
constexpr int kMarkerSoi = 0xD8;
constexpr int kMarkerEoi = 0xD9;
constexpr int kMarkerSos = 0xDA;
constexpr int kMarkerApp1 = 0xE1;
constexpr int kMarkerApp13 = 0xED;
constexpr int kAllPadding = -2;  // in place of a marker code, as kNoByte is
constexpr int kNotAMarker = -3;

constexpr std::string_view kExifIdentifier = "Exif\0\0"sv;
constexpr std::string_view kXmpIdentifier = "http://ns.adobe.com/xap/1.0/\0"sv;
constexpr std::string_view kPhotoshopIdentifier = "Photoshop 3.0\0"sv;

// What may stand before a marker code: up to four 0xFF, or none; or exactly one.
enum class MarkerForm { kPadded, kStrict };

enum class Search { kFound, kEndOfImage, kLost, kPadding, kInvalidLength, kGivenUp };

bool starts_as_jpeg(FileWindow& file) {
  return file.byte() == kMarkerStart && file.byte() == kMarkerSoi;
}

int read_marker(FileWindow& file, MarkerForm form) {
  constexpr int kMostBytes = 5;
  if (form == MarkerForm::kStrict) {
    return file.byte() == kMarkerStart ? file.byte() : kNotAMarker;
  }
  for (int i = 0; i < kMostBytes; ++i) {
    const int code = file.byte();
    if (code != kMarkerStart) return code;
  }
  return kAllPadding;
}

// The length of a segment, which counts its own two bytes; none when it is less than these.
std::optional<int> read_data_size(FileWindow& file) {
  const int dataSize = file.be16();
  if (dataSize > 1) return dataSize;
  std::fputs("invalid marker\n", stderr);
  return std::nullopt;
}

bool skip_segment(FileWindow& file) {
  const std::int64_t baseOffset = file.position();
  const std::optional<int> dataSize = read_data_size(file);
  return dataSize && file.seek(baseOffset + *dataSize);
}

// Looks for a segment, in at most so many, and ends behind its marker code. Codes that stand alone
// in JPEG are no exception: what follows them is taken as a length.
Search find_segment(FileWindow& file, int wanted, MarkerForm form, int most_segments) {
  for (int cntMouline = 0; cntMouline < most_segments; ++cntMouline) {
    const int marker = read_marker(file, form);
    trace<_debug>("marker", marker, " before", file.position());
    if (marker == wanted) return Search::kFound;
    if (marker == kMarkerSos || marker == kMarkerEoi) return Search::kEndOfImage;
    if (marker == kNoByte || marker == kNotAMarker) return Search::kLost;
    if (marker == kAllPadding) return Search::kPadding;
    if (!skip_segment(file)) return Search::kInvalidLength;
  }
  return Search::kGivenUp;
}

// Takes the lens name from the packet, and tells whether it holds settings to be kept.
bool read_embedded_packet(Scan& scan) {
  constexpr std::array kMethodsReported{
      CBTM_TEXTURE_SCULPTOR, CBTM_RANGE_FLATTENER,  CBTM_BRILLIANCE_REFINER, CBTM_BLEND_LIFELIKE,
      CBTM_BLEND_EXPRESSIVE, CBTM_BLEND_UNLABELLED, CBTM_BLEND_ROOMSCAPE};
  const int length = scan.record.embeddedXmp_len;
  const auto bytes = static_cast<std::size_t>(length);
  const Scratch packet = zeroed_scratch(bytes + 1);
  if (!packet || scan.file.read_block(packet.get(), bytes) != bytes) return false;
  char* const lens = reinterpret_cast<char*>(scan.record.lens);
  get_settings_from_xmp(CBTM_QUERY_LENS, length + 1, packet.get(), lens, nullptr);
  const int method =
      get_settings_from_xmp(CBTM_QUERY_METHOD, length + 1, packet.get(), nullptr, nullptr);
  trace<_debugLens>("lens ", std::string_view(lens));
  trace<_debugXmp>("packet of", length, " method", method);
  return std::ranges::find(kMethodsReported, method) != kMethodsReported.end();
}

// The length of the segment is reported, not that of the packet: as many bytes are read, those
// behind the segment included.
void read_xmp_segment(Scan& scan) {
  const int dataSize = scan.file.be16();
  if (dataSize <= 1 || !read_matches(scan.file, kXmpIdentifier)) return;
  ExifInfo2& record = scan.record;
  record.embeddedXmp_len = dataSize;
  record.embeddedXmp_offset = static_cast<int>(scan.file.position());
  const bool hasCelumbrantSettings = read_embedded_packet(scan);
  if (hasCelumbrantSettings) return;
  record.embeddedXmp_len = 0;
  record.embeddedXmp_offset = 0;
}

// Finds the TIFF structure, looks at the XMP segment behind it, and ends at the structure. Where
// the first APP1 is no Exif segment, what stands behind its first 6 bytes is tried as one.
int find_exif_segment(Scan& scan) {
  constexpr int kMostToXmp = 10;
  FileWindow& file = scan.file;
  if (!starts_as_jpeg(file)) return kBrokenFile;
  const Search foundAPP1 = find_segment(file, kMarkerApp1, MarkerForm::kPadded, INT_MAX);
  if (foundAPP1 == Search::kPadding) std::fputs("too many padding bytes\n", stderr);
  if (foundAPP1 == Search::kPadding || foundAPP1 == Search::kInvalidLength) return kBrokenFile;
  if (foundAPP1 != Search::kFound) return kNoTiff;

  const std::int64_t baseOffset = file.position();
  const std::optional<int> dataSize = read_data_size(file);
  if (!dataSize) return kBrokenFile;
  if (!read_matches(file, kExifIdentifier)) return kScanned;
  scan.startTiffHeader = file.position();

  file.seek(baseOffset + *dataSize);
  const Search nextAPP1 = find_segment(file, kMarkerApp1, MarkerForm::kPadded, kMostToXmp);
  if (nextAPP1 == Search::kInvalidLength) return kBrokenFile;
  if (nextAPP1 == Search::kFound) read_xmp_segment(scan);
  file.seek(scan.startTiffHeader);
  return kScanned;
}

int scan_photoshop_segment(Scan& scan) {
  FileWindow& file = scan.file;
  file.seek(0);
  if (!starts_as_jpeg(file)) return kBrokenFile;
  const Search foundAPP13 = find_segment(file, kMarkerApp13, MarkerForm::kStrict, INT_MAX);
  if (foundAPP13 == Search::kEndOfImage) return kScanned;
  if (foundAPP13 == Search::kInvalidLength) return kBrokenFile;
  if (foundAPP13 != Search::kFound) return kNoMarker;
  const std::optional<int> dataSize = read_data_size(file);
  if (!dataSize) return kBrokenFile;
  // The size counts 16 bytes that were read by now, so that as many behind the segment are
  // searched.
  if (read_matches(file, kPhotoshopIdentifier)) {
    read_photoshop_resources(file, scan.budget, *dataSize, scan.record);
  }
  return kScanned;
}

// ---- PSD ---------------------------------------------------------------------------------------

constexpr std::string_view kPsdSignature = "8BPS";
constexpr int kExifResource = 0x0422;

// Finds the EXIF resource and ends at its data. False when there is none.
bool find_exif_resource(Scan& scan) {
  constexpr int kHeaderBytes = 12;
  FileWindow& file = scan.file;
  const std::int64_t resSize = file.be32();
  std::int64_t block = file.position();
  for (std::int64_t resParcouru = 0; resParcouru < resSize;) {
    if (!read_matches(file, kResource)) return false;
    const int id = file.be16();
    file.be16();  // name
    const std::int64_t size = file.be32();
    trace<_debug>("resource", id, " at", block, " size", size);
    if (id == kExifResource) return true;
    const std::int64_t step = kHeaderBytes + size + (size & 1);
    // A step of 0 or less, by a negative size, would never end.
    if (step <= 0) return false;
    resParcouru += step;
    block += step;
    file.seek(block);
  }
  return false;
}

int find_psd_tiff(Scan& scan) {
  constexpr int kFewestChannels = 3;
  constexpr int kModeRgb = 3;
  FileWindow& file = scan.file;
  std::array<char, kPsdSignature.size()> signature;
  if (file.read(signature.data(), signature.size()) < signature.size()) return kBrokenFile;
  if (std::string_view(signature.data(), signature.size()) != kPsdSignature) return kNotPsd;
  file.be16();  // version
  file.be16();  // reserved
  file.be32();
  const int channels = file.be16();
  if (channels < kFewestChannels) return kNotRgb;
  file.be32();  // height
  file.be32();  // width
  file.be16();  // depth
  if (file.be16() != kModeRgb) return kNotRgb;
  const std::int64_t color_data = file.be32();
  file.seek(file.position() + color_data);
  if (!find_exif_resource(scan)) return kNoExifResource;
  scan.startTiffHeader = file.position();
  return kScanned;
}

int scan_file(Scan& scan) {
  int retour = kScanned;
  if (scan.imageType == CELUMBRANT_IMAGE_JPEG) retour = find_exif_segment(scan);
  if (scan.imageType == CELUMBRANT_IMAGE_PSD) retour = find_psd_tiff(scan);
  if (retour == kScanned) retour = scan_tiff(scan);
  if (retour == kScanned && scan.imageType == CELUMBRANT_IMAGE_JPEG) {
    retour = scan_photoshop_segment(scan);
  }
  return retour;
}

// ---- Blocks that a host asks for ----------------------------------------------------------------

constexpr int kNotLoaded = 0;

// What loading a block came to. Where nothing was tried, `result` says why.
struct Loaded {
  bool tried;
  int result;
  int bytes_read;
};

// The block's place is compared with the file's length only roughly: a block that runs past the
// end is read short.
Loaded load_block(const char* nomfic, int length, int offset, void* block) {
  const File file(nomfic, "rb");
  if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return {false, kCannotOpen, 0};
  const std::int64_t file_length = std::ftell(file.get());  // of a folder it can be the largest
  if (file_length < 1 - std::int64_t{offset}) return {false, kCannotOpen, 0};
  if (length <= 0 || length >= file_length) return {false, kNotLoaded, 0};
  if (std::fseek(file.get(), offset, SEEK_SET) != 0) return {false, kNotLoaded, 0};
  const std::size_t count = std::fread(block, 1, static_cast<std::size_t>(length), file.get());
  trace<_debug4>("block at", offset, " length", length, " read", count);
  return {true, kNotLoaded, static_cast<int>(count)};
}

// ---- Image description --------------------------------------------------------------------------

// A list of fields; the place of a field is the number of separators before it, plus one.
constexpr std::string_view kFieldSeparator = ", ";
constexpr int kExposureField = 8;
constexpr int kFirstColorField = 9;
constexpr int descMax = 11;  // no field behind this one is looked at

struct Description {
  int cntDesc = 1;
  int numExposure = 0;
  int denExposure = 0;
  int isoR = -1;
  int isoG = -1;
  int isoB = -1;
  int iso = 0;              // the number behind a letter that was decoded last
  bool finDonnees = false;  // nothing more is decoded
};

std::string_view up_to(std::string_view text, std::string_view ends) {
  return text.substr(0, text.find_first_of(ends));
}

// Adds a token's digits, the last first, to a number; what stands before a point is passed over.
// They are not tested to be digits. A token of more than 6 characters is refused.
bool add_token(std::string_view token, int& number) {
  constexpr std::size_t kMostCharacters = 6;
  if (token.size() > kMostCharacters) return false;
  double power = 1.0;
  for (auto c = token.rbegin(); c != token.rend() && *c != '.'; ++c) {
    number = truncated_to_int(number + (*c - '0') * power);
    power *= 10.0;
  }
  return true;
}

// Tried at each character until there is a numerator, so that leading characters may be passed
// over.
void decode_exposure(std::string_view field, std::string_view text, Description& found) {
  for (std::size_t i = 0; i < field.size() && !found.finDonnees; ++i) {
    if (text[i] == ' ' || found.numExposure != 0) continue;
    const std::string_view numerator = up_to(text.substr(i), " /s");
    if (!add_token(numerator, found.numExposure)) found.finDonnees = true;
    const std::string_view rest = text.substr(i + numerator.size());
    if (!rest.starts_with('/')) continue;
    if (!add_token(up_to(rest.substr(1), " s"), found.denExposure)) found.finDonnees = true;
  }
}

void decode_colors(std::string_view field, std::string_view text, Description& found) {
  for (std::size_t i = 0; i < field.size() && !found.finDonnees; ++i) {
    if (text[i] != 'R' && text[i] != 'G' && text[i] != 'B') continue;
    int number = 0;
    if (!add_token(up_to(text.substr(i + 1), " .,"), number)) {
      found.finDonnees = true;
      return;
    }
    found.iso = number;
    if (text[i] == 'R') found.isoR = number;
    if (text[i] == 'G') found.isoG = number;
    if (text[i] == 'B') found.isoB = number;
    if (text[i] == 'B') found.finDonnees = true;
  }
}

Description decode_description(std::string_view text) {
  Description found;
  std::size_t at = text.find(kFieldSeparator);
  for (; at != std::string_view::npos && found.cntDesc < descMax;
       at = text.find(kFieldSeparator, at + 1)) {
    ++found.cntDesc;
    const std::string_view rest = text.substr(at + kFieldSeparator.size());
    const std::string_view field = rest.substr(0, rest.find(kFieldSeparator));
    if (found.cntDesc == kExposureField) decode_exposure(field, rest, found);
    if (found.cntDesc >= kFirstColorField) decode_colors(field, rest, found);
  }
  return found;
}

// 200, doubled for every full 30 of the mean.
int iso_speed(const Description& found) {
  constexpr double kBase = 200.0;
  constexpr int kStep = 30;
  const auto [isoMin, isoMax] = std::minmax({found.isoR, found.isoG, found.isoB});
  const int mid = truncated_to_int((static_cast<double>(isoMax) + isoMin) * 0.5);
  return truncated_to_int(std::ldexp(kBase, mid / kStep));
}

void store_description(const Description& found, ExifInfo2& record) {
  const auto in_range = [](int number) { return number >= 1 && number <= 99998; };
  if (found.isoR < 0 || found.isoG < 0 || found.isoB < 0) return;
  if (found.denExposure > 0) record.exposure = quotient({found.numExposure, found.denExposure});
  record.iso = iso_speed(found);
  if (in_range(found.numExposure) && in_range(found.denExposure) && in_range(found.iso)) {
    record.camera = 2;
  }
}

// ---- ICC profile --------------------------------------------------------------------------------

// The data of a description tag: "desc", 4 reserved bytes, 4 for a big-endian length, the text.
// Lengths from 256 on are passed over with what only looks like one, such as the tag table's entry.
constexpr std::string_view kDescription = "desc\0\0\0\0\0\0\0"sv;
constexpr std::size_t kNotSearched = 32;       // bytes at the start of a profile
constexpr std::size_t kLeastDescription = 16;  // bytes from "desc" on; at least one must follow

constexpr std::array kProfileNames{"sRGB"sv, "Adobe RGB"sv, "ProPhoto RGB"sv};

std::string_view known_name(std::string_view text, std::size_t length) {
  for (std::size_t i = 0; i < std::min(length, text.size()); ++i) {
    for (const std::string_view name : kProfileNames) {
      if (text.substr(i).starts_with(name)) return name;
    }
  }
  return {};
}

// Where the first description of a profile begins, its length byte; npos when there is none.
std::size_t find_description(std::string_view profile) {
  const std::size_t at = profile.find(kDescription, kNotSearched);
  const bool found = at != std::string_view::npos && at + kLeastDescription < profile.size();
  return found ? at + kDescription.size() : std::string_view::npos;
}

}  // namespace
}  // namespace celumbrant

using namespace celumbrant;  // NOLINT: the exported functions below have C names

int getExifData(const char* nomfic, int imageType, ExifInfo2* exifInfo) noexcept {
  init_exifInfo(exifInfo);
  const File file(nomfic, "rb");
  if (!file) return kCannotOpen;
  // The window has a buffer of its own.
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  Scan scan(file.get(), imageType, *exifInfo);
  return scan_file(scan);
}

int parse_exif_data(FILE* ifp, int /*breed*/, short order, int startTiffHeader,
                    ExifInfo2* exifInfo) noexcept {
  FileWindow file(ifp);
  WorkBudget budget(file);
  read_exif_directory({file, budget, byte_order_of(order), startTiffHeader}, *exifInfo);
  file.leave_stream();
  return 1;
}

int parse_gps_data(FILE* ifp, int /*breed*/, short order, int startTiffHeader,
                   ExifInfo2* exifInfo) noexcept {
  FileWindow file(ifp);
  WorkBudget budget(file);
  read_gps_directory({file, budget, byte_order_of(order), startTiffHeader}, *exifInfo);
  file.leave_stream();
  return 1;
}

int parse_photoshop_data(FILE* ifp, int breed, ExifInfo2* exifInfo) noexcept {
  FileWindow file(ifp);
  WorkBudget budget(file);
  const int retour = read_photoshop_resources(file, budget, breed, *exifInfo);
  file.leave_stream();
  return retour;
}

int read_iptc(const char* nomfic, int iptcLen, int iptcOffset, unsigned char* iptcBuf) noexcept {
  constexpr int kShortRead = -1;
  constexpr int kNotIptc = -2;
  constexpr unsigned char kTagMarker = 0x1C;
  const Loaded block = load_block(nomfic, iptcLen, iptcOffset, iptcBuf);
  if (!block.tried) return block.result;
  if (iptcBuf[0] != kTagMarker) return kNotIptc;
  return block.bytes_read == iptcLen ? iptcLen : kShortRead;
}

int extract_xmp(const char* nomfic, int xmpLen, int xmpOffset, char* xmpBuf) noexcept {
  const Loaded block = load_block(nomfic, xmpLen, xmpOffset, xmpBuf);
  if (!block.tried) return block.result;
  if (xmpLen == INT_MAX) return kNotLoaded;  // no int counts the NUL behind it
  return get_settings_from_xmp(CBTM_QUERY_METHOD, xmpLen + 1, xmpBuf, nullptr, nullptr);
}

int parse_image_description(FILE* ifp, int breed, ExifInfo2* exifInfo) noexcept {
  constexpr int kNotRead = -1;
  if (breed <= 0) return kNotRead;
  const auto length = static_cast<std::size_t>(breed);
  FileWindow file(ifp);
  if (bytes_to_read(file, breed) < length) return kNotRead;
  const Scratch text = zeroed_scratch(length + 1);
  if (!text || file.read_block(text.get(), length) < length) return kNotRead;
  file.leave_stream();

  const Description found = decode_description(text.get());
  trace<_debug5>("description, fields", found.cntDesc, " exposure", found.numExposure, " /",
                 found.denExposure, " colours", found.isoR, found.isoG, found.isoB);
  store_description(found, *exifInfo);
  return found.iso;
}

int get_profile_name(int profileLen, const unsigned char* profileBuf,
                     char* profileName32) noexcept {
  constexpr int kNoDescription = -1;
  constexpr std::size_t kNameBytes = 32;
  std::fill_n(profileName32, kNameBytes, '\0');
  const std::string_view profile(reinterpret_cast<const char*>(profileBuf),
                                 static_cast<std::size_t>(std::max(profileLen, 0)));
  const std::size_t length_byte = find_description(profile);
  if (length_byte == std::string_view::npos) return kNoDescription;
  const std::string_view text = profile.substr(length_byte + 1);
  const std::string_view name = known_name(text, profileBuf[length_byte]);
  trace<_debug5>("profile name ", name.empty() ? text.substr(0, kNameBytes) : name);
  if (name.empty()) {
    text.copy(profileName32, kNameBytes);
    return static_cast<int>(kNameBytes);
  }
  name.copy(profileName32, name.size());
  return static_cast<int>(name.size());
}
