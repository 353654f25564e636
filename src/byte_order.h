// SPDX-License-Identifier: MIT
//
// The one place that knows byte order: numbers assembled from bytes and stored as bytes, by shifts.

#ifndef CELUMBRANT_BYTE_ORDER_H_
#define CELUMBRANT_BYTE_ORDER_H_

#include <cstdint>

namespace celumbrant {

enum class ByteOrder { kLittleEndian, kBigEndian };

// The marks at the start of a TIFF structure, "II" and "MM", read as big-endian numbers.
inline constexpr int kMarkLittleEndian = 0x4949;
inline constexpr int kMarkBigEndian = 0x4D4D;

constexpr ByteOrder byte_order_of(int mark) {
  return mark == kMarkLittleEndian ? ByteOrder::kLittleEndian : ByteOrder::kBigEndian;
}

// What stands for a byte past the end of a file.
inline constexpr int kNoByte = -1;

// Numbers from bytes in file order, each 0 to 255 or kNoByte. A missing byte counts as 0xFF in a
// 16-bit number, but enters a 32-bit number with all its 32 bits set: past the end of a file the
// two read as 0xFFFF and, in either order, 0xFEFEFEFF.
constexpr std::uint16_t assemble16(ByteOrder order, int a, int b) {
  const auto first = static_cast<std::uint8_t>(a);
  const auto second = static_cast<std::uint8_t>(b);
  return static_cast<std::uint16_t>(order == ByteOrder::kLittleEndian ? first | second << 8
                                                                      : first << 8 | second);
}

constexpr std::int32_t assemble32(ByteOrder order, int a, int b, int c, int d) {
  const auto shifted = [](int byte, int bits) { return static_cast<std::uint32_t>(byte) << bits; };
  const std::uint32_t sum = order == ByteOrder::kLittleEndian
                                ? shifted(a, 0) + shifted(b, 8) + shifted(c, 16) + shifted(d, 24)
                                : shifted(a, 24) + shifted(b, 16) + shifted(c, 8) + shifted(d, 0);
  return static_cast<std::int32_t>(sum);
}

constexpr void store_le16(unsigned char* bytes, std::uint16_t value) {
  bytes[0] = static_cast<unsigned char>(value);
  bytes[1] = static_cast<unsigned char>(value >> 8);
}

constexpr void store_le32(unsigned char* bytes, std::uint32_t value) {
  store_le16(bytes, static_cast<std::uint16_t>(value));
  store_le16(bytes + 2, static_cast<std::uint16_t>(value >> 16));
}

}  // namespace celumbrant

#endif  // CELUMBRANT_BYTE_ORDER_H_
