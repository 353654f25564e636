// SPDX-License-Identifier: MIT
//
// EXIF blocks, IPTC keywords and ICC profiles: their bytes, their bounds, and what others read in
// them.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

#include "support/flat_arrays.h"
#include "support/image_builder.h"
#include "support/programs.h"

namespace {

// In the order of the parameters: EXIF entries, their bytes, GPS entries, their bytes; of the texts, model, make,
// date-time, date and lens.
struct Counts {
  std::array<int, 9> sizes;
  std::array<char, CELUMBRANT_MAKE_BYTES> make_text;
  int result;

  explicit Counts(const Arrays& a) {
    make_text.fill('#');
    auto& [exif, exif_data, gps, gps_data, model, make, date_time, date, lens] = sizes;
    result = get_exif_count(a.exif.data(), &exif, &exif_data, a.gps.data(), &gps, &gps_data, &model, &make, &date_time,
                            &date, &lens, make_text.data());
  }
  int write(const Arrays& a, int orientation, unsigned char* block) const {
    const auto& [exif, exif_data, gps, gps_data, model, make, date_time, date, lens] = sizes;
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
  std::string values;
  for (const auto value : {47UL, 1UL, 36UL, 1UL, 30UL, 1UL, 7UL, 1UL, 35UL, 1UL, 155UL, 10UL}) values += le(value, 4);
  const std::string block =
      "II"s + le(42, 2) + le(8, 4) + le(5, 2) + entry(271, 2, 6, le(74, 4)) + entry(272, 2, 13, le(80, 4)) +
      entry(274, 3, 1, le(1, 2) + "..") + entry(34665, 4, 1, le(93, 4)) + entry(34853, 4, 1, le(203, 4)) + le(0, 4) +
      "Canon\0Canon EOS 5D\0"s + le(5, 2) + entry(33434, 5, 1, le(159, 4)) + entry(33437, 5, 1, le(167, 4)) +
      entry(34855, 3, 1, le(100, 2) + "..") + entry(36867, 2, 20, le(175, 4)) + entry(37386, 5, 1, le(195, 4)) +
      le(0, 4) + le(100, 4) + le(24999, 4) + le(800, 4) + le(100, 4) + "2015:06:01 12:00:00\0"s + le(5000, 4) +
      le(100, 4) + le(6, 2) + entry(0, 1, 4, "\2\2\0\0"s) + entry(1, 2, 2, "N...") + entry(2, 5, 3, le(281, 4)) +
      entry(3, 2, 2, "W...") + entry(4, 5, 3, le(305, 4)) + entry(29, 2, 11, le(329, 4)) + le(0, 4) + values +
      "2015:06:01\0"s;
  EXPECT_EQ(block_of(Arrays::of_photo().with_position()), block);
  EXPECT_EQ(block_of(Arrays::of_photo()).size(), 191U);
}

TEST(ExifBlock, HoldsWhatIsThereAndSaysWhenNothingIs) {
  EXPECT_EQ(block_of(Arrays{}), "none");
  // A model of which no make is known; in the entry itself when it takes four bytes or fewer.
  const Arrays model = Arrays().exif_text(CELUMBRANT_EXIF_MODEL, "Leica");
  const Arrays short_model = Arrays().exif_text(CELUMBRANT_EXIF_MODEL, "X1");
  const std::string head = "II*\0"s + le(8, 4) + le(2, 2);
  EXPECT_EQ(block_of(model), head + entry(272, 2, 6, le(38, 4)) + entry(274, 3, 1, "\1\0.."s) + le(0, 4) + "Leica\0"s);
  for (const auto& [orientation, written] : {std::pair(8, "\10"), {9, "\1"}, {0, "\1"}}) {
    EXPECT_EQ(block_of(short_model, orientation),
              head + entry(272, 2, 3, "X1\0\0"s) + entry(274, 3, 1, written + "\0.."s) + le(0, 4) + "X1\0"s);
  }
  // Everything at once, the longest texts: the largest block, without a byte more.
  Arrays all = Arrays::of_photo("NIKON" + std::string(59, 'x')).with_position().gps_bytes(82, "\1");
  all.exif_text(CELUMBRANT_EXIF_DATE_TIME, "2015:06:01 12:00:00!").exif_slot(CELUMBRANT_EXIF_ISO, 70000);
  const std::string block = block_of(all.gps_slots(12, {1, 1, 1, 1, 1, 1, 1, 1}));
  EXPECT_EQ(block.size(), 471U);
  for (const auto& part :
       {"12:00:00!\0"s, entry(34855, 3, 1, le(4464, 2) + ".."), entry(5, 2, 2, "\1..."), entry(0, 1, 4, "\2\2\0\0"s)}) {
    EXPECT_NE(block.find(part), std::string::npos) << part;
  }
}

TEST(ExifBlock, StaysWithinTheSizesWhateverTheArraysHold) {
  std::mt19937 random(7);
  const auto below = [&](int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); };
  for (int round = 0; round < 3000; ++round) {
    Arrays arrays;
    for (int& slot : arrays.exif) slot = below(3) == 0 ? 0 : static_cast<int>(random());
    for (int& slot : arrays.gps) slot = below(3) == 0 ? 0 : static_cast<int>(random());
    Counts counts(arrays);
    EXPECT_EQ(counts.result, counts.sizes[0] + counts.sizes[2]);
    if (round % 2 == 1) {
      counts.sizes = {below(5), below(45), below(9), below(91), below(64), below(18), below(21), below(11)};
    }
    std::array<unsigned char, CELUMBRANT_EXIF_BLOCK_MAX> trial{};
    const int length = counts.write(arrays, 1, trial.data());
    if (length < 0) continue;
    const auto block = std::make_unique<unsigned char[]>(static_cast<std::size_t>(length));  // for the sanitizer
    EXPECT_EQ(counts.write(arrays, 1, block.get()), length);
  }
  // A model and a make that no arrays give.
  for (const auto& [index, size] : {std::pair(4u, 65), std::pair(5u, 19)}) {
    Counts impossible(Arrays::of_photo());
    impossible.sizes[index] = size;
    EXPECT_EQ(impossible.write(Arrays::of_photo(), 1, nullptr), -1);
  }
}

TEST(ExifCount, CountsWhatIsPresent) {
  // clang-format off
  const std::tuple<const char*, Arrays, std::array<int, 9>> rows[] = {
      {"nothing", {}, {}}, {"photo", Arrays::of_photo(), {5, 44, 0, 0, 13, 6, 20, 0, 0}},
      {"half a fraction", Arrays().exif_slot(0, 100), {}}, {"negative ISO", Arrays().exif_slot(5, -1), {}},
      {"date-time without NUL", Arrays().exif_text(39, "2015:06:01 12:00:00!"), {1, 21, 0, 0, 0, 0, 21, 0, 0}},
      {"model without NUL", Arrays().exif_text(23, std::string(64, 'm')), {0, 0, 0, 0, 63, 0, 0, 0, 0}},
      {"lens of 63", Arrays().exif_text(44, std::string(63, 'l')), {0, 0, 0, 0, 0, 0, 0, 0, 64}},
      {"position", Arrays().with_position(), {0, 0, 6, 59, 0, 0, 0, 11, 0}},
      {"references alone", Arrays().gps_bytes(80, "NE\1"), {0, 0, 4, 0, 0, 0, 0, 0, 0}},
      {"reference above 127", Arrays().gps_bytes(80, "\x80"), {}},
      {"time after midnight", Arrays().gps_slots(14, {0, 1, 5}), {}},
      {"altitude and time", Arrays().gps_slots(12, {4, 1, 9, 1}), {0, 0, 3, 32, 0, 0, 0, 0, 0}},
  };
  // clang-format on
  for (const auto& [what, arrays, expected] : rows) EXPECT_EQ(Counts(arrays).sizes, expected) << what;
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
    const Counts counts(Arrays().exif_text(CELUMBRANT_EXIF_MODEL, model));
    std::string expected = make;
    EXPECT_EQ(counts.sizes[5], expected.empty() ? 0 : static_cast<int>(expected.size()) + 1) << model;
    expected.resize(CELUMBRANT_MAKE_BYTES);
    EXPECT_EQ(std::string(counts.make_text.begin(), counts.make_text.end()), expected) << model;
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
  const std::string version = data_set(2, 0, "\0\2"s), caption = data_set(2, 120, "c");
  const std::string key = data_set(2, 25, "ab"), added = data_set(2, 25, "new");
  // clang-format off
  const std::tuple<std::string, std::string, int> rows[] = {
      {version + key, caption, 14}, {version + key + caption + data_set(2, 25, "cd"), caption, 27},
      {version + caption, "", 13}, {version, "", 7},
      {version, data_set(2, 80, ""), 7},  // an empty data set at the end is not seen
      {data_set(1, 90, "x"), data_set(3, 10, "yy"), 6}, {version + data_set(2, 120, "a\x1C\2b"), "", 16},
  };
  // clang-format on
  for (const auto& [before, behind, result] : rows) {
    EXPECT_EQ(with_keyword(before + behind, "new", result), before + added + behind);
  }
  EXPECT_EQ(with_keyword("", "new", 7), version + added);
  EXPECT_EQ(with_keyword("", std::string(33100, 'k'), 7).substr(7, 5), "\x1C\2\x19\x81\x4C");
  for (const std::string& broken :
       {"\x1C"s, "\x1C\2\0\0"s, version + "\x1C\2\x19\0\x09x"s, data_set(2, 5, "x") + "\x1C\2\5\x80\4abcd"s}) {
    with_keyword(broken, "new", -1);
  }
  EXPECT_EQ(add_iptc_keyword(0, nullptr, -1, nullptr, nullptr), -1);
}

TEST(TiffTag, IsFoundInTheChainOrNot) {
  const std::string head = "II*\0"s + le(8, 4);
  const std::string profile = entry(34675, 7, 500, le(1000, 4));
  const std::string other = entry(256, 3, 1, le(7, 4));
  std::string many = head + le(65535, 2);
  for (int i = 0; i < 2000; ++i) many += other;
  // clang-format off
  const std::tuple<const char*, std::string, int, int, int, int> rows[] = {  // the file, a tag; result, count, value
      {"first directory", head + le(2, 2) + other + profile + le(0, 4), 34675, 22, 500, 1000},
      {"second directory", head + le(1, 2) + other + le(26, 4) + le(1, 2) + profile + le(0, 4), 34675, 28, 500, 1000},
      {"first of two", head + le(2, 2) + other + entry(256, 3, 2, le(9, 2) + le(8, 2)) + le(0, 4), 256, 10, 1, 7},
      {"two SHORTs", head + le(1, 2) + entry(258, 3, 2, le(9, 2) + le(8, 2)) + le(0, 4), 258, 10, 2, 9},
      {"three SHORTs", head + le(1, 2) + entry(258, 3, 3, le(0x80009, 4)) + le(0, 4), 258, 10, 3, 0x80009},
      {"absent", head + le(1, 2) + other + le(0, 4), 34675, -1, -77, -77},
      {"no directory", "II*\0"s + le(0, 4), 34675, -1, -77, -77}, {"empty", "", 34675, -2, -77, -77},
      {"loop", head + le(1, 2) + other + le(8, 4), 34675, -1, -77, -77},
      {"big-endian", "MM\0*"s + "\0\0\0\10"s, 34675, -2, -77, -77},
      {"other number", "II+\0"s + le(8, 4), 34675, -2, -77, -77},
      {"no entries", head + le(0, 2) + le(0, 4), 34675, -2, -77, -77},
      {"negative offset", "II*\0"s + le(0x80000000, 4), 34675, -3, -77, -77},
      {"beyond the end", "II*\0"s + le(4000000, 4), 34675, -3, -77, -77},
      {"entries beyond the end", many, 34675, -3, -77, -77},
  };
  // clang-format on
  for (const auto& [what, bytes, tag, result, tag_count, tag_value] : rows) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::tmpfile(), std::fclose);
    std::fwrite(bytes.data(), 1, bytes.size(), file.get());
    std::rewind(file.get());
    int count = -77, value = -77;
    EXPECT_EQ(get_tif_tag(file.get(), tag, &count, &value), result) << what;
    EXPECT_EQ(std::pair(count, value), std::pair(tag_count, tag_value)) << what;
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
  for (const auto& [bytes, profile, result, after] :
       {std::tuple(before, "", -2, patched(before, 0)), {"MM\0*"s, "new", 0, "MM\0*"s}, {"", "new", 0, ""}}) {
    write_file(name, bytes);
    EXPECT_EQ(update(name, profile), result);
    EXPECT_EQ(read_file(name), after);
  }
  write_file(name, before);
  EXPECT_EQ(update_tif_profile(-1, nullptr, name.c_str()), -2);

  testing::internal::CaptureStderr();
  EXPECT_EQ(update(temporary("no/such/file"), "new"), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Can not open input file for reading\n");
}

// ---- Other readers -----------------------------------------------------------------------------

TEST(OtherReaders, ReadTheExifBlockAndTheKeywordsInOrder) {
  const Arrays arrays =
      Arrays::of_photo().with_position().gps_bytes(82, "\1").gps_slots(12, {125, 10, 9, 1, 8, 1, 7, 1});
  const std::string name = temporary("picture.jpg");
  const std::string keywords = with_keyword(with_keyword("", "harbour", 7), "three brackets", 19);
  ASSERT_EQ(output_of("convert -size 16x16 xc:gray -strip " + name), "");
  const std::string picture = read_file(name), iptc = images::photoshop(images::resource(0x0404, keywords) + "\0"s);
  write_file(name, picture.substr(0, 2) + images::exif(block_of(arrays, 6)) + iptc + picture.substr(2));

  const std::string shown = output_of("exiftool -n -s -a -sep '|' " + name);
  expect_shown(shown,
               {"Make *: Canon\n", "Model *: Canon EOS 5D\n", "Orientation *: 6\n", "ExposureTime *: 0.0040001",
                "FNumber *: 8\n", "ISO *: 100\n", "DateTimeOriginal *: 2015:06:01 12:00:00\n", "FocalLength *: 50\n",
                "GPSLatitude *: 47.6083333", "GPSLongitude *: 7.5876388", "GPSAltitude *: 12.5\n",
                "GPSTimeStamp *: 09:08:07\n", "GPSDateStamp *: 2015:06:01\n", "Keywords *: harbour.three brackets\n"});
  expect_shown(output_of("exiv2 -PEkv pr " + name),
               {"Exif.Photo.ExposureTime +100/24999\n", "Exif.GPSInfo.GPSLongitude +7/1 35/1 155/10\n"});
  EXPECT_EQ(output_of("exiv2 pr " + name + " 2>&1 >/dev/null"), "");
}

}  // namespace
