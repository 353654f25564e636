// SPDX-License-Identifier: MIT
//
// Reading photographs: numbers, directories, containers, resources, the flat arrays, hostile files.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

#include <algorithm>
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
#include <vector>

#include "support/failing_memory.h"
#include "support/image_builder.h"

namespace {

using images::Bytes;
using images::Directory;
using images::Order;
using namespace std::string_literals;

// Files of tests that run beside this one have other names.
std::string file_of(const Bytes& bytes) {
  const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
  const std::string name = testing::TempDir() + test->test_suite_name() + "_" + test->name();
  std::ofstream(name, std::ios::binary) << bytes;
  return name;
}

using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;

Stream stream_of(const Bytes& bytes, long position = 0) {
  Stream stream(std::fopen(file_of(bytes).c_str(), "rb"), std::fclose);
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
void describe(std::ostream& out, const char* name, auto number) {
  if (number != 0) out << name << '=' << +number << ' ';
}
template <std::size_t n>
void describe(std::ostream& out, const char* name, const int (&numbers)[n]) {
  if (std::ranges::count(numbers, 0) == n) return;
  out << name << '=';
  for (const int number : numbers) out << number << ',';
  out << ' ';
}

// A result, and all fields that are not clear, so that a test sees those that it did not expect to
// change.
std::string outcome(int result, const ExifInfo2& record) {
  std::ostringstream out;
  out << std::setprecision(9) << result << ' ';
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
  text.pop_back();
  return text;
}

std::ptrdiff_t open_files() {
  const std::filesystem::path list = "/proc/self/fd";
  if (!std::filesystem::exists(list)) return 0;
  return std::distance(std::filesystem::directory_iterator(list), {});
}

// The outcome of a read into a record that was not clear, with what was printed.
std::string read_file(const std::string& name, int image_type) {
  ExifInfo2 record;
  std::memset(&record, 0x5A, sizeof record);
  const auto open_before = open_files();
  testing::internal::CaptureStderr();
  const int result = getExifData(name.c_str(), image_type, &record);
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(open_files(), open_before);
  EXPECT_EQ(record.model[64], 0x5A);
  return outcome(result, record) + printed;
}

std::string read(const Bytes& bytes, int image_type) {
  return read_file(file_of(bytes), image_type);
}

struct Row {
  Bytes input;
  int argument;
  std::string expected;
};

template <std::size_t n, typename Act>
void check(const Row (&rows)[n], Act act) {
  for (const Row& row : rows) {
    EXPECT_EQ(act(row), row.expected) << testing::PrintToString(row.input) << row.argument;
  }
}

// ---- Numbers and the record --------------------------------------------------------------------

TEST(Reader, NumbersInBothOrdersAndBehindTheEnd) {
  const auto numbers = [](const Row& row) {
    const auto order = static_cast<short>(row.argument);
    const auto read_at_start = [&](auto reader) { return reader(stream_of(row.input).get()); };
    std::ostringstream out;
    out << std::hex << read_at_start([=](FILE* f) { return fgetmi2(f, order); }) << ' '
        << read_at_start([=](FILE* f) { return fgetmi4(f, order); }) << ' ' << read_at_start(fgetm2) << ' '
        << read_at_start(fgetm4);
    return out.str();
  };
  constexpr int kII = 0x4949;
  constexpr int kMM = 0x4D4D;
  const Row rows[] = {{"\x12\x34\x56\x78", kII, "3412 78563412 1234 12345678"},
                      {"\x12\x34\x56\x78", kMM, "1234 12345678 1234 12345678"},
                      {"\x12\x34\x56\x78", 0, "1234 12345678 1234 12345678"},
                      {"\x80\0\0\1"s, kII, "80 1000080 8000 80000001"},
                      {"", kII, "ffff fefefeff ffff fefefeff"},
                      {"\x12\x34\x56", kII, "3412 ff563412 1234 123455ff"},
                      {"\x12", kII, "ff12 fefeff12 12ff 11fefeff"}};
  check(rows, numbers);
}

// ---- Directories -------------------------------------------------------------------------------

struct DirectoryCase {
  Directory directory;
  std::string expected;
};

// Reads the directory by itself, from a stream and behind other bytes, and as part of a TIFF file
// whose directories lie at many distances, so that values and entries cross any buffer's ends.
void check_directory(const DirectoryCase& row, int tag, int (*parse)(FILE*, int, short, int, ExifInfo2*)) {
  const std::string expected = row.expected.empty() ? "1" : "1 " + row.expected;
  for (const Order order : {Order::kLittle, Order::kBig}) {
    Bytes alone = "header!!";
    row.directory.append_to(alone, order);
    ExifInfo2 record = cleared();
    const Stream stream = stream_of("12345" + alone, 5 + 8);
    const short mark = order == Order::kLittle ? 0x4949 : 0x4D4D;
    EXPECT_EQ(outcome(parse(stream.get(), 1, mark, 5, &record), record), expected);
    EXPECT_EQ(std::ftell(stream.get()), 15 + 12 * static_cast<long>(row.directory.entries()));
    for (const std::size_t gap : {0U, 16340U, 16343U, 16352U, 16360U, 32700U, 40000U}) {
      EXPECT_EQ(read(tiff(order, {Directory().directory(tag, row.directory)}, gap), 0), expected);
    }
  }
}

TEST(Reader, ExifDirectory) {
  using D = Directory;
  D all = D().rationals(33434, {1, 250}).rationals(33437, {28, 10}).shorts(34855, {400});
  all.text(36867, "2015:06:01 12:30:45\0"s).rationals(37377, {8, 1}).rationals(37378, {297, 100});
  all.rationals(37381, {297, 100}).rationals(37386, {355, 10}).rationals(41486, {-2001, 4});
  all.shorts(41488, {3}).rationals(41493, {1000, 10}).shorts(41989, {52});
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
  D all = D().bytes(0, 1, 4, "\2\3\0\0"s).text(1, "S\0"s).rationals(2, {48, 1, 51, 1, 2930, 100});
  all.text(3, "W\0"s).rationals(4, {2, 1, 17, 1, 1782, 99}).bytes(5, 1, 1, "\1");
  all.rationals(6, {125, -10}).rationals(7, {10, 1, 20, 2, 30, 3}).shorts(8, {7});
  all.text(29, "2015:06:01\0"s).shorts(30, {7});
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
      {D().text(272, letters.substr(0, 63)), "model='" + letters.substr(0, 62) + "'"},
      {D().text(272, letters.substr(0, 64)), "model='" + letters.substr(0, 63) + "'"},
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
    const std::string expected = row.expected.empty() ? "1" : "1 " + row.expected;
    for (const Order order : {Order::kLittle, Order::kBig}) {
      const Bytes structure = tiff(order, {row.directory});
      EXPECT_EQ(read(structure, CELUMBRANT_IMAGE_TIFF), expected);
      EXPECT_EQ(read(images::jpeg(images::exif(structure)), CELUMBRANT_IMAGE_JPEG), expected);
    }
  }
}

TEST(Reader, ThreeDirectoriesAreReadAndNoneBehind255Entries) {
  const auto oriented = [](int value) { return Directory().shorts(274, {value}); };
  const auto thumbnail = Directory().field(513, 4, 1, 70).field(514, 4, 1, 7);
  for (const Order order : {Order::kLittle, Order::kBig}) {
    EXPECT_EQ(read(tiff(order, {oriented(1), oriented(2), oriented(3), oriented(4)}), 0), "1 orientation=3");
    EXPECT_EQ(read(images::jpeg(images::exif(tiff(order, {oriented(1), thumbnail}))), 1),
              "1 thumb_datalen=7 thumb_offset=82 orientation=1");
    for (const int entries : {254, 255, 256}) {
      Directory first = oriented(1);
      for (int i = 1; i < entries; ++i) first.shorts(0xC000 + i, {i});
      EXPECT_EQ(read(tiff(order, {first, oriented(2)}), 0), entries == 255 ? "1 orientation=1" : "1 orientation=2");
    }
  }
}

// ---- Containers --------------------------------------------------------------------------------

const Bytes kTiff = tiff(Order::kBig, {Directory().shorts(274, {6})});
const Bytes kExif = images::exif(kTiff);
const Bytes kFiller = images::segment('\xE2', "filler");

Bytes iptc_resource(const Bytes& name = Bytes(2, '\0')) {
  return images::resource(0x0404, "\x1C\2\0\0\0\0\0"s, name);
}

TEST(Reader, ResultsAndMessages) {
  const std::string invalid = "invalid marker\n";
  const Bytes soi = "\xFF\xD8";
  const Bytes tail = "\xFF\xDA" + Bytes(40, '\0');
  const Bytes short_segment = "\xFF\xE2\0\1"s;
  const Bytes resources = images::photoshop(images::resource(1, ""));
  const Bytes xmp = images::xmp("<x/>");
  const Bytes in_psd = images::resource(0x0422, kTiff);
  const Row rows[] = {
      {"", 0, "-2"},
      {"IM*\0"s, 0, "-2"},
      {"II\0*"s, 0, "-3"},
      {kTiff, 0, "1 orientation=6"},
      {kTiff, 77, "1 orientation=6"},
      // The first APP1 of a JPEG file.
      {"", 1, "-1"},
      {"\xFF\xD9" + kExif, 1, "-1"},
      {soi + kFiller + tail, 1, "-2"},
      {soi + kFiller + "\xFF\xD9" + kExif, 1, "-2"},
      {soi + kFiller, 1, "-2"},
      {soi + "\xFF\xFF", 1, "-2"},
      {soi + kFiller + kExif + tail, 1, "1 orientation=6"},
      {soi + "\xFF\xFF\xFF" + kExif + tail, 1, "-10 orientation=6"},
      {soi + "\xFF\xFF\xFF\xFF" + kExif + tail, 1, "-1too many padding bytes\n"},
      {soi + kExif.substr(1) + tail, 1, "-10 orientation=6"},
      {soi + short_segment + kExif + tail, 1, "-1" + invalid},
      {soi + images::segment('\xE2', "") + kExif + tail, 1, "1 orientation=6"},
      {soi + "\xFF\xE1\0\1"s + tail, 1, "-1" + invalid},
      {soi + xmp + kExif + tail, 1, "-2"},
      // What follows it, and APP13.
      {soi + kExif + short_segment + tail, 1, "-1" + invalid},
      {soi + resources + kExif + Bytes(5, '\xFF'), 1, "1 orientation=6"},
      {soi + resources + kExif + "\xFF\xE1\0\1"s, 1, "1 orientation=6"},
      {soi + kExif + "x" + tail, 1, "-10 orientation=6"},
      {soi + kExif, 1, "-10 orientation=6"},
      {soi + kExif + xmp + "\xFF\xED\0\1"s, 1, "-1 orientation=6" + invalid},
      {"8BP", 2, "-1"},
      {"8BPX" + Bytes(60, '\0'), 2, "-2"},
      {images::psd(in_psd, 2), 2, "-3"},
      {images::psd(in_psd, 4, 4), 2, "-3"},
      {images::psd(images::resource(1, "odd") + in_psd), 2, "1 orientation=6"},
      {images::psd(images::resource(1, "odd")), 2, "-1"},
      {images::psd("8BIx" + in_psd), 2, "-1"},
      {images::psd("8BIM\0\1\0\0\xFF\xFF\xFF\xF4"s + in_psd), 2, "-1"},
  };
  check(rows, [](const Row& row) { return read(row.input, row.argument); });
  EXPECT_EQ(read_file("/nonexistent/file", 1), "-1");
}

Bytes settings_packet(int method) {
  std::array<float, CBTM_SETTINGS_COUNT> values;
  def_param(method, values.data());
  Bytes packet(8192, ' ');
  const int length = embed_xmp(1, method, values.data(), 1, "50 mm", packet.data());
  return packet.substr(0, static_cast<std::size_t>(length));
}

TEST(Reader, XmpSegmentWithSettings) {
  for (const int method : {0, 1, 2, 3, 4, 10, 11, 13, 14, 15}) {
    const Bytes packet = settings_packet(method);
    const bool reported = std::ranges::count(std::array{1, 2, 3, 10, 11, 15}, method) == 1;
    Bytes segments = kExif;
    for (int fillers = 0; fillers <= 10; ++fillers, segments += kFiller) {
      // As many bytes as the segment's length are read, 31 of them behind it.
      Bytes file = "\xFF\xD8" + segments + images::xmp(packet) + Bytes(30, '\0');
      EXPECT_EQ(read(file, CELUMBRANT_IMAGE_JPEG), "-10 orientation=6");
      const std::string place = " embeddedXmp_len=" + std::to_string(packet.size() + 31) +
                                " embeddedXmp_offset=" + std::to_string(file.find("<x:xmpmeta"));
      const std::string found = (reported ? place : "") + " lens='50 mm'";
      EXPECT_EQ(read(file += '\0', 1), "-10 orientation=6" + (fillers < 10 ? found : "")) << method;
    }
  }
}

// The APP13 segment's length counts 16 bytes before its resources: as many behind it are searched.
TEST(Reader, App13IsSearched16BytesBeyondItsEnd) {
  const Bytes start = "\xFF\xD8" + kExif + images::xmp("<x/>") + images::photoshop("pad");
  const Bytes header = "8BIM\4\4\0\0"s + images::be(99, 4);
  EXPECT_EQ(read(start + Bytes(8, '\0') + header, 1),
            "1 orientation=6 iptc_len=99 iptc_offset=" + std::to_string(start.size() + 20));
  EXPECT_EQ(read(start + Bytes(9, '\0') + header, 1), "1 orientation=6");
}

TEST(Reader, PhotoshopResources) {
  Bytes thumb_data;
  for (const int value : {1, 160, 120, 480, 57600, 5000, 24 << 16 | 1}) {
    thumb_data += images::be(static_cast<std::size_t>(value), 4);
  }
  const Bytes thumbnail = images::resource(0x040C, thumb_data + "JPEG");
  const std::string thumb = "thumb_width=160 thumb_height=120 thumb_row=480 thumb_datalen=5000 ";
  // At the end of what is expected: where the stream stands.
  const Row rows[] = {
      {"8BIM\4\5\0\0"s, 8, "1 @11"},
      {iptc_resource(), 19, "1 iptc_len=7 iptc_offset=15 @15"},
      {iptc_resource("\1n"), 19, "1 @22"},
      {thumbnail, 44, "5000 " + thumb + "thumb_offset=43 @43"},
      {images::resource(0x040C, thumb_data, "\1n"), 40, "5000 " + thumb + "thumb_offset=43 @43"},
      // The last of a kind decides, wherever it is found.
      {iptc_resource() + thumbnail + iptc_resource(), 500,
       "5000 " + thumb + "thumb_offset=63 iptc_len=7 iptc_offset=79 @79"},
      {images::resource(1, "x" + iptc_resource()), 100, "1 iptc_len=7 iptc_offset=28 @28"},
      // Cut by the count, not quite, and cut by the file.
      {iptc_resource(), 7, "1 @10"},
      {iptc_resource(), 8, "1 iptc_len=7 iptc_offset=15 @15"},
      {"8BIM\4\4", INT_MAX, "1 iptc_len=-16843009 iptc_offset=11 @11"},
      {iptc_resource(), INT_MAX, "1 iptc_len=7 iptc_offset=15 @15"},
      {iptc_resource(), -1, "-4 @3"},
  };
  check(rows, [](const Row& row) {
    const Stream stream = stream_of("123" + row.input, 3);
    ExifInfo2 record = cleared();
    const int result = parse_photoshop_data(stream.get(), row.argument, &record);
    return outcome(result, record) + " @" + std::to_string(std::ftell(stream.get()));
  });
  // Only a file read as TIFF has its resources looked at.
  const Bytes file = tiff(Order::kBig, {Directory().bytes(34377, 7, 20, iptc_resource())});
  EXPECT_EQ(read(file, CELUMBRANT_IMAGE_TIFF), "1 iptc_len=7 iptc_offset=38");
  EXPECT_EQ(read(file, 5), "1");
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
  const auto load = [](int offset) {
    return [offset](const Row& row) {
      Bytes loaded(12, '#');
      auto* const buffer = reinterpret_cast<unsigned char*>(loaded.data());
      const int result = read_iptc(file_of(row.input).c_str(), row.argument, offset, buffer);
      return std::to_string(result) + " " + loaded.substr(0, loaded.find('#'));
    };
  };
  const Bytes mark = "\x1C";
  const Bytes file = "ab" + mark + "defghij";
  const Row within[] = {{file, 5, "5 " + mark + "defg"}, {file, 8, "8 " + mark + "defghij"}};
  const Row beyond[] = {{file, 9, "-1 " + mark + "defghij"}, {file, 10, "0 "}, {file, 0, "0 "}};
  check(within, load(2));
  check(beyond, load(2));
  check({Row{file, 5, "-2 b" + mark + "def"}, {file, -1, "0 "}}, load(1));
  check({Row{file, 5, "0 "}}, load(-9));
  check({Row{file, 5, "-1 "}}, load(-10));
  check({Row{file, 5, "-2 "}}, load(INT_MAX));
  EXPECT_EQ(read_iptc("/nonexistent/file", 5, 0, nullptr), -1);

  const Bytes packet = settings_packet(CBTM_UNIFORM);
  const auto length = static_cast<int>(packet.size());
  const std::string name = file_of("123" + packet + Bytes(40, ' '));
  const auto extract = [&](int count, int offset) {
    Bytes loaded(packet.size() + 60, '\0');
    return extract_xmp(name.c_str(), count, offset, loaded.data());
  };
  EXPECT_EQ(extract(length, 3), 14);
  EXPECT_EQ(extract(length + 42, 3), 14);
  EXPECT_EQ(extract(60, 3), 0);
  EXPECT_EQ(extract(length + 43, 3), 0);
  EXPECT_EQ(extract(0, 3), 0);
  EXPECT_EQ(extract(length, -length - 43), -1);
}

TEST(Reader, ImageDescription) {
  const Bytes seven = "a, b, c, d, e, f, g, ";
  const std::string fast = "exposure=0.00400000019 iso=";
  const Row rows[] = {
      {seven + "1/250s, R40, G45, B50", 0, "50 camera=2 " + fast + "400"},
      {seven + "1/250s, B50, R40, G45", 0, "50"},
      {seven + "2s, R40, G45, B50", 0, "50 iso=400"},
      {seven + "0.5/2s, R0, G29, B29.7", 0, "29 camera=2 exposure=2.5 iso=200"},
      {seven + "x/256 s, R90, G90, B90", 0, "90 camera=2 exposure=0.28125 iso=1600"},
      {seven + "1/250s, R99999, G0, B0", 0, "0 " + fast + "2147483647"},
      {seven + "1/250s, R40, G45, B1234567", 0, "45"},
      {seven + "1234567/2s, R40, G45, B50", 0, "0"},
      {seven + "1/250s, R40, G45", 0, "45"},
      {seven + "1/250s, R-9, G45, B50", 0, "50"},
      {seven + "1/250s, R40, G45, x, B50", 0, "45"},
      {seven + "1/250s, R40, G45\0, B50"s, 0, "45"},
      {"1/250s, R40, G45, B50", 0, "0"},
  };
  check(rows, [](const Row& row) {
    const Stream stream = stream_of("12" + row.input + "rest", 2);
    ExifInfo2 record = cleared();
    const auto length = static_cast<int>(row.input.size());
    const int result = parse_image_description(stream.get(), length, &record);
    EXPECT_EQ(std::ftell(stream.get()), 2 + length);
    return outcome(result, record);
  });
  ExifInfo2 record = cleared();
  for (const int breed : {0, -1, 5, INT_MAX}) {
    EXPECT_EQ(parse_image_description(stream_of("text").get(), breed, &record), -1);
  }
}

TEST(Reader, ProfileName) {
  const auto described = [](const Bytes& text, int length, const Bytes& behind = Bytes(40, '-')) {
    return Bytes(36, 'h') + "desc\0\0\1\0"s + "desc" + Bytes(7, '\0') + static_cast<char>(length) + text + behind;
  };
  const Row rows[] = {
      {described("sRGB IEC61966-2.1", 18), 4, "sRGB"},
      {described("The Adobe RGB (1998)", 21), 9, "Adobe RGB"},
      {described("ProPhoto RGB", 200), 12, "ProPhoto RGB"},
      {described("abcsRGB", 3), 32, "abcsRGB" + Bytes(25, '-')},
      {described("abcsRGB", 4), 4, "sRGB"},
      {described("Display P3\0"s, 11), 32, "Display P3\0"s + Bytes(21, '-')},
      // At the end of a profile.
      {described("Display", 8, ""), 32, "Display"},
      {described("ABC Adobe RG", 200, ""), 32, "ABC Adobe RG"},
      {described("Adobe RGB", 200, ""), 9, "Adobe RGB"},
      {described("sRGB", 4, ""), -1, ""},
      {described("sRGB", 4, "-"), 4, "sRGB"},
      // In the first 32 bytes, and of another type.
      {described("sRGB", 4).substr(13), -1, ""},
      {Bytes(64, 'h') + "mluc" + Bytes(32, '\0'), -1, ""},
      {"", -1, ""},
  };
  for (const Row& row : rows) {
    // Of exactly its size, so that a sanitizer sees any byte read beyond it.
    const std::vector<unsigned char> profile(row.input.begin(), row.input.end());
    Bytes name(34, '#');
    const auto length = static_cast<int>(profile.size());
    EXPECT_EQ(get_profile_name(length, profile.data(), &name[1]), row.argument);
    EXPECT_EQ(name, "#" + (row.expected + Bytes(32, '\0')).substr(0, 32) + "#");
  }
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
  std::vector<int> places(20);
  std::iota(places.begin(), places.end(), 200);
  std::copy_n(places.begin(), 6, r.lat_val);
  std::copy_n(places.begin() + 6, 6, r.long_val);
  std::copy_n(places.begin() + 12, 2, r.alt_val);
  std::copy_n(places.begin() + 14, 6, r.gps_timestamp);

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
  EXPECT_EQ(std::vector<int>(gps.begin(), gps.begin() + 20), places);
  EXPECT_EQ(Bytes(reinterpret_cast<const char*>(&gps[20]), 24), "SW\1#ggggggggggg#########");
}

TEST(FlatArrays, FractionsAreCutAndSaturate) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  const std::vector<std::pair<float, std::pair<int, int>>> rows = {
      {1.0F, {100, 100}},          {0.5F, {100, 200}},       {0.004F, {100, 24999}}, {0.008F, {100, 12499}},
      {2.8F, {279, 100}},          {0.0F, {-1, -1}},         {-2.0F, {-1, -1}},      {3e7F, {INT_MAX, 100}},
      {kInfinity, {INT_MAX, 100}}, {1e-30F, {100, INT_MAX}}, {kNaN, {-1, -1}}};
  for (const auto& [value, fraction] : rows) {
    ExifInfo2 record = cleared();
    record.exposure = record.aperture = record.focalLength = record.fpxRes = value;
    std::array<int, 60> exif;
    exif.fill(-1);
    std::array<int, 24> gps{};
    EXPECT_EQ(metadataBufFromExifInfo(&record, exif.data(), gps.data()), fraction.first);
    for (const std::size_t slot : {0U, 2U, 10U, 13U}) {
      EXPECT_EQ(std::pair(exif[slot], exif[slot + 1]), fraction) << value;
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
  const std::string expected[] = {
      "1 " + camera + thumb + "thumb_offset=1098 orientation=6 iptc_len=30 iptc_offset=1028 " + place +
          " lens='35mm f/2 Sample'",
      "1 exposure=2.5 aperture=2.97000003 iso=100 model='LE-12' embeddedXmp_len=1097 "
      "embeddedXmp_offset=165",
      "1 " + camera + thumb + "thumb_offset=3290 orientation=6 iptc_len=20 iptc_offset=3230 " + place +
          " embeddedXmp_len=2853 embeddedXmp_offset=376",
      "1 " + camera + "orientation=6 " + place};
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    EXPECT_EQ(read_file(path_of(kSamples[i].name), kSamples[i].image_type), expected[i]);
  }

  std::array<int, 60> exif{};
  std::array<int, 24> gps{};
  EXPECT_EQ(get_exif_data(path_of("big_endian.jpg").c_str(), 1, exif.data(), gps.data()), 100);
  EXPECT_EQ(exif[CELUMBRANT_EXIF_IPTC_LEN], 30);
  EXPECT_EQ(gps[CELUMBRANT_GPS_LONGITUDE], 151);
}

TEST(Hostile, EveryPrefixOfEverySample) {
  for (const Sample& sample : kSamples) {
    const std::string name = file_of("");
    using std::filesystem::copy_options;
    std::filesystem::copy_file(path_of(sample.name), name, copy_options::overwrite_existing);
    auto length = std::filesystem::file_size(name);
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
  constexpr std::size_t kSize = 1 << 20;
  const auto many = [](int entries, int tag, int count, int step, int start) {
    Directory directory;
    for (int i = 0; i < entries; ++i) {
      directory.field(tag, 4, count, start + std::int64_t{i} * step % std::int64_t{kSize});
    }
    return directory;
  };
  Bytes nested = tiff(Order::kLittle, {many(21000, 34665, 1, 0, 8 + 21000 * 12 + 6)});
  many(60000, 36867, 20, 32458, 0).append_to(nested, Order::kLittle);
  const Bytes resources = tiff(Order::kBig, {many(65000, 34377, INT_MAX, 0, 8)});
  const Bytes scattered = tiff(Order::kBig, {many(65000, 34377, 65535, 32458, INT_MAX / 2)});
  for (Bytes bytes : {nested, resources, scattered}) {
    bytes.resize(kSize, '8');
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(read(bytes, CELUMBRANT_IMAGE_TIFF).substr(0, 1), "1");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
  }
}

}  // namespace
