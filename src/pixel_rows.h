// SPDX-License-Identifier: MIT
//
// A row of pixels as it is written: without the alpha sample, and with the high bytes only of
// 16-bit samples where 8-bit ones are asked for. Samples are little-endian.

#ifndef CELUMBRANT_PIXEL_ROWS_H_
#define CELUMBRANT_PIXEL_ROWS_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

// Vector types of the compiler's own, which it lowers to what the processor has.
#if defined(__clang__) || (defined(__GNUC__) && __GNUC__ >= 12)
#define CELUMBRANT_SHUFFLES 1
#endif

// Picking bytes out of a vector takes SSSE3, which x86 has as an extension.
#if defined(CELUMBRANT_SHUFFLES) && (defined(__x86_64__) || defined(__i386__))
#define CELUMBRANT_HAS_SSSE3 1
#endif

namespace celumbrant {

struct RowFormat {
  std::size_t pixels;
  int sppIn;
  int sppOut;
  int nOctet;  // of a sample as it is written
  bool is16to8;

  bool has_alpha() const { return sppIn != sppOut; }
  bool is_copied() const { return !is16to8 && !has_alpha(); }
  std::size_t samples_in() const { return pixels * static_cast<std::size_t>(sppIn); }
  std::size_t bytes_out() const { return pixels * static_cast<std::size_t>(sppOut * nOctet); }
};

namespace rows {

// The first kOut bytes of every kIn. Pixels are moved whole, with one load and one store each: what
// is too much of one is overwritten by the next, so only the last needs care.
template <std::size_t kIn, std::size_t kOut>
void drop_bytes(const unsigned char* in, std::size_t pixels, unsigned char* out) {
  for (std::size_t i = 0; i + 1 < pixels; ++i) std::memcpy(out + kOut * i, in + kIn * i, kIn);
  if (pixels > 0) std::memcpy(out + kOut * (pixels - 1), in + kIn * (pixels - 1), kOut);
}

inline void drop_alpha(const unsigned char* in, std::size_t pixels, int sppIn, int nOctet,
                       unsigned char* out) {
  switch (sppIn * nOctet) {
    case 2:
      return drop_bytes<2, 1>(in, pixels, out);
    case 4:
      return sppIn == 4 ? drop_bytes<4, 3>(in, pixels, out) : drop_bytes<4, 2>(in, pixels, out);
    case 8:
      return sppIn == 4 ? drop_bytes<8, 6>(in, pixels, out) : drop_bytes<8, 4>(in, pixels, out);
    default:
      return drop_bytes<16, 12>(in, pixels, out);
  }
}

// Where the compiler has vectors the high bytes are picked out of two of them at once, at every
// level of optimisation.
inline void take_high_bytes(const unsigned char* in, std::size_t samples, unsigned char* out) {
  std::size_t i = 0;
#ifdef CELUMBRANT_SHUFFLES
  typedef unsigned char Bytes __attribute__((vector_size(16)));
  for (; samples - i >= sizeof(Bytes); i += sizeof(Bytes)) {
    Bytes first;
    Bytes second;
    std::memcpy(&first, in + 2 * i, sizeof first);
    std::memcpy(&second, in + 2 * i + sizeof first, sizeof second);
    const Bytes high = __builtin_shufflevector(first, second, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21,
                                               23, 25, 27, 29, 31);
    std::memcpy(out + i, &high, sizeof high);
  }
#endif
  for (; i < samples; ++i) out[i] = in[2 * i + 1];
}

// Narrowed by parts that stay in the nearest cache, then without their alpha.
inline void narrow_and_drop_alpha(const unsigned char* in, const RowFormat& row,
                                  unsigned char* out) {
  constexpr std::size_t kPart = 1024;
  constexpr std::size_t kMostSamples = 4;
  std::array<unsigned char, kPart * kMostSamples> narrow;
  const auto sppIn = static_cast<std::size_t>(row.sppIn);
  const auto sppOut = static_cast<std::size_t>(row.sppOut);
  for (std::size_t i = 0; i < row.pixels; i += kPart) {
    const std::size_t part = std::min(kPart, row.pixels - i);
    take_high_bytes(in + 2 * sppIn * i, sppIn * part, narrow.data());
    drop_alpha(narrow.data(), part, row.sppIn, 1, out + sppOut * i);
  }
}

inline void convert_portable(const unsigned char* in, const RowFormat& row, unsigned char* out) {
  if (row.is_copied()) {
    std::memcpy(out, in, row.bytes_out());
  } else if (!row.is16to8) {
    drop_alpha(in, row.pixels, row.sppIn, row.nOctet, out);
  } else if (!row.has_alpha()) {
    take_high_bytes(in, row.samples_in(), out);
  } else {
    narrow_and_drop_alpha(in, row, out);
  }
}

#ifdef CELUMBRANT_HAS_SSSE3
inline bool has_ssse3() {
  return static_cast<bool>(__builtin_cpu_supports("ssse3"));
}

// For four 16-bit samples, in one step: two pixels are read at once, and their 6 bytes written as
// 8, of which the next overwrite the last 2.
[[gnu::target("ssse3")]] inline void narrow_rgba_ssse3(const unsigned char* in, RowFormat row,
                                                       unsigned char* out) {
  typedef unsigned char Bytes __attribute__((vector_size(16)));
  for (; row.pixels > 2; row.pixels -= 2, in += 16, out += 6) {
    Bytes pair;
    std::memcpy(&pair, in, sizeof pair);
    const Bytes picked = __builtin_shufflevector(pair, pair, 1, 3, 5, 9, 11, 13, -1, -1, -1, -1, -1,
                                                 -1, -1, -1, -1, -1);
    std::memcpy(out, &picked, 8);
  }
  convert_portable(in, row, out);
}
#endif

}  // namespace rows

inline void convert_row(const unsigned char* in, const RowFormat& row, unsigned char* out) {
#ifdef CELUMBRANT_HAS_SSSE3
  if (row.is16to8 && row.sppIn == 4 && rows::has_ssse3()) {
    return rows::narrow_rgba_ssse3(in, row, out);
  }
#endif
  rows::convert_portable(in, row, out);
}

}  // namespace celumbrant

#endif  // CELUMBRANT_PIXEL_ROWS_H_
