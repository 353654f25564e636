// SPDX-License-Identifier: MIT
//
// Reading photographs: numbers, directories, containers, resources, the flat arrays, hostile files.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <limits>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "support/failing_memory.h"
#include "support/image_builder.h"

namespace {

using images::Bytes;
using images::Directory;
using images::exif_segment;
using images::Order;
using namespace std::string_literals;

constexpr int kEndOfFile32 = -16843009;

// Files of tests that run beside this one have other names.
std::string file_of(const Bytes& bytes) {
  const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
  const std::string name = testing::TempDir() + test->test_suite_name() + "_" + test->name();
  std::ofstream(name, std::ios::binary) << bytes;
  return name;
}

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<FILE, CloseFile>;

Stream stream_of(const Bytes& bytes, long position = 0) {
  Stream stream(std::fopen(file_of(bytes).c_str(), "rb"));
  std::fseek(stream.get(), position, SEEK_SET);
  return stream;
}

ExifInfo2 cleared() {
  ExifInfo2 record;
  std::memset(&record, 0, sizeof record);
  return record;
}

void describe(std::ostream& out, const char* name, const char* text) {
  if (*text != '\0') out << name << "='" << text << "' ";
}
template <typename Number>
requires std::is_arithmetic_v<Number>
void describe(std::ostream& out, const char* name, Number number) {
  if (number != 0) out << name << '=' << +number << ' ';
}
template <std::size_t n>
void describe(std::ostream& out, const char* name, const int (&numbers)[n]) {
  if (std::ranges::count(numbers, 0) == n) return;
  out << name << '=';
  for (const int number : numbers) out << number << ',';
  out << ' ';
}

// All fields that are not clear, so that a test sees those that it did not expect to change.
std::string text_of(const ExifInfo2& record) {
  std::ostringstream out;
  out << std::setprecision(9);
#define FIELD(name) describe(out, #name, record.name)
  FIELD(camera), FIELD(exposure), FIELD(aperture), FIELD(iso), FIELD(curve), FIELD(focalLength);
  FIELD(focal35), FIELD(fpxRes), FIELD(fpUnit), FIELD(model), FIELD(date_time), FIELD(thumb_width);
  FIELD(thumb_height), FIELD(thumb_row), FIELD(thumb_datalen), FIELD(thumb_offset);
  FIELD(orientation), FIELD(iptc_len), FIELD(iptc_offset), FIELD(lat_ref), FIELD(lat_val);
  FIELD(long_ref), FIELD(long_val), FIELD(alt_ref), FIELD(alt_val), FIELD(gps_timestamp);
  FIELD(gps_datestamp), FIELD(embeddedXmp_len), FIELD(embeddedXmp_offset);
#undef FIELD
  describe(out, "lens", reinterpret_cast<const char*>(record.lens));
  std::string text = out.str();
  if (!text.empty()) text.pop_back();
  return text;
}

std::size_t open_files() {
  const std::filesystem::path list = "/proc/self/fd";
  if (!std::filesystem::exists(list)) return 0;
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(list), {}));
}

struct Read {
  int result;
  ExifInfo2 record;
  std::string printed;
};

Read read_file(const std::string& name, int image_type) {
  Read read;
  std::memset(&read.record, 0x5A, sizeof read.record);
  const std::size_t open_before = open_files();
  testing::internal::CaptureStderr();
  read.result = getExifData(name.c_str(), image_type, &read.record);
  read.printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(open_files(), open_before);
  read.record.model[64] = '\0';
  return read;
}

Read read(const Bytes& bytes, int image_type) {
  return read_file(file_of(bytes), image_type);
}

// ---- Numbers and the record --------------------------------------------------------------------

TEST(Reader, NumbersInBothOrdersAndBehindTheEnd) {
  struct Row {
    Bytes bytes;
    int little16, big16, little32, big32;
  };
  const Row rows[] = {
      {"\x12\x34\x56\x78", 0x3412, 0x1234, 0x78563412, 0x12345678},
      {"\x80\x00\x00\x01"s, 0x0080, 0x8000, 0x01000080, -2147483647},
      {"", 0xFFFF, 0xFFFF, kEndOfFile32, kEndOfFile32},
      {"\x12\x34\x56", 0x3412, 0x1234, static_cast<int>(0xFF563412U), 0x123455FF},
      {"\x12", 0xFF12, 0x12FF, static_cast<int>(0xFEFEFF12U), 0x11FEFEFF},
  };
  for (const Row& row : rows) {
    const auto at_start = [&](auto reader) { return reader(stream_of(row.bytes).get()); };
    EXPECT_EQ(at_start([](FILE* f) { return fgetmi2(f, 0x4949); }), row.little16);
    EXPECT_EQ(at_start([](FILE* f) { return fgetmi2(f, 0x4D4D); }), row.big16);
    EXPECT_EQ(at_start([](FILE* f) { return fgetmi2(f, 0); }), row.big16);
    EXPECT_EQ(at_start(fgetm2), row.big16);
    EXPECT_EQ(at_start([](FILE* f) { return fgetmi4(f, 0x4949); }), row.little32);
    EXPECT_EQ(at_start([](FILE* f) { return fgetmi4(f, -1); }), row.big32);
    EXPECT_EQ(at_start(fgetm4), row.big32);
  }
}

TEST(Reader, ClearsAllOfARecordButTheLastByteOfTheModel) {
  ExifInfo2 record;
  std::memset(&record, 0x5A, sizeof record);
  init_exifInfo(&record);
  EXPECT_EQ(record.model[64], 0x5A);
  record.model[64] = '\0';
  EXPECT_EQ(text_of(record), "");
  EXPECT_EQ(std::ranges::count(record.lens, 0), 64);
}

// ---- Directories -------------------------------------------------------------------------------

struct DirectoryCase {
  Directory directory;
  std::string expected;
};

// Reads the directory by itself, from a stream and behind other bytes, and as part of a TIFF file
// whose directories lie at many distances, so that values and entries cross any buffer's ends.
void check_directory(const DirectoryCase& row, int tag, int (*parse)(FILE*, int, short, int, ExifInfo2*)) {
  for (const Order order : {Order::kLittle, Order::kBig}) {
    Bytes alone = "header!!";
    row.directory.append_to(alone, order);
    ExifInfo2 record = cleared();
    const Stream stream = stream_of("12345" + alone, 5 + 8);
    EXPECT_EQ(parse(stream.get(), 1, order == Order::kLittle ? 0x4949 : 0x4D4D, 5, &record), 1);
    EXPECT_EQ(std::ftell(stream.get()), 15 + 12 * static_cast<long>(row.directory.entries()));
    EXPECT_EQ(text_of(record), row.expected);
    for (const std::size_t gap : {0U, 16340U, 16343U, 16352U, 16360U, 32700U, 40000U}) {
      const Bytes file = tiff(order, {Directory().directory(tag, row.directory)}, gap);
      EXPECT_EQ(text_of(read(file, CELUMBRANT_IMAGE_TIFF).record), row.expected) << gap;
    }
  }
}

TEST(Reader, ExifDirectory) {
  using D = Directory;
  const Directory all = D().rationals(33434, {1, 250})
                            .rationals(33437, {28, 10})
                            .shorts(34855, {400})
                            .text(36867, "2015:06:01 12:30:45\0"s)
                            .rationals(37377, {8, 1})
                            .rationals(37378, {297, 100})
                            .rationals(37381, {297, 100})
                            .rationals(37386, {355, 10})
                            .rationals(41486, {-2001, 4})
                            .shorts(41488, {3})
                            .rationals(41493, {1000, 10})
                            .shorts(41989, {52});
  const DirectoryCase rows[] = {
      {all,
       "exposure=0.00400000019 aperture=2.79999995 iso=400 focalLength=35.5 focal35=52 "
       "fpxRes=-500.25 fpUnit=3 date_time='2015:06:01 12:30:45'"},
      {D(), ""},
      {D().shorts(33435, {7}).shorts(34856, {7}).shorts(41987, {7}), ""},
      // The shutter speed in place of the exposure time, as an APEX value other than 0.
      {D().rationals(37377, {8, 1}), "exposure=0.00390625"},
      {D().rationals(37377, {-1, 1}), "exposure=2"},
      {D().rationals(37377, {3, -1}), "exposure=8"},
      {D().rationals(37377, {3, 0}), "exposure=0.125"},
      {D().rationals(37377, {0, 1}), ""},
      {D().rationals(33434, {1, -5}).rationals(37377, {1, 1}), "exposure=0.5"},
      // The f-number and the values in its place.
      {D().rationals(37378, {297, 100}).rationals(37381, {4, 1}), "aperture=2.97000003"},
      {D().rationals(33437, {0, 0}).rationals(37381, {4, 1}), "aperture=4"},
      // ISO speeds of all shapes, and the index in their place.
      {D().shorts(34855, {400, 9}), "iso=400"},
      {D().field(34855, 3, 3, 77777), "iso=77777"},
      {D().field(34855, 4, 1, 102400), "iso=102400"},
      {D().rationals(41493, {1007, 10}), "iso=100"},
      {D().rationals(41493, {-7, 2}), "iso=-3"},
      {D().rationals(41493, {7, 0}), "iso=7"},
      {D().text(36867, "2015:06:01 12:30:45.678"), "date_time='2015:06:01 12:30:45'"},
      {D().text(36867, "2015:06\n12:30:45"), "date_time='2015:06\n'"},
      {D().rationals(37386, {0, 0}), ""},
  };
  for (const DirectoryCase& row : rows) check_directory(row, 34665, parse_exif_data);
}

TEST(Reader, GpsDirectory) {
  using D = Directory;
  const Directory all = D().bytes(0, 1, 4, "\2\3\0\0"s)
                            .text(1, "S\0"s)
                            .rationals(2, {48, 1, 51, 1, 2930, 100})
                            .text(3, "W\0"s)
                            .rationals(4, {2, 1, 17, 1, 1782, 99})
                            .bytes(5, 1, 1, "\1")
                            .rationals(6, {125, -10})
                            .rationals(7, {10, 1, 20, 2, 30, 3})
                            .shorts(8, {7})
                            .text(29, "2015:06:01\0"s)
                            .shorts(30, {7});
  const DirectoryCase rows[] = {
      {all,
       "lat_ref=83 lat_val=48,1,51,1,2930,100, long_ref=87 long_val=2,1,17,1,1782,99, alt_ref=1 "
       "alt_val=125,-10, gps_timestamp=10,1,20,2,30,3, gps_datestamp='2015:06:01'"},
      {D().rationals(2, {1, 2, 3, 4}), "lat_val=1,2,3,4,0,0,"},
      {D().rationals(7, {1, 2, 3, 4, 5, 6, 7, 8}), "gps_timestamp=1,2,3,4,5,6,"},
      {D().field(4, 5, 0, 0).field(2, 5, -1, 0), ""},
      // A type SHORT does not make the field a value.
      {D().bytes(4, 3, 2, Bytes(16, '\1')), "long_val=16843009,16843009,16843009,16843009,0,0,"},
      {D().text(29, "2015:"), ""},
      {D().text(29, "2015:06:"), "gps_datestamp='2015:06'"},
      {D().text(29, "2015:06:01xxxxx"), "gps_datestamp='2015:06:01'"},
  };
  for (const DirectoryCase& row : rows) check_directory(row, 34853, parse_gps_data);
}

TEST(Reader, EntriesOfTheFirstDirectories) {
  using D = Directory;
  const Bytes letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+-*/=%";
  const DirectoryCase rows[] = {
      {D().text(272, "A\0"s), "model='A'"},
      {D().text(272, "AB\0"s), "model='AB  '"},
      {D().text(272, "ABC\0"s), "model='ABC '"},
      {D().text(272, "ABCD\0"s), "model='ABCD'"},
      {D().text(272, letters.substr(0, 63)), "model='" + letters.substr(0, 62) + "'"},
      {D().text(272, letters.substr(0, 64)), "model='" + letters.substr(0, 63) + "'"},
      {D().text(272, letters), "model='" + letters.substr(0, 63) + "'"},
      {D().text(272, "Model\nX"), "model='Model\n'"},
      // Values of 8 bytes or more, but not of 3; type 13 has 8, and 14, which there is not, has 1.
      {D().rationals(272, {0x4141, 1, 1, 1}), ""},
      {D().field(272, 13, 1, 0x41414141), ""},
      {D().bytes(272, 14, 3, "AB"), "model='AB  '"},
      {D().shorts(274, {6}), "orientation=6"},
      {D().field(274, 4, 1, 6), ""},
      {D().field(513, 4, 1, 70).field(514, 4, 1, 7), ""},
      // Positions that count from the structure's start.
      {D().field(700, 1, 77, 1234), "embeddedXmp_len=77 embeddedXmp_offset=1234"},
      {D().field(33723, 4, 5, 300), "iptc_len=20 iptc_offset=300"},
      {D().field(33723, 7, 21, 300), "iptc_len=21 iptc_offset=300"},
      {D().field(33723, 1, 21, 300), "iptc_offset=300"},
  };
  for (const DirectoryCase& row : rows) {
    for (const Order order : {Order::kLittle, Order::kBig}) {
      const Bytes structure = tiff(order, {row.directory});
      EXPECT_EQ(text_of(read(structure, CELUMBRANT_IMAGE_TIFF).record), row.expected);
      const Bytes jpeg = images::jpeg(exif_segment(structure));
      EXPECT_EQ(text_of(read(jpeg, CELUMBRANT_IMAGE_JPEG).record), row.expected);
    }
  }
}

TEST(Reader, ThreeDirectoriesAreReadAndNoneBehind255Entries) {
  const auto oriented = [](int value) { return Directory().shorts(274, {value}); };
  const auto thumbnail = Directory().field(513, 4, 1, 70).field(514, 4, 1, 7);
  for (const Order order : {Order::kLittle, Order::kBig}) {
    const Bytes four = tiff(order, {oriented(1), oriented(2), oriented(3), oriented(4)});
    EXPECT_EQ(read(four, 0).record.orientation, 3);
    const Bytes second = images::jpeg(exif_segment(tiff(order, {oriented(1), thumbnail})));
    EXPECT_EQ(read(second, 1).record.thumb_offset, 12 + 70);
    EXPECT_EQ(read(second, 1).record.thumb_datalen, 7);
    for (const int entries : {254, 255, 256}) {
      Directory first = oriented(1);
      for (int i = 1; i < entries; ++i) first.shorts(0xC000 + i, {i});
      EXPECT_EQ(read(tiff(order, {first, oriented(2)}), 0).record.orientation, entries == 255 ? 1 : 2);
    }
  }
}

// ---- Containers --------------------------------------------------------------------------------

const Bytes kExif = exif_segment(tiff(Order::kBig, {Directory().shorts(274, {6})}));
const Bytes kFiller = images::segment(0xE2, "filler");

Bytes iptc_resource(const Bytes& name = Bytes(2, '\0')) {
  return images::resource(0x0404, "\x1C\2\0\0\0\0\0"s, name);
}

TEST(Reader, ResultsAndMessages) {
  const std::string padding = "too many padding bytes\n";
  const std::string invalid = "invalid marker\n";
  const Bytes soi = "\xFF\xD8";
  const Bytes tail = "\xFF\xDA" + Bytes(40, '\0');
  const Bytes short_segment = "\xFF\xE2\0\1"s;
  const Bytes resources = images::photoshop_segment(iptc_resource());
  const Bytes xmp = images::xmp_segment("<x/>");
  const Bytes exif = kExif.substr(10);
  const auto exif_resource = images::resource(0x0422, exif);
  struct Row {
    const char* name;
    int image_type;
    Bytes bytes;
    int result;
    int orientation;
    std::string printed;
  };
  const Row rows[] = {
      {"empty TIFF", 0, "", -2, 0, ""},
      {"no byte order", 0, "IM*\0"s, -2, 0, ""},
      {"no 42", 0, "II\0*"s, -3, 0, ""},
      {"TIFF", 0, exif, 1, 6, ""},
      {"other kind", 77, exif, 1, 6, ""},
      {"empty JPEG", 1, "", -1, 0, ""},
      {"no start", 1, "\xFF\xD9" + kExif, -1, 0, ""},
      {"no APP1", 1, soi + kFiller + tail, -2, 0, ""},
      {"no APP1 before the end", 1, soi + kFiller + "\xFF\xD9" + kExif, -2, 0, ""},
      {"end of file", 1, soi + kFiller, -2, 0, ""},
      {"end of file in padding", 1, soi + "\xFF\xFF", -2, 0, ""},
      {"JPEG", 1, soi + kFiller + kExif + tail, 1, 6, ""},
      {"four 0xFF", 1, soi + "\xFF\xFF\xFF" + kExif + tail, -10, 6, ""},
      {"five 0xFF", 1, soi + "\xFF\xFF\xFF\xFF" + kExif + tail, -1, 0, padding},
      {"code without 0xFF", 1, soi + kExif.substr(1) + tail, -10, 6, ""},
      {"length 1", 1, soi + short_segment + kExif + tail, -1, 0, invalid},
      {"length 2", 1, soi + images::segment(0xE2, "") + kExif + tail, 1, 6, ""},
      {"length 1 of the first APP1", 1, soi + "\xFF\xE1\0\1"s + tail, -1, 0, invalid},
      {"XMP first", 1, soi + xmp + kExif + tail, -2, 0, ""},
      {"length 1 behind Exif", 1, soi + kExif + short_segment + tail, -1, 0, invalid},
      {"five 0xFF behind Exif", 1, soi + resources + kExif + Bytes(5, '\xFF'), 1, 6, ""},
      {"length 1 of the second APP1", 1, soi + resources + kExif + "\xFF\xE1\0\1"s, 1, 6, ""},
      {"no marker behind Exif", 1, soi + kExif + "x" + tail, -10, 6, ""},
      {"no scan", 1, soi + kExif, -10, 6, ""},
      {"length 1 of APP13", 1, soi + kExif + xmp + "\xFF\xED\0\1"s, -1, 6, invalid},
      {"empty PSD", 2, "8BP", -1, 0, ""},
      {"no PSD", 2, "8BPX" + Bytes(60, '\0'), -2, 0, ""},
      {"two channels", 2, images::psd(exif_resource, 2), -3, 0, ""},
      {"CMYK", 2, images::psd(exif_resource, 4, 4), -3, 0, ""},
      {"PSD", 2, images::psd(images::resource(1, "odd") + exif_resource), 1, 6, ""},
      {"no EXIF resource", 2, images::psd(images::resource(1, "odd")), -1, 0, ""},
      {"junk in resources", 2, images::psd("8BIx" + exif_resource), -1, 0, ""},
      {"backward resource", 2, images::psd("8BIM\0\1\0\0\xFF\xFF\xFF\xF4"s + exif_resource), -1, 0, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Read file = read(row.bytes, row.image_type);
    EXPECT_EQ(file.result, row.result);
    EXPECT_EQ(file.record.orientation, row.orientation);
    EXPECT_EQ(file.printed, row.printed);
  }
  EXPECT_EQ(read_file("/nonexistent/file", 1).result, -1);
}

Bytes settings_packet(int method) {
  std::array<float, CBTM_SETTINGS_COUNT> values;
  def_param(method, values.data());
  Bytes packet(8192, ' ');
  packet.resize(static_cast<std::size_t>(embed_xmp(1, method, values.data(), 1, "50 mm", &packet[0])));
  return packet;
}

TEST(Reader, XmpSegmentWithSettings) {
  for (const int method : {0, 1, 2, 3, 4, 10, 11, 13, 14, 15}) {
    SCOPED_TRACE(method);
    const Bytes packet = settings_packet(method);
    const bool reported = method == 1 || method == 2 || method == 3 || method == 10 || method == 11 || method == 15;
    for (const int fillers : {0, 9, 10}) {
      Bytes segments = kExif;
      for (int i = 0; i < fillers; ++i) segments += kFiller;
      const Bytes file = images::jpeg(segments + images::xmp_segment(packet));
      const Read in_file = read(file, CELUMBRANT_IMAGE_JPEG);
      const bool found = reported && fillers < 10;
      const auto start = static_cast<int>(file.find("<x:xmpmeta"));
      EXPECT_EQ(in_file.record.embeddedXmp_len, found ? static_cast<int>(packet.size()) + 31 : 0);
      EXPECT_EQ(in_file.record.embeddedXmp_offset, found ? start : 0);
      EXPECT_STREQ(reinterpret_cast<const char*>(in_file.record.lens), fillers < 10 ? "50 mm" : "");
    }
    // As many bytes as the segment's length are read, 31 of them behind it.
    const Bytes cut = "\xFF\xD8" + kExif + images::xmp_segment(packet);
    EXPECT_EQ(read(cut + Bytes(31, '\0'), 1).record.embeddedXmp_len != 0, reported);
    const Read too_short = read(cut + Bytes(30, '\0'), 1);
    EXPECT_EQ(too_short.record.embeddedXmp_len, 0);
    EXPECT_EQ(too_short.record.lens[0], 0);
  }
}

// The APP13 segment's length counts 16 bytes before its resources: as many behind it are searched.
TEST(Reader, App13IsSearched16BytesBeyondItsEnd) {
  const Bytes start = "\xFF\xD8" + kExif + images::xmp_segment("<x/>") + images::photoshop_segment("pad");
  const Bytes header = "8BIM\4\4\0\0"s + images::be32(99);
  const Read last = read(start + Bytes(8, '\0') + header, CELUMBRANT_IMAGE_JPEG);
  EXPECT_EQ(last.result, 1);
  EXPECT_EQ(last.record.iptc_len, 99);
  EXPECT_EQ(last.record.iptc_offset, static_cast<int>(start.size()) + 8 + 12);
  EXPECT_EQ(read(start + Bytes(9, '\0') + header, 1).record.iptc_len, 0);
}

TEST(Reader, PhotoshopResources) {
  const Bytes thumb_data = images::be32(1) + images::be32(160) + images::be32(120) + images::be32(480) +
                           images::be32(57600) + images::be32(5000) + images::be16(24) + images::be16(1);
  const Bytes thumbnail = images::resource(0x040C, thumb_data + "JPEG");
  const Bytes named = images::resource(0x040C, thumb_data, "\1n");
  const Bytes inside = images::resource(0x03ED, "x" + iptc_resource());
  const std::string thumb = "thumb_width=160 thumb_height=120 thumb_row=480 thumb_datalen=5000 ";
  struct Row {
    Bytes bytes;
    int breed, result;
    long end;
    std::string expected;
  };
  const Row rows[] = {
      {"8BIM\4\5\0\0"s, 8, 1, 11, ""},
      {iptc_resource(), 19, 1, 15, "iptc_len=7 iptc_offset=15"},
      {iptc_resource("\1n"), 19, 1, 22, ""},
      {thumbnail, 44, 5000, 43, thumb + "thumb_offset=43"},
      {named, 40, 5000, 43, thumb + "thumb_offset=43"},
      // The last of a kind decides, wherever it is found.
      {iptc_resource() + thumbnail + iptc_resource(), 500, 5000, 79,
       thumb + "thumb_offset=63 iptc_len=7 iptc_offset=79"},
      {inside, 100, 1, 28, "iptc_len=7 iptc_offset=28"},
      // Cut by the count, not quite, and cut by the file.
      {iptc_resource(), 7, 1, 10, ""},
      {iptc_resource(), 8, 1, 15, "iptc_len=7 iptc_offset=15"},
      {"8BIM\4\4", 100, 1, 11, "iptc_len=-16843009 iptc_offset=11"},
      {iptc_resource(), INT_MAX, 1, 15, "iptc_len=7 iptc_offset=15"},
      {iptc_resource(), -1, -4, 3, ""},
  };
  for (const Row& row : rows) {
    const Stream stream = stream_of("123" + row.bytes, 3);
    ExifInfo2 record = cleared();
    EXPECT_EQ(parse_photoshop_data(stream.get(), row.breed, &record), row.result);
    EXPECT_EQ(std::ftell(stream.get()), row.end) << row.expected;
    EXPECT_EQ(text_of(record), row.expected);
  }
  // Only a file read as TIFF has its resources looked at.
  const Bytes file = tiff(Order::kBig, {Directory().bytes(34377, 7, 20, iptc_resource())});
  EXPECT_EQ(read(file, CELUMBRANT_IMAGE_TIFF).record.iptc_len, 7);
  EXPECT_EQ(read(file, 5).record.iptc_len, 0);
#ifdef CELUMBRANT_CAN_FAIL_MEMORY
  const Stream stream = stream_of(iptc_resource());
  ExifInfo2 record = cleared();
  const FailingMemory failing(0);
  EXPECT_EQ(parse_photoshop_data(stream.get(), 19, &record), -4);
  EXPECT_EQ(parse_image_description(stream.get(), 19, &record), -1);
#endif
}

// ---- Blocks and texts --------------------------------------------------------------------------

TEST(Reader, BlocksAreLoaded) {
  const Bytes bytes = "ab\x1C" + Bytes("defghij");
  struct Row {
    int length, offset, result;
    Bytes loaded;
  };
  const Row rows[] = {
      {5, 2, 5,
       "\x1C"
       "defg"},
      {8, 2, 8,
       "\x1C"
       "defghij"},
      {5, 1, -2,
       "b\x1C"
       "def"},
      {9, 2, -1,
       "\x1C"
       "defghij#"},
      {9, 3, -2, "defghij##"},
      {10, 0, 0, "##########"},
      {0, 2, 0, "#"},
      {-1, 2, 0, "#"},
      {5, -9, 0, "#####"},
      {5, -10, -1, "#####"},
      {5, INT_MIN, -1, "#####"},
      {5, INT_MAX, -2, "#####"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.length) + "@" + std::to_string(row.offset));
    Bytes loaded(row.loaded.size(), '#');
    auto* const buffer = reinterpret_cast<unsigned char*>(loaded.data());
    EXPECT_EQ(read_iptc(file_of(bytes).c_str(), row.length, row.offset, buffer), row.result);
    EXPECT_EQ(loaded, row.loaded);
  }
  EXPECT_EQ(read_iptc("/nonexistent/file", 5, 0, nullptr), -1);

  const Bytes packet = settings_packet(CBTM_UNIFORM);
  const auto length = static_cast<int>(packet.size());
  for (const auto& [ask, offset, result] : {std::array{length, 3, 14},
                                            {length + 31, 3, 14},
                                            {60, 3, 0},
                                            {length + 3, 3, 14},
                                            {length + 50, 3, 0},
                                            {length, 2000000, 0},
                                            {0, 3, 0},
                                            {length, -length - 99, -1}}) {
    Bytes loaded(packet.size() + 60, '\0');
    EXPECT_EQ(extract_xmp(file_of("123" + packet + Bytes(40, ' ')).c_str(), ask, offset, &loaded[0]), result);
  }
}

TEST(Reader, ImageDescription) {
  const Bytes seven = "a, b, c, d, e, f, g, ";
  struct Row {
    Bytes text;
    int result, iso, camera;
    float exposure;
  };
  const Row rows[] = {
      {seven + "1/250s, R40, G45, B50", 50, 400, 2, 0.004F},
      {seven + "1/250s, B50, R40, G45", 50, 0, 0, 0.0F},
      {seven + "2s, R40, G45, B50", 50, 400, 0, 0.0F},
      {seven + "0.5/2s, R0, G29, B29.7", 29, 200, 2, 2.5F},
      {seven + " x/250 s, R90, G90, B90", 90, 1600, 2, 72.0F / 250.0F},
      {seven + "1/250s, R99999, G0, B0", 0, INT_MAX, 0, 0.004F},
      {seven + "1/250s, R999999, G999999, B999999", 999999, INT_MAX, 0, 0.004F},
      {seven + "1/250s, R40, G45, B1234567", 45, 0, 0, 0.0F},
      {seven + "1234567/2s, R40, G45, B50", 0, 0, 0, 0.0F},
      {seven + "1/250s, R40, G45", 45, 0, 0, 0.0F},
      {seven + "1/250s, R-9, G45, B50", 50, 0, 0, 0.0F},
      {seven + "1/250s, R40, G45, x, B50", 45, 0, 0, 0.0F},
      {seven + "1/250s, R40, G45\0, B50"s, 45, 0, 0, 0.0F},
      {"1/250s, R40, G45, B50", 0, 0, 0, 0.0F},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const Stream stream = stream_of("12" + row.text + "rest", 2);
    ExifInfo2 record = cleared();
    const auto length = static_cast<int>(row.text.size());
    EXPECT_EQ(parse_image_description(stream.get(), length, &record), row.result);
    EXPECT_EQ(std::ftell(stream.get()), 2 + length);
    EXPECT_EQ(record.iso, row.iso);
    EXPECT_EQ(record.camera, row.camera);
    EXPECT_FLOAT_EQ(record.exposure, row.exposure);
  }
  ExifInfo2 record = cleared();
  for (const int breed : {0, -1, 5, INT_MAX}) {
    EXPECT_EQ(parse_image_description(stream_of("text").get(), breed, &record), -1);
  }
}

TEST(Reader, ProfileName) {
  const auto described = [](const Bytes& text, int length, const Bytes& behind = Bytes(40, '-')) {
    return Bytes(36, 'h') + "desc\0\0\1\0"s + "desc" + Bytes(7, '\0') + static_cast<char>(length) + text + behind;
  };
  const Bytes zeros(32, '\0');
  struct Row {
    const char* name;
    Bytes profile;
    int result;
    Bytes text;
  };
  const Row rows[] = {
      {"sRGB", described("sRGB IEC61966-2.1", 18), 4, "sRGB"},
      {"not at the start", described("The Adobe RGB (1998)", 21), 9, "Adobe RGB"},
      {"ProPhoto", described("ProPhoto RGB", 200), 12, "ProPhoto RGB"},
      {"the length ends the search", described("abcsRGB", 3), 32, "abcsRGB" + Bytes(25, '-')},
      {"but not the name", described("abcsRGB", 4), 4, "sRGB"},
      {"other name", described("Display P3\0"s, 11), 32, "Display P3\0"s + Bytes(21, '-')},
      {"cut copy", described("Display", 8, ""), 32, "Display"},
      {"cut name", described("ABC Adobe RG", 200, ""), 32, "ABC Adobe RG"},
      {"name at the end", described("Adobe RGB", 200, ""), 9, "Adobe RGB"},
      {"16 bytes behind", described("sRGB", 4, ""), -1, ""},
      {"17 bytes behind", described("sRGB", 4, "-"), 4, "sRGB"},
      {"in the first 32 bytes", described("sRGB", 4).substr(13), -1, ""},
      {"type of version 4", Bytes(64, 'h') + "mluc" + zeros, -1, ""},
      {"empty", "", -1, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    // Of exactly its size, so that a sanitizer sees any byte read beyond it.
    const std::vector<unsigned char> profile(row.profile.begin(), row.profile.end());
    Bytes name(34, '#');
    EXPECT_EQ(get_profile_name(static_cast<int>(profile.size()), profile.data(), &name[1]), row.result);
    EXPECT_EQ(name, "#" + (row.text + zeros).substr(0, 32) + "#");
  }
  Bytes name(32, '#');
  EXPECT_EQ(get_profile_name(INT_MIN, nullptr, name.data()), -1);
}

// ---- Flat arrays -------------------------------------------------------------------------------

TEST(FlatArrays, EverySlot) {
  ExifInfo2 r = cleared();
  r.camera = 2, r.exposure = 2.5F, r.aperture = 8.0F, r.iso = 400, r.focalLength = 0.5F;
  r.focal35 = 52, r.fpxRes = 3954.25F, r.fpUnit = 3, r.thumb_datalen = 101, r.thumb_offset = 102;
  r.orientation = 6, r.iptc_len = 103, r.iptc_offset = 104, r.embeddedXmp_len = 105;
  r.embeddedXmp_offset = 106, r.lat_ref = 'S', r.long_ref = 'W', r.alt_ref = 1;
  std::memset(r.model, 'm', sizeof r.model);
  std::memset(r.date_time, 'd', sizeof r.date_time);
  std::memset(r.lens, 'l', sizeof r.lens);
  std::memset(r.gps_datestamp, 'g', sizeof r.gps_datestamp);
  std::iota(std::begin(r.lat_val), std::end(r.lat_val), 200);
  std::iota(std::begin(r.long_val), std::end(r.long_val), 206);
  std::iota(std::begin(r.alt_val), std::end(r.alt_val), 212);
  std::iota(std::begin(r.gps_timestamp), std::end(r.gps_timestamp), 214);

  constexpr int kKept = 0x23232323;
  std::vector<int> exif(62, kKept);
  std::vector<int> gps(26, kKept);
  EXPECT_EQ(metadataBufFromExifInfo(&r, exif.data(), gps.data()), 250);
  std::vector<int> expected{250, 100,    800, 100, kKept, 400, 2,   kKept, kKept, kKept, 100, 200,
                            52,  395425, 100, 3,   102,   101, 104, 103,   6,     106,   105};
  expected.insert(expected.end(), 16, 0x6D6D6D6D);
  expected.insert(expected.end(), 5, 0x64646464);
  expected.insert(expected.end(), 16, 0x6C6C6C6C);
  expected.insert(expected.end(), 2, kKept);
  EXPECT_EQ(exif, expected);
  std::vector<int> numbers(20);
  std::iota(numbers.begin(), numbers.end(), 200);
  EXPECT_EQ(std::vector<int>(gps.begin(), gps.begin() + 20), numbers);
  EXPECT_EQ(Bytes(reinterpret_cast<const char*>(&gps[20]), 24), "SW\1#ggggggggggg#########");
}

TEST(FlatArrays, FractionsAreCutAndSaturate) {
  struct Row {
    float value;
    int numerator, denominator;
  };
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const Row rows[] = {
      {1.0F, 100, 100},
      {0.5F, 100, 200},
      {0.004F, 100, 24999},
      {0.008F, 100, 12499},
      {2.8F, 279, 100},
      {8.0F, 800, 100},
      {0.0F, -1, -1},
      {-2.0F, -1, -1},
      {std::numeric_limits<float>::quiet_NaN(), -1, -1},
      {kInfinity, INT_MAX, 100},
      {3e7F, INT_MAX, 100},
      {1e-30F, 100, INT_MAX},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.value);
    ExifInfo2 record = cleared();
    record.exposure = record.aperture = record.focalLength = record.fpxRes = row.value;
    std::array<int, 60> exif;
    exif.fill(-1);
    std::array<int, 24> gps{};
    EXPECT_EQ(metadataBufFromExifInfo(&record, exif.data(), gps.data()), row.numerator);
    for (const std::size_t slot : {0U, 2U, 10U, 13U}) {
      EXPECT_EQ(exif[slot], row.numerator);
      EXPECT_EQ(exif[slot + 1], row.denominator);
    }
  }
}

// ---- Pictures of other programs, and hostile ones ----------------------------------------------

std::string path_of(const char* name) {
  return std::string(CELUMBRANT_SAMPLES) + "/" + name;
}

struct Sample {
  const char* name;
  int image_type;
};
constexpr Sample kSamples[] = {{"big_endian.jpg", 1}, {"settings.jpg", 1}, {"resources.tif", 0}, {"exif.psd", 2}};

TEST(Samples, RecordOfEach) {
  const std::string camera =
      "exposure=0.00400000019 aperture=2.79999995 iso=400 focalLength=35 focal35=52 fpxRes=2000 "
      "fpUnit=3 model='Model Q-7' date_time='2015:06:01 12:30:45' ";
  const std::string thumb = "thumb_width=12 thumb_height=8 thumb_row=36 thumb_datalen=312 ";
  const std::string place =
      "lat_ref=83 lat_val=33,1,51,1,152649,6250, long_ref=69 long_val=151,1,12,1,20210,367, "
      "alt_ref=1 alt_val=25,2, gps_timestamp=10,1,20,1,30,1, gps_datestamp='2015:06:01'";
  const std::string expected[] = {camera + thumb + "thumb_offset=1098 orientation=6 iptc_len=30 iptc_offset=1028 " +
                                      place + " lens='35mm f/2 Sample'",
                                  "exposure=2.5 aperture=2.97000003 iso=100 model='LE-12' embeddedXmp_len=1097 "
                                  "embeddedXmp_offset=165",
                                  camera + thumb + "thumb_offset=3290 orientation=6 iptc_len=20 iptc_offset=3230 " +
                                      place + " embeddedXmp_len=2853 embeddedXmp_offset=376",
                                  camera + "orientation=6 " + place};
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    const Read read = read_file(path_of(kSamples[i].name), kSamples[i].image_type);
    EXPECT_EQ(read.result, 1);
    EXPECT_EQ(text_of(read.record), expected[i]);
  }

  Bytes packet(1098, '\0');
  EXPECT_EQ(extract_xmp(path_of("settings.jpg").c_str(), 1097, 165, packet.data()), 2);
  std::array<int, 60> exif{};
  std::array<int, 24> gps{};
  EXPECT_EQ(get_exif_data(path_of("big_endian.jpg").c_str(), 1, exif.data(), gps.data()), 100);
  EXPECT_EQ(exif[CELUMBRANT_EXIF_IPTC_LEN], 30);
  std::array<unsigned char, 30> iptc{};
  EXPECT_EQ(read_iptc(path_of("big_endian.jpg").c_str(), 30, exif[CELUMBRANT_EXIF_IPTC_OFFSET], iptc.data()), 30);
}

TEST(Hostile, EveryPrefixOfEverySample) {
  for (const Sample& sample : kSamples) {
    const std::string name = file_of("");
    std::filesystem::copy_file(path_of(sample.name), name, std::filesystem::copy_options::overwrite_existing);
    auto length = std::filesystem::file_size(name);
    ASSERT_GT(length, 1000U);
    testing::internal::CaptureStderr();
    while (length-- > 0) {
      std::filesystem::resize_file(name, length);
      ExifInfo2 record = cleared();
      getExifData(name.c_str(), sample.image_type, &record);
      EXPECT_EQ(record.model[64], '\0');
      EXPECT_EQ(record.lens[16], 0);
    }
    testing::internal::GetCapturedStderr();
  }
}

// Each of these describes hours of work, or gigabytes, in less than a MiB.
TEST(Hostile, WorkIsBounded) {
  const auto many = [](int entries, int tag, std::int64_t count, auto value) {
    Directory directory;
    for (int i = 0; i < entries; ++i) directory.field(tag, 4, count, value(i));
    return directory;
  };
  constexpr std::size_t size = 1 << 20;
  const auto anywhere = [&](int i) { return (std::int64_t{i} * 7919 * 4099) % std::int64_t{size}; };
  const auto padded = [&](Bytes bytes) { return bytes += Bytes(size - bytes.size(), '8'); };
  Bytes nested = tiff(Order::kLittle, {many(21000, 34665, 1, [](int) { return 8 + 21000 * 12 + 6; })});
  many(60000, 36867, 20, anywhere).append_to(nested, Order::kLittle);
  const Bytes resources = tiff(Order::kBig, {many(65000, 34377, INT_MAX, [](int) { return 8; })});
  const Bytes scattered = tiff(Order::kBig, {many(65000, 34377, 65535, anywhere)});
  const Bytes tiny = "8BIM\0\1\0\0\0\0\0\0"s;
  Bytes blocks;
  while (blocks.size() < 1000000) blocks += tiny;
  struct Row {
    const char* name;
    int image_type;
    Bytes bytes;
  };
  const Row rows[] = {
      {"nested", 0, padded(nested)},
      {"resources", 0, padded(resources)},
      {"scattered", 0, padded(scattered)},
      {"beyond the end", 0, tiff(Order::kBig, {many(65000, 34665, 1, [](int i) { return INT_MAX - i; })})},
      {"blocks", 2, images::psd(blocks)}};
  for (const Row& row : rows) {
    const auto start = std::chrono::steady_clock::now();
    read(row.bytes, row.image_type);
    const auto spent = std::chrono::steady_clock::now() - start;
    EXPECT_LT(std::chrono::duration<double>(spent).count(), 4.0) << row.name;
  }
}

}  // namespace
