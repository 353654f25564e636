// SPDX-License-Identifier: MIT
//
// A result picture as a TIFF file: little-endian, one uncompressed strip, written from its first
// byte to its last without a seek, so that it can go to a pipe. Nothing is aligned.
//
//   0         "II", 42, the offset of directory 0
//   8         the strip: rows of pixels of 1 or 3 samples, without padding
//   ifddebut  directory 0, its values, the EXIF and the GPS directory: see Layout
//
// What stands where is laid out before the first byte is written; entries take their offsets from
// the layout, never from where the writer has come to.

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
#include <utility>

#include "byte_writer.h"
#include "diagnostics.h"
#include "exif_directories.h"
#include "file.h"
#include "pixel_rows.h"
#include "tiff_format.h"

namespace celumbrant {
namespace {

using namespace std::string_view_literals;

constexpr int kRefused = -5;
constexpr int kCannotOpen = -1;
constexpr int kHeaderNotWritten = -2;
constexpr int kRowsNotWritten = -3;
constexpr int kNoMemoryForRows = -4;
constexpr int kNoMemoryForBlock = -1;
constexpr int kBlockNotWritten = -12;

// ---- What is asked for -------------------------------------------------------------------------

struct Picture {
  const unsigned char* inBuf;
  std::ptrdiff_t row_pitch;  // bytes
  int iMax;
  int jMax;
  int sppIn;
  int sppOut;
  int bpsIn;
  int bpsOut;
  int nOctet;
  bool is16to8;
  int dpi;
  int orientation;

  bool is_float() const { return bpsIn == 32; }
  RowFormat row() const { return {static_cast<std::size_t>(iMax), sppIn, sppOut, nOctet, is16to8}; }
  // Bytes of a row as it is written; and with all samples of the buffer, which sizes the chunks.
  std::uint64_t row_bytes() const { return bytes_of_row(sppOut); }
  std::uint64_t row_bytes_in() const { return bytes_of_row(sppIn); }

 private:
  std::uint64_t bytes_of_row(int spp) const {
    return static_cast<std::uint64_t>(iMax) * static_cast<std::uint64_t>(spp * nOctet);
  }
};

struct SampleFormat {
  int code;
  int bpsIn;   // of the picture: 32 for floats, which may be halved already
  int bpsOut;  // of a sample in the file
};

constexpr SampleFormat kSampleFormats[] = {
    {8, 8, 8}, {16, 16, 16}, {CELUMBRANT_DEPTH_FLOAT, 32, 32}, {CELUMBRANT_DEPTH_HALF, 32, 16}};

// None for what no file can be made of.
std::optional<Picture> picture_of(const unsigned char* inBuf, const int* dimInfos, int bpr) {
  const int code = dimInfos[CELUMBRANT_DIM_DEPTH];
  const int sppIn = dimInfos[CELUMBRANT_DIM_SAMPLES];
  const int is16to8 = dimInfos[CELUMBRANT_DIM_16_TO_8];
  const int orientation = dimInfos[CELUMBRANT_DIM_ORIENTATION];
  const auto format = std::ranges::find(kSampleFormats, code, &SampleFormat::code);
  if (format == std::end(kSampleFormats) || sppIn < 1 || sppIn > 4) return std::nullopt;
  if (dimInfos[CELUMBRANT_DIM_WIDTH] < 1 || dimInfos[CELUMBRANT_DIM_HEIGHT] < 0)
    return std::nullopt;
  if (is16to8 != 0 && (is16to8 != 1 || code != 8)) return std::nullopt;
  constexpr int kBytesOf16 = 2;
  return Picture{.inBuf = inBuf,
                 .row_pitch = std::ptrdiff_t{bpr} * (is16to8 == 1 ? kBytesOf16 : 1),
                 .iMax = dimInfos[CELUMBRANT_DIM_WIDTH],
                 .jMax = dimInfos[CELUMBRANT_DIM_HEIGHT],
                 .sppIn = sppIn,
                 .sppOut = sppIn > 2 ? 3 : 1,
                 .bpsIn = format->bpsIn,
                 .bpsOut = format->bpsOut,
                 .nOctet = format->bpsOut / CHAR_BIT,
                 .is16to8 = is16to8 == 1,
                 .dpi = dimInfos[CELUMBRANT_DIM_DPI],
                 .orientation = orientation >= 1 && orientation <= 8 ? orientation : 1};
}

// The packet that goes into the file: the caller's, or one that is made. Nothing when lSettings is 0.
struct XmpBlock {
  const char* packet = nullptr;  // the caller's
  int tmMethod = 0;
  const float* tmParam = nullptr;
  int lensInfoLen = 0;
  std::array<char, CELUMBRANT_LENS_BYTES> lens_info{};
  int lSettings = 0;
  Scratch extended_xmp_buf{};

  int embed(int embedType, char* xmpData) const {
    return embed_xmp(embedType, tmMethod, tmParam, lensInfoLen, lens_info.data(), xmpData);
  }
};

struct Metadata {
  const int* exifBuf;
  const int* gpsBuf;
  int exifCount = 0;
  int exifDataLen = 0;
  int gpsCount = 0;
  int gpsDataLen = 0;
  int modelLen = 0;
  int makeLen = 0;
  int datetimeLen = 0;
  int gpsDatestampLen = 0;
  int lensInfoLen = 0;
  std::array<char, CELUMBRANT_MAKE_BYTES> pMakeInfo{};
  const char* profileBuf = nullptr;
  int lProfil = 0;
  const char* iptc_buf = nullptr;
  int iptc_len = 0;
  XmpBlock xmp{};

  Directory exif() const { return exif_directory(exifBuf, datetimeLen); }
  Directory gps() const { return gps_directory(gpsBuf, gpsDatestampLen); }
  int exifTotalLen() const { return exifCount > 0 ? directory_bytes(exifCount) + exifDataLen : 0; }
  int gpsTotalLen() const { return gpsCount > 0 ? directory_bytes(gpsCount) + gpsDataLen : 0; }
  std::int64_t iptc_lenPadded() const { return (std::int64_t{iptc_len} + 3) / 4 * 4; }
};

void count_metadata(Metadata& metadata) {
  get_exif_count(metadata.exifBuf, &metadata.exifCount, &metadata.exifDataLen, metadata.gpsBuf,
                 &metadata.gpsCount, &metadata.gpsDataLen, &metadata.modelLen, &metadata.makeLen,
                 &metadata.datetimeLen, &metadata.gpsDatestampLen, &metadata.lensInfoLen,
                 metadata.pMakeInfo.data());
}

// Only profiles of RGB spaces go into the file; what is too short to tell goes as it is.
int length_of_profile(const unsigned char* profileBuf, int lProfil) {
  constexpr int kTooShortToTell = 20;
  constexpr int kColourSpace = 16;
  if (lProfil <= kTooShortToTell) return lProfil;
  return std::memcmp(profileBuf + kColourSpace, "RGB", 3) == 0 ? lProfil : 0;
}

// Whether a packet with settings of this method is kept when others are to be written.
bool keeps_settings(int method) {
  constexpr int kKept[] = {CBTM_TEXTURE_SCULPTOR, CBTM_RANGE_FLATTENER,  CBTM_BRILLIANCE_REFINER,
                           CBTM_BLEND_LIFELIKE,   CBTM_BLEND_EXPRESSIVE, CBTM_BLEND_ROOMSCAPE};
  return std::ranges::find(kKept, method) != std::end(kKept);
}

// Gives a packet that lacks the NUL at its end one, in a copy; without memory, or with a length
// that no int would hold then, it stays as it is.
void terminate_packet(XmpBlock& xmp) {
  if (xmp.lSettings == INT_MAX - 1 || xmp.packet[xmp.lSettings] == '\0') return;
  const auto xmp_len = static_cast<std::size_t>(xmp.lSettings) + 1;
  xmp.extended_xmp_buf = zeroed_scratch(xmp_len + 1);
  if (!xmp.extended_xmp_buf) return;
  std::memcpy(xmp.extended_xmp_buf.get(), xmp.packet, xmp_len);
  xmp.packet = xmp.extended_xmp_buf.get();
  ++xmp.lSettings;
}

// The caller's packet but for its last byte, the NUL. None when there is no packet, or when it
// holds no settings and others are to be written.
std::optional<XmpBlock> callers_block(int tmMethod, int xmp_len, const char* xmp_buf) {
  if (xmp_len <= 0) return std::nullopt;
  XmpBlock xmp{.packet = xmp_buf, .lSettings = xmp_len - 1};
  if (tmMethod == 0) terminate_packet(xmp);
  const int held =
      get_settings_from_xmp(CBTM_QUERY_METHOD, xmp.lSettings + 1, xmp.packet, nullptr, nullptr);
  if (!keeps_settings(held) && tmMethod > 0) return std::nullopt;
  return xmp;
}

// A packet that is made for the settings and the lens name; empty when there are neither.
XmpBlock made_block(const Metadata& metadata, int tmMethod, const float* tmParam) {
  XmpBlock xmp;
  if (tmMethod <= 0 && metadata.lensInfoLen <= 0) return xmp;
  xmp.tmMethod = tmMethod;
  xmp.tmParam = tmParam;
  xmp.lensInfoLen = metadata.lensInfoLen;
  std::copy_n(bytes_from(metadata.exifBuf, CELUMBRANT_EXIF_LENS), metadata.lensInfoLen,
              xmp.lens_info.begin());
  xmp.lSettings = xmp.embed(CBTM_MEASURE, nullptr) + 1;  // a blank follows it
  return xmp;
}

// ---- Layout ------------------------------------------------------------------------------------

constexpr int kHeaderBytes = 8;
constexpr std::string_view kSoftware = "Celumbrant Merge To 32-bit HDR\0"sv;  // its NUL counts

// Offsets in the file, and the number of entries in directory 0. A part that is not there takes no
// room.
struct Layout {
  int nifds;
  std::uint64_t ifddebut;
  std::uint64_t bits_per_sample;  // three SHORTs, for three samples
  std::uint64_t make;
  std::uint64_t model;
  std::uint64_t resolution;  // two RATIONALs
  std::uint64_t software;
  std::uint64_t sample_format;  // three SHORTs, for floats
  std::uint64_t profile;
  std::uint64_t xmp;
  std::uint64_t iptc;
  std::uint64_t exif;
  std::uint64_t gps;
  std::uint64_t end;

  std::uint64_t ifdtotal() const { return end - ifddebut; }
};

// The strip's bytes; none when the file would pass the reach of its 32-bit offsets.
std::optional<std::uint64_t> bytes_of_strip(const Picture& picture) {
  const auto rows = static_cast<std::uint64_t>(picture.jMax);
  if (rows > 0 && picture.row_bytes() > UINT32_MAX / rows) return std::nullopt;
  return rows * picture.row_bytes();
}

Layout lay_out(const Picture& picture, const Metadata& metadata, std::uint64_t strip_bytes,
               int nifds) {
  constexpr int kThreeShorts = 6;
  constexpr int resolutionLen = 2 * kRationalBytes;
  const int bpsOffsetLen = picture.sppOut == 3 ? kThreeShorts : 0;
  const int fmtOffsetLen = picture.is_float() ? kThreeShorts : 0;
  const auto softwareLen = picture.is_float() ? std::ssize(kSoftware) : 0;
  Layout layout{};
  layout.nifds = nifds;
  layout.ifddebut = kHeaderBytes + strip_bytes;
  layout.end = layout.ifddebut + static_cast<std::uint64_t>(directory_bytes(nifds));
  const auto place = [&](std::int64_t bytes) {
    const std::uint64_t offset = layout.end;
    layout.end += static_cast<std::uint64_t>(bytes);
    return offset;
  };
  layout.bits_per_sample = place(bpsOffsetLen);
  layout.make = place(metadata.makeLen);
  layout.model = place(metadata.modelLen);
  layout.resolution = place(resolutionLen);
  layout.software = place(softwareLen);
  layout.sample_format = place(fmtOffsetLen);
  layout.profile = place(metadata.lProfil);
  layout.xmp = place(metadata.xmp.lSettings);
  layout.iptc = place(metadata.iptc_lenPadded());
  layout.exif = place(metadata.exifTotalLen());
  layout.gps = place(metadata.gpsTotalLen());
  trace<_debugSaveTif>("directory 0 at", layout.ifddebut, " entries", layout.nifds, " end",
                       layout.end);
  return layout;
}

// ---- Directory 0 -------------------------------------------------------------------------------

// An entry that directory 0 has when it is present.
struct Entry0 {
  bool is_present;
  EntryHead head;
  std::uint32_t value;                     // where there is a place, counted from there
  std::uint64_t Layout::*place = nullptr;  // of the values behind the directory
};

Entry0 short_entry(int tag, int value) {
  return {true, {tag, kTypeShort, 1}, static_cast<std::uint32_t>(value)};
}

Entry0 long_entry(int tag, std::uint64_t value) {
  return {true, {tag, kTypeLong, 1}, static_cast<std::uint32_t>(value)};
}

Entry0 size_entry(int tag, int pixels) {
  if (pixels <= UINT16_MAX) return short_entry(tag, pixels);
  return long_entry(tag, static_cast<std::uint64_t>(pixels));
}

Entry0 resolution_entry(int tag, int direction) {
  const int behind = kRationalBytes * direction;
  return {true, {tag, kTypeRational, 1}, static_cast<std::uint32_t>(behind), &Layout::resolution};
}

Entry0 directory_entry(int tag, int entries, std::uint64_t Layout::*place) {
  return {entries > 0, {tag, kTypeLong, 1}, 0, place};
}

Entry0 bytes_entry(EntryHead head, const char* bytes, int length, std::uint64_t Layout::*place) {
  if (is_in_entry(length)) return {length > 0, head, value_in_entry(bytes, length)};
  return {true, head, 0, place};
}

Entry0 text_entry(int tag, const char* text, int length, std::uint64_t Layout::*place) {
  return bytes_entry({tag, kTypeAscii, length}, text, length, place);
}

Entry0 bits_per_sample_entry(const Picture& picture) {
  if (picture.sppOut == 1) return short_entry(kTagBitsPerSample, picture.bpsOut);
  return {true, {kTagBitsPerSample, kTypeShort, 3}, 0, &Layout::bits_per_sample};
}

// All entries that there can be, in the order of their tags.
using Directory0 = std::array<Entry0, 23>;

Directory0 directory0_of(const Picture& picture, const Metadata& metadata,
                         std::uint64_t strip_bytes) {
  constexpr int kUncompressed = 1;
  constexpr int kBlackIsZero = 1;
  constexpr int kRgb = 2;
  constexpr int kChunky = 1;
  constexpr int kInch = 2;
  const char* const model = bytes_from(metadata.exifBuf, CELUMBRANT_EXIF_MODEL);
  const XmpBlock& xmp = metadata.xmp;
  const auto iptc_longs = static_cast<int>(metadata.iptc_lenPadded() / 4);
  const int softwareLen = picture.is_float() ? static_cast<int>(kSoftware.size()) : 0;
  const EntryHead sample_format{kTagSampleFormat, kTypeShort, 3};
  return {{
      size_entry(kTagImageWidth, picture.iMax),
      size_entry(kTagImageLength, picture.jMax),
      bits_per_sample_entry(picture),
      short_entry(kTagCompression, kUncompressed),
      short_entry(kTagPhotometricInterpretation, picture.sppOut == 3 ? kRgb : kBlackIsZero),
      text_entry(kTagMake, metadata.pMakeInfo.data(), metadata.makeLen, &Layout::make),
      text_entry(kTagModel, model, metadata.modelLen, &Layout::model),
      long_entry(kTagStripOffsets, kHeaderBytes),
      short_entry(kTagOrientation, picture.orientation),
      short_entry(kTagSamplesPerPixel, picture.sppOut),
      size_entry(kTagRowsPerStrip, picture.jMax),
      long_entry(kTagStripByteCounts, strip_bytes),
      resolution_entry(kTagXResolution, 0),
      resolution_entry(kTagYResolution, 1),
      short_entry(kTagPlanarConfiguration, kChunky),
      short_entry(kTagResolutionUnit, kInch),
      text_entry(kTagSoftware, kSoftware.data(), softwareLen, &Layout::software),
      Entry0{picture.is_float(), sample_format, 0, &Layout::sample_format},
      bytes_entry({kTagXmp, kTypeByte, xmp.lSettings}, xmp.packet, xmp.lSettings, &Layout::xmp),
      bytes_entry({kTagIptc, kTypeLong, iptc_longs}, metadata.iptc_buf, metadata.iptc_len,
                  &Layout::iptc),
      directory_entry(kTagExifDirectory, metadata.exifCount, &Layout::exif),
      bytes_entry({kTagIccProfile, kTypeUndefined, metadata.lProfil}, metadata.profileBuf,
                  metadata.lProfil, &Layout::profile),
      directory_entry(kTagGpsDirectory, metadata.gpsCount, &Layout::gps),
  }};
}

int count_entries(const Directory0& directory) {
  return static_cast<int>(std::ranges::count(directory, true, &Entry0::is_present));
}

void write_directory0(ByteWriter& out, const Directory0& directory, const Layout& layout) {
  out.u16(layout.nifds);
  for (const Entry0& entry : directory) {
    if (!entry.is_present) continue;
    const std::uint64_t place = entry.place != nullptr ? layout.*entry.place : 0;
    write_entry_head(out, entry.head);
    out.u32(static_cast<std::uint32_t>(place + entry.value));
  }
  out.u32(0);  // no next directory
}

// ---- Strip -------------------------------------------------------------------------------------

// Whether rows lie in the buffer as they do in the file.
bool is_packed(const Picture& picture) {
  return picture.row().is_copied() &&
         picture.row_pitch == static_cast<std::ptrdiff_t>(picture.row_bytes());
}

// Rows that need no conversion go out from the caller's buffer. The chunk's memory is taken in any
// case: whether a picture can be saved does not depend on how its rows lie.
int write_strip(std::FILE* file, const Picture& picture) {
  constexpr std::uint64_t writeBufProposedSize = std::uint64_t{1} << 20;
  const auto rowsInChunk =
      static_cast<int>(std::max<std::uint64_t>(writeBufProposedSize / picture.row_bytes_in(), 1));
  const Scratch chunk = zeroed_scratch(static_cast<std::size_t>(rowsInChunk) *
                                       static_cast<std::size_t>(picture.row_bytes_in()));
  if (!chunk) return kNoMemoryForRows;
  auto* const packed = reinterpret_cast<unsigned char*>(chunk.get());
  const auto row_bytes = static_cast<std::size_t>(picture.row_bytes());
  int numRows = 0;
  for (int currRow = 0; currRow < picture.jMax; currRow += numRows) {
    numRows = std::min(rowsInChunk, picture.jMax - currRow);
    const unsigned char* const first = picture.inBuf + currRow * picture.row_pitch;
    if (!is_packed(picture)) {
      for (int row = 0; row < numRows; ++row) {
        convert_row(first + row * picture.row_pitch, picture.row(),
                    packed + row_bytes * static_cast<std::size_t>(row));
      }
    }
    const auto rows = static_cast<std::size_t>(numRows);
    const void* const bytes = is_packed(picture) ? first : packed;
    if (std::fwrite(bytes, row_bytes, rows, file) != rows) return kRowsNotWritten;
  }
  return numRows;
}

// ---- What lies behind directory 0 --------------------------------------------------------------

void write_picture_values(ByteWriter& out, const Picture& picture, const Metadata& metadata) {
  constexpr int kIeeeFloat = 3;
  constexpr int kDenominator = 1000;
  if (picture.sppOut == 3) {
    for (int sample = 0; sample < 3; ++sample) out.u16(picture.bpsOut);
  }
  out.bytes(metadata.pMakeInfo.data(), metadata.makeLen);
  out.bytes(bytes_from(metadata.exifBuf, CELUMBRANT_EXIF_MODEL), metadata.modelLen);
  for (int direction = 0; direction < 2; ++direction) {
    out.u32(static_cast<std::uint32_t>(picture.dpi) * kDenominator);
    out.u32(kDenominator);
  }
  if (!picture.is_float()) return;
  out.text(kSoftware);
  for (int sample = 0; sample < 3; ++sample) out.u16(kIeeeFloat);
}

// False: no memory for the packet that is made.
bool write_xmp_block(ByteWriter& out, const XmpBlock& xmp) {
  if (xmp.lSettings == 0) return true;
  const auto lSettings = static_cast<std::size_t>(xmp.lSettings);
  if (xmp.packet != nullptr) {
    out.bytes(xmp.packet, xmp.lSettings);
    return true;
  }
  const Scratch xmpData = zeroed_scratch(lSettings);
  if (!xmpData) return false;
  const auto lxmp = static_cast<std::size_t>(xmp.embed(1, xmpData.get()));
  std::fill(xmpData.get() + lxmp, xmpData.get() + lSettings, ' ');
  out.text({xmpData.get(), lSettings});
  return true;
}

int write_block(std::FILE* file, const Picture& picture, const Metadata& metadata,
                const Directory0& directory0, const Layout& layout) {
  const auto ifdtotal = static_cast<std::size_t>(layout.ifdtotal());
  const Scratch ifdbuf = zeroed_scratch(ifdtotal);
  if (!ifdbuf) return kNoMemoryForBlock;
  ByteWriter out({reinterpret_cast<unsigned char*>(ifdbuf.get()), ifdtotal});
  write_directory0(out, directory0, layout);
  write_picture_values(out, picture, metadata);
  out.bytes(metadata.profileBuf, metadata.lProfil);
  if (!write_xmp_block(out, metadata.xmp)) return kNoMemoryForBlock;
  out.bytes(metadata.iptc_buf, metadata.iptc_len);
  out.zeros(static_cast<std::size_t>(metadata.iptc_lenPadded() - metadata.iptc_len));
  if (metadata.exifCount > 0)
    write_directory(out, metadata.exif(), metadata.exifCount, layout.exif);
  if (metadata.gpsCount > 0) write_directory(out, metadata.gps(), metadata.gpsCount, layout.gps);
  if (!out.complete()) return kBlockNotWritten;
  return std::fwrite(ifdbuf.get(), ifdtotal, 1, file) == 1 ? 0 : kBlockNotWritten;
}

bool write_header(std::FILE* file, const Layout& layout) {
  std::array<unsigned char, kHeaderBytes> header;
  ByteWriter out(header);
  out.text("II");
  out.u16(kTiffMagic);
  out.u32(static_cast<std::uint32_t>(layout.ifddebut));
  return std::fwrite(header.data(), header.size(), 1, file) == 1;
}

int write_file(const char* nomfic, const Picture& picture, const Metadata& metadata,
               const Directory0& directory0, const Layout& layout) {
  File file(nomfic, "wb");
  if (!file) {
    std::fprintf(stderr, "Could not open for writing file:  %s\n", nomfic);
    return kCannotOpen;
  }
  // There are three kinds of writes and none is small for its kind: a buffer would only copy them, and
  // would tell later what the system has no room for.
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  if (!write_header(file.get(), layout)) return kHeaderNotWritten;
  const int rows = write_strip(file.get(), picture);
  if (rows < 0) return rows;
  const int result = write_block(file.get(), picture, metadata, directory0, layout);
  if (result != 0) return result;
  return file.close() ? rows : kBlockNotWritten;
}

}  // namespace
}  // namespace celumbrant

using namespace celumbrant;  // NOLINT: the exported functions below have C names

int buf2tif(const unsigned char* inBuf, const int* dimInfos, int bpr,
            const unsigned char* profileBuf, const int* exifBuf, const int* gpsBuf, int iptc_len,
            const unsigned char* iptc_buf, int tmMethod, const float* tmParam, int xmp_len,
            const char* xmp_buf, const char* nomfic) noexcept {
  const auto picture = picture_of(inBuf, dimInfos, bpr);
  const int lProfil = dimInfos[CELUMBRANT_DIM_PROFILE_LEN];
  if (!picture || iptc_len < 0 || lProfil < 0) return kRefused;
  const auto strip_bytes = bytes_of_strip(*picture);
  if (!strip_bytes) return kRefused;

  Metadata metadata{.exifBuf = exifBuf, .gpsBuf = gpsBuf};
  count_metadata(metadata);
  metadata.profileBuf = reinterpret_cast<const char*>(profileBuf);
  metadata.lProfil = length_of_profile(profileBuf, lProfil);
  metadata.iptc_buf = reinterpret_cast<const char*>(iptc_buf);
  metadata.iptc_len = iptc_len;
  auto callers = callers_block(tmMethod, xmp_len, xmp_buf);
  metadata.xmp = callers ? std::move(*callers) : made_block(metadata, tmMethod, tmParam);

  const Directory0 directory0 = directory0_of(*picture, metadata, *strip_bytes);
  const Layout layout = lay_out(*picture, metadata, *strip_bytes, count_entries(directory0));
  if (layout.end > UINT32_MAX) return kRefused;
  return write_file(nomfic, *picture, metadata, directory0, layout);
}
