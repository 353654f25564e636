// SPDX-License-Identifier: MIT
//
// The flat arrays, and what is written from them or into files that exist: an EXIF block, an IPTC
// keyword, a TIFF file's ICC profile.
//
// An EXIF block is a TIFF structure, little-endian, in which every offset counts from its first
// byte; nothing is aligned:
//
//   0    "II", 42, 8
//   8    directory 0: make, model, orientation, the EXIF and the GPS directory's offsets
//        make, model
//        the EXIF directory and its values
//        the GPS directory and its values

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "byte_order.h"
#include "byte_writer.h"
#include "exif_directories.h"
#include "file.h"
#include "file_window.h"
#include "saturate.h"
#include "tiff_format.h"
#include "work_budget.h"

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

// ---- Sizes -------------------------------------------------------------------------------------

constexpr int kMakeBytes = CELUMBRANT_MAKE_BYTES;

// The make by how the model begins. A model matches one row at most.
struct MakeOfModel {
  std::string_view prefix;
  std::string_view make;
};

constexpr MakeOfModel kMakes[] = {
    {"Canon", "Canon"},       {"NIKON", "NIKON CORPORATION"},
    {"SLT-A", "SONY"},        {"SONY", "SONY"},
    {"DMC-", "Panasonic"},    {"NEX-", "SONY"},
    {"X10 ", "FUJIFILM"},     {"PENTAX", "PENTAX"},
    {"DSLR-A", "SONY"},       {"E-1", "OLYMPUS"},
    {"E-2", "OLYMPUS"},       {"E-3", "OLYMPUS"},
    {"E-4", "OLYMPUS"},       {"E-5", "OLYMPUS"},
    {"E-6", "OLYMPUS"},       {"E-7", "OLYMPUS"},
    {"E-P", "OLYMPUS"},       {"E-M", "OLYMPUS"},
    {"SP3", "OLYMPUS"},       {"SP5", "OLYMPUS"},
    {"OLYMPUS", "OLYMPUS"},   {"FinePix", "FUJIFILM"},
    {"FUJIFILM", "FUJIFILM"}, {"Panasonic", "Panasonic"},
};

// With its NUL.
constexpr int kMostMakeLen =
    1 + static_cast<int>(std::ranges::max(kMakes, {}, [](const MakeOfModel& m) {
                           return m.make.size();
                         }).make.size());

// The text at a slot, up to its NUL or the end of its range.
std::string_view text_at(const int* slots, int slot, std::size_t range) {
  const std::string_view bytes(bytes_from(slots, slot), range);
  return bytes.substr(0, bytes.find('\0'));
}

// With the NUL. One that fills its range has none, and readers of the model and lens texts expect
// 63 characters at most.
int name_length(std::string_view name, int range) {
  const auto length = static_cast<int>(name.size());
  if (length == 0) return 0;
  return length == range ? range - 1 : length + 1;
}

int date_time_length(const int* exifBuf) {
  const auto text = text_at(exifBuf, CELUMBRANT_EXIF_DATE_TIME, CELUMBRANT_DATE_TIME_BYTES);
  return text.empty() ? 0 : static_cast<int>(text.size()) + 1;
}

int datestamp_length(const int* gpsBuf) {
  return *bytes_from(gpsBuf, CELUMBRANT_GPS_DATESTAMP) != '\0' ? CELUMBRANT_DATESTAMP_BYTES : 0;
}

std::string_view make_of(std::string_view model) {
  const auto* const row = std::ranges::find_if(
      kMakes, [&](const MakeOfModel& m) { return model.starts_with(m.prefix); });
  return row != std::end(kMakes) ? row->make : std::string_view();
}

// ---- EXIF block --------------------------------------------------------------------------------

// The sizes that were counted for a block, and the texts of its first directory.
struct ExifBlock {
  Directory exif;
  int exifCount;
  int exifDataLen;
  Directory gps;
  int gpsCount;
  int gpsDataLen;
  const char* make;
  int makeLen;
  const char* model;
  int modelLen;
  int orientation;

  static constexpr int ifddebut = 8;

  int nifds() const {
    return 1 + (makeLen > 0 ? 1 : 0) + (modelLen > 0 ? 1 : 0) + (exifCount > 0 ? 1 : 0) +
           (gpsCount > 0 ? 1 : 0);
  }
  int make_offset() const { return ifddebut + directory_bytes(nifds()); }
  int model_offset() const { return make_offset() + makeLen; }
  int exif_offset() const { return model_offset() + modelLen; }
  int gps_offset() const {
    return exif_offset() + (exifCount > 0 ? directory_bytes(exifCount) + exifDataLen : 0);
  }
  int ifdtotal() const {
    return gps_offset() + (gpsCount > 0 ? directory_bytes(gpsCount) + gpsDataLen : 0);
  }
};

constexpr int kMostExifDataLen = 3 * kRationalBytes + CELUMBRANT_DATE_TIME_BYTES + 1;
constexpr int kMostGpsDataLen = 10 * kRationalBytes + CELUMBRANT_DATESTAMP_BYTES;

// Whether the sizes can come from arrays at all; others would reach beyond every buffer.
bool is_plausible(const ExifBlock& block) {
  const auto within = [](int size, int most) { return size >= 0 && size <= most; };
  return within(block.exifCount, static_cast<int>(std::size(kExifRows))) &&
         within(block.gpsCount, static_cast<int>(std::size(kGpsRows))) &&
         within(block.exifDataLen, kMostExifDataLen) && within(block.gpsDataLen, kMostGpsDataLen) &&
         within(block.modelLen, CELUMBRANT_MODEL_BYTES) && within(block.makeLen, kMostMakeLen) &&
         within(block.exif.text_length, CELUMBRANT_DATE_TIME_BYTES + 1) &&
         within(block.gps.text_length, CELUMBRANT_DATESTAMP_BYTES);
}

void write_offset_entry(ByteWriter& out, int tag, int offset) {
  write_entry_head(out, {tag, kTypeLong, 1});
  out.i32(offset);
}

void write_directory0(ByteWriter& out, const ExifBlock& block) {
  out.u16(block.nifds());
  if (block.makeLen > 0) {
    write_text_entry(out, kTagMake, block.make, block.makeLen,
                     static_cast<std::size_t>(block.make_offset()));
  }
  if (block.modelLen > 0) {
    write_text_entry(out, kTagModel, block.model, block.modelLen,
                     static_cast<std::size_t>(block.model_offset()));
  }
  write_entry_head(out, {kTagOrientation, kTypeShort, 1});
  out.u16(block.orientation >= 1 && block.orientation <= 8 ? block.orientation : 1);
  out.skip(2);
  if (block.exifCount > 0) write_offset_entry(out, kTagExifDirectory, block.exif_offset());
  if (block.gpsCount > 0) write_offset_entry(out, kTagGpsDirectory, block.gps_offset());
  out.u32(0);  // no next directory
}

void write_block(ByteWriter& out, const ExifBlock& block) {
  out.text("II");
  out.u16(kTiffMagic);
  out.i32(ExifBlock::ifddebut);
  write_directory0(out, block);
  out.bytes(block.make, block.makeLen);
  out.bytes(block.model, block.modelLen);
  if (block.exifCount > 0) {
    write_directory(out, block.exif, block.exifCount,
                    static_cast<std::size_t>(block.exif_offset()));
  }
  if (block.gpsCount > 0) {
    write_directory(out, block.gps, block.gpsCount, static_cast<std::size_t>(block.gps_offset()));
  }
}

// ---- IPTC keyword ------------------------------------------------------------------------------

// An IPTC data set: 0x1C, its record, its number, the length of its data in two bytes (big-endian),
// the data. Record 2 holds what people write about a picture: 2:0 its version, 2:25 a keyword.
constexpr std::string_view kRecord2 = "\x1C\x02";
constexpr std::string_view kKeyword = "\x1C\x02\x19";
constexpr std::string_view kRecordVersion2{"\x1C\x02\x00\x00\x02\x00\x02", 7};
constexpr std::size_t kDataSetHeadBytes = 5;

// Where the block's last data set with these first bytes begins, 0 when none does. Bytes inside a
// data set that look like one count; an empty data set at the very end does not.
std::size_t last_data_set(std::string_view block, std::string_view head) {
  if (block.size() <= kDataSetHeadBytes) return 0;
  const std::size_t last = block.size() - kDataSetHeadBytes - 1;
  const std::size_t found = block.substr(0, last + head.size()).rfind(head);
  return found != std::string_view::npos ? found : 0;
}

// The end of the data set that a keyword goes behind, nothing when it lies outside the block.
std::optional<std::size_t> place_of_keyword(std::string_view block) {
  if (block.size() < kDataSetHeadBytes) return std::nullopt;
  const std::size_t iLastKeyword = last_data_set(block, kKeyword);
  const std::size_t iTagBeforeAdd =
      iLastKeyword > 0 ? iLastKeyword : last_data_set(block, kRecord2);
  const auto byte = [&](std::size_t at) {
    return static_cast<unsigned char>(block[iTagBeforeAdd + at]);
  };
  const std::size_t length = assemble16(ByteOrder::kBigEndian, byte(3), byte(4));
  const std::size_t lenCopy = iTagBeforeAdd + kDataSetHeadBytes + length;
  if (lenCopy > block.size()) return std::nullopt;
  return lenCopy;
}

// ---- ICC profile of a TIFF file ----------------------------------------------------------------

constexpr ByteOrder kLittleEndian = ByteOrder::kLittleEndian;

struct FoundEntry {
  std::int64_t position;
  Entry entry;
};

// Looks through a chain of directories for the first entry with a tag.
class TagSearch {
 public:
  TagSearch(std::FILE* stream, int requestedTag) : file_(stream), requestedTag_(requestedTag) {}

  // 0 when the tag was found, else what get_tif_tag results in.
  int run() {
    constexpr int kNoDirectoryHasIt = -1;
    constexpr int kNotLittleEndianTiff = -2;
    constexpr int kNoEntries = -2;
    constexpr int kCannotSeek = -3;
    if (file_.be16() != kMarkLittleEndian) return kNotLittleEndianTiff;
    if (file_.u16(kLittleEndian) != kTiffMagic) return kNotLittleEndianTiff;
    int directories = 0;
    for (int offset = next_offset(); offset != 0; offset = next_offset()) {
      if (++directories > kMostChainDirectories) return kNoDirectoryHasIt;
      if (!file_.seek(offset)) return kCannotSeek;
      const int entries = file_.u16(kLittleEndian);
      if (entries == 0) return kNoEntries;
      look_through(entries);
      if (found_) return 0;
      if (is_spent()) return kNoDirectoryHasIt;
    }
    return kNoDirectoryHasIt;
  }

  const FoundEntry& found() const { return *found_; }

 private:
  int next_offset() { return file_.i32(kLittleEndian); }

  // Past the end of the file entries have the tag 65535, and the next offset is negative.
  void look_through(int entries) {
    for (int i = 0; i < entries && !is_spent(); ++i) {
      const std::int64_t position = file_.position();
      const Entry entry = read_entry(file_, kLittleEndian, ValueReading::kShortOrField);
      ++entries_read_;
      if (entry.tag != requestedTag_) continue;
      found_ = FoundEntry{position, entry};
      return;
    }
  }

  bool is_spent() const {
    return entries_read_ >= kMostChainEntries || file_.refills() >= kMostRefills;
  }

  FileWindow file_;
  int requestedTag_;
  int entries_read_ = 0;
  std::optional<FoundEntry> found_;
};

// What a file with a profile needs for another one.
struct ProfileEntry {
  std::int64_t position;
  std::int64_t newOffsetProfile;  // the length of the file
};

enum class ProfileLookup { kFound, kCannotOpen, kNoProfile, kCannotPatch };

ProfileLookup find_profile(const char* inputFile, ProfileEntry& profile) {
  const File file(inputFile, "rb");
  if (!file) {
    std::fputs("Can not open input file for reading\n", stderr);
    return ProfileLookup::kCannotOpen;
  }
  int count = 0;
  int value = 0;
  profile.position = get_tif_tag(file.get(), kTagIccProfile, &count, &value);
  if (profile.position <= 0) return ProfileLookup::kNoProfile;
  if (std::fseek(file.get(), 0, SEEK_END) != 0) return ProfileLookup::kCannotPatch;
  profile.newOffsetProfile = std::ftell(file.get());
  const bool is_whole = profile.newOffsetProfile - profile.position >= kEntryBytes;
  const bool is_in_reach = profile.newOffsetProfile <= std::int64_t{UINT32_MAX};
  return is_whole && is_in_reach ? ProfileLookup::kFound : ProfileLookup::kCannotPatch;
}

constexpr int kDone = 0;
constexpr int kCannotOpen = -1;
constexpr int kNoProfileEntry = -1;
constexpr int kNotWritten = -2;

int append_profile(const char* inputFile, int newLenProfile, const unsigned char* newProfileBuf) {
  File file(inputFile, "ab+");
  if (!file) {
    std::fputs("Can not open input file for appending\n", stderr);
    return kCannotOpen;
  }
  const auto bytes = static_cast<std::size_t>(newLenProfile);
  const bool written = std::fwrite(newProfileBuf, 1, bytes, file.get()) == bytes;
  return file.close() && written ? kDone : kNotWritten;
}

int repoint_entry(const char* inputFile, int newLenProfile, const ProfileEntry& profile) {
  File file(inputFile, "rb+");
  if (!file) {
    std::fputs("Can not open input file for update\n", stderr);
    return kCannotOpen;
  }
  const long position = static_cast<long>(profile.position);
  if (std::fseek(file.get(), position, SEEK_SET) != 0) return kNotWritten;
  if (fgetmi2(file.get(), kMarkLittleEndian) != kTagIccProfile) return kNoProfileEntry;
  if (std::fseek(file.get(), position + kCountFieldOffset, SEEK_SET) != 0) return kNotWritten;
  std::array<unsigned char, 8> fields;
  ByteWriter out(fields);
  out.i32(newLenProfile);
  out.u32(static_cast<std::uint32_t>(profile.newOffsetProfile));
  const bool written = std::fwrite(fields.data(), fields.size(), 1, file.get()) == 1;
  return file.close() && written ? kDone : kNotWritten;
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

int get_exif_count(const int* exifBuf, int* pExifCount, int* pExifDataLen, const int* gpsBuf,
                   int* pGpsCount, int* pGpsDataLen, int* pModelLen, int* pMakeLen,
                   int* pDatetimeLen, int* pGpsDateLen, int* pLensInfoLen,
                   char* pMakeInfo) noexcept {
  const auto model = text_at(exifBuf, CELUMBRANT_EXIF_MODEL, CELUMBRANT_MODEL_BYTES);
  const auto lens = text_at(exifBuf, CELUMBRANT_EXIF_LENS, CELUMBRANT_LENS_BYTES);
  const std::string_view make = make_of(model);
  std::fill_n(pMakeInfo, kMakeBytes, '\0');
  std::ranges::copy(make, pMakeInfo);
  *pModelLen = name_length(model, CELUMBRANT_MODEL_BYTES);
  *pMakeLen = make.empty() ? 0 : static_cast<int>(make.size()) + 1;
  *pDatetimeLen = date_time_length(exifBuf);
  *pGpsDateLen = datestamp_length(gpsBuf);
  *pLensInfoLen = name_length(lens, CELUMBRANT_LENS_BYTES);

  const DirectorySize exif = size_of(exif_directory(exifBuf, *pDatetimeLen));
  const DirectorySize gps = size_of(gps_directory(gpsBuf, *pGpsDateLen));
  *pExifCount = exif.entries;
  *pExifDataLen = exif.bytes_behind;
  *pGpsCount = gps.entries;
  *pGpsDataLen = gps.bytes_behind;
  return exif.entries + gps.entries;
}

int write_exif_buf(int exifCount, int exifDataLen, int gpsCount, int gpsDataLen, int modelLen,
                   int makeLen, int datetimeLen, int gpsDatestampLen, int orientationVal,
                   const int* exifBuf, const int* gpsBuf, const char* pMakeInfo,
                   unsigned char* exif_data_ptr) noexcept {
  constexpr int kNothingToWrite = -1;
  const ExifBlock block{.exif = exif_directory(exifBuf, datetimeLen),
                        .exifCount = exifCount,
                        .exifDataLen = exifDataLen,
                        .gps = gps_directory(gpsBuf, gpsDatestampLen),
                        .gpsCount = gpsCount,
                        .gpsDataLen = gpsDataLen,
                        .make = pMakeInfo,
                        .makeLen = makeLen,
                        .model = bytes_from(exifBuf, CELUMBRANT_EXIF_MODEL),
                        .modelLen = modelLen,
                        .orientation = orientationVal};
  const bool has_orientation_only = block.nifds() == 1;
  if (has_orientation_only || !is_plausible(block)) return kNothingToWrite;
  const int ifdtotal = block.ifdtotal();
  ByteWriter out({exif_data_ptr, static_cast<std::size_t>(ifdtotal)});
  write_block(out, block);
  return ifdtotal;
}

int add_iptc_keyword(int lenIn, const unsigned char* iptcBufIn, int lenKeyword,
                     const char* strKeyword, unsigned char* iptcBufOut) noexcept {
  constexpr int kInconsistent = -1;
  if (lenIn < 0 || lenKeyword < 0) return kInconsistent;
  const std::string_view block(reinterpret_cast<const char*>(iptcBufIn),
                               static_cast<std::size_t>(lenIn));
  const std::string_view keyword(strKeyword, static_cast<std::size_t>(lenKeyword));
  std::string_view before = kRecordVersion2;  // of a block that is new
  std::string_view after;
  if (lenIn > 0) {
    const auto lenCopy = place_of_keyword(block);
    if (!lenCopy) return kInconsistent;
    before = block.substr(0, *lenCopy);
    after = block.substr(*lenCopy);
  }
  ByteWriter out({iptcBufOut, before.size() + kDataSetHeadBytes + keyword.size() + after.size()});
  out.text(before);
  out.text(kKeyword);
  out.be16(lenKeyword);
  out.text(keyword);
  out.text(after);
  return static_cast<int>(before.size());
}

int get_tif_tag(FILE* ifp, int requestedTag, int* tagLen, int* tagVal) noexcept {
  constexpr int kOutOfReach = -1;
  TagSearch search(ifp, requestedTag);
  if (const int result = search.run(); result != 0) return result;
  const FoundEntry& found = search.found();
  if (found.position > INT_MAX) return kOutOfReach;
  *tagLen = found.entry.count;
  *tagVal = found.entry.value;
  return static_cast<int>(found.position);
}

int update_tif_profile(int newLenProfile, const unsigned char* newProfileBuf,
                       const char* inputFile) noexcept {
  ProfileEntry profile{};
  switch (find_profile(inputFile, profile)) {
    case ProfileLookup::kCannotOpen:
      return kCannotOpen;
    case ProfileLookup::kNoProfile:
      return 0;
    case ProfileLookup::kCannotPatch:
      return kNotWritten;
    case ProfileLookup::kFound:
      break;
  }
  if (newLenProfile < 0) return kNotWritten;
  // First the profile, then what refers to it: whatever happens between the two, the entry refers
  // to a whole profile.
  if (newLenProfile > 0) {
    const int appended = append_profile(inputFile, newLenProfile, newProfileBuf);
    if (appended != kDone) return appended;
  }
  const int repointed = repoint_entry(inputFile, newLenProfile, profile);
  if (repointed != kDone) return repointed;
  return newLenProfile > 0 ? newLenProfile : kNotWritten;
}
