// SPDX-License-Identifier: MIT
//
// Files from anywhere. The first byte says as which kind the rest is read; the blocks that the scan
// reports are loaded as a host would do it, and the parsers and texts have their turn on the bytes.

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

// A file in memory, under a name that opens it again.
class InputFile {
 public:
  InputFile() : stream_(fdopen(memfd_create("input", 0), "w+b")) {
    if (stream_ == nullptr) std::abort();
    std::snprintf(name_.data(), name_.size(), "/proc/self/fd/%d", fileno(stream_));
  }

  void hold(const std::uint8_t* data, std::size_t size) {
    if (ftruncate(fileno(stream_), 0) != 0) std::abort();
    std::rewind(stream_);
    if (std::fwrite(data, 1, size, stream_) != size) std::abort();
    std::fflush(stream_);
  }

  const char* name() const { return name_.data(); }
  std::FILE* at(long position) const {
    std::fseek(stream_, position, SEEK_SET);
    return stream_;
  }

 private:
  std::FILE* stream_;
  std::array<char, 32> name_{};
};

void expect(bool holds) {
  if (!holds) std::abort();
}

void expect_terminated(const ExifInfo2& record) {
  const auto holds_nul = [](const char* text, std::size_t size) {
    return std::find(text, text + size, '\0') != text + size;
  };
  expect(holds_nul(record.model, 64));
  expect(holds_nul(record.date_time, sizeof record.date_time));
  expect(holds_nul(record.gps_datestamp, sizeof record.gps_datestamp));
  expect(holds_nul(reinterpret_cast<const char*>(record.lens), 64));
}

// Lengths are the file's own words: what no host would allocate is passed over.
bool reasonable(int length) {
  return length >= 0 && length < 1 << 20;
}

void load_blocks(const char* name, const ExifInfo2& record) {
  if (reasonable(record.iptc_len)) {
    std::vector<unsigned char> iptc(static_cast<std::size_t>(record.iptc_len) + 1);
    read_iptc(name, record.iptc_len, record.iptc_offset, iptc.data());
    expect(iptc.back() == 0);
  }
  if (reasonable(record.embeddedXmp_len)) {
    std::vector<char> xmp(static_cast<std::size_t>(record.embeddedXmp_len) + 1);
    extract_xmp(name, record.embeddedXmp_len, record.embeddedXmp_offset, xmp.data());
    expect(xmp.back() == '\0');
  }
}

void read_profile_name(const std::uint8_t* data, std::size_t size) {
  // Of exactly its size, so that the sanitizer sees a byte read beyond it.
  const auto profile = std::make_unique<unsigned char[]>(size);
  std::copy_n(data, size, profile.get());
  std::array<char, 33> name;
  name.back() = '#';
  const int result = get_profile_name(static_cast<int>(size), profile.get(), name.data());
  expect(result == -1 || result == 4 || result == 9 || result == 12 || result == 32);
  expect(name.back() == '#');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static InputFile file;
  if (size == 0) return 0;
  const int kind = data[0] % 8;
  ++data, --size;
  file.hold(data, size);

  ExifInfo2 record;
  std::array<int, CELUMBRANT_EXIF_SLOTS> exif{};
  std::array<int, CELUMBRANT_GPS_SLOTS> gps{};
  get_exif_data(file.name(), kind, exif.data(), gps.data());
  getExifData(file.name(), kind, &record);
  expect_terminated(record);
  expect(exif[CELUMBRANT_EXIF_ISO] == record.iso);
  load_blocks(file.name(), record);

  const auto length = static_cast<int>(size);
  init_exifInfo(&record);
  parse_exif_data(file.at(kind), 1, CELUMBRANT_LITTLE_ENDIAN, 0, &record);
  parse_gps_data(file.at(kind), 1, CELUMBRANT_BIG_ENDIAN, -kind, &record);
  parse_photoshop_data(file.at(0), length + kind, &record);
  parse_image_description(file.at(0), length, &record);
  expect_terminated(record);
  read_profile_name(data, size);
  return 0;
}
