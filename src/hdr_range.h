// SPDX-License-Identifier: MIT
//
// The brightness range of a picture whose pixels share one exponent byte among three mantissa
// bytes. A row of iMax pixels is four planes of iMax bytes:
//
//   mantissas 0 | mantissas 1 | mantissas 2 | exponents
//
// A pixel has the luminance L * 2^(exponent - 128), where L is the weighted mean of its mantissas,
// an integer of 0 to 255. An exponent of 0 marks a black pixel, which counts for nothing.
//
// The mean is, bit for bit, that of a double to which the luminances are added one by one.
// Additions depend on each other, and in pixel order they would cost several times what the rest
// costs; so pixels are taken by blocks, and a block is added in any order where that cannot be told
// from the result: all numbers in play are multiples of the smallest power of two met so far, and
// as long as the sum stays within 2^53 of it no addition rounds.

#ifndef CELUMBRANT_HDR_RANGE_H_
#define CELUMBRANT_HDR_RANGE_H_

#include <algorithm>
#include <bit>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Vector types of the compiler's own, which it lowers to what the processor has. Pixels are taken
// apart as parts of larger little-endian numbers.
#if defined(__GNUC__) && defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define CELUMBRANT_HAS_VECTORS 1
#if defined(__x86_64__) || defined(__i386__)
#define CELUMBRANT_HAS_AVX2 1
#endif
#endif

#if defined(__GNUC__)
#define CELUMBRANT_INLINE [[gnu::always_inline]] inline
#else
#define CELUMBRANT_INLINE inline
#endif

namespace celumbrant {

struct HdrRange {
  float imMin = 99999997952.0F;  // the float nearest 1e11: brighter pixels are no minimum
  float imMax = 0.0F;
  double Emoy = 0.0;  // the sum of the luminances
  std::uint64_t cnt = 0;
  unsigned char lowest = UCHAR_MAX;  // exponent of a pixel that is not black
};

namespace hdr {

struct Planes {
  const unsigned char* mantissa0;
  const unsigned char* mantissa1;
  const unsigned char* mantissa2;
  const unsigned char* exponent;

  Planes from(std::size_t pixel) const {
    return {mantissa0 + pixel, mantissa1 + pixel, mantissa2 + pixel, exponent + pixel};
  }
};

// For one pixel, or for vectors of 16-bit lanes. (By reference, as vectors of 32 bytes have no
// calling convention of their own on every x86.)
template <typename T>
CELUMBRANT_INLINE void weigh(const T& mantissa0, const T& mantissa1, const T& mantissa2, T& luma) {
  luma = (19 * mantissa0 + 183 * mantissa1 + 54 * mantissa2) >> 8;
}

CELUMBRANT_INLINE void add_pixels(const Planes& pixels, std::size_t count, const float* lutE,
                                  HdrRange& range) {
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned char exponent = pixels.exponent[i];
    if (exponent == 0) continue;
    int luma = 0;
    weigh<int>(pixels.mantissa0[i], pixels.mantissa1[i], pixels.mantissa2[i], luma);
    const float Ei = static_cast<float>(luma) * lutE[exponent];
    if (Ei > range.imMax) range.imMax = Ei;
    if (Ei > 0.0F && Ei < range.imMin) range.imMin = Ei;
    range.Emoy += static_cast<double>(Ei);
    ++range.cnt;
    range.lowest = std::min(range.lowest, exponent);
  }
}

// Pixels of a block: few enough for its planes to stay in the nearest cache, and for bytes to count
// what a lane meets.
inline constexpr std::size_t kBlock = 2048;

// Pixel after pixel.
struct NoLanes {
  static constexpr std::size_t kBytes = kBlock + 1;
};

#ifdef CELUMBRANT_HAS_VECTORS

#define CELUMBRANT_LANES(name, bytes)                                    \
  struct name {                                                          \
    static constexpr std::size_t kBytes = bytes;                         \
    typedef std::uint8_t Bytes __attribute__((vector_size(bytes)));      \
    typedef std::uint16_t Halves __attribute__((vector_size(bytes)));    \
    typedef std::int32_t Ints __attribute__((vector_size(bytes)));       \
    typedef std::uint32_t Words __attribute__((vector_size(bytes)));     \
    typedef std::uint64_t LongWords __attribute__((vector_size(bytes))); \
    typedef float Floats __attribute__((vector_size(bytes)));            \
    typedef double Doubles __attribute__((vector_size(bytes)));          \
  }
CELUMBRANT_LANES(Lanes16, 16);
CELUMBRANT_LANES(Lanes32, 32);
#undef CELUMBRANT_LANES

struct Exponents {
  unsigned char lowest;  // of those that are not 0; UCHAR_MAX when there is none
  unsigned char highest;
  std::size_t zeros;
};

template <typename Lanes>
CELUMBRANT_INLINE Exponents scan_exponents(const unsigned char* exponents, std::size_t count) {
  using Bytes = typename Lanes::Bytes;
  static_assert(kBlock / Lanes::kBytes <= UCHAR_MAX, "a byte counts the zeros of a lane");
  Bytes lowest = ~Bytes{};
  Bytes highest{};
  Bytes zeros{};
  for (std::size_t i = 0; i < count; i += Lanes::kBytes) {
    Bytes exponent;
    std::memcpy(&exponent, exponents + i, sizeof exponent);
    const Bytes less_one = exponent - 1;  // 0 becomes the largest
    lowest = less_one < lowest ? less_one : lowest;
    highest = exponent > highest ? exponent : highest;
    zeros -= reinterpret_cast<Bytes>(exponent == 0);
  }
  Exponents all{UCHAR_MAX, 0, 0};
  for (std::size_t lane = 0; lane < Lanes::kBytes; ++lane) {
    const int exponent = std::min(lowest[lane] + 1, UCHAR_MAX);
    all.lowest = std::min(all.lowest, static_cast<unsigned char>(exponent));
    all.highest = std::max<unsigned char>(all.highest, highest[lane]);
    all.zeros += zeros[lane];
  }
  return all;
}

// As many pixels as a vector has bytes. Pixel 4 * lane + k stands in lane `lane` of vector k.
template <typename Lanes>
struct Tile {
  typename Lanes::Floats value[4];
};

// 2^(exponent - 128) from an exponent that stands where a float has its own, for every exponent.
template <typename Lanes>
CELUMBRANT_INLINE void scale_any(const typename Lanes::Words& bits, typename Lanes::Floats& scale) {
  using Ints = typename Lanes::Ints;
  const Ints normal = reinterpret_cast<Ints>(bits) - (1 << 23);
  const Ints below = reinterpret_cast<Ints>(bits) >> 1;  // 1 is a subnormal; 0 stays 0
  scale = reinterpret_cast<typename Lanes::Floats>(normal > below ? normal : below);
}

// The luminances of a tile. Where kAnyExponent is false, an exponent of 1 counts as black.
template <typename Lanes, bool kAnyExponent>
CELUMBRANT_INLINE void load_tile(const Planes& pixels, Tile<Lanes>& tile) {
  using Bytes = typename Lanes::Bytes;
  using Halves = typename Lanes::Halves;
  using Ints = typename Lanes::Ints;
  using Words = typename Lanes::Words;
  using Floats = typename Lanes::Floats;
  Halves mantissa0;
  Halves mantissa1;
  Halves mantissa2;
  Halves even;
  Halves odd;
  std::memcpy(&mantissa0, pixels.mantissa0, sizeof mantissa0);
  std::memcpy(&mantissa1, pixels.mantissa1, sizeof mantissa1);
  std::memcpy(&mantissa2, pixels.mantissa2, sizeof mantissa2);
  weigh<Halves>(mantissa0 & 0xFF, mantissa1 & 0xFF, mantissa2 & 0xFF, even);
  weigh<Halves>(mantissa0 >> 8, mantissa1 >> 8, mantissa2 >> 8, odd);
  Bytes exponents;
  std::memcpy(&exponents, pixels.exponent, sizeof exponents);
  if (!kAnyExponent) exponents += reinterpret_cast<Bytes>(exponents != 0);  // true is -1

  // Bits 23 to 30 of a float are its exponent, 127 for 2^0.
  constexpr std::uint32_t kExponentBits = 0x7F800000;
  const Words packed = reinterpret_cast<Words>(exponents);
  const Words bits[4] = {packed << 23 & kExponentBits, packed << 15 & kExponentBits,
                         packed << 7 & kExponentBits, packed >> 1 & kExponentBits};
  Floats scale[4];
  for (int k = 0; k < 4; ++k) {
    if constexpr (kAnyExponent) {
      scale_any<Lanes>(bits[k], scale[k]);
    } else {
      scale[k] = reinterpret_cast<Floats>(bits[k]);
    }
  }
  const Ints even_pairs = reinterpret_cast<Ints>(even);
  const Ints odd_pairs = reinterpret_cast<Ints>(odd);
  tile.value[0] = __builtin_convertvector(even_pairs & 0xFFFF, Floats) * scale[0];
  tile.value[1] = __builtin_convertvector(odd_pairs & 0xFFFF, Floats) * scale[1];
  tile.value[2] = __builtin_convertvector(even_pairs >> 16, Floats) * scale[2];
  tile.value[3] = __builtin_convertvector(odd_pairs >> 16, Floats) * scale[3];
}

// The smallest positive and the largest value of each lane. Floats that are not negative are in the
// order of their bits as integers; taken from INT_MIN they are in the opposite order, 0 the last.
template <typename Lanes>
struct Extremes {
  typename Lanes::Floats most{};
  typename Lanes::Ints inverted_least = typename Lanes::Ints{} + INT_MIN;

  CELUMBRANT_INLINE void add(const typename Lanes::Floats& value) {
    using Ints = typename Lanes::Ints;
    using Words = typename Lanes::Words;
    most = value > most ? value : most;
    const Words inverted_bits = (std::uint32_t{1} << 31) - reinterpret_cast<Words>(value);
    const Ints inverted = reinterpret_cast<Ints>(inverted_bits);
    inverted_least = inverted > inverted_least ? inverted : inverted_least;
  }

  CELUMBRANT_INLINE void merge_into(HdrRange& range) const {
    int inverted = INT_MIN;
    for (std::size_t lane = 0; lane < Lanes::kBytes / sizeof(float); ++lane) {
      range.imMax = std::max<float>(range.imMax, most[lane]);
      inverted = std::max<int>(inverted, inverted_least[lane]);
    }
    if (inverted == INT_MIN) return;
    const std::uint32_t bits = (std::uint32_t{1} << 31) - static_cast<std::uint32_t>(inverted);
    range.imMin = std::min(range.imMin, std::bit_cast<float>(bits));
  }
};

// The sum of a block in any order. The bits of a normal float, moved up to where the fraction of a
// double ends, are a double that is 2^896 times smaller (and 0 is 0): so two doubles come out of
// each pair of floats without a conversion. Values have 8 significant bits, so that none of the
// upper float are lost, or come in the way, where the lower one is moved.
template <typename Lanes>
struct LaneSums {
  typename Lanes::Doubles lower{};
  typename Lanes::Doubles upper{};

  CELUMBRANT_INLINE void add(const typename Lanes::Floats& value) {
    using Doubles = typename Lanes::Doubles;
    using LongWords = typename Lanes::LongWords;
    const LongWords pairs = reinterpret_cast<LongWords>(value);
    lower += reinterpret_cast<Doubles>(pairs << 29);
    upper += reinterpret_cast<Doubles>(pairs >> 32 << 29);
  }

  CELUMBRANT_INLINE double total() const {
    const typename Lanes::Doubles both = lower + upper;
    double sum = 0.0;
    for (std::size_t lane = 0; lane < Lanes::kBytes / sizeof(double); ++lane) sum += both[lane];
    return sum * 0x1p896;
  }
};

template <typename Lanes>
CELUMBRANT_INLINE void add_in_order(const Tile<Lanes>& tile, double& sum) {
  constexpr std::size_t kLanes = Lanes::kBytes / sizeof(float);
  float value[4][kLanes];
  std::memcpy(value, tile.value, sizeof value);
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    sum += static_cast<double>(value[0][lane]);
    sum += static_cast<double>(value[1][lane]);
    sum += static_cast<double>(value[2][lane]);
    sum += static_cast<double>(value[3][lane]);
  }
}

// The planes of a row end and begin too often for processors to see where the next bytes will be
// wanted: the same pixels one row on, `ahead` bytes from here.
CELUMBRANT_INLINE void fetch_ahead(const Planes& pixels, std::size_t ahead) {
  __builtin_prefetch(pixels.mantissa0 + ahead);
  __builtin_prefetch(pixels.mantissa1 + ahead);
  __builtin_prefetch(pixels.mantissa2 + ahead);
  __builtin_prefetch(pixels.exponent + ahead);
}

template <typename Lanes, bool kInOrder>
CELUMBRANT_INLINE void add_tiles(const Planes& pixels, std::size_t count, std::size_t ahead,
                                 HdrRange& range) {
  Extremes<Lanes> extremes;
  LaneSums<Lanes> sums;
  double sum = range.Emoy;
  for (std::size_t i = 0; i < count; i += Lanes::kBytes) {
    const Planes at = pixels.from(i);
    if (i % 64 == 0) fetch_ahead(at, ahead);  // once per line of the cache
    Tile<Lanes> tile;
    load_tile<Lanes, kInOrder>(at, tile);
    extremes.add(tile.value[0]);
    extremes.add(tile.value[1]);
    extremes.add(tile.value[2]);
    extremes.add(tile.value[3]);
    if constexpr (kInOrder) {
      add_in_order<Lanes>(tile, sum);
    } else {
      sums.add(tile.value[0]);
      sums.add(tile.value[1]);
      sums.add(tile.value[2]);
      sums.add(tile.value[3]);
    }
  }
  extremes.merge_into(range);
  range.Emoy = kInOrder ? sum : range.Emoy + sums.total();
}

// `count` is a multiple of the bytes in a vector.
template <typename Lanes>
CELUMBRANT_INLINE void add_whole_tiles(const Planes& pixels, std::size_t count, std::size_t ahead,
                                       const float* lutE, HdrRange& range) {
  // 255 * 2^(248 - 128) is a float; above, not every luminance is.
  constexpr unsigned char kHighestFinite = 248;
  const Exponents exponents = scan_exponents<Lanes>(pixels.exponent, count);
  range.cnt += count - exponents.zeros;
  range.lowest = std::min(range.lowest, exponents.lowest);
  const auto most = static_cast<double>(lutE[exponents.highest]);
  const auto unit = static_cast<double>(lutE[range.lowest]);
  const bool never_rounds = range.Emoy + 255.0 * most * static_cast<double>(count) < 0x1p53 * unit;
  if (never_rounds && exponents.lowest > 1 && exponents.highest <= kHighestFinite) {
    add_tiles<Lanes, false>(pixels, count, ahead, range);
  } else {
    add_tiles<Lanes, true>(pixels, count, ahead, range);
  }
}

#endif  // CELUMBRANT_HAS_VECTORS

template <typename Lanes>
CELUMBRANT_INLINE void add_row(const Planes& row, std::size_t iMax, std::size_t ahead,
                               const float* lutE, HdrRange& range) {
  for (std::size_t i = 0; i < iMax; i += kBlock) {
    const Planes block = row.from(i);
    const std::size_t count = std::min(kBlock, iMax - i);
    const std::size_t in_tiles = count - count % Lanes::kBytes;
    if constexpr (Lanes::kBytes <= kBlock) {
      if (in_tiles > 0) add_whole_tiles<Lanes>(block, in_tiles, ahead, lutE, range);
    }
    add_pixels(block.from(in_tiles), count - in_tiles, lutE, range);
  }
}

template <typename Lanes>
CELUMBRANT_INLINE HdrRange measure_with(int iMax, int jMax, const unsigned char* rgbe,
                                        const float* lutE) {
  HdrRange range;
  if (iMax <= 0) return range;
  const auto width = static_cast<std::size_t>(iMax);
  for (int j = 0; j < jMax; ++j) {
    const unsigned char* const row = rgbe + 4 * width * static_cast<std::size_t>(j);
    const std::size_t ahead = j + 1 < jMax ? 4 * width : 0;
    add_row<Lanes>({row, row + width, row + 2 * width, row + 3 * width}, width, ahead, lutE, range);
  }
  return range;
}

// The same result from each.

inline HdrRange measure_by_pixel(int iMax, int jMax, const unsigned char* rgbe, const float* lutE) {
  return measure_with<NoLanes>(iMax, jMax, rgbe, lutE);
}

#ifdef CELUMBRANT_HAS_VECTORS
inline HdrRange measure_portable(int iMax, int jMax, const unsigned char* rgbe, const float* lutE) {
  return measure_with<Lanes16>(iMax, jMax, rgbe, lutE);
}
#else
inline HdrRange measure_portable(int iMax, int jMax, const unsigned char* rgbe, const float* lutE) {
  return measure_by_pixel(iMax, jMax, rgbe, lutE);
}
#endif

#ifdef CELUMBRANT_HAS_AVX2
inline bool has_avx2() {
  return static_cast<bool>(__builtin_cpu_supports("avx2"));
}

[[gnu::target("avx2")]] inline HdrRange measure_avx2(int iMax, int jMax, const unsigned char* rgbe,
                                                     const float* lutE) {
  return measure_with<Lanes32>(iMax, jMax, rgbe, lutE);
}
#endif

}  // namespace hdr

// `lutE` holds 2^(exponent - 128) for every exponent byte.
inline HdrRange measure_hdr(int iMax, int jMax, const unsigned char* rgbe, const float* lutE) {
#ifdef CELUMBRANT_HAS_AVX2
  if (hdr::has_avx2()) return hdr::measure_avx2(iMax, jMax, rgbe, lutE);
#endif
  return hdr::measure_portable(iMax, jMax, rgbe, lutE);
}

}  // namespace celumbrant

#endif  // CELUMBRANT_HDR_RANGE_H_
