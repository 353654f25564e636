// SPDX-License-Identifier: MIT
//
// The cursor of every writer: little-endian values into a buffer of known size. What lies beyond
// the buffer is not written, and the cursor knows at the end whether all of it was filled.

#ifndef CELUMBRANT_BYTE_WRITER_H_
#define CELUMBRANT_BYTE_WRITER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "byte_order.h"

namespace celumbrant {

class ByteWriter {
 public:
  explicit ByteWriter(std::span<unsigned char> bytes) : bytes_(bytes) {}

  std::size_t position() const { return position_; }
  bool complete() const { return position_ == bytes_.size(); }

  // The low 16 bits.
  void u16(int value) {
    unsigned char bytes[2];
    store_le16(bytes, static_cast<std::uint16_t>(value));
    copy(bytes, sizeof bytes);
  }
  void be16(int value) { u16((value >> 8 & 0xFF) | (value & 0xFF) << 8); }
  void u32(std::uint32_t value) {
    unsigned char bytes[4];
    store_le32(bytes, value);
    copy(bytes, sizeof bytes);
  }
  void i32(int value) { u32(static_cast<std::uint32_t>(value)); }

  void text(std::string_view text) { copy(text.data(), text.size()); }
  void bytes(const char* from, int count) { copy(from, static_cast<std::size_t>(count)); }

  void zeros(std::size_t count) {
    std::ranges::fill(bytes_.subspan(bytes_.size() - room(), std::min(count, room())), 0);
    position_ += count;
  }

  // Leaves what the buffer holds.
  void skip(std::size_t count) { position_ += count; }

 private:
  void copy(const void* from, std::size_t count) {
    const std::size_t fitting = std::min(count, room());
    if (fitting > 0) std::memcpy(bytes_.data() + position_, from, fitting);
    position_ += count;
  }

  std::size_t room() const { return bytes_.size() - std::min(position_, bytes_.size()); }

  std::span<unsigned char> bytes_;
  std::size_t position_ = 0;
};

}  // namespace celumbrant

#endif  // CELUMBRANT_BYTE_WRITER_H_
