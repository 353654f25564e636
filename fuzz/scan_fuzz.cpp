// SPDX-License-Identifier: MIT
//
// A file from anywhere, read as every kind; the blocks that the scan reports are loaded as a host
// would do it, and once more from where the file's last 8 bytes say.

#include "support.h"

namespace {

using namespace fuzz;

constexpr int kKinds[] = {CELUMBRANT_IMAGE_TIFF, CELUMBRANT_IMAGE_JPEG, CELUMBRANT_IMAGE_PSD, 7};

// Room for a length that the file can have; a larger one must not be written to at all.
std::size_t room_for(int length, std::size_t file_size) {
  const bool can_be = length > 0 && static_cast<std::size_t>(length) < file_size;
  return can_be ? static_cast<std::size_t>(length) : 0;
}

void load_blocks(const MemoryFile& file, std::string_view bytes, int length, int offset) {
  Bytes iptc(room_for(length, bytes.size()));
  Text xmp(iptc.empty() ? 0 : iptc.size() + 1);
  const int iptc_result = read_iptc(file.name(), length, offset, iptc.data());
  const int xmp_result = extract_xmp(file.name(), length, offset, xmp.data());
  if (iptc.empty() || offset < 0) {
    EXPECT(iptc_result == 0 || iptc_result == -1);
    EXPECT(xmp_result == iptc_result);
    return;
  }
  const auto begin = std::min(static_cast<std::size_t>(offset), bytes.size());
  const std::string_view held = bytes.substr(begin, iptc.size());
  EXPECT(view(iptc).starts_with(held));
  EXPECT(view(xmp).starts_with(held));
  const bool is_iptc = held.starts_with('\x1C');
  const int whole = held.size() == iptc.size() ? length : -1;
  EXPECT(iptc_result == (is_iptc ? whole : -2));
  EXPECT(xmp_result >= -5 && xmp_result <= 15);
}

void scan(const MemoryFile& file, std::string_view bytes, int kind) {
  const auto record = cleared_record();
  const int result = getExifData(file.name(), kind, record.get());
  EXPECT(result == 1 || (result >= -3 && result <= -1) || result == -10);
  expect_texts(*record);
  load_blocks(file, bytes, record->iptc_len, record->iptc_offset);
  load_blocks(file, bytes, record->embeddedXmp_len, record->embeddedXmp_offset);

  std::vector<int> exif(CELUMBRANT_EXIF_SLOTS);
  std::vector<int> gps(CELUMBRANT_GPS_SLOTS);
  EXPECT(get_exif_data(file.name(), kind, exif.data(), gps.data()) == exif[0]);
  EXPECT(exif[CELUMBRANT_EXIF_ISO] == record->iso);
  EXPECT(exif[CELUMBRANT_EXIF_IPTC_OFFSET] == record->iptc_offset);
  EXPECT(std::memcmp(gps.data(), record->lat_val, sizeof record->lat_val) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MemoryFile file;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  file.hold(bytes);
  for (const int kind : kKinds) scan(file, bytes, kind);
  if (size >= 8) {
    load_blocks(file, bytes, static_cast<int>(le32(bytes, size - 8)),
                static_cast<int>(le32(bytes, size - 4)));
  }
  return 0;
}
