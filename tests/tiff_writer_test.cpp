// SPDX-License-Identifier: MIT
//
// Saved pictures: every byte of the layout, every kind of pixel, what others read, and what is
// reported when something fails.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <thread>

#include "support/failing_memory.h"
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
  int method = 0;
  std::array<float, CBTM_SETTINGS_COUNT> settings{};

  int to(const std::string& name) {
    dim[CELUMBRANT_DIM_PROFILE_LEN] = static_cast<int>(profile.size());
    return buf2tif(reinterpret_cast<const unsigned char*>(pixels.data()), dim.data(), bpr,
                   reinterpret_cast<const unsigned char*>(profile.data()), arrays.exif.data(), arrays.gps.data(),
                   static_cast<int>(iptc.size()), reinterpret_cast<const unsigned char*>(iptc.data()), method,
                   settings.data(), static_cast<int>(xmp.size()), xmp.data(), name.c_str());
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
  const int bytes = is16to8 || depth == 16 || depth == 3216 ? 2 : depth / 8;
  const int row_samples = width * samples + padding;
  save.bpr = row_samples * (is16to8 ? 1 : bytes);
  save.pixels.resize(static_cast<std::size_t>(row_samples) * static_cast<std::size_t>(bytes * height));
  std::mt19937 random(static_cast<unsigned>(width + samples + depth));
  for (char& byte : save.pixels) byte = static_cast<char>(random() % 0x7A);  // no float that is none
  return save;
}

// The strip, sample by sample.
std::string strip_of(const Save& save) {
  const bool narrow = save.dim[7] == 1;
  const int bytes = narrow || save.dim[3] == 16 || save.dim[3] == 3216 ? 2 : save.dim[3] / 8;
  std::string strip;
  for (int y = 0; y < save.dim[1]; ++y) {
    for (int x = 0; x < save.dim[0]; ++x) {
      for (int sample = 0; sample < (save.dim[2] > 2 ? 3 : 1); ++sample) {
        const int at = y * save.bpr * (narrow ? 2 : 1) + (x * save.dim[2] + sample) * bytes;
        strip += save.pixels.substr(static_cast<std::size_t>(narrow ? at + 1 : at),
                                    narrow ? 1U : static_cast<std::size_t>(bytes));
      }
    }
  }
  return strip;
}

std::string short_entry(int tag, unsigned long value) {
  return entry(tag, 3, 1, le(value, 4));
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
  EXPECT_EQ(expected.size(), 222U);
  save.dim[CELUMBRANT_DIM_ORIENTATION] = 9;
  EXPECT_EQ(save.file(2), expected);
  save.dim[CELUMBRANT_DIM_HEIGHT] = 0;
  EXPECT_EQ(save.file(0).substr(0, 10), "II*\0"s + le(8, 4) + le(14, 2));
}

// The entries of a directory, each with the bytes that it refers to; and where those end.
struct Entries {
  std::map<int, std::string> values;  // type and count, then the bytes
  std::size_t end = 0;
};

Entries entries_at(const std::string& file, std::size_t offset) {
  const auto number = [&](std::size_t at, std::size_t bytes) {
    unsigned long value = 0;
    for (std::size_t i = bytes; i-- > 0;) value = value << 8 | static_cast<unsigned char>(file.at(at + i));
    return value;
  };
  Entries entries;
  const std::size_t count = number(offset, 2);
  int last_tag = -1;
  for (std::size_t at = offset + 2; at < offset + 2 + 12 * count; at += 12) {
    const int tag = static_cast<int>(number(at, 2));
    EXPECT_GT(tag, last_tag) << "entries stand in ascending order";
    last_tag = tag;
    const std::size_t bytes = static_cast<std::size_t>("01124811248"[number(at + 2, 2)] - '0') * number(at + 4, 4);
    const std::size_t value = bytes <= 4 ? at + 8 : number(at + 8, 4);
    entries.values[tag] =
        std::to_string(number(at + 2, 2)) + "x" + std::to_string(number(at + 4, 4)) + ":" + file.substr(value, bytes);
    entries.end = std::max(entries.end, value + bytes);
  }
  EXPECT_EQ(number(offset + 2 + 12 * count, 4), 0U);
  return entries;
}

std::size_t offset_in(const std::string& value) {
  return static_cast<unsigned char>(value[4]) | static_cast<std::size_t>(static_cast<unsigned char>(value[5])) << 8 |
         static_cast<std::size_t>(static_cast<unsigned char>(value[6])) << 16;
}

Save everything() {
  Save save = picture_of(5, 3, 4, 32, false, 2);
  save.arrays = Arrays::of_photo().with_position().gps_bytes(82, "\1").exif_text(CELUMBRANT_EXIF_LENS, "50 mm");
  for (std::size_t slot = 12; slot < 20; ++slot) save.arrays.gps[slot] = 3;
  save.profile = icc_profile("a profile");
  save.iptc = "\x1C\2\x19\0\3sea"s + "\x1C";
  save.method = CBTM_UNIFORM;
  return save;
}

TEST(SavedPicture, RefersToEveryBlock) {
  Save save = everything();
  const std::string file = save.file(3);
  const std::size_t ifddebut = 8 + 5 * 3 * 3 * 4;
  const Entries entries = entries_at(file, ifddebut);
  std::string packet(static_cast<std::size_t>(embed_xmp(0, 14, save.settings.data(), 6, "50 mm", nullptr)), '\0');
  embed_xmp(1, 14, save.settings.data(), 6, "50 mm", packet.data());
  const std::string dpi = "5x1:" + le(72000, 4) + le(1000, 4);
  const auto three = [](unsigned long value) { return "3x3:" + le(value, 2) + le(value, 2) + le(value, 2); };
  const auto one = [](unsigned long value) { return "3x1:" + le(value, 2); };
  // clang-format off
  const std::map<int, std::string> expected = {
      {256, one(5)}, {257, one(3)}, {258, three(32)}, {259, one(1)}, {262, one(2)}, {271, "2x6:Canon\0"s},
      {272, "2x13:Canon EOS 5D\0"s}, {273, "4x1:" + le(8, 4)}, {274, one(1)}, {277, one(3)}, {278, one(3)},
      {279, "4x1:" + le(180, 4)}, {282, dpi}, {283, dpi}, {284, one(1)}, {296, one(2)},
      {305, "2x31:Celumbrant Merge To 32-bit HDR\0"s}, {339, three(3)},
      {700, "1x" + std::to_string(packet.size() + 1) + ":" + packet + " "}, {33723, "4x3:" + save.iptc + "\0\0\0"s},
      {34665, entries.values.at(34665)}, {34675, "7x" + std::to_string(save.profile.size()) + ":" + save.profile},
      {34853, entries.values.at(34853)}};
  // clang-format on
  EXPECT_EQ(entries.values, expected);
  // The sub-directories are those of the EXIF block, and the file ends where the last value does.
  const Entries exif = entries_at(file, offset_in(entries.values.at(34665)));
  const Entries gps = entries_at(file, offset_in(entries.values.at(34853)));
  EXPECT_EQ(exif.values.size(), 5U);
  EXPECT_EQ(exif.values.at(36867), "2x20:2015:06:01 12:00:00\0"s);
  EXPECT_EQ(exif.values.at(37386), "5x1:" + le(5000, 4) + le(100, 4));
  EXPECT_EQ(exif.end, offset_in(entries.values.at(34853)));
  EXPECT_EQ(gps.values.size(), 9U);
  EXPECT_EQ(gps.values.at(29), "2x11:2015:06:01\0"s);
  EXPECT_EQ(gps.end, file.size());

  Arrays read;
  EXPECT_EQ(get_exif_data(temporary("saved.tif").c_str(), CELUMBRANT_IMAGE_TIFF, read.exif.data(), read.gps.data()),
            100);
  Arrays wanted = save.arrays;
  wanted.exif[CELUMBRANT_EXIF_ORIENTATION] = 1;
  for (const int slot :
       {CELUMBRANT_EXIF_IPTC_OFFSET, CELUMBRANT_EXIF_IPTC_LEN, CELUMBRANT_EXIF_XMP_OFFSET, CELUMBRANT_EXIF_XMP_LEN}) {
    wanted.exif[static_cast<std::size_t>(slot)] = read.exif[static_cast<std::size_t>(slot)];
  }
  wanted.exif_text(CELUMBRANT_EXIF_LENS, "\0\0\0\0\0\0\0"s);  // stands in the packet
  EXPECT_EQ(read.exif, wanted.exif);
  EXPECT_EQ(read.gps, wanted.gps);
  EXPECT_EQ(file.substr(static_cast<std::size_t>(read.exif[CELUMBRANT_EXIF_XMP_OFFSET]), packet.size()), packet);
}

TEST(SavedPicture, DescribesItsPixels) {
  const auto shorts = [](std::initializer_list<int> values) {
    std::string text = "3x" + std::to_string(values.size()) + ":";
    for (const int value : values) text += le(static_cast<unsigned long>(value), 2);
    return text;
  };
  for (const auto& [depth, bits] : {std::pair(8, 8), {16, 16}, {32, 32}, {3216, 16}}) {
    for (int samples = 1; samples <= 4; ++samples) {
      Save save = picture_of(1, 1, samples, depth, false, 0);
      const int orientation = save.dim[CELUMBRANT_DIM_ORIENTATION] = samples + 4;
      const bool grey = samples < 3;
      auto values = entries_at(save.file(1), 8 + static_cast<std::size_t>(bits / 8 * (grey ? 1 : 3))).values;
      EXPECT_EQ(values[258], grey ? shorts({bits}) : shorts({bits, bits, bits}));
      EXPECT_EQ(values[262], shorts({grey ? 1 : 2}));
      EXPECT_EQ(values[274], shorts({orientation}));
      EXPECT_EQ(values[277], shorts({grey ? 1 : 3}));
      EXPECT_EQ(values[339], depth > 16 ? shorts({3, 3, 3}) : "");
    }
  }
  for (const auto& [width, height] : {std::pair(65535, 1), {65536, 1}, {1, 65535}, {1, 65536}}) {
    Save save = picture_of(width, height, 1, 8, false, 0);
    ASSERT_GE(save.to(temporary("saved.tif")), 0);
    auto values = entries_at(read_file(temporary("saved.tif")), 8 + save.pixels.size()).values;
    const auto size = [](int pixels) {
      return pixels > 65535 ? "4x1:\0\0\1\0"s : "3x1:" + le(static_cast<unsigned long>(pixels), 2);
    };
    EXPECT_EQ(values[256] + values[257] + values[278], size(width) + size(height) + size(height));
  }
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
  EXPECT_EQ(entries_at(file, offset_in(entries.values.at(34665))).values.at(36867), "2x4:now\0"s);
  EXPECT_EQ(file.size(), 222U + 5 * 12 + 3 + 3 + 3 + 4 + 18 + 4);
}

TEST(SavedPicture, HoldsThePixelsOfEveryKind) {
  for (const auto& [depth, is16to8] : {std::pair(8, false), {8, true}, {16, false}, {32, false}, {3216, false}}) {
    for (int kind = 0; kind < 8; ++kind) {
      Save save = picture_of(77, 3, kind / 2 + 1, depth, is16to8, kind % 2 * 3);
      const std::string strip = strip_of(save);
      EXPECT_EQ(save.file(3).substr(8, strip.size()), strip) << depth << " " << is16to8 << " " << kind;
    }
  }
  // Several writes of rows, the last of them smaller; rows that are narrowed in parts.
  for (const auto& [samples, is16to8, last] :
       {std::tuple(3, false, 1), {4, false, 2}, {4, true, 2}, {2, true, 7}, {1, true, 7}}) {
    Save save = picture_of(50000, 7, samples, 8, is16to8, 1);
    const std::string strip = strip_of(save);
    EXPECT_EQ(save.file(last).compare(8, strip.size(), strip), 0) << samples << is16to8;
  }
  Save wide = picture_of(400000, 2, 3, 8, false, 0);  // a row is more than a chunk
  EXPECT_EQ(entries_at(wide.file(1), 8 + 2400000).values.at(256), "4x1:" + le(400000, 4));
}

TEST(SavedPicture, TakesTheRightPacket) {
  const auto packet_of = [](int method, bool with_nul = true) {
    std::array<float, CBTM_SETTINGS_COUNT> settings{};
    std::string packet(static_cast<std::size_t>(embed_xmp(0, method, settings.data(), 0, nullptr, nullptr)), '\0');
    embed_xmp(1, method, settings.data(), 0, nullptr, packet.data());
    return with_nul ? packet + '\0' : packet;
  };
  const std::string foreign = "<x:xmpmeta>a host's own</x:xmpmeta>";
  const std::string made = packet_of(2, false) + " ";
  struct Row {
    const char* what;
    std::string xmp;
    int method;
    bool with_lens;
    std::string expected;
  };
  // clang-format off
  const Row rows[] = {
      {"none", "", 0, false, ""}, {"own, with NUL", foreign + '\0', 0, true, foreign},
      {"own, without NUL", foreign, 0, true, foreign},
      {"own, without NUL and method -1", foreign, -1, true, foreign.substr(0, foreign.size() - 1)},
      {"a NUL alone", "\0"s, 0, true, ""}, {"settings", "", 2, false, made},
      {"own, replaced by settings", foreign + '\0', 2, false, made},
      {"settings of 10 stay", packet_of(10), 2, true, packet_of(10, false)},
      {"settings of 15 stay", packet_of(15), 4, false, packet_of(15, false)},
      {"settings of 4 are replaced", packet_of(4), 2, false, made},
      {"settings of 13 are replaced", packet_of(13), 2, false, made},
      {"settings of 4 stay when none are written", packet_of(4), 0, false, packet_of(4, false)},
      {"without its NUL not even settings count", packet_of(10, false), 2, false, made},
  };
  // clang-format on
  for (const Row& row : rows) {
    Save save;
    save.xmp = row.xmp;
    save.method = row.method;
    if (row.with_lens) save.arrays.exif_text(CELUMBRANT_EXIF_LENS, "a lens");
    const Entries entries = entries_at(save.file(2), 26);
    EXPECT_EQ(entries.values.contains(700), !row.expected.empty()) << row.what;
    if (!entries.values.contains(700)) continue;
    EXPECT_EQ(entries.values.at(700), "1x" + std::to_string(row.expected.size()) + ":" + row.expected) << row.what;
  }
  for (int held = 1; held <= 15; ++held) {  // which settings stay when others are to be written
    Save save;
    save.xmp = packet_of(held);
    save.method = CBTM_LIGHT_LEVELER;
    const bool stays = (held <= 3) || held == 10 || held == 11 || held == 15;
    EXPECT_EQ(entries_at(save.file(2), 26).values.at(700).ends_with(" "), !stays) << held;
  }
  Save lens_only;
  lens_only.arrays.exif_text(CELUMBRANT_EXIF_LENS, std::string(64, 'L'));
  EXPECT_NE(lens_only.file(2).find("<aux:Lens>" + std::string(63, 'L') + "</aux:Lens>"), std::string::npos);
}

TEST(SavedPicture, LeavesOutProfilesThatAreNotRgb) {
  for (const auto& [space, there] : {std::pair("RGB ", true), {"GRAY", false}, {"CMYK", false}}) {
    Save save;
    save.profile = std::string(16, 'p') + space + "!";
    EXPECT_EQ(entries_at(save.file(2), 26).values.contains(34675), there) << space;
    save.profile.pop_back();
    EXPECT_TRUE(entries_at(save.file(2), 26).values.contains(34675)) << "20 bytes do not tell";
  }
}

TEST(SavedPicture, IsRefusedBeforeAFileIsTouched) {
  const std::string name = temporary("refused.tif");
  using Change = std::function<void(Save&)>;
  const auto dim = [](int index, int value) -> Change {
    return [=](Save& save) { save.dim[static_cast<std::size_t>(index)] = value; };
  };
  const Change changes[] = {dim(0, 0),
                            dim(0, -1),
                            dim(1, -1),
                            dim(2, 0),
                            dim(2, 5),
                            dim(3, 12),
                            dim(7, 2),
                            dim(7, -1),
                            [](Save& save) { save.dim[3] = 16, save.dim[7] = 1; },
                            [](Save& save) { save.dim[0] = save.dim[1] = 0x7FFFFFFF; },
                            [](Save& save) { save.dim[0] = save.dim[1] = 37838; }};  // 4 GiB and some
  for (const Change& change : changes) {
    Save save;
    change(save);
    EXPECT_EQ(save.to(name), -5);
    EXPECT_FALSE(std::filesystem::exists(name));
  }
  Save save;  // a strip of 2^32 - 1 bytes, which leaves no room for the directory
  save.dim = {65535, 65537, 1, 8, 72, 0, 0, 0, 0, 0, 1};
  EXPECT_EQ(save.to(name), -5);
  save = Save();
  const auto* const none = reinterpret_cast<const unsigned char*>("");
  save.dim[CELUMBRANT_DIM_PROFILE_LEN] = -1;
  EXPECT_EQ(buf2tif(none, save.dim.data(), 9, none, save.arrays.exif.data(), save.arrays.gps.data(), 0, none, 0,
                    nullptr, 0, nullptr, name.c_str()),
            -5);
  save.dim = {1, 0, 1, 8, 72, 0, 0, 0, 0, 0, 1};
  EXPECT_EQ(buf2tif(nullptr, save.dim.data(), 1, nullptr, save.arrays.exif.data(), save.arrays.gps.data(), 0, nullptr,
                    0, nullptr, -9, nullptr, name.c_str()),
            0);
  std::filesystem::remove(name);
  EXPECT_EQ(buf2tif(nullptr, save.dim.data(), 9, nullptr, save.arrays.exif.data(), save.arrays.gps.data(), -1, nullptr,
                    0, nullptr, 0, nullptr, name.c_str()),
            -5);
  testing::internal::CaptureStderr();
  EXPECT_EQ(save.to(temporary("no/such/file")), -1);
  EXPECT_EQ(save.to(testing::TempDir()), -1);
  const std::string message = "Could not open for writing file:  ";
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            message + temporary("no/such/file") + "\n" + message + testing::TempDir() + "\n");
}

TEST(SavedPicture, ReportsWhateverDidNotReachTheFile) {
  const auto open_files = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  const auto open_before = open_files();
  Save save = everything();
  const std::string name = temporary("cut.tif");
  const auto whole = static_cast<rlim_t>(save.file(3).size());
  EXPECT_EQ(save.to("/dev/full"), -2);
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  for (rlim_t room = 0; room <= whole; ++room) {
    const rlimit limit{room, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    const int expected = room < 8 ? -2 : room < 8 + 180 ? -3 : room < whole ? -12 : 3;
    const int result = save.to(name);
    if (result != expected) ADD_FAILURE() << "with room for " << room << " bytes: " << result;
  }
  setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, handler);
#ifdef CELUMBRANT_CAN_FAIL_MEMORY
  for (const auto& [successes, expected, length] : {std::tuple(0, -4, 8), {1, -1, 188}, {2, -1, 188}}) {
    const FailingMemory failing(successes);
    EXPECT_EQ(save.to(name), expected) << successes;
    EXPECT_EQ(std::filesystem::file_size(name), static_cast<std::uintmax_t>(length));
  }
  save.xmp = "a packet that gets no NUL";
  save.method = 0;
  const FailingMemory failing(0);
  EXPECT_EQ(save.to(name), -4);
#endif
  EXPECT_EQ(open_files(), open_before);
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
      save.profile = icc_profile("the profile");
      save.iptc = data_set(2, 0, "\0\2"s) + data_set(2, 25, "harbour");
      save.method = CBTM_BRILLIANCE_REFINER;
      ASSERT_GE(save.to(name), 0);
      write_file(temporary("strip"), strip_of(save));

      EXPECT_EQ(output_of("tiffinfo " + name + " 2>&1 >/dev/null"), "");
      EXPECT_EQ(output_of("/usr/bin/python3 -c \"import tifffile; open('" + temporary("decoded") +
                          "', 'wb').write(tifffile.imread('" + name + "').tobytes())\" && cmp " + temporary("decoded") +
                          " " + temporary("strip")),
                "");
      if (depth <= 16) {  // ImageMagick keeps no more than 16 bits
        const std::string raw = samples == 1 ? "gray:" : "rgb:";
        EXPECT_EQ(output_of("convert " + name + " -depth " + std::to_string(depth) + " -endian LSB " + raw +
                            temporary("decoded") + " && cmp " + temporary("decoded") + " " + temporary("strip")),
                  "");
      }
      const std::string shown = output_of(
          "exiftool -n -s -a -warning -error -Make -Model -ExposureTime -FNumber -ISO -DateTimeOriginal "
          "-FocalLength -GPSLatitude -GPSLongitude -ProfileDescription -Keywords -Lens " +
          name);
      expect_shown(shown, {"Make *: PENTAX\n", "Model *: PENTAX K-3\n", "ExposureTime *: 0.0040001", "FNumber *: 8\n",
                           "ISO *: 100\n", "DateTimeOriginal *: 2015:06:01 12:00:00\n", "FocalLength *: 50\n",
                           "GPSLatitude *: 47.6083", "GPSLongitude *: -7.5876|GPSLongitude *: 7.5876",
                           "ProfileDescription *: the profile\n", "Keywords *: harbour\n", "Lens *: 50 mm\n"});
    }
  }
}

}  // namespace
