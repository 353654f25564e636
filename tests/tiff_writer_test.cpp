// SPDX-License-Identifier: MIT
//
// Saved pictures: every byte of the layout, every kind of pixel, what is refused, and what others read.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <thread>
#include <vector>

#include "pixel_rows.h"
#include "support/flat_arrays.h"
#include "support/programs.h"

namespace {

// A picture and all that is saved with it.
struct Save {
  std::array<int, CELUMBRANT_DIM_ENTRIES> dim{3, 2, 3, 8, 300, -1, 0, 0, -1, -1, 1};
  int bpr = 9;
  std::string pixels = "abcdefghijklmnopqr";
  Arrays arrays{};
  std::string profile{}, iptc{}, xmp{};
  std::optional<int> iptc_len{}, xmp_len{};  // where they are not the sizes
  int method = 0;
  std::array<float, CBTM_SETTINGS_COUNT> settings{};

  bool is16to8() const { return dim[CELUMBRANT_DIM_16_TO_8] == 1; }
  int sample_bytes() const {  // in the buffer
    const int depth = dim[CELUMBRANT_DIM_DEPTH];
    return is16to8() || depth == CELUMBRANT_DEPTH_HALF ? 2 : depth / 8;
  }
  int to(const std::string& name) {
    const auto bytes = [](const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); };
    if (!profile.empty()) dim[CELUMBRANT_DIM_PROFILE_LEN] = static_cast<int>(profile.size());
    return buf2tif(bytes(pixels), dim.data(), bpr, bytes(profile), arrays.exif.data(), arrays.gps.data(),
                   iptc_len.value_or(static_cast<int>(iptc.size())), bytes(iptc), method, settings.data(),
                   xmp_len.value_or(static_cast<int>(xmp.size())), xmp.data(), name.c_str());
  }
  std::string file(int expected) {
    const std::string name = temporary("saved.tif");
    EXPECT_EQ(to(name), expected);
    return read_file(name);
  }
};

// Random pixels of a kind, in rows with `padding` samples behind each.
Save picture_of(int width, int height, int samples, int depth, bool is16to8, int padding) {
  Save save;
  save.dim = {width, height, samples, depth, 72, 0, 0, is16to8 ? 1 : 0, 0, 0, 1};
  const int row_samples = width * samples + padding;
  save.bpr = row_samples * (is16to8 ? 1 : save.sample_bytes());
  save.pixels.resize(static_cast<std::size_t>(row_samples * save.sample_bytes() * height));
  std::mt19937 random(static_cast<unsigned>(width + samples + depth));
  for (char& byte : save.pixels) byte = static_cast<char>(random() % 0x7A);  // no float that is none
  return save;
}

// The strip, byte by byte.
std::string strip_of(const Save& save) {
  const int bytes = save.sample_bytes(), samples = save.dim[CELUMBRANT_DIM_SAMPLES];
  std::string strip;
  for (int y = 0; y < save.dim[CELUMBRANT_DIM_HEIGHT]; ++y) {
    const int row = y * save.bpr * (save.is16to8() ? 2 : 1);
    for (int i = 0; i < save.dim[CELUMBRANT_DIM_WIDTH] * samples * bytes; ++i) {
      const bool is_colour = i / bytes % samples < (samples > 2 ? 3 : 1);
      if (is_colour && (!save.is16to8() || i % 2 == 1)) strip += save.pixels[static_cast<std::size_t>(row + i)];
    }
  }
  return strip;
}

std::string short_entry(int tag, unsigned long value) {
  return entry(tag, 3, 1, le(value, 4));
}

// A packet of default settings.
std::string packet_of(int method, const char* lens = nullptr) {
  const std::array<float, CBTM_SETTINGS_COUNT> settings{};
  const int lens_length = lens != nullptr ? 1 : 0;
  std::string packet(static_cast<std::size_t>(embed_xmp(0, method, settings.data(), lens_length, lens, nullptr)), '\0');
  embed_xmp(1, method, settings.data(), lens_length, lens, packet.data());
  return packet;
}

TEST(SavedPicture, HasNoByteMoreThanItsLayout) {
  const std::string expected =
      "II*\0"s + le(26, 4) + "abcdefghijklmnopqr" + le(14, 2) + short_entry(256, 3) + short_entry(257, 2) +
      entry(258, 3, 3, le(200, 4)) + short_entry(259, 1) + short_entry(262, 2) + entry(273, 4, 1, le(8, 4)) +
      short_entry(274, 1) + short_entry(277, 3) + short_entry(278, 2) + entry(279, 4, 1, le(18, 4)) +
      entry(282, 5, 1, le(206, 4)) + entry(283, 5, 1, le(214, 4)) + short_entry(284, 1) + short_entry(296, 2) +
      le(0, 4) + le(8, 2) + le(8, 2) + le(8, 2) + le(300000, 4) + le(1000, 4) + le(300000, 4) + le(1000, 4);
  Save save;
  EXPECT_EQ(save.file(2), expected);
  save.dim[CELUMBRANT_DIM_ORIENTATION] = 9;
  EXPECT_EQ(save.file(2), expected);
  save.dim[CELUMBRANT_DIM_HEIGHT] = 0;
  EXPECT_EQ(save.file(0).substr(0, 10), "II*\0"s + le(8, 4) + le(14, 2));
}

std::size_t number_at(const std::string& file, std::size_t at, std::size_t bytes) {
  std::size_t value = 0;
  for (std::size_t i = bytes; i-- > 0;) value = value << 8 | static_cast<unsigned char>(file.at(at + i));
  return value;
}

// The entries of a directory, each with the bytes that it refers to; and where those end.
struct Entries {
  std::map<int, std::string> values;  // type and count, then the bytes
  std::size_t end = 0;
};

Entries entries_at(const std::string& file, std::size_t offset) {
  Entries entries;
  const std::size_t end = offset + 2 + 12 * number_at(file, offset, 2);
  int last_tag = -1;
  for (std::size_t at = offset + 2; at < end; at += 12) {
    const int tag = static_cast<int>(number_at(file, at, 2));
    EXPECT_GT(tag, last_tag) << "entries stand in ascending order";
    last_tag = tag;
    const std::size_t type = number_at(file, at + 2, 2), count = number_at(file, at + 4, 4);
    const std::size_t bytes = static_cast<std::size_t>("01124811248"[type] - '0') * count;
    const std::size_t value = bytes <= 4 ? at + 8 : number_at(file, at + 8, 4);
    entries.values[tag] = std::to_string(type) + "x" + std::to_string(count) + ":" + file.substr(value, bytes);
    entries.end = std::max(entries.end, value + bytes);
  }
  EXPECT_EQ(number_at(file, end, 4), 0U);
  return entries;
}

// The directory that an entry names, whose value is one LONG.
Entries directory_of(const std::string& file, const Entries& entries, int tag) {
  return entries_at(file, number_at(entries.values.at(tag), 4, 4));
}

// SHORTs that are all the same, as an entry's values.
std::string shorts(int count, int value) {
  std::string text = "3x" + std::to_string(count) + ":";
  for (int i = 0; i < count; ++i) text += le(static_cast<unsigned long>(value), 2);
  return text;
}

Save everything() {
  Save save = picture_of(5, 3, 4, 32, false, 2);
  save.arrays = Arrays::of_photo().with_position().gps_bytes(82, "\1").exif_text(CELUMBRANT_EXIF_LENS, "50 mm");
  save.arrays.gps_slots(12, {3, 3, 3, 3, 3, 3, 3, 3});
  save.profile = icc_profile("a profile");
  save.iptc = "\x1C\2\x19\0\3sea"s + "\x1C";
  save.method = CBTM_UNIFORM;
  return save;
}

TEST(SavedPicture, RefersToEveryBlock) {
  Save save = everything();
  const std::string file = save.file(3);
  const Entries entries = entries_at(file, 8 + 5 * 3 * 3 * 4);
  const std::string packet = packet_of(14, "50 mm");
  const std::string dpi = "5x1:" + le(72000, 4) + le(1000, 4);
  // clang-format off
  const std::map<int, std::string> expected = {
      {256, shorts(1, 5)}, {257, shorts(1, 3)}, {258, shorts(3, 32)}, {259, shorts(1, 1)}, {262, shorts(1, 2)},
      {271, "2x6:Canon\0"s}, {272, "2x13:Canon EOS 5D\0"s}, {273, "4x1:" + le(8, 4)}, {274, shorts(1, 1)},
      {277, shorts(1, 3)}, {278, shorts(1, 3)}, {279, "4x1:" + le(180, 4)}, {282, dpi}, {283, dpi},
      {284, shorts(1, 1)}, {296, shorts(1, 2)}, {305, "2x31:Celumbrant Merge To 32-bit HDR\0"s}, {339, shorts(3, 3)},
      {700, "1x" + std::to_string(packet.size() + 1) + ":" + packet + " "}, {33723, "4x3:" + save.iptc + "\0\0\0"s},
      {34665, entries.values.at(34665)}, {34675, "7x" + std::to_string(save.profile.size()) + ":" + save.profile},
      {34853, entries.values.at(34853)}};
  // clang-format on
  EXPECT_EQ(entries.values, expected);
  // The sub-directories are those of the EXIF block, and the file ends where the last value does.
  const Entries exif = directory_of(file, entries, 34665), gps = directory_of(file, entries, 34853);
  EXPECT_EQ(exif.values.size(), 5U);
  EXPECT_EQ(exif.end, number_at(entries.values.at(34853), 4, 4));
  EXPECT_EQ(gps.values.size(), 9U);
  EXPECT_EQ(gps.end, file.size());
  EXPECT_EQ(exif.values.at(37386), "5x1:" + le(5000, 4) + le(100, 4));
  EXPECT_EQ(gps.values.at(29), "2x11:2015:06:01\0"s);
}

TEST(SavedPicture, KeepsShortValuesInTheirEntries) {
  Save save;
  save.arrays.exif_text(CELUMBRANT_EXIF_MODEL, "X1").exif_text(CELUMBRANT_EXIF_DATE_TIME, "now");
  save.profile = "icc";
  save.iptc = "\x1C\2";
  save.xmp = "<a>\0"s;
  const std::string file = save.file(2);
  const Entries entries = entries_at(file, 26);
  EXPECT_EQ(entries.values.at(272), "2x3:X1\0"s);
  EXPECT_EQ(entries.values.at(700), "1x3:<a>");
  EXPECT_EQ(entries.values.at(33723), "4x1:\x1C\2\0\0"s);
  EXPECT_EQ(entries.values.at(34675), "7x3:icc");
  EXPECT_EQ(directory_of(file, entries, 34665).values.at(36867), "2x4:now\0"s);
  EXPECT_EQ(file.size(), 222U + 5 * 12 + 3 + 3 + 3 + 4 + 18 + 4);
}

constexpr std::tuple<int, bool> kKinds[] = {{8, false}, {8, true}, {16, false}, {32, false}, {3216, false}};

// Every way to convert a row, with bytes behind it that must be left alone.
TEST(PixelRows, AreWhatALoopMakesOfThem) {
  for (const int width : {1, 2, 3, 5, 8, 15, 16, 17, 33, 1023, 1024, 1025, 2050}) {
    for (int kind = 0; kind < 16; ++kind) {
      const auto [depth, is16to8] = kKinds[kind % 4];
      const Save save = picture_of(width, 1, kind / 4 + 1, depth, is16to8, 0);
      const celumbrant::RowFormat row{std::size_t(width), kind / 4 + 1, kind < 8 ? 1 : 3, depth / 8, is16to8};
      for (const auto& convert : {celumbrant::rows::convert_portable, celumbrant::convert_row}) {
        std::string out(row.bytes_out() + 16, '#');
        convert(reinterpret_cast<const unsigned char*>(save.pixels.data()), row,
                reinterpret_cast<unsigned char*>(out.data()));
        EXPECT_EQ(out, strip_of(save) + std::string(16, '#')) << width << " pixels of kind " << kind;
      }
    }
  }
}

TEST(SavedPicture, HoldsAndDescribesPixelsOfEveryKind) {
  for (const auto& [depth, is16to8] : kKinds) {
    for (int kind = 0; kind < 8; ++kind) {
      Save save = picture_of(77, 3, kind / 2 + 1, depth, is16to8, kind % 2 * 3);
      save.dim[CELUMBRANT_DIM_ORIENTATION] = kind + 1;
      const std::string strip = strip_of(save), file = save.file(3);
      EXPECT_EQ(file.substr(8, strip.size()), strip) << depth << " " << is16to8 << " " << kind;
      auto values = entries_at(file, 8 + strip.size()).values;
      const int samples = kind < 4 ? 1 : 3;
      EXPECT_EQ(values[258], shorts(samples, depth == 3216 ? 16 : depth));
      EXPECT_EQ(values[262] + values[274], shorts(1, kind < 4 ? 1 : 2) + shorts(1, kind + 1));
      EXPECT_EQ(values[277] + values[339], shorts(1, samples) + (depth > 16 ? shorts(3, 3) : ""));
    }
  }
  // The rows of the last write: of several, and of one for each row. Sizes that a SHORT holds, and larger ones.
  for (const auto& [width, height, samples, is16to8, last] : {std::tuple(50000, 7, 3, false, 1),
                                                              {50000, 7, 4, false, 2},
                                                              {50000, 7, 4, true, 2},
                                                              {400000, 2, 3, false, 1},
                                                              {65535, 1, 1, false, 1},
                                                              {65536, 1, 1, false, 1},
                                                              {1, 65535, 1, false, 65535},
                                                              {1, 65536, 1, false, 65536}}) {
    Save save = picture_of(width, height, samples, 8, is16to8, height == 7);
    const std::string strip = strip_of(save), file = save.file(last);
    EXPECT_EQ(file.compare(8, strip.size(), strip), 0) << samples << is16to8;
    auto values = entries_at(file, 8 + strip.size()).values;
    const auto size = [](int pixels) {
      return pixels > 65535 ? "4x1:" + le(static_cast<unsigned long>(pixels), 4) : shorts(1, pixels);
    };
    EXPECT_EQ(values[256] + values[257] + values[278], size(width) + size(height) + size(height));
  }
}

TEST(SavedPicture, TakesTheRightPacket) {
  const std::string foreign = "<x:xmpmeta>a host's own</x:xmpmeta>";
  const std::string made = packet_of(2) + " ", nul(1, '\0');
  // What the caller has, the method to write, whether there is a lens name, and what is in the file.
  // clang-format off
  const std::tuple<const char*, std::string, int, bool, std::string> rows[] = {
      {"none", "", 0, false, ""}, {"own, with NUL", foreign + nul, 0, true, foreign},
      {"own, without NUL", foreign, 0, true, foreign},
      {"own, without NUL and method -1", foreign, -1, true, foreign.substr(0, foreign.size() - 1)},
      {"a NUL alone", nul, 0, true, ""}, {"settings", "", 2, false, made},
      {"own, replaced by settings", foreign + nul, 2, false, made},
      {"settings of 10 stay", packet_of(10) + nul, 2, true, packet_of(10)},
      {"settings of 4 stay when none are written", packet_of(4) + nul, 0, false, packet_of(4)},
      {"without its NUL not even settings count", packet_of(10), 2, false, made},
      {"a lens name of 64 bytes alone", "", 0, true, packet_of(0, std::string(63, 'L').c_str()) + " "},
  };
  // clang-format on
  for (const auto& [what, xmp, method, with_lens, expected] : rows) {
    Save save;
    save.xmp = xmp;
    save.method = method;
    if (with_lens) save.arrays.exif_text(CELUMBRANT_EXIF_LENS, std::string(64, 'L'));
    const std::string value = "1x" + std::to_string(expected.size()) + ":" + expected;
    EXPECT_EQ(entries_at(save.file(2), 26).values[700], expected.empty() ? "" : value) << what;
  }
  for (int held = 1; held <= 15; ++held) {  // which settings stay when others are to be written
    Save save;
    save.xmp = packet_of(held) + nul;
    save.method = CBTM_LIGHT_LEVELER;
    const bool stays = (held <= 3) || held == 10 || held == 11 || held == 15;
    EXPECT_EQ(entries_at(save.file(2), 26).values.at(700).ends_with(" "), !stays) << held;
  }
}

TEST(SavedPicture, LeavesOutProfilesThatAreNotRgb) {
  for (const auto& [profile, there] : {std::pair("RGB !", true), {"GRAY!", false}, {"CMYK!", false}, {"GRAY", true}}) {
    Save save;
    save.profile = std::string(16, 'p') + profile;  // 20 bytes do not tell
    EXPECT_EQ(entries_at(save.file(2), 26).values.contains(34675), there) << profile;
  }
}

TEST(SavedPicture, IsRefusedBeforeAFileIsTouched) {
  const std::string name = temporary("refused.tif");
  std::filesystem::remove(name);
  // Numbers of the description. The last two reach 4 GiB: with the strip, and with the directory behind it.
  // clang-format off
  const std::vector<std::pair<std::size_t, int>> changes[] = {
      {{0, 0}}, {{0, -1}}, {{1, -1}}, {{2, 0}}, {{2, 5}}, {{3, 12}}, {{6, -1}}, {{7, 2}}, {{7, -1}}, {{3, 16}, {7, 1}},
      {{0, INT_MAX}, {1, INT_MAX}}, {{0, 37838}, {1, 37838}}, {{0, 65535}, {1, 65537}, {2, 1}}};
  // clang-format on
  for (const auto& change : changes) {
    Save save;
    for (const auto& [index, value] : change) save.dim[index] = value;
    EXPECT_EQ(save.to(name), -5) << change[0].first << " " << change[0].second;
  }
  Save save;
  save.iptc_len = -1;
  EXPECT_EQ(save.to(name), -5);
  EXPECT_FALSE(std::filesystem::exists(name));
  save.iptc_len = 0;
  save.xmp_len = -9;  // counts as none
  EXPECT_EQ(save.to(name), 2);
  testing::internal::CaptureStderr();
  EXPECT_EQ(save.to(temporary("no/such/file")), -1);
  EXPECT_EQ(save.to(testing::TempDir()), -1);
  const std::string message = "Could not open for writing file:  ";
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            message + temporary("no/such/file") + "\n" + message + testing::TempDir() + "\n");
}

TEST(SavedPicture, GoesToAPipe) {
  Save save = everything();
  const std::string name = temporary("pipe");
  std::filesystem::remove(name);
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  std::string received;
  std::thread reader([&] { received = read_file(name); });
  EXPECT_EQ(save.to(name), 3);
  reader.join();
  EXPECT_EQ(received, save.file(3));
}

// ---- Other readers -----------------------------------------------------------------------------

TEST(OtherReaders, ReadASavedPicture) {
  const std::string name = temporary("saved.tif");
  for (const int depth : {8, 16, 32, 3216}) {
    for (const int samples : {1, 3}) {
      SCOPED_TRACE(testing::Message() << depth << " " << samples);
      Save save = picture_of(33, 21, samples, depth, false, 2);
      save.arrays = Arrays::of_photo("PENTAX K-3").with_position().exif_text(CELUMBRANT_EXIF_LENS, "50 mm");
      save.profile = icc_profile("the first profile");
      save.iptc = data_set(2, 0, "\0\2"s) + data_set(2, 25, "harbour");
      save.method = CBTM_BRILLIANCE_REFINER;
      ASSERT_GE(save.to(name), 0);
      write_file(temporary("strip"), strip_of(save));
      const std::string second = icc_profile("the second profile");
      const auto* const profile = reinterpret_cast<const unsigned char*>(second.data());
      EXPECT_GT(update_tif_profile(static_cast<int>(second.size()), profile, name.c_str()), 0);

      EXPECT_EQ(output_of("tiffinfo " + name + " 2>&1 >/dev/null"), "");
      EXPECT_EQ(output_of("/usr/bin/python3 -c \"import tifffile; open('" + temporary("decoded") +
                          "', 'wb').write(tifffile.imread('" + name + "').tobytes())\" && cmp " + temporary("decoded") +
                          " " + temporary("strip")),
                "");
      const std::string shown = output_of("exiftool -n -s -a " + name);
      expect_shown(shown, {"Make *: PENTAX\n", "Model *: PENTAX K-3\n", "ExposureTime *: 0.0040001", "FNumber *: 8\n",
                           "ISO *: 100\n", "DateTimeOriginal *: 2015:06:01 12:00:00\n", "FocalLength *: 50\n",
                           "GPSLatitude *: 47.6083", "GPSLongitude *: -7.5876|GPSLongitude *: 7.5876",
                           "ProfileDescription *: the second profile\n", "Keywords *: harbour\n", "Lens *: 50 mm\n"});
    }
  }
}

}  // namespace
