// SPDX-License-Identifier: MIT
//
// The flat arrays of a photograph, bytes as TIFF files have them.

#ifndef CELUMBRANT_TESTS_FLAT_ARRAYS_H_
#define CELUMBRANT_TESTS_FLAT_ARRAYS_H_

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "support/files.h"

using namespace std::string_literals;

inline std::string le(unsigned long value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i) & 0xFF);
  return text;
}

inline std::string entry(int tag, int type, unsigned long count, const std::string& field) {
  return le(static_cast<unsigned long>(tag), 2) + le(static_cast<unsigned long>(type), 2) + le(count, 4) + field;
}

// The flat arrays of a photograph.
struct Arrays {
  std::array<int, CELUMBRANT_EXIF_SLOTS> exif{};
  std::array<int, CELUMBRANT_GPS_SLOTS> gps{};

  static Arrays of_photo(std::string_view model = "Canon EOS 5D") {
    Arrays arrays;
    const std::pair<int, int> slots[] = {{0, 100}, {1, 24999}, {2, 800}, {3, 100}, {5, 100}, {10, 5000}, {11, 100}};
    for (const auto& [slot, value] : slots) arrays.exif[static_cast<std::size_t>(slot)] = value;
    arrays.exif_text(CELUMBRANT_EXIF_MODEL, model);
    arrays.exif_text(CELUMBRANT_EXIF_DATE_TIME, "2015:06:01 12:00:00");
    return arrays;
  }
  Arrays& exif_text(int slot, std::string_view text) {
    std::memcpy(exif.data() + slot, text.data(), text.size());
    return *this;
  }
  Arrays& exif_slot(std::size_t slot, int value) {
    exif[slot] = value;
    return *this;
  }
  Arrays& gps_slots(std::size_t first, std::initializer_list<int> values) {
    std::ranges::copy(values, gps.begin() + static_cast<std::ptrdiff_t>(first));
    return *this;
  }
  Arrays& gps_bytes(int position, std::string_view text) {
    std::memcpy(reinterpret_cast<char*>(gps.data()) + position, text.data(), text.size());
    return *this;
  }
  // 47 36'30" N, 7 35'15.5" W, with a date; no altitude and no time.
  Arrays& with_position() {
    gps_slots(0, {47, 1, 36, 1, 30, 1, 7, 1, 35, 1, 155, 10});
    return gps_bytes(80, "NW").gps_bytes(84, "2015:06:01");
  }
};

inline std::string data_set(int record, int number, const std::string& data) {
  return "\x1C"s + static_cast<char>(record) + static_cast<char>(number) + static_cast<char>(data.size() >> 8) +
         static_cast<char>(data.size()) + data;
}

// An ICC profile that is no more than its header and a description.
inline std::string icc_profile(const std::string& description) {
  const auto be = [](std::size_t value) {
    std::string t = le(value, 4);
    std::ranges::reverse(t);
    return t;
  };
  std::string desc = "desc"s + be(0) + be(description.size() + 1) + description + std::string(79, '\0');
  std::string profile =
      be(144 + desc.size()) + std::string(4, '\0') + "\2\x20\0\0mntrRGB XYZ "s + std::string(12, '\0') + "acsp"s;
  profile.resize(128);
  return profile + be(1) + "desc" + be(144) + be(desc.size()) + desc;
}

#endif
