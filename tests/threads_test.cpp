// SPDX-License-Identifier: MIT
//
// Calls of several threads at once, on files and buffers of their own.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/saving.h"

namespace {

using Settings = std::array<float, CBTM_SETTINGS_COUNT>;

// One call or more of every family. What comes of it depends on the number alone.
std::string work(int number, const std::string& file) {
  const auto is_odd = number % 2 == 1;
  const std::string sample = std::string(CELUMBRANT_SAMPLES) + (is_odd ? "/big_endian.jpg" : "/resources.tif");
  Arrays arrays;
  std::string outcome = std::to_string(
      get_exif_data(sample.c_str(), is_odd ? CELUMBRANT_IMAGE_JPEG : 0, arrays.exif.data(), arrays.gps.data()));
  outcome.append(reinterpret_cast<const char*>(arrays.exif.data()), sizeof arrays.exif);

  outcome += std::to_string(save(file, 100 + number, 100, is_odd ? 1 : 3));
  const std::string profile = icc_profile("profile " + std::to_string(number));
  outcome += std::to_string(update_tif_profile(static_cast<int>(profile.size()), bytes_of(profile), file.c_str()));
  outcome += read_file(file);

  Settings settings{};
  settings[1] = static_cast<float>(number);
  outcome += std::to_string(write_xmp(file.c_str(), is_odd ? 1 : 10, settings.data()));
  outcome += std::to_string(read_xmp(file.c_str(), is_odd ? 1 : 10, settings.data()));
  std::string packet = read_file(file);
  const int growth = insert_xmp(CBTM_MEASURE, 11, settings.data(), 0, 0, nullptr);
  const int length = static_cast<int>(packet.size());
  packet.resize(packet.size() + static_cast<std::size_t>(growth));
  outcome += std::to_string(insert_xmp(2, 11, settings.data(), length, growth, packet.data())) + packet;

  std::array<unsigned char, CELUMBRANT_EXIF_BLOCK_MAX> block{};
  int sizes[9];
  char make[CELUMBRANT_MAKE_BYTES];
  get_exif_count(arrays.exif.data(), &sizes[0], &sizes[1], arrays.gps.data(), &sizes[2], &sizes[3], &sizes[4],
                 &sizes[5], &sizes[6], &sizes[7], &sizes[8], make);
  outcome +=
      std::to_string(write_exif_buf(sizes[0], sizes[1], sizes[2], sizes[3], sizes[4], sizes[5], sizes[6], sizes[7],
                                    number, arrays.exif.data(), arrays.gps.data(), make, block.data()));
  outcome.append(reinterpret_cast<const char*>(block.data()), block.size());
  outcome += std::to_string(add_iptc_keyword(0, nullptr, number + 1, "keyword", block.data()));
  int found[CBTM_SETTINGS_COUNT] = {};
  outcome += std::to_string(searchForTag(1, "cbtm:Radius", 0, packet.data(), 1, length, found, settings.data()));

  float range[3] = {}, seconds = 0;
  outcome += std::to_string(hdrMinMax(number, 4, bytes_of(packet), range));
  outcome += std::to_string(time_from_datetime("2015:06:01 12:00:00", number, &seconds));
  return outcome + std::to_string(range[2]) + std::to_string(seconds);
}

TEST(Threads, DoNotDisturbEachOther) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 40;
  std::vector<std::string> alone;
  for (int number = 0; number < kThreads; ++number) alone.push_back(work(number, temporary("alone")));
  std::vector<int> differing(kThreads);
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&, number, file = temporary(std::to_string(number))] {
      const auto index = static_cast<std::size_t>(number);
      for (int round = 0; round < kRounds; ++round) differing[index] += work(number, file) == alone[index] ? 0 : 1;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(differing, std::vector<int>(kThreads));
}

}  // namespace
