// SPDX-License-Identifier: MIT
//
// EXIF blocks, IPTC keywords and ICC profiles: their bytes, their bounds, and what others read in
// them.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/flat_arrays.h"
#include "support/programs.h"

namespace {

using namespace std::string_literals;

struct Counts {
  int exif = -9, exif_data = -9, gps = -9, gps_data = -9, model = -9, make = -9, date_time = -9, date = -9, lens = -9;
  std::array<char, CELUMBRANT_MAKE_BYTES> make_text;
  int result = -9;

  explicit Counts(const Arrays& a) {
    make_text.fill('#');
    result = get_exif_count(a.exif.data(), &exif, &exif_data, a.gps.data(), &gps, &gps_data, &model, &make, &date_time,
                            &date, &lens, make_text.data());
  }
  int write(const Arrays& a, int orientation, unsigned char* block) const {
    return write_exif_buf(exif, exif_data, gps, gps_data, model, make, date_time, date, orientation, a.exif.data(),
                          a.gps.data(), make_text.data(), block);
  }
};

// The block between guards; bytes that it leaves alone stay '.'.
std::string block_of(const Arrays& arrays, int orientation = 1) {
  std::string buffer(CELUMBRANT_EXIF_BLOCK_MAX + 8, '.');
  const int length = Counts(arrays).write(arrays, orientation, reinterpret_cast<unsigned char*>(buffer.data()));
  EXPECT_EQ(buffer.find_first_not_of('.', static_cast<std::size_t>(std::max(length, 0))), std::string::npos);
  return length < 0 ? "none" : buffer.substr(0, static_cast<std::size_t>(length));
}

TEST(ExifBlock, HasTheBytesOfItsLayout) {
  const std::string camera = "II"s + le(42, 2) + le(8, 4) + le(4, 2) + entry(271, 2, 6, le(62, 4)) +
                             entry(272, 2, 13, le(68, 4)) + entry(274, 3, 1, le(1, 2) + "..") +
                             entry(34665, 4, 1, le(81, 4)) + le(0, 4) + "Canon\0Canon EOS 5D\0"s;
  const auto exif = [](unsigned long values) {
    return le(5, 2) + entry(33434, 5, 1, le(values, 4)) + entry(33437, 5, 1, le(values + 8, 4)) +
           entry(34855, 3, 1, le(100, 2) + "..") + entry(36867, 2, 20, le(values + 16, 4)) +
           entry(37386, 5, 1, le(values + 36, 4)) + le(0, 4) + le(100, 4) + le(24999, 4) + le(800, 4) + le(100, 4) +
           "2015:06:01 12:00:00\0"s + le(5000, 4) + le(100, 4);
  };
  EXPECT_EQ(block_of(Arrays::of_photo()), camera + exif(147));
  EXPECT_EQ(block_of(Arrays::of_photo()).size(), 191U);

  std::string head = camera;
  head.replace(8, 2, le(5, 2)).replace(18, 4, le(74, 4)).replace(30, 4, le(80, 4)).replace(54, 4, le(93, 4));
  head.insert(58, entry(34853, 4, 1, le(203, 4)));
  const std::string gps = le(6, 2) + entry(0, 1, 4, "\2\2\0\0"s) + entry(1, 2, 2, "N...") + entry(2, 5, 3, le(281, 4)) +
                          entry(3, 2, 2, "W...") + entry(4, 5, 3, le(305, 4)) + entry(29, 2, 11, le(329, 4)) + le(0, 4);
  std::string values;
  for (const auto value : {47UL, 1UL, 36UL, 1UL, 30UL, 1UL, 7UL, 1UL, 35UL, 1UL, 155UL, 10UL}) {
    values += le(value, 4);
  }
  const std::string block = block_of(Arrays::of_photo().with_position());
  EXPECT_EQ(block, head + exif(159) + gps + values + "2015:06:01\0"s);
  EXPECT_EQ(block.size(), 340U);
}

TEST(ExifBlock, HoldsWhatIsThereAndSaysWhenNothingIs) {
  EXPECT_EQ(block_of(Arrays{}), "none");
  // A model of which no make is known; in the entry itself when it takes four bytes or fewer.
  Arrays model;
  model.exif_text(CELUMBRANT_EXIF_MODEL, "Leica");
  EXPECT_EQ(block_of(model), "II*\0"s + le(8, 4) + le(2, 2) + entry(272, 2, 6, le(38, 4)) +
                                 entry(274, 3, 1, "\1\0.."s) + le(0, 4) + "Leica\0"s);
  Arrays short_model;
  short_model.exif_text(CELUMBRANT_EXIF_MODEL, "X1");
  EXPECT_EQ(block_of(short_model, 8), "II*\0"s + le(8, 4) + le(2, 2) + entry(272, 2, 3, "X1\0\0"s) +
                                          entry(274, 3, 1, "\10\0.."s) + le(0, 4) + "X1\0"s);
  EXPECT_EQ(block_of(short_model, 9), block_of(short_model, 1));
  EXPECT_EQ(block_of(short_model, 0), block_of(short_model, 1));
  // Everything at once, the longest texts: the largest block, without a byte more.
  Arrays all = Arrays::of_photo("NIKON" + std::string(59, 'x')).with_position();
  all.exif_text(CELUMBRANT_EXIF_DATE_TIME, "2015:06:01 12:00:00!").gps_bytes(82, "\1");
  all.exif[5] = 70000;
  for (std::size_t i = 12; i < 20; ++i) all.gps[i] = 1;
  const std::string block = block_of(all);
  EXPECT_EQ(block.size(), 471U);
  EXPECT_NE(block.find("12:00:00!\0"s), std::string::npos);
  EXPECT_NE(block.find(entry(34855, 3, 1, le(4464, 2) + "..")), std::string::npos);
  EXPECT_NE(block.find(entry(5, 2, 2, "\1...")), std::string::npos);
}

TEST(ExifBlock, StaysWithinTheSizesWhateverTheArraysHold) {
  std::mt19937 random(7);
  const auto below = [&](int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); };
  for (int round = 0; round < 3000; ++round) {
    Arrays arrays;
    for (int& slot : arrays.exif) slot = below(3) == 0 ? 0 : static_cast<int>(random());
    for (int& slot : arrays.gps) slot = below(3) == 0 ? 0 : static_cast<int>(random());
    Counts counts(arrays);
    EXPECT_EQ(counts.result, counts.exif + counts.gps);
    if (round % 2 == 1) {
      counts.exif = below(5), counts.gps = below(9), counts.exif_data = below(45), counts.gps_data = below(91);
      counts.model = below(64), counts.make = below(18), counts.date_time = below(21), counts.date = below(11);
    }
    std::array<unsigned char, CELUMBRANT_EXIF_BLOCK_MAX> trial{};
    const int length = counts.write(arrays, 1, trial.data());
    if (length < 0) continue;
    const auto block = std::make_unique<unsigned char[]>(static_cast<std::size_t>(length));  // for the sanitizer
    EXPECT_EQ(counts.write(arrays, 1, block.get()), length);
  }
  Counts impossible(Arrays::of_photo());
  impossible.model = 65;
  EXPECT_EQ(impossible.write(Arrays::of_photo(), 1, nullptr), -1);
}

TEST(ExifCount, CountsWhatIsPresent) {
  struct Row {
    const char* what;
    Arrays arrays;
    std::array<int, 9> expected;  // exif, data, gps, data, model, make, date-time, date, lens
  };
  const auto exif = [](int slot, int value) {
    Arrays a;
    a.exif[static_cast<std::size_t>(slot)] = value;
    return a;
  };
  const auto gps = [](std::initializer_list<std::pair<int, int>> slots) {
    Arrays a;
    for (const auto& [slot, value] : slots) a.gps[static_cast<std::size_t>(slot)] = value;
    return a;
  };
  // clang-format off
  const Row rows[] = {
      {"nothing", {}, {}}, {"photo", Arrays::of_photo(), {5, 44, 0, 0, 13, 6, 20, 0, 0}},
      {"half a fraction", exif(0, 100), {}}, {"negative ISO", exif(5, -1), {}},
      {"date-time without NUL", Arrays{}.exif_text(39, "2015:06:01 12:00:00!"), {1, 21, 0, 0, 0, 0, 21, 0, 0}},
      {"model without NUL", Arrays{}.exif_text(23, std::string(64, 'm')), {0, 0, 0, 0, 63, 0, 0, 0, 0}},
      {"lens of 63", Arrays{}.exif_text(44, std::string(63, 'l')), {0, 0, 0, 0, 0, 0, 0, 0, 64}},
      {"position", Arrays{}.with_position(), {0, 0, 6, 59, 0, 0, 0, 11, 0}},
      {"references alone", Arrays{}.gps_bytes(80, "NE\1"), {0, 0, 4, 0, 0, 0, 0, 0, 0}},
      {"reference above 127", Arrays{}.gps_bytes(80, "\x80"), {}},
      {"time after midnight", gps({{14, 0}, {15, 1}, {16, 5}}), {}},
      {"altitude and time", gps({{12, 4}, {13, 1}, {14, 9}, {15, 1}}), {0, 0, 3, 32, 0, 0, 0, 0, 0}},
  };
  // clang-format on
  for (const Row& row : rows) {
    const Counts c(row.arrays);
    EXPECT_EQ((std::array{c.exif, c.exif_data, c.gps, c.gps_data, c.model, c.make, c.date_time, c.date, c.lens}),
              row.expected)
        << row.what;
  }
}

TEST(ExifCount, KnowsTheMakeByTheModel) {
  // clang-format off
  const std::pair<const char*, const char*> rows[] = {
      {"Canon EOS 5D", "Canon"}, {"NIKON D5000", "NIKON CORPORATION"}, {"SLT-A99", "SONY"}, {"SONY", "SONY"},
      {"DMC-G1", "Panasonic"}, {"NEX-5", "SONY"}, {"X10 ", "FUJIFILM"}, {"X10", ""}, {"X100", ""},
      {"PENTAX K-3", "PENTAX"}, {"DSLR-A100", "SONY"}, {"E-1", "OLYMPUS"}, {"E-7x", "OLYMPUS"}, {"E-8", ""},
      {"E-P1", "OLYMPUS"}, {"E-M5", "OLYMPUS"}, {"SP350", "OLYMPUS"}, {"SP5", "OLYMPUS"}, {"SP4", ""},
      {"OLYMPUS E", "OLYMPUS"}, {"FinePix S2", "FUJIFILM"}, {"FUJIFILM X", "FUJIFILM"}, {"Panasonic", "Panasonic"},
      {"sony A7", ""}, {"E-", ""}, {"", ""},
  };
  // clang-format on
  for (const auto& [model, make] : rows) {
    const Counts counts(Arrays{}.exif_text(CELUMBRANT_EXIF_MODEL, model));
    EXPECT_EQ(std::string(counts.make_text.data()), make) << model;
    EXPECT_EQ(counts.make, *make != '\0' ? static_cast<int>(std::strlen(make)) + 1 : 0) << model;
    EXPECT_EQ(std::ranges::count(counts.make_text, '#'), 0);
  }
}

std::string with_keyword(const std::string& block, const std::string& keyword, int expected) {
  std::string out(std::max<std::size_t>(block.size(), 7) + 5 + keyword.size(), '?');
  const int result =
      add_iptc_keyword(static_cast<int>(block.size()), reinterpret_cast<const unsigned char*>(block.data()),
                       static_cast<int>(keyword.size()), keyword.data(), reinterpret_cast<unsigned char*>(out.data()));
  EXPECT_EQ(result, expected);
  EXPECT_TRUE(result >= 0 || out.find_first_not_of('?') == std::string::npos);
  return out;
}

TEST(IptcKeyword, GoesBehindTheLastOneOrWhatStandsForIt) {
  const std::string version = data_set(2, 0, "\0\2"s);
  const std::string key = data_set(2, 25, "ab");
  const std::string caption = data_set(2, 120, "c");
  const std::string added = data_set(2, 25, "new");
  struct Row {
    std::string before, behind;
    int result;
  };
  // clang-format off
  const Row rows[] = {
      {version + key, caption, 14}, {version + key + caption + data_set(2, 25, "cd"), caption, 27},
      {version + caption, "", 13}, {version, "", 7},
      {version, data_set(2, 80, ""), 7},  // an empty data set at the end is not seen
      {data_set(1, 90, "x"), data_set(3, 10, "yy"), 6}, {version + data_set(2, 120, "a\x1C\2b"), "", 16},
  };
  // clang-format on
  for (const Row& row : rows) {
    EXPECT_EQ(with_keyword(row.before + row.behind, "new", row.result), row.before + added + row.behind);
  }
  EXPECT_EQ(with_keyword("", "new", 7), version + added);
  EXPECT_EQ(with_keyword("", std::string(300, 'k'), 7).substr(7, 5), "\x1C\2\x19\1\x2C"s);
  for (const std::string& broken :
       {"\x1C"s, "\x1C\2\0\0"s, version + "\x1C\2\x19\0\x09x"s, data_set(2, 5, "x") + "\x1C\2\5\x80\4abcd"s}) {
    with_keyword(broken, "new", -1);
  }
  EXPECT_EQ(add_iptc_keyword(0, nullptr, -1, nullptr, nullptr), -1);
}

TEST(TiffTag, IsFoundInTheChainOrNot) {
  constexpr int kAbsent = -77;
  const std::string head = "II*\0"s + le(8, 4);
  const std::string profile = entry(34675, 7, 500, le(1000, 4));
  const std::string other = entry(256, 3, 1, le(7, 4));
  struct Row {
    const char* what;
    std::string file;
    int tag, result, count, value;
  };
  std::string loop = head + le(1, 2) + other + le(8, 4);
  std::string many = head + le(65535, 2);
  for (int i = 0; i < 2000; ++i) many += other;
  // clang-format off
  const Row rows[] = {
      {"first directory", head + le(2, 2) + other + profile + le(0, 4), 34675, 22, 500, 1000},
      {"second directory", head + le(1, 2) + other + le(26, 4) + le(1, 2) + profile + le(0, 4), 34675, 28, 500, 1000},
      {"first of two", head + le(2, 2) + other + entry(256, 3, 2, le(9, 2) + le(8, 2)) + le(0, 4), 256, 10, 1, 7},
      {"two SHORTs", head + le(1, 2) + entry(258, 3, 2, le(9, 2) + le(8, 2)) + le(0, 4), 258, 10, 2, 9},
      {"three SHORTs", head + le(1, 2) + entry(258, 3, 3, le(0x80009, 4)) + le(0, 4), 258, 10, 3, 0x80009},
      {"absent", head + le(1, 2) + other + le(0, 4), 34675, -1, kAbsent, kAbsent},
      {"no directory", "II*\0"s + le(0, 4), 34675, -1, kAbsent, kAbsent}, {"loop", loop, 34675, -1, kAbsent, kAbsent},
      {"big-endian", "MM\0*"s + "\0\0\0\10"s, 34675, -2, kAbsent, kAbsent},
      {"other number", "II+\0"s + le(8, 4), 34675, -2, kAbsent, kAbsent},
      {"no entries", head + le(0, 2) + le(0, 4), 34675, -2, kAbsent, kAbsent},
      {"negative offset", "II*\0"s + le(0x80000000, 4), 34675, -3, kAbsent, kAbsent},
      {"beyond the end", "II*\0"s + le(4000000, 4), 34675, -3, kAbsent, kAbsent},
      {"entries beyond the end", many, 34675, -3, kAbsent, kAbsent}, {"empty", "", 34675, -2, kAbsent, kAbsent},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::tmpfile(), std::fclose);
    std::fwrite(row.file.data(), 1, row.file.size(), file.get());
    std::rewind(file.get());
    int count = kAbsent;
    int value = kAbsent;
    EXPECT_EQ(get_tif_tag(file.get(), row.tag, &count, &value), row.result);
    EXPECT_EQ(std::pair(count, value), std::pair(row.count, row.value));
  }
}

int update(const std::string& name, const std::string& profile) {
  return update_tif_profile(static_cast<int>(profile.size()), reinterpret_cast<const unsigned char*>(profile.data()),
                            name.c_str());
}

TEST(TiffProfile, IsAppendedAndReferredToOrNothingChanges) {
  const std::string name = temporary("profile.tif");
  const std::string before = "II*\0"s + le(8, 4) + le(1, 2) + entry(34675, 7, 3, le(26, 4)) + le(0, 4) + "old";
  const auto patched = [&](const std::string& file, unsigned long count) {
    return std::string(file).replace(14, 8, le(count, 4) + le(file.size(), 4));
  };
  write_file(name, before);
  EXPECT_EQ(update(name, "first"), 5);
  const std::string first = patched(before, 5) + "first";
  EXPECT_EQ(read_file(name), first);
  EXPECT_EQ(update(name, "second!"), 7);
  EXPECT_EQ(read_file(name), patched(first, 7) + "second!");

  write_file(name, before);
  EXPECT_EQ(update(name, ""), -2);
  EXPECT_EQ(read_file(name), patched(before, 0));
  for (const auto& [bytes, result] : {std::pair("MM\0*"s, 0), {before.substr(0, 20), -2}, {""s, 0}}) {
    write_file(name, bytes);
    EXPECT_EQ(update(name, "new"), result);
    EXPECT_EQ(read_file(name), bytes);
  }
  write_file(name, before);
  EXPECT_EQ(update_tif_profile(-1, nullptr, name.c_str()), -2);

  // The disk has room for a part of the new profile only.
  const rlimit small{before.size() + 2, RLIM_INFINITY};
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  const int result = update(name, "does not fit");
  setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(result, -2);
  EXPECT_EQ(read_file(name).substr(0, before.size()), before);

  testing::internal::CaptureStderr();
  EXPECT_EQ(update(temporary("no/such/file"), "new"), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Can not open input file for reading\n");
  std::filesystem::remove(name);
}

// ---- Other readers -----------------------------------------------------------------------------

std::string segment(int code, const std::string& payload) {
  const std::size_t length = payload.size() + 2;
  return "\xFF"s + static_cast<char>(code) + static_cast<char>(length >> 8) + static_cast<char>(length) + payload;
}

// A JPEG picture made by ImageMagick, with more segments behind its start.
std::string jpeg_with(const std::string& name, const std::string& segments) {
  EXPECT_EQ(output_of("convert -size 16x16 xc:gray -strip " + name), "");
  const std::string picture = read_file(name);
  write_file(name, picture.substr(0, 2) + segments + picture.substr(2));
  return name;
}

TEST(OtherReaders, ReadTheExifBlock) {
  Arrays arrays = Arrays::of_photo().with_position().gps_bytes(82, "\1");
  for (const auto& [slot, value] :
       {std::pair(12, 125), {13, 10}, {14, 9}, {15, 1}, {16, 8}, {17, 1}, {18, 7}, {19, 1}}) {
    arrays.gps[static_cast<std::size_t>(slot)] = value;
  }
  std::string block(CELUMBRANT_EXIF_BLOCK_MAX, '\0');
  block.resize(
      static_cast<std::size_t>(Counts(arrays).write(arrays, 6, reinterpret_cast<unsigned char*>(block.data()))));
  const std::string name = jpeg_with(temporary("exif.jpg"), segment(0xE1, "Exif\0\0"s + block));

  const std::string shown = output_of(
      "exiftool -n -s -G1 -a -warning -error -Make -Model -Orientation -ExposureTime -FNumber -ISO "
      "-DateTimeOriginal -FocalLength -GPSLatitude -GPSLongitude -GPSAltitude "
      "-GPSTimeStamp -GPSDateStamp " +
      name);
  expect_shown(shown, {"Make *: Canon\n", "Model *: Canon EOS 5D\n", "Orientation *: 6\n", "ExposureTime *: 0.0040001",
                       "FNumber *: 8\n", "ISO *: 100\n", "DateTimeOriginal *: 2015:06:01 12:00:00\n",
                       "FocalLength *: 50\n", "GPSLatitude *: 47.6083333", "GPSLongitude *: 7.5876388",
                       "GPSAltitude *: 12.5\n", "GPSTimeStamp *: 09:08:07\n", "GPSDateStamp *: 2015:06:01\n"});
  const std::string exiv2 = output_of("exiv2 -q -PEkv pr " + name);
  expect_shown(exiv2, {"Exif.Photo.ExposureTime +100/24999\n", "Exif.GPSInfo.GPSLongitude +7/1 35/1 155/10\n"});
  EXPECT_EQ(output_of("exiv2 pr " + name + " 2>&1 >/dev/null"), "");

  Arrays read;
  EXPECT_EQ(get_exif_data(name.c_str(), CELUMBRANT_IMAGE_JPEG, read.exif.data(), read.gps.data()), 100);
  arrays.exif[CELUMBRANT_EXIF_ORIENTATION] = 6;
  EXPECT_EQ(read.exif, arrays.exif);
  EXPECT_EQ(read.gps, arrays.gps);
}

TEST(OtherReaders, ReadTheKeywordsInOrder) {
  std::string block;
  int expected = 7;
  for (const std::string& keyword : {"harbour"s, "night"s, "three brackets"s}) {
    block = with_keyword(block, keyword, expected);
    expected += 5 + static_cast<int>(keyword.size());
  }
  const std::string resource =
      "8BIM\4\4\0\0"s + le(0, 2) + static_cast<char>(block.size() >> 8) + static_cast<char>(block.size()) + block;
  const std::string name = jpeg_with(temporary("iptc.jpg"), segment(0xED, "Photoshop 3.0\0"s + resource + "\0"s));
  EXPECT_EQ(output_of("exiftool -s3 -sep '|' -IPTC:Keywords -warning -error " + name),
            "harbour|night|three brackets\n");
}

TEST(OtherReaders, SeeTheSecondProfileAndEveryPixel) {
  const std::string name = temporary("picture.tif");
  write_file(temporary("first.icc"), icc_profile("the first profile"));
  // Pillow leaves a compressed TIFF to libtiff.
  const std::string make =
      "/usr/bin/python3 -c \"from PIL import Image; "
      "Image.effect_noise((70, 50), 90).convert('RGB').save('" +
      name +
      "', compression='tiff_lzw', "
      "icc_profile=open('" +
      temporary("first.icc") + "', 'rb').read())\"";
  ASSERT_EQ(output_of(make), "");
  const std::string pixels = "convert " + name + " -depth 8 rgb:- | md5sum";
  const std::string tags = "tiffinfo " + name + " | grep -v -i icc";
  const std::string profile = "exiftool -s3 -ICC_Profile:ProfileDescription -warning -error " + name;
  const std::string before = output_of(pixels) + output_of(tags);
  EXPECT_EQ(output_of(profile), "the first profile\n");
  for (const char* description : {"an odd one", "the second profile"}) {
    const std::string icc = icc_profile(description);
    EXPECT_EQ(update(name, icc), static_cast<int>(icc.size()));
    EXPECT_EQ(output_of(profile), description + "\n"s);
    EXPECT_EQ(output_of(pixels) + output_of(tags), before);
  }
}

}  // namespace
