// SPDX-License-Identifier: MIT
#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <array>
#include <cmath>
#include <random>
#include <tuple>
#include <vector>

#include "hdr_range.h"

namespace {

using Pixels = std::vector<std::array<int, 4>>;  // three mantissas and the exponent of each
using Numbers = std::array<float, 3>;
constexpr float kNone = 99999997952.0F;

std::vector<unsigned char> planes(const Pixels& pixels, std::size_t width) {
  std::vector<unsigned char> rgbe(4 * pixels.size());
  for (std::size_t i = 0; i < rgbe.size(); ++i) {
    rgbe[i] = static_cast<unsigned char>(pixels[i / width / 4 * width + i % width][i / width % 4]);
  }
  return rgbe;
}

Numbers range_of(int width, int height, const std::vector<unsigned char>& rgbe) {
  Numbers pixDim{-1, -1, -1};
  EXPECT_EQ(hdrMinMax(width, height, rgbe.data(), pixDim.data()), height < 0 ? 0 : height);
  return pixDim;
}

// Compares all ways to measure with the definition: one pixel after the other, in the order in which they stand.
void expect_defined_range(const Pixels& pixels, int width, int exponent) {
  std::array<float, 256> lutE{};
  for (int e = 1; e < 256; ++e) lutE[std::size_t(e)] = float(std::pow(2.0, e - 128));
  celumbrant::HdrRange defined;
  for (const auto& [m0, m1, m2, e] : pixels) {
    if (e == 0) continue;
    const float value = float((m0 * 19 + m1 * 183 + m2 * 54) / 256) * lutE[std::size_t(e)];
    defined.imMax = std::fmax(defined.imMax, value);
    if (value > 0) defined.imMin = std::fmin(defined.imMin, value);
    defined.Emoy += double(value);
    defined.cnt += 1;
  }
  const std::vector<unsigned char> rgbe = planes(pixels, std::size_t(width));
  using namespace celumbrant;  // measure_hdr is a third way where the processor has one
  for (const auto& measure : {hdr::measure_by_pixel, hdr::measure_portable, measure_hdr}) {
    const HdrRange range = measure(width, int(pixels.size()) / width, rgbe.data(), lutE.data());
    EXPECT_EQ(std::tuple(range.cnt, range.Emoy, range.imMin, range.imMax),
              std::tuple(defined.cnt, defined.Emoy, defined.imMin, defined.imMax))
        << "vectors: " << (measure != hdr::measure_by_pixel) << ", width " << width << ", exponent " << exponent;
  }
}

TEST(HdrRange, GivesLeastMostAndMean) {
  // clang-format off
  const std::tuple<Pixels, Numbers> rows[] = {
      {{{9, 9, 9, 0}, {2, 2, 2, 128}, {4, 4, 4, 128}}, {2, 4, 3}},  // black is not counted
      {{{0, 0, 0, 200}, {6, 6, 6, 128}}, {6, 6, 3}},                // 0 is, but is no minimum
      {{{9, 9, 9, 0}, {0, 0, 0, 0}}, {kNone, 0, 0}}, {{{128, 128, 128, 160}}, {kNone, 0x1p39F, 0x1p39F}},
      {{{1, 1, 1, 1}}, {0x1p-127F, 0x1p-127F, 0x1p-127F}}, {{{2, 2, 2, 255}, {1, 1, 1, 128}}, {1, INFINITY, INFINITY}},
  };
  // clang-format on
  for (const auto& [pixels, expected] : rows) {
    EXPECT_EQ(range_of(int(pixels.size()), 1, planes(pixels, pixels.size())), expected);
  }
  for (const int sign : {1, -1}) EXPECT_EQ(range_of(5 * sign, -3 * sign, {}), (Numbers{kNone, 0, 0}));
}

TEST(HdrRange, IsTheSameToTheLastBitWhateverTheExponents) {
  // A pixel's exponent: the lowest, up to the second more, the third more for each row.
  const std::tuple<int, int, int> exponents[] = {
      {118, 13, 0}, {115, 20, 0}, {0, 135, 0}, {100, 33, 0}, {90, 70, 0}, {1, 247, 0}, {0, 255, 0}, {248, 7, 0},
      {1, 2, 0},    {2, 18, 0},   {0, 1, 0},   {0, 0, 0},    {90, 1, 8},  {99, 3, 9},  {95, 0, 6},  {240, 1, 3}};
  std::mt19937 random(6);
  const auto mantissa = [&] { return random() % 3 ? int(random() % 256) : 0; };
  for (const int width : {1, 15, 16, 33, 64, 100, 2048, 2079, 4200}) {
    for (const auto& [lowest, more, rising] : exponents) {
      std::uniform_int_distribution<int> exponent(lowest, lowest + more);
      Pixels pixels;
      for (int i = 0; i < 5 * width; ++i) {
        pixels.push_back({mantissa(), mantissa(), mantissa(), exponent(random) + i / width * rising});
      }
      expect_defined_range(pixels, width, lowest);
    }
  }
}

// Dark pixels among bright ones, and one, darker still, whose last bit is the first that the sum loses, or a tie that
// goes by the sum at that pixel. It stands where vectors are full, or behind the last full one of a row.
TEST(HdrRange, AddsInPixelOrderFromWhereTheOrderMatters) {
  for (const std::size_t darkest : {0U, 2100U, 4165U}) {
    for (int stops = -50; stops < 50; ++stops) {
      for (int luma = 1; luma < (stops > 28 && stops < 38 ? 16 : 2); luma += 2) {
        Pixels pixels;
        for (int i = 0; i < 2 * 4170; ++i) {
          pixels.push_back({(i | 1) % 256, 3 * i % 256, i / 7 % 256, i % 8 == 3 ? 129 - stops : 128 + i % 2});
        }
        pixels[darkest] = {luma, luma, luma, 128 - stops};
        expect_defined_range(pixels, 4170, 128 - stops);
      }
    }
  }
}

TEST(HdrRange, DividesByTheCountInSinglePrecision) {
  std::vector<unsigned char> rgbe(4 * 4097 * 4097, 255);  // 2^24 + 8193 pixels: one less in single precision
  for (std::size_t i = 0; i < rgbe.size(); ++i) rgbe[i] = i / 4097 % 4 == 3 ? 128 : 255;
  EXPECT_EQ(range_of(4097, 4097, rgbe), (Numbers{255, 255, std::nextafter(255.0F, 256.0F)}));
}

TEST(DateTime, IsLocalTimeReadAsScanfDoes) {
  constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
  constexpr time_t kNoon = 1433160000;  // 2015-06-01 12:00:00 UTC
  constexpr float kLeft = 0.125F;       // no time: the result is left alone
  // clang-format off
  const std::tuple<const char*, const char*, time_t, float> rows[] = {
      {"UTC0", "2015:06:01 12:00:07", kNoon, -7}, {"UTC0", "2015:06:01 12:00:00", kNoon + 16777217, 16777216},
      {"UTC0", " 2015: 6:+1\t12:\n0:0Z", kNoon, 0}, {"UTC0", "2014:18:01 11:59:60", kNoon, 0},
      {"UTC0", "2015:06:01 12:00:99999999999", kNoon, -2147483648.0F}, {"UTC0", "1970:01:01 00:00:01", 3, 2},
      {kCentralEurope, "2015:06:01 12:00:00", kNoon, 7200}, {kCentralEurope, "2015:01:01 13:00:00", 1420113600, 0},
      {"UTC0", "1970:01:01 00:00:00", 3, kLeft}, {"UTC0", "2015-06-01 12:00:00", kNoon, kLeft},
      {"UTC0", "-99999999999:06:01 12:00:00", 3, kLeft}, {"UTC0", "2015:-99999999999:01 12:00:00", 3, kLeft},
      {"UTC0", "2015:06:01 12:00:", kNoon, kLeft}, {"UTC0", "2015:06 :01 12:00:00", kNoon, kLeft},
  };
  // clang-format on
  for (const auto& [zone, text, reference, expected] : rows) {
    setenv("TZ", zone, 1);
    float seconds = kLeft;
    EXPECT_EQ(time_from_datetime(text, reference, &seconds), expected == kLeft ? -1 : 1) << text;
    EXPECT_EQ(seconds, expected) << zone << ' ' << text;
  }
  unsetenv("TZ");
}

}  // namespace
