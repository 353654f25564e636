// SPDX-License-Identifier: MIT
#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "hdr_range.h"
#ifdef CELUMBRANT_CAN_FAIL_MEMORY
#include "support/failing_memory.h"
#endif

namespace {

using celumbrant::HdrRange;

struct Pixel {
  int m0, m1, m2, e;
};

struct Picture {
  int width, height;
  std::vector<unsigned char> rgbe;

  Picture(int w, int h) : width(w), height(h), rgbe(std::size_t{4} * std::size_t(w * h)) {}
  Picture(std::initializer_list<Pixel> row) : Picture(int(row.size()), 1) {
    int x = 0;
    for (const Pixel& pixel : row) set(x++, 0, pixel);
  }
  unsigned char& plane(int x, int y, int n) { return rgbe[std::size_t((4 * y + n) * width + x)]; }
  void set(int x, int y, const Pixel& p) {
    std::tie(plane(x, y, 0), plane(x, y, 1), plane(x, y, 2), plane(x, y, 3)) = std::tuple(p.m0, p.m1, p.m2, p.e);
  }
};

std::vector<float> range_of(const Picture& picture) {
  std::vector<float> pixDim(3, -1.0F);
  EXPECT_EQ(hdrMinMax(picture.width, picture.height, picture.rgbe.data(), pixDim.data()), picture.height);
  return pixDim;
}

// From the definition: one pixel after the other, in the order in which they stand.
HdrRange defined_range(Picture& picture) {
  HdrRange range;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const int e = picture.plane(x, y, 3);
      if (e == 0) continue;
      const int weighted = picture.plane(x, y, 0) * 19 + picture.plane(x, y, 1) * 183 + picture.plane(x, y, 2) * 54;
      const float value = float(weighted / 256) * float(std::pow(2.0, e - 128));
      range.imMax = std::fmax(range.imMax, value);
      if (value > 0) range.imMin = std::fmin(range.imMin, value);
      range.Emoy += double(value);
      range.cnt += 1;
    }
  }
  return range;
}

auto bits(const HdrRange& range) {
  return std::tuple(range.cnt, std::bit_cast<std::uint64_t>(range.Emoy), std::bit_cast<std::uint32_t>(range.imMin),
                    std::bit_cast<std::uint32_t>(range.imMax));
}

std::vector<float> powers() {
  std::vector<float> lutE(256);
  for (int e = 1; e < 256; ++e) lutE[std::size_t(e)] = float(std::pow(2.0, e - 128));
  return lutE;
}

void expect_defined_range(Picture& picture) {
  using Measure = HdrRange (*)(int, int, const unsigned char*, const float*);
  std::vector<Measure> variants{celumbrant::hdr::measure_by_pixel, celumbrant::hdr::measure_portable};
#ifdef CELUMBRANT_HAS_AVX2
  if (celumbrant::hdr::has_avx2()) variants.push_back(celumbrant::hdr::measure_avx2);
#endif
  static const std::vector<float> lutE = powers();
  for (std::size_t i = 0; i < variants.size(); ++i) {
    EXPECT_EQ(bits(variants[i](picture.width, picture.height, picture.rgbe.data(), lutE.data())),
              bits(defined_range(picture)))
        << "variant " << i << ", " << picture.width << " x " << picture.height;
  }
}

constexpr float kNone = 99999997952.0F;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(HdrRange, FollowsItsDefinition) {
  const struct {
    const char* what;
    Picture picture;
    std::vector<float> expected;
  } cases[] = {
      {"weight 0", {{255, 0, 0, 128}}, {18, 18, 18}},
      {"weight 1", {{0, 255, 0, 128}}, {182, 182, 182}},
      {"weight 2", {{0, 0, 255, 128}}, {53, 53, 53}},
      {"weights make 256", {{255, 255, 255, 128}}, {255, 255, 255}},
      {"scale up", {{255, 255, 255, 129}}, {510, 510, 510}},
      {"scale down", {{7, 7, 7, 127}}, {3.5F, 3.5F, 3.5F}},
      {"shifted to 0", {{1, 0, 0, 128}, {0, 2, 0, 128}}, {1, 1, 0.5F}},
      {"black is not counted", {{9, 9, 9, 0}, {2, 2, 2, 128}, {4, 4, 4, 128}}, {2, 4, 3}},
      {"all black", {{9, 9, 9, 0}, {0, 0, 0, 0}}, {kNone, 0, 0}},
      {"0 is counted, but no minimum", {{0, 0, 0, 200}, {6, 6, 6, 128}}, {6, 6, 3}},
      {"brighter than any minimum", {{128, 128, 128, 160}}, {kNone, 0x1p39F, 0x1p39F}},
      {"darkest", {{1, 1, 1, 1}}, {0x1p-127F, 0x1p-127F, 0x1p-127F}},
      {"largest finite", {{255, 255, 255, 248}}, {kNone, 255 * 0x1p120F, 255 * 0x1p120F}},
      {"too large", {{2, 2, 2, 255}, {1, 1, 1, 128}}, {1, kInfinity, kInfinity}},
      {"no columns", Picture(0, 7), {kNone, 0, 0}},
      {"no rows", Picture(7, 0), {kNone, 0, 0}},
  };
  for (const auto& row : cases) EXPECT_EQ(range_of(row.picture), row.expected) << row.what;
  float pixDim[3];
  EXPECT_EQ(hdrMinMax(5, -3, nullptr, pixDim), 0);
  EXPECT_EQ(hdrMinMax(-5, 3, nullptr, pixDim), 3);
}

TEST(HdrRange, IsTheSameToTheLastBitWhateverTheExponents) {
  const struct {
    int lowest, random, rising;  // a pixel's exponent: the first, up to the second more, and the
  } exponents[] = {              // third for each row
                   {118, 13, 0}, {115, 20, 0}, {0, 135, 0}, {100, 33, 0}, {90, 70, 0}, {1, 247, 0},
                   {0, 255, 0},  {248, 7, 0},  {1, 2, 0},   {2, 18, 0},   {0, 1, 0},   {0, 0, 0},
                   {90, 1, 8},   {99, 3, 9},   {95, 0, 6},  {240, 1, 3}};
  std::mt19937 random(6);
  for (const int width : {1, 15, 16, 33, 64, 100, 2048, 2079, 4200}) {
    for (const auto& row : exponents) {
      Picture picture(width, 5);
      for (auto& byte : picture.rgbe) byte = static_cast<unsigned char>(random() % 3 ? random() : 0);
      std::uniform_int_distribution<int> exponent(row.lowest, row.lowest + row.random);
      for (int i = 0; i < width * picture.height; ++i) {
        const int y = i / width;
        picture.plane(i % width, y, 3) = static_cast<unsigned char>(exponent(random) + y * row.rising);
      }
      SCOPED_TRACE(row.lowest);
      expect_defined_range(picture);
    }
  }
}

// Dark pixels among bright ones, and one, darker still, whose last bit is the first that the sum
// loses. Ties go to the even neighbour of whatever the sum is at that pixel. The darkest stands
// where vectors are full, or behind the last full one of a row.
TEST(HdrRange, AddsInPixelOrderFromWhereTheOrderMatters) {
  constexpr int kWidth = 4170;
  for (const int darkest : {0, 2100, 4165}) {
    for (int stops = -50; stops < 50; ++stops) {
      for (int luma = 1; luma < (stops > 28 && stops < 38 ? 16 : 2); luma += 2) {
        Picture picture(kWidth, 2);
        for (int i = 0; i < 2 * kWidth; ++i) {
          const int exponent = i % 8 == 3 ? 129 - stops : 128 + i % 2;
          picture.set(i % kWidth, i / kWidth, {i | 1, 3 * i, i / 7, exponent});
        }
        picture.set(darkest, 0, {luma, luma, luma, 128 - stops});
        SCOPED_TRACE(stops);
        expect_defined_range(picture);
      }
    }
  }
}

TEST(HdrRange, DividesByTheCountInSinglePrecision) {
  Picture picture(4097, 4097);  // 2^24 + 8193 pixels: one less in single precision
  std::fill(picture.rgbe.begin(), picture.rgbe.end(), static_cast<unsigned char>(255));
  for (int y = 0; y < picture.height; ++y) std::fill_n(&picture.plane(0, y, 3), 4097, 128);
  EXPECT_EQ(range_of(picture), (std::vector<float>{255, 255, std::nextafter(255.0F, 256.0F)}));
}

#ifdef CELUMBRANT_CAN_FAIL_MEMORY
TEST(HdrRange, LeavesTheResultAloneWithoutMemory) {
  const FailingMemory none(0);
  float pixDim[3] = {-1, -1, -1};
  EXPECT_EQ(hdrMinMax(0, 0, nullptr, pixDim), -4);
  EXPECT_EQ(pixDim[0] + pixDim[1] + pixDim[2], -3);
}
#endif

TEST(DateTime, IsLocalTimeReadAsScanfDoes) {
  constexpr const char* kUtc = "UTC0";
  constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
  constexpr time_t kNoon = 1433160000;  // 2015-06-01 12:00:00 UTC
  constexpr float kUntouched = 0.125F;
  const struct {
    const char* zone;
    const char* text;
    time_t reference;
    int result;
    float seconds;
  } cases[] = {
      {kUtc, "2015:06:01 12:00:00", kNoon + 3600, 1, 3600},
      {kUtc, "2015:06:01 12:00:07", kNoon, 1, -7},
      {kUtc, " 2015: 6:+1\t12:\n0:0Z", kNoon, 1, 0},
      {kUtc, "2014:18:01 11:59:60", kNoon, 1, 0},
      {kUtc, "2015:06:01 12:00:00", kNoon + 16777217, 1, 16777216},
      {kUtc, "2015:06:01 12:00:99999999999", kNoon, 1, -2147483648.0F},
      {kCentralEurope, "2015:06:01 12:00:00", kNoon, 1, 7200},
      {kCentralEurope, "2015:01:01 13:00:00", 1420113600, 1, 0},
      {"EST5", "2015:06:01 12:00:00", kNoon, 1, -18000},
      {kUtc, "1970:01:01 00:00:01", 3, 1, 2},
      {kUtc, "1970:01:01 00:00:00", 3, -1, kUntouched},
      {kUtc, "1969:12:31 23:00:00", 3, -1, kUntouched},
      {kUtc, "-99999999999:06:01 12:00:00", 3, -1, kUntouched},
      {kUtc, "2015:-99999999999:01 12:00:00", 3, -1, kUntouched},
      {kUtc, "2015-06-01 12:00:00", kNoon, -1, kUntouched},
      {kUtc, "2015:06:01 12:00:", kNoon, -1, kUntouched},
      {kUtc, "2015:06 :01 12:00:00", kNoon, -1, kUntouched},
      {kUtc, "", kNoon, -1, kUntouched},
  };
  for (const auto& row : cases) {
    setenv("TZ", row.zone, 1);
    float seconds = kUntouched;
    EXPECT_EQ(time_from_datetime(row.text, row.reference, &seconds), row.result) << row.text;
    EXPECT_EQ(seconds, row.seconds) << row.zone << ' ' << row.text;
  }
  unsetenv("TZ");
  tzset();
}

}  // namespace
