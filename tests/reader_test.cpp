// SPDX-License-Identifier: MIT
//
// Reading photographs: numbers, directories, containers, resources, the flat arrays, hostile files.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <tuple>

#include "support/files.h"
#include "support/image_builder.h"

namespace {

using namespace images;
using namespace std::string_literals;

std::string file_of(const Bytes& bytes) {
  write_file(temporary("file"), bytes);
  return temporary("file");
}

auto stream_of(const Bytes& bytes, long position = 0) {
  std::unique_ptr<FILE, int (*)(FILE*)> stream(std::fopen(file_of(bytes).c_str(), "rb"), std::fclose);
  std::fseek(stream.get(), position, SEEK_SET);
  return stream;
}

void describe(std::ostream& out, const char* name, const char* text) {
  if (*text != '\0') out << ' ' << name << "='" << text << "'";
}
void describe(std::ostream& out, const char* name, auto number) {
  if (number != 0) out << ' ' << name << '=' << +number;
}
template <std::size_t n>
void describe(std::ostream& out, const char* name, const int (&numbers)[n]) {
  std::string text;
  for (const int number : numbers) text += std::to_string(number) + ",";
  if (std::ranges::count(numbers, 0) < std::ssize(numbers)) out << ' ' << name << '=' << text;
}

// A result, and all fields that are not clear, so that no change of one goes unseen.
std::string outcome(int result, const ExifInfo2& record) {
  std::ostringstream out;
  out.precision(9);
  out << result;
#define FIELD(name) describe(out, #name, record.name)
  FIELD(camera), FIELD(exposure), FIELD(aperture), FIELD(iso), FIELD(curve), FIELD(focalLength), FIELD(focal35);
  FIELD(fpxRes), FIELD(fpUnit), FIELD(model), FIELD(date_time), FIELD(thumb_width), FIELD(thumb_height);
  FIELD(thumb_row), FIELD(thumb_datalen), FIELD(thumb_offset), FIELD(orientation), FIELD(iptc_len);
  FIELD(iptc_offset), FIELD(lat_ref), FIELD(lat_val), FIELD(long_ref), FIELD(long_val), FIELD(alt_ref);
  FIELD(alt_val), FIELD(gps_timestamp), FIELD(gps_datestamp), FIELD(embeddedXmp_len), FIELD(embeddedXmp_offset);
#undef FIELD
  describe(out, "lens", reinterpret_cast<const char*>(record.lens));
  return out.str();
}

// The outcome of a read into a record that was not clear, with what was printed.
std::string read(const Bytes& bytes, int image_type) {
  const std::string name = file_of(bytes);
  ExifInfo2 record;
  std::memset(&record, 0x5A, sizeof record);
  testing::internal::CaptureStderr();
  const int result = getExifData(name.c_str(), image_type, &record);
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(record.model[64], 0x5A);
  return outcome(result, record) + printed;
}

// The outcome of a function that reads from a stream, and where that stands afterwards.
std::string parsed(int (*parse)(FILE*, int, ExifInfo2*), const Bytes& bytes, int breed) {
  const auto stream = stream_of("123" + bytes, 3);
  ExifInfo2 record{};
  const int result = parse(stream.get(), breed, &record);
  return outcome(result, record) + " @" + std::to_string(std::ftell(stream.get()));
}

// Bytes, a number that goes with them, and what shall come of both.
using Row = std::tuple<Bytes, int, std::string>;

void check(const std::vector<Row>& rows, auto act) {
  for (const auto& [in, number, expected] : rows) EXPECT_EQ(act(in, number), expected) << testing::PrintToString(in);
}

// ---- Numbers, directories, containers -----------------------------------------------------------

TEST(Reader, NumbersInBothOrdersAndBehindTheEnd) {
  // clang-format off
  const std::tuple<Bytes, int, unsigned, int, unsigned> rows[] = {
      {"\x12\x34\x56\x78", 0x3412, 0x78563412, 0x1234, 0x12345678},
      {"\x80\0\0\1"s, 0x80, 0x1000080, 0x8000, 0x80000001}, {"", 0xFFFF, 0xFEFEFEFF, 0xFFFF, 0xFEFEFEFF},
      {"\x12\x34\x56", 0x3412, 0xFF563412, 0x1234, 0x123455FF}, {"\x12", 0xFF12, 0xFEFEFF12, 0x12FF, 0x11FEFEFF}};
  // clang-format on
  for (const auto& [in, le16, le32, be16, be32] : rows) {
    EXPECT_EQ(fgetmi2(stream_of(in).get(), CELUMBRANT_LITTLE_ENDIAN), le16) << in;
    EXPECT_EQ(static_cast<unsigned>(fgetmi4(stream_of(in).get(), CELUMBRANT_LITTLE_ENDIAN)), le32) << in;
    EXPECT_EQ(fgetmi2(stream_of(in).get(), CELUMBRANT_BIG_ENDIAN), be16) << in;
    EXPECT_EQ(static_cast<unsigned>(fgetmi4(stream_of(in).get(), 0)), be32) << in;
    EXPECT_EQ(fgetm2(stream_of(in).get()), be16) << in;
    EXPECT_EQ(static_cast<unsigned>(fgetm4(stream_of(in).get())), be32) << in;
  }
}

const Bytes kSoi = "\xFF\xD8";
const Bytes kScan = "\xFF\xDA" + Bytes(40, '\0');

using ParseDirectory = int (*)(FILE*, int, short, int, ExifInfo2*);

// Reads directories that an entry names, or first ones where the tag is 0: in TIFF files where they
// lie at many distances, so that values and entries cross any buffer's ends, in a JPEG file, and by
// themselves, from a stream and behind other bytes.
void check_directories(int tag, ParseDirectory parse, const std::vector<std::tuple<Directory, std::string>>& rows) {
  for (const Order order : {Order::kLittle, Order::kBig}) {
    for (const auto& [directory, expected] : rows) {
      const Directory first = tag == 0 ? directory : Directory().directory(tag, directory);
      for (const std::size_t gap : {0U, 16340U, 16343U, 16352U, 16360U, 32700U, 40000U}) {
        EXPECT_EQ(read(tiff(order, {first}, gap), CELUMBRANT_IMAGE_TIFF), expected);
      }
      EXPECT_EQ(read(kSoi + exif(tiff(order, {first})) + kScan, CELUMBRANT_IMAGE_JPEG), expected);
      if (parse == nullptr) continue;
      Bytes alone = "header!!";
      const auto link = static_cast<long>(directory.append_to(alone, order));
      const auto stream = stream_of("12345" + alone, 5 + 8);
      ExifInfo2 record{};
      EXPECT_EQ(outcome(parse(stream.get(), 1, static_cast<short>(order), 5, &record), record), expected);
      EXPECT_EQ(std::ftell(stream.get()), 5 + link);
    }
  }
}

TEST(Reader, Directories) {
  using D = Directory;
  // clang-format off
  check_directories(34665, parse_exif_data, {
      {D().rationals(33434, {1, 250}).rationals(33437, {28, 10}).shorts(34855, {400}).shorts(41488, {3})
          .text(36867, "2015:06:01 12:30:45\0"s).rationals(37377, {8, 1}).rationals(37378, {297, 100})
          .rationals(37386, {355, 10}).rationals(41486, {-2001, 4}).rationals(41493, {1000, 10}).shorts(41989, {52}),
       "1 exposure=0.00400000019 aperture=2.79999995 iso=400 focalLength=35.5 focal35=52 fpxRes=-500.25 fpUnit=3 "
       "date_time='2015:06:01 12:30:45'"},
      // The shutter speed in place of the exposure time, as an APEX value other than 0.
      {D().rationals(37377, {-1, 1}), "1 exposure=2"}, {D().rationals(37377, {3, -1}), "1 exposure=8"},
      {D().rationals(37377, {3, 0}), "1 exposure=0.125"}, {D().rationals(37377, {0, 1}), "1"},
      {D().rationals(33434, {1, -5}).rationals(37377, {1, 1}), "1 exposure=0.5"},
      // The f-number and the values in its place.
      {D().rationals(37378, {297, 100}).rationals(37381, {4, 1}), "1 aperture=2.97000003"},
      {D().rationals(33437, {0, 0}).rationals(37381, {4, 1}), "1 aperture=4"},
      // ISO speeds of all shapes, and the index in their place.
      {D().shorts(34855, {400, 9}), "1 iso=400"}, {D().field(34855, 3, 3, 77777), "1 iso=77777"},
      {D().field(34855, 4, 1, 102400), "1 iso=102400"}, {D().rationals(41493, {-7, 2}), "1 iso=-3"},
      {D().rationals(41493, {7, 0}), "1 iso=7"}, {D().rationals(41493, {7, -2}), "1 iso=7"},
      {D().text(36867, "2015:06\n12:30:45"), "1 date_time='2015:06\n'"},
      {D().text(36867, "2015:06:01 12:30:45.678"), "1 date_time='2015:06:01 12:30:45'"}});
  check_directories(34853, parse_gps_data, {
      {D().bytes(0, 1, 4, "\2\3\0\0"s).text(1, "S\0"s).rationals(2, {48, 1, 51, 1, 2930, 100})
          .text(3, "W\0"s).rationals(4, {2, 1, 17, 1, 1782, 99}).bytes(5, 1, 1, "\1").rationals(6, {125, -10})
          .rationals(7, {10, 1, 20, 2, 30, 3}).shorts(8, {7}).text(29, "2015:06:01\0"s).shorts(30, {7}),
       "1 lat_ref=83 lat_val=48,1,51,1,2930,100, long_ref=87 long_val=2,1,17,1,1782,99, alt_ref=1 "
       "alt_val=125,-10, gps_timestamp=10,1,20,2,30,3, gps_datestamp='2015:06:01'"},
      {D().rationals(2, {1, 2, 3, 4}), "1 lat_val=1,2,3,4,0,0,"}, {D().field(4, 5, 0, 0).field(2, 5, -1, 0), "1"},
      {D().rationals(6, {1, 2, 3, 4}), "1 alt_val=1,2,"},
      {D().rationals(7, {1, 2, 3, 4, 5, 6, 7, 8}), "1 gps_timestamp=1,2,3,4,5,6,"},
      // A type SHORT does not make the field a value.
      {D().bytes(4, 3, 2, Bytes(16, '\1')), "1 long_val=16843009,16843009,16843009,16843009,0,0,"},
      {D().text(29, "2015:"), "1"}, {D().text(29, "2015:06:"), "1 gps_datestamp='2015:06'"},
      {D().text(29, "2015:06:01xxxxx"), "1 gps_datestamp='2015:06:01'"}});
  check_directories(0, nullptr, {
      {D().text(272, "A\0"s), "1 model='A'"}, {D().text(272, "AB\0"s), "1 model='AB  '"},
      {D().text(272, "ABC\0"s), "1 model='ABC '"}, {D().text(272, "Model\nX"), "1 model='Model\n'"},
      {D().text(272, "A long model").text(272, "ABC\0"s), "1 model='ABC '"},
      {D().text(272, Bytes(63, 'm')), "1 model='" + Bytes(62, 'm') + "'"}, {D().field(274, 4, 1, 6), "1"},
      {D().text(272, Bytes(64, 'm')), "1 model='" + Bytes(63, 'm') + "'"}, {D().shorts(274, {6}), "1 orientation=6"},
      // Values of 8 bytes or more, but not of 3; type 13 has 8, and 14, which there is not, has 1.
      {D().rationals(272, {0x4141, 1, 1, 1}), "1"}, {D().field(272, 13, 1, 0x41414141), "1"},
      {D().bytes(272, 14, 3, "AB"), "1 model='AB  '"}, {D().field(513, 4, 1, 70).field(514, 4, 1, 7), "1"},
      // Positions that count from the structure's start.
      {D().field(700, 1, 77, 1234), "1 embeddedXmp_len=77 embeddedXmp_offset=1234"},
      {D().field(33723, 4, 5, 30), "1 iptc_len=20 iptc_offset=30"}, {D().field(33723, 1, 21, 30), "1 iptc_offset=30"},
      {D().field(33723, 7, 21, 30), "1 iptc_len=21 iptc_offset=30"}});
  // clang-format on
}

TEST(Reader, ThreeDirectoriesAreReadAndNoneBehind255Entries) {
  const auto oriented = [](int value) { return Directory().shorts(274, {value}); };
  const auto thumbnail = Directory().field(513, 4, 1, 70).field(514, 4, 1, 7);
  EXPECT_EQ(read(tiff(Order::kBig, {oriented(1), oriented(2), oriented(3), oriented(4)}), 0), "1 orientation=3");
  EXPECT_EQ(read(kSoi + exif(tiff(Order::kBig, {oriented(1), thumbnail})) + kScan, 1),
            "1 thumb_datalen=7 thumb_offset=82 orientation=1");
  for (const int entries : {254, 255, 256}) {
    Directory first = oriented(1);
    for (int i = 1; i < entries; ++i) first.shorts(0xC000 + i, {i});
    EXPECT_EQ(read(tiff(Order::kBig, {first, oriented(2)}), 0), entries == 255 ? "1 orientation=1" : "1 orientation=2");
  }
}

const Bytes kTiff = tiff(Order::kBig, {Directory().shorts(274, {6})});
const Bytes kExif = exif(kTiff);
const Bytes kFiller = segment('\xE2', "filler");

TEST(Reader, ResultsAndMessages) {
  const std::string found = "1 orientation=6";
  const std::string lost = "-10 orientation=6";
  const std::string invalid = "-1invalid marker\n";
  const Bytes app13 = photoshop(resource(1, ""));
  const Bytes in_psd = resource(0x0422, kTiff);
  const Bytes pad = kSoi + kExif + xmp("<x/>") + photoshop("pad") + Bytes(8, '\0');
  const Bytes iptc = "8BIM\4\4\0\0"s + be(99, 4);
  const std::string iptc_place = " iptc_len=99 iptc_offset=" + std::to_string(pad.size() + 12);
  Bytes many = kSoi + kExif;
  for (int i = 0; i < 12; ++i) many += kFiller;
  const Bytes far_iptc = many + photoshop(resource(0x0404, "x"));
  const std::string far_place = " iptc_len=1 iptc_offset=" + std::to_string(many.size() + 30);
  // clang-format off
  check({
      {"", 0, "-2"}, {"IM*\0"s, 0, "-2"}, {"II\0*"s, 0, "-3"}, {kTiff, 0, found}, {kTiff, 77, found},
      // The first APP1 of a JPEG file.
      {"", 1, "-1"}, {"\xFF\xD9" + kExif, 1, "-1"}, {kSoi + kFiller, 1, "-2"}, {kSoi + kFiller + kScan, 1, "-2"},
      {kSoi + kFiller + "\xFF\xD9" + kExif, 1, "-2"}, {kSoi + "\xFF\xFF", 1, "-2"}, {kSoi + xmp("") + kExif, 1, "-2"},
      {kSoi + kFiller + kExif + kScan, 1, found}, {kSoi + segment('\xE2', "") + kExif + kScan, 1, found},
      {kSoi + "\xFF\xFF\xFF" + kExif, 1, lost}, {kSoi + "\xFF\xFF\xFF\xFF" + kExif, 1, "-1too many padding bytes\n"},
      {kSoi + kExif.substr(1), 1, lost}, {kSoi + "\xFF\xE2\0\1"s + kExif, 1, invalid},
      {kSoi + "\xFF\xE1\0\1"s + kScan, 1, invalid},
      // What follows it, and APP13, which is searched 16 bytes beyond its end.
      {kSoi + kExif, 1, lost}, {kSoi + kExif + "x" + kScan, 1, lost}, {kSoi + kExif + "\xFF\xE2\0\1"s, 1, invalid},
      {kSoi + app13 + kExif + Bytes(5, '\xFF'), 1, found}, {kSoi + app13 + kExif + "\xFF\xE1\0\1"s, 1, found},
      {kSoi + kExif + xmp("") + "\xFF\xED\0\1"s, 1, "-1 orientation=6invalid marker\n"},
      {pad + iptc, 1, found + iptc_place}, {pad + '\0' + iptc, 1, found},
      {far_iptc + kScan, 1, found + far_place}, {many + segment('\xED', "Photoshop 3.1\0"s + resource(0x0404, "x")) + kScan, 1, found},
      {"8BP", 2, "-1"}, {"8BPX" + Bytes(60, '\0'), 2, "-2"}, {psd(in_psd, 2), 2, "-3"}, {psd(in_psd, 4, 4), 2, "-3"},
      {psd(resource(1, "odd")), 2, "-1"}, {psd(resource(1, "odd") + in_psd), 2, found},
      {psd("8BIx" + in_psd), 2, "-1"}, {psd("8BIM\0\1\0\0\xFF\xFF\xFF\xF4"s + in_psd), 2, "-1"}}, read);
  // clang-format on
  ExifInfo2 record;
  EXPECT_EQ(getExifData("/nonexistent/file", 1, &record), -1);
}

TEST(Reader, XmpSegmentWithSettings) {
  for (const int method : {0, 1, 2, 3, 4, 10, 11, 13, 14, 15}) {
    std::vector<float> values(CBTM_SETTINGS_COUNT);
    def_param(method, values.data());
    Bytes packet(8192, ' ');
    packet.resize(static_cast<std::size_t>(embed_xmp(1, method, values.data(), 1, "50 mm", packet.data())));
    const bool reported = std::ranges::count(std::vector{1, 2, 3, 10, 11, 15}, method) == 1;
    Bytes segments = kExif;
    for (int fillers = 0; fillers <= 10; ++fillers, segments += kFiller) {
      // As many bytes as the segment's length are read, 31 of them behind it.
      Bytes file = kSoi + segments + "\xFF\xFF" + xmp(packet) + Bytes(30, '\0');
      EXPECT_EQ(read(file, 1), "-10 orientation=6");
      const std::string place = " embeddedXmp_len=" + std::to_string(packet.size() + 31) +
                                " embeddedXmp_offset=" + std::to_string(file.find("<x:xmpmeta"));
      const std::string found = (reported ? place : "") + " lens='50 mm'";
      EXPECT_EQ(read(file += '\0', 1), "-10 orientation=6" + (fillers < 10 ? found : "")) << method;
      EXPECT_EQ(read(file.replace(file.find("http:"), 1, "H"), 1), "-10 orientation=6") << "no XMP";
    }
  }
}

TEST(Reader, PhotoshopResources) {
  Bytes thumb_data;
  for (const std::size_t value : {1U, 160U, 120U, 480U, 57600U, 5000U, 0x180001U}) thumb_data += be(value, 4);
  const Bytes iptc = resource(0x0404, "my IPTC");
  const Bytes thumbnail = resource(0x040C, thumb_data + "JPEG");
  const std::string thumb = "5000 thumb_width=160 thumb_height=120 thumb_row=480 thumb_datalen=5000 ";
  // At the end of what is expected: where the stream stands.
  // clang-format off
  const std::vector<Row> rows = {
      {"8BIM\4\5\0\0"s, 8, "1 @11"}, {iptc, 19, "1 iptc_len=7 iptc_offset=15 @15"}, {iptc, -1, "-4 @3"},
      {iptc, 0, "1 @3"},
      {resource(0x0404, "my IPTC", "\1n"), 19, "1 @22"}, {thumbnail, 44, thumb + "thumb_offset=43 @43"},
      {resource(0x040C, thumb_data, "\1n"), 40, thumb + "thumb_offset=43 @43"},
      // The last of a kind decides, wherever it is found.
      {iptc + thumbnail + iptc, 500, thumb + "thumb_offset=63 iptc_len=7 iptc_offset=79 @79"},
      {resource(1, "x" + iptc), 100, "1 iptc_len=7 iptc_offset=28 @28"},
      // Cut by the count, not quite, and cut by the file.
      {iptc, 7, "1 @10"}, {"8BIM\4\4", INT_MAX, "1 iptc_len=-16843009 iptc_offset=11 @11"},
      {iptc, 8, "1 iptc_len=7 iptc_offset=15 @15"}, {iptc, INT_MAX, "1 iptc_len=7 iptc_offset=15 @15"}};
  // clang-format on
  check(rows, [](const Bytes& bytes, int breed) { return parsed(parse_photoshop_data, bytes, breed); });
  // Only a file read as TIFF has its resources looked at.
  const Bytes file = tiff(Order::kBig, {Directory().bytes(34377, 7, 20, iptc)});
  check({{file, CELUMBRANT_IMAGE_TIFF, "1 iptc_len=7 iptc_offset=38"}, {file, 5, "1"}}, read);
}

// ---- Blocks, texts, flat arrays -----------------------------------------------------------------

const std::string kSamples = CELUMBRANT_SAMPLES "/";

TEST(Reader, BlocksAreLoaded) {
  // clang-format off
  const std::tuple<int, int, std::string> blocks[] = {
      {5, 2, "5 !defg"}, {8, 2, "8 !defghij"}, {9, 2, "-1 !defghij"}, {10, 2, "0 "}, {0, 2, "0 "},
      {5, 1, "-2 b!def"}, {-1, 1, "0 "}, {5, -9, "0 "}, {5, -10, "-1 "}, {5, INT_MAX, "-2 "}};
  // A packet of 1066 bytes in a file of 1546.
  const int packets[][3] = {{1066, 165, 2}, {1545, 165, 2}, {60, 165, 0}, {1546, 165, 0}, {0, 165, 0}, {60, -1546, -1}};
  // clang-format on
  const std::string file = file_of("ab\x1C"s + "defghij");
  for (const auto& [length, offset, expected] : blocks) {
    std::vector<unsigned char> loaded(12);
    const int result = read_iptc(file.c_str(), length, offset, loaded.data());
    std::ranges::replace(loaded, '\x1C', '!');
    EXPECT_EQ(std::to_string(result) + ' ' + reinterpret_cast<const char*>(loaded.data()), expected) << offset;
  }
  EXPECT_EQ(read_iptc("/nonexistent/file", 5, 0, nullptr), -1);
  unsigned char folder[10] = {};
  EXPECT_LE(read_iptc("/", 10, 5, folder), 0);  // its length may be the largest number there is
  for (const auto& [length, offset, expected] : packets) {
    Bytes loaded(2000, '\0');
    EXPECT_EQ(extract_xmp((kSamples + "settings.jpg").c_str(), length, offset, loaded.data()), expected) << length;
  }
}

TEST(Reader, ImageDescription) {
  const Bytes seven = "a, b, c, d, e, f, g, ";
  // clang-format off
  const std::vector<Row> rows = {
      {seven + "1/250s, R40, G45, B50", 42, "50 camera=2 exposure=0.00400000019 iso=400 @45"},
      {seven + "1/250s, B50, R40, G45", 42, "50 @45"}, {seven + "1/250s, R40, G45", 37, "45 @40"},
      {seven + "1/250s, R40, B50", 37, "50 @40"}, {seven + "1/99999s, R0, G0, B1", 41, "1 exposure=1.00000998e-05 iso=200 @44"},
      {seven + "0.5/2s, R10, G29, B49.7", 44, "49 camera=2 exposure=2.5 iso=200 @47"},
      {seven + "x/256 s, R90, G90, B90", 43, "90 camera=2 exposure=0.28125 iso=1600 @46"},
      {seven + "1/250s, R99999, G0, B0", 43, "0 exposure=0.00400000019 iso=2147483647 @46"},
      {seven + "1/250s, R40, G45, B1234567", 47, "45 @50"},
      {seven + "1234567/2s, R40, G45, B50", 46, "0 @49"}, {seven + "1/250s, R-9, G45, B50", 42, "50 @45"},
      {seven + "1/250s, R40, G45, x, B50", 45, "45 @48"}, {seven + "1/250s, R40, G45\0, B50"s, 43, "45 @46"},
      {"1/250s, R40, G45, B50", 21, "0 @24"}, {seven + "2s, R40, G45, B500", 38, "50 iso=400 @41"},
      {"text", 0, "-1 @3"}, {"text", -1, "-1 @3"}, {"text", 5, "-1 @7"}, {"text", INT_MAX, "-1 @7"}};
  // clang-format on
  check(rows, [](const Bytes& text, int breed) { return parsed(parse_image_description, text, breed); });
}

TEST(Reader, ProfileName) {
  const auto described = [](const Bytes& text, int length, const Bytes& behind = Bytes(40, '-')) {
    return Bytes(36, 'h') + "desc\0\0\1\0desc\0\0\0\0\0\0\0"s + static_cast<char>(length) + text + behind;
  };
  // clang-format off
  const std::vector<Row> rows = {
      {described("sRGB IEC61966-2.1", 18), 4, "sRGB"}, {described("The Adobe RGB (1998)", 21), 9, "Adobe RGB"},
      {described("ProPhoto RGB", 200), 12, "ProPhoto RGB"}, {described("abcsRGB", 4), 4, "sRGB"},
      {described("abcsRGB", 3), 32, "abcsRGB" + Bytes(25, '-')}, {described("P3\0"s, 3), 32, "P3\0"s + Bytes(29, '-')},
      // At the end of a profile.
      {described("Display", 8, ""), 32, "Display"}, {described("ABC Adobe RG", 200, ""), 32, "ABC Adobe RG"},
      {described("Adobe RGB", 200, ""), 9, "Adobe RGB"}, {described("sRGB", 4, ""), -1, ""},
      {described("sRGB", 4, "-"), 4, "sRGB"},
      // In the first 32 bytes, and of another type.
      {described("sRGB", 4).substr(13), -1, ""}, {Bytes(64, 'h') + "mluc" + Bytes(32, '\0'), -1, ""}, {"", -1, ""}};
  // clang-format on
  for (const auto& [input, result, expected] : rows) {
    // Of exactly its size, so that a sanitizer sees any byte read beyond it.
    const std::vector<unsigned char> profile(input.begin(), input.end());
    Bytes name(34, '#');
    EXPECT_EQ(get_profile_name(static_cast<int>(profile.size()), profile.data(), &name[1]), result);
    EXPECT_EQ(name, "#" + (expected + Bytes(32, '\0')).substr(0, 32) + "#");
  }
}

TEST(FlatArrays, SlotsAndFractions) {
  // clang-format off
  ExifInfo2 r{2, 2.5F, 8.0F, 400, 0, 0.5F, 52, 3954.25F, 3, "", "", 0, 0, 0, 101, 102, 6, 103, 104,
              'S', {200, 201, 202, 203, 204, 205}, 'W', {206, 207, 208, 209, 210, 211}, 1, {212, 213},
              {214, 215, 216, 217, 218, 219}, "", 105, 106, {}};
  constexpr int kKept = 0x23232323;
  const std::vector<int> numbers = {250, 100, 800, 100, kKept, 400, 2, kKept, kKept, kKept, 100, 200, 52, 395425, 100,
                                    3, 102, 101, 104, 103, 6, 106, 105};
  // Cut and not rounded, saturated, or left as they were.
  const std::tuple<float, int, int> fractions[] = {
      {1.0F, 100, 100}, {0.5F, 100, 200}, {0.004F, 100, 24999}, {0.008F, 100, 12499}, {2.8F, 279, 100}, {0.0F, -1, -1},
      {-2.0F, -1, -1}, {NAN, -1, -1}, {3e7F, INT_MAX, 100}, {INFINITY, INT_MAX, 100}, {1e-30F, 100, INT_MAX}};
  // clang-format on
  std::ranges::fill(r.model, 'm');
  std::ranges::fill(r.date_time, 'd');
  std::ranges::fill(r.lens, 0x6C6C6C6C);
  std::ranges::fill(r.gps_datestamp, 'g');
  std::vector<int> exif(62, kKept), gps(26, kKept);
  EXPECT_EQ(metadataBufFromExifInfo(&r, exif.data(), gps.data()), 250);
  EXPECT_EQ(std::vector<int>(exif.begin(), exif.begin() + 23), numbers);
  EXPECT_EQ(Bytes(reinterpret_cast<const char*>(&exif[23]), 156),
            Bytes(64, 'm') + Bytes(20, 'd') + Bytes(64, 'l') + "########");
  for (std::size_t i = 0; i < 20; ++i) EXPECT_EQ(gps[i], 200 + static_cast<int>(i));
  EXPECT_EQ(Bytes(reinterpret_cast<const char*>(&gps[20]), 24), "SW\1#ggggggggggg#########");

  for (const auto& [value, numerator, denominator] : fractions) {
    r.exposure = value;
    exif[0] = exif[1] = -1;
    EXPECT_EQ(metadataBufFromExifInfo(&r, exif.data(), gps.data()), numerator) << value;
    EXPECT_EQ(exif[1], denominator) << value;
  }
  EXPECT_EQ(get_exif_data((kSamples + "big_endian.jpg").c_str(), 1, exif.data(), gps.data()), 100);
  EXPECT_EQ(std::pair(exif[CELUMBRANT_EXIF_IPTC_LEN], gps[CELUMBRANT_GPS_LONGITUDE]), std::pair(30, 151));
}

// ---- Pictures of other programs, and hostile ones -----------------------------------------------

TEST(Samples, Records) {
  // clang-format off
  const std::string camera = "1 exposure=0.00400000019 aperture=2.79999995 iso=400 focalLength=35 focal35=52 "
                             "fpxRes=2000 fpUnit=3 model='Model Q-7' date_time='2015:06:01 12:30:45' ";
  const std::string thumb = camera + "thumb_width=12 thumb_height=8 thumb_row=36 thumb_datalen=312 thumb_offset=";
  const std::string place = "lat_ref=83 lat_val=33,1,51,1,152649,6250, long_ref=69 long_val=151,1,12,1,20210,367, "
                            "alt_ref=1 alt_val=25,2, gps_timestamp=10,1,20,1,30,1, gps_datestamp='2015:06:01'";
  const std::vector<Row> rows = {
      {"exif.psd", 2, camera + "orientation=6 " + place},
      {"big_endian.jpg", 1,
       thumb + "1098 orientation=6 iptc_len=30 iptc_offset=1028 " + place + " lens='35mm f/2 Sample'"},
      {"resources.tif", 0, thumb + "3290 orientation=6 iptc_len=20 iptc_offset=3230 " + place +
                           " embeddedXmp_len=2853 embeddedXmp_offset=376"},
      {"settings.jpg", 1,
       "1 exposure=2.5 aperture=2.97000003 iso=100 model='LE-12' embeddedXmp_len=1097 embeddedXmp_offset=165"}};
  // clang-format on
  check(rows, [](const std::string& name, int image_type) { return read(read_file(kSamples + name), image_type); });
}

// Blocks and values lie across the ends of what is read of a file at once.
TEST(Samples, AreReadWhereverTheyLie) {
  for (const std::string name : {"big_endian.jpg", "settings.jpg"}) {
    const Bytes sample = read_file(kSamples + name);
    ExifInfo2 record{}, moved{};
    EXPECT_EQ(getExifData((kSamples + name).c_str(), CELUMBRANT_IMAGE_JPEG, &record), 1);
    for (int bytes = 4; bytes < 33000; bytes += 211) {
      const Bytes before = kSoi + segment('\xE2', Bytes(static_cast<std::size_t>(bytes - 4), 'f'));
      EXPECT_EQ(getExifData(file_of(before + sample.substr(2)).c_str(), CELUMBRANT_IMAGE_JPEG, &moved), 1);
      for (int* const offset : {&moved.thumb_offset, &moved.iptc_offset, &moved.embeddedXmp_offset}) {
        if (*offset > 0) *offset -= bytes;
      }
      EXPECT_EQ(std::memcmp(&moved, &record, sizeof record), 0) << name << bytes;
    }
  }
}

// Each of these describes hours of work, or gigabytes, in less than a MiB.
TEST(Hostile, WorkIsBounded) {
  constexpr int kSize = 1 << 20;
  const auto many = [](int entries, int tag, int count, int step, int start) {
    Directory directory;
    for (int i = 0; i < entries; ++i) directory.field(tag, 4, count, start + i * step % kSize);
    return directory;
  };
  Bytes nested = tiff(Order::kLittle, {many(21000, 34665, 1, 0, 8 + 21000 * 12 + 6)});
  many(60000, 36867, 20, 32458, 0).append_to(nested, Order::kLittle);
  const Bytes resources = tiff(Order::kBig, {many(65000, 34377, INT_MAX, 0, 8)});
  for (Bytes bytes : {nested, resources, tiff(Order::kBig, {many(65000, 34377, 65535, 32458, INT_MAX / 2)})}) {
    bytes.resize(kSize, '8');
    const std::clock_t start = std::clock();  // of the processor: other programs do not count
    EXPECT_EQ(read(bytes, CELUMBRANT_IMAGE_TIFF).substr(0, 1), "1");
    EXPECT_LT(std::clock() - start, 4 * CLOCKS_PER_SEC);
  }
}

}  // namespace
