// SPDX-License-Identifier: MIT
//
// What a host is told, and what is left behind, when the machine fails it: no memory, no room on the
// disk, a file that cannot be opened, read or closed, or that ends early.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "support/failing_calls.h"
#include "support/saving.h"

namespace {

const std::string kSamples = CELUMBRANT_SAMPLES "/";
// Its entry stands at 10 and ends at 22.
const std::string kOldProfile = "II*\0"s + le(8, 4) + le(1, 2) + entry(34675, 7, 3, le(26, 4)) + le(0, 4) + "old";
const std::array<float, CBTM_SETTINGS_COUNT> kSettings{};

auto open_files() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// ---- Operations on a file -----------------------------------------------------------------------

using OnFile = int (*)(const std::string& name);

const OnFile kSaveSmall = [](const std::string& name) { return save(name, 5, 3, 1); };
const OnFile kWriteSettings = [](const std::string& name) { return write_xmp(name.c_str(), 1, kSettings.data()); };
const OnFile kReplaceProfile = [](const std::string& name) {
  return update_tif_profile(7, bytes_of("another"), name.c_str());
};
const OnFile kLoadIptc = [](const std::string& name) {
  return read_iptc(name.c_str(), 30, 1028, std::vector<unsigned char>(30).data());
};
const OnFile kLoadXmp = [](const std::string& name) {
  return extract_xmp(name.c_str(), 1097, 165, std::vector<char>(1098).data());
};

// The results for numbers of bytes, each up to its own.
using Results = std::map<std::size_t, int>;
constexpr std::size_t kMore = SIZE_MAX;

// Writes to a disk with so much room. Gives the result, and what the file lacks unless all was written, or only the
// beginning, or what was there before still stands there.
std::string written(OnFile write, const std::string& whole, rlim_t room = RLIM_INFINITY) {
  const std::string name = temporary("written");
  std::filesystem::remove(name);
  if (write == kReplaceProfile) write_file(name, kOldProfile);
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const rlimit limit{room, old.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  const int result = write(name);
  setrlimit(RLIMIT_FSIZE, &old);
  const std::string left = read_file(name);
  const bool is_right = result > 0 ? left == whole : whole.starts_with(left) || left.starts_with(kOldProfile);
  return std::to_string(result) + (is_right ? "" : " lacking " + std::to_string(std::ssize(whole) - std::ssize(left)));
}

std::string whole_file(OnFile write) {
  written(write, "");
  return read_file(temporary("written"));
}

TEST(Faults, EveryByteWithoutRoomIsReported) {
  const std::tuple<OnFile, Results, int> rows[] = {{kSaveSmall, {{7, -2}, {7 + 45, -3}, {kMore, -12}}, 3},
                                                   {kWriteSettings, {{kMore, -3}}, 1},
                                                   {kReplaceProfile, {{kMore, -2}}, 7}};
  std::signal(SIGXFSZ, SIG_IGN);
  const auto open_before = open_files();
  for (const auto& [write, results, success] : rows) {
    const std::string whole = whole_file(write);
    for (std::size_t room = 0; room <= whole.size(); ++room) {
      const int expected = room < whole.size() ? results.lower_bound(room)->second : success;
      ASSERT_EQ(written(write, whole, room), std::to_string(expected)) << room;
    }
  }
  EXPECT_EQ(open_files(), open_before);
}

TEST(Faults, FilesCutAnywhereAreReadUpToThere) {
  // The end of what is read: of the GPS date, or of as many bytes from the XMP packet on as its segment has.
  const std::tuple<std::string, int, std::size_t> rows[] = {
      {"exif.psd", CELUMBRANT_IMAGE_PSD, 666},
      {"resources.tif", CELUMBRANT_IMAGE_TIFF, 4008},
      {"big_endian.jpg", CELUMBRANT_IMAGE_JPEG, 4270},
      {"settings.jpg", CELUMBRANT_IMAGE_JPEG, 1262},
      {"../../examples/harbour.jpg", CELUMBRANT_IMAGE_JPEG, 3485}};
  const std::string file = temporary("cut");
  const auto open_before = open_files();
  testing::internal::CaptureStderr();
  for (const auto& [sample, image_type, needed] : rows) {
    write_file(file, read_file(kSamples + sample));
    ExifInfo2 whole{}, other{};
    EXPECT_EQ(getExifData(file.c_str(), image_type, &whole), 1);
    std::size_t lacking = 0;
    for (auto length = std::filesystem::file_size(file); length-- > 0;) {
      std::filesystem::resize_file(file, length);
      ExifInfo2 record{};
      const int result = getExifData(file.c_str(), image_type, &record);
      EXPECT_TRUE(result == 1 || result == -10 || (result < 0 && result >= -3)) << result;
      lacking += std::memcmp(&record, &whole, sizeof whole) != 0 ? 1U : 0U;
      for (const int type : {0, 1, 2}) getExifData(file.c_str(), type, &other);
    }
    EXPECT_EQ(lacking, needed) << sample;
  }
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(open_files(), open_before);
}

TEST(Faults, BlocksCutAnywhereAreNotTakenForWhole) {
  const std::tuple<std::string, OnFile, Results> rows[] = {
      {read_file(kSamples + "big_endian.jpg"), kLoadIptc, {{30, 0}, {1028, -2}, {1057, -1}, {kMore, 30}}},
      {read_file(kSamples + "settings.jpg"), kLoadXmp, {{1097, 0}, {kMore, 2}}},
      {kOldProfile, kReplaceProfile, {{11, 0}, {21, -2}, {kMore, 7}}}};
  for (const auto& [bytes, act, results] : rows) {
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
      write_file(temporary("cut"), bytes.substr(0, length));
      const int result = act(temporary("cut"));
      EXPECT_EQ(result, results.lower_bound(length)->second) << length;
      EXPECT_TRUE(result == 7 || read_file(temporary("cut")) == bytes.substr(0, length)) << length;
    }
  }
}

// ---- Calls that fail -----------------------------------------------------------------------------

#ifdef CELUMBRANT_CAN_FAIL_MEMORY

const OnFile kSave4MiB = [](const std::string& name) { return save(name, 1024, 1024, 1); };
const OnFile kSaveWithoutNul = [](const std::string& name) { return save(name, 5, 3, 0, "a packet"); };

// A result, with a remark when it is none above 0 and what goes with it changed nevertheless.
std::string result_of(int result, const auto& now, const auto& before) {
  return std::to_string(result) + (result > 0 || now == before ? "" : " with a change");
}

std::string hdr_range() {
  std::array<float, 3> range{};
  return result_of(hdrMinMax(0, 0, nullptr, range.data()), range, decltype(range){});
}
std::string found_tag() {
  std::array<int, CBTM_SETTINGS_COUNT> found{}, before{};
  auto values = kSettings;
  return result_of(searchForTag(1, "cbtm:A", 0, " <cbtm:A>5.0", 1, 12, found.data(), values.data()), found, before);
}
std::string inserted() {
  const std::string before =
      "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'></rdf:RDF>";
  const int growth = insert_xmp(CBTM_MEASURE, 1, kSettings.data(), 0, 0, nullptr), length = int(before.size());
  std::string packet = before + std::string(std::size_t(growth), '\0');
  const int result = insert_xmp(1, 1, kSettings.data(), length, growth, packet.data());
  return result_of(result, packet.substr(0, before.size()), before);
}
std::string settings_read() {
  auto values = kSettings;
  return result_of(read_xmp((kSamples + "settings.jpg").c_str(), 2, values.data()), values, kSettings);
}
template <auto parse>
std::string parsed() {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen((kSamples + "exif.psd").c_str(), "rb"), std::fclose);
  ExifInfo2 record{};
  const int result = parse(file.get(), 900, &record);
  return result_of(result, record.iptc_len + record.iso + std::ftell(file.get()), 0);
}
// A record's result, and fields that come from different places.
std::string record_of(const std::string& sample, int image_type) {
  ExifInfo2 r;
  const int result = getExifData((kSamples + sample).c_str(), image_type, &r);
  std::string outcome = std::to_string(result) + ": ";
  for (const int field : {r.iso, r.thumb_offset, r.embeddedXmp_offset}) outcome += std::to_string(field) + ' ';
  return outcome + reinterpret_cast<const char*>(r.lens);
}

// The outcomes with the first, the second... call of a function failing alone, as long as there is one.
std::string with_each_failing(const char* function, const std::function<std::string()>& operation) {
  std::string all;
  for (int nth = 0;; ++nth) {
    const auto open_before = open_files();
    const FailingCalls failing(function, nth);
    const std::string outcome = operation();
    EXPECT_EQ(open_files(), open_before) << function;
    if (failing.calls() <= nth) return all;
    all += (nth > 0 ? ", " : "") + outcome;
  }
}

TEST(Faults, EveryCallThatFailsIsReported) {
  // clang-format off
  const std::tuple<OnFile, const char*, std::string> writings[] = {
      {kSaveSmall, "calloc", "-4, -1, -1"}, {kSave4MiB, "fwrite", "-2, -3, -3, -3, -3, -12"},
      {kSaveSmall, "fopen", "-1"}, {kSaveSmall, "fclose", "-12"},
      {kSaveWithoutNul, "calloc", "3 lacking 1, -4, -1"},  // the packet that could not be copied lacks its last byte
      {kWriteSettings, "calloc", "-4"}, {kWriteSettings, "fwrite", "-3"}, {kWriteSettings, "fopen", "-1"},
      {kWriteSettings, "fclose", "-3"}, {kReplaceProfile, "fopen", "-1, -1, -1"}, {kReplaceProfile, "fread", "0"},
      {kReplaceProfile, "fseek", "-2, -2, -2"}, {kReplaceProfile, "fgetc", "-1, -1"},
      {kReplaceProfile, "fwrite", "-2, -2"}, {kReplaceProfile, "fclose", "7, -2, -2"}};
  const auto load_iptc = [] { return std::to_string(kLoadIptc(kSamples + "big_endian.jpg")); };
  const auto load_xmp = [] { return std::to_string(kLoadXmp(kSamples + "big_endian.jpg")); };
  const auto settings_jpg = [] { return record_of("settings.jpg", CELUMBRANT_IMAGE_JPEG); };
  const auto big_endian_jpg = [] { return record_of("big_endian.jpg", CELUMBRANT_IMAGE_JPEG); };
  const auto resources_tif = [] { return record_of("resources.tif", CELUMBRANT_IMAGE_TIFF); };
  const std::tuple<std::string (*)(), const char*, std::string> readings[] = {
      {hdr_range, "calloc", "-4"}, {found_tag, "calloc", "0"}, {inserted, "calloc", "-4"},
      {settings_read, "calloc", "-4"}, {settings_read, "fopen", "-1"}, {settings_read, "fread", "-2"},
      {settings_read, "fseek", "-1, -1"}, {settings_read, "ftell", "-1"},
      {parsed<parse_photoshop_data>, "calloc", "-4"}, {parsed<parse_image_description>, "calloc", "-1"},
      {load_iptc, "fopen", "-1"}, {load_iptc, "fseek", "-1, 0"}, {load_iptc, "fread", "-2"},
      {load_xmp, "fopen", "-1"}, {load_xmp, "fseek", "-1, 0"}, {load_xmp, "fread", "0"},
      {settings_jpg, "fopen", "-1: 0 0 0 "}, {settings_jpg, "fread", "-1: 0 0 0 "},
      // Without memory the packet or the resources are passed over: settings, the lens, another thumbnail.
      {settings_jpg, "calloc", "1: 100 0 0 "}, {resources_tif, "calloc", "1: 400 0 376 "},
      {big_endian_jpg, "calloc", "1: 400 1098 0 , 1: 400 686 0 35mm f/2 Sample"}};
  // clang-format on
  testing::internal::CaptureStderr();
  for (const auto& [write, function, expected] : writings) {
    const std::string whole = whole_file(write);
    EXPECT_EQ(with_each_failing(function, [&, w = write] { return written(w, whole); }), expected) << function;
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Could not open for writing file:  " + temporary("written") + "\nCan not open input file for reading\n" +
                "Can not open input file for appending\nCan not open input file for update\n");
  for (const auto& [read, function, expected] : readings) EXPECT_EQ(with_each_failing(function, read), expected);
}

#endif

}  // namespace
