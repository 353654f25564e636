// SPDX-License-Identifier: MIT
//
// Random access to an open file with few calls of the system. A stream asks the kernel for every
// seek; here a position is arithmetic, and the file is read only where neither of two windows
// holds it. There are two because the values of a directory lie away from its entries, and because
// the last walk over a JPEG starts over at its first bytes.

#ifndef CELUMBRANT_FILE_WINDOW_H_
#define CELUMBRANT_FILE_WINDOW_H_

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>

#include "byte_order.h"

namespace celumbrant {

class FileWindow {
 public:
  // Reading begins at `position`, where the stream must stand. The stream is the window's until
  // leave_stream().
  FileWindow(std::FILE* stream, std::int64_t position)
      : stream_(stream), position_(position), stream_at_(position) {}
  explicit FileWindow(std::FILE* stream) : FileWindow(stream, std::max(std::ftell(stream), 0L)) {}
  FileWindow(const FileWindow&) = delete;
  FileWindow& operator=(const FileWindow&) = delete;

  std::int64_t position() const { return position_; }

  // Any position is good but a negative one, which leaves the position as it was.
  bool seek(std::int64_t position) {
    if (position < 0) return false;
    position_ = position;
    return true;
  }

  // The reads below advance the position by the bytes that the file still has. What they make of
  // those that it has not is told in byte_order.h.
  int byte() { return reach() ? take() : kNoByte; }

  std::uint16_t u16(ByteOrder order) {
    if (const unsigned char* p = take(2)) return assemble16(order, p[0], p[1]);
    const int a = byte();
    const int b = byte();
    return assemble16(order, a, b);
  }

  std::int32_t i32(ByteOrder order) {
    if (const unsigned char* p = take(4)) return assemble32(order, p[0], p[1], p[2], p[3]);
    const int a = byte();
    const int b = byte();
    const int c = byte();
    const int d = byte();
    return assemble32(order, a, b, c, d);
  }

  std::uint16_t be16() { return u16(ByteOrder::kBigEndian); }
  std::int32_t be32() { return i32(ByteOrder::kBigEndian); }

  // Copies up to `count` bytes and returns how many.
  std::size_t read(char* bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count && reach()) done += copy_held(bytes + done, count - done);
    return done;
  }

  // The same for bytes that nobody will want again: what the windows do not hold goes straight to
  // `bytes`, in one read.
  std::size_t read_block(char* bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count && (holds(*current_) || holds(*other_))) {
      if (!holds(*current_)) std::swap(current_, other_);
      done += copy_held(bytes + done, count - done);
    }
    if (done == count || !place_stream(position_)) return done;
    const std::size_t got = read_stream(bytes + done, count - done);
    position_ += static_cast<std::int64_t>(got);
    return done + got;
  }

  // Up to limit - 1 bytes, the last of them the first line feed, and a NUL. Nothing is stored at
  // the end of the file.
  void read_line(char* line, int limit) {
    int length = 0;
    while (length < limit - 1 && reach()) {
      line[length] = static_cast<char>(take());
      if (line[length++] == '\n') break;
    }
    if (length > 0) line[length] = '\0';
  }

  bool at_end() { return !reach(); }

  // Bytes from the position to the end of the file, whose length is asked for once.
  std::int64_t remaining() {
    if (!knows_length_ && std::fseek(stream_, 0, SEEK_END) == 0) {
      stream_at_ = std::ftell(stream_);
      if (stream_at_ >= 0) end_ = stream_at_;
      knows_length_ = true;
    }
    return std::max<std::int64_t>(end_ - position_, 0);
  }

  // Puts the stream where reading has come to.
  void leave_stream() { place_stream(position_); }

  // How often the file was read: what costs time.
  int refills() const { return refills_; }

 private:
  // Camera files keep a segment's directories, or the next segments' heads, within such a stretch.
  static constexpr std::size_t kWindowBytes = 16384;
  // Values lie on either side of the one that is wanted first.
  static constexpr std::int64_t kAlignment = 4096;

  struct Window {
    std::int64_t start = 0;
    std::size_t length = 0;
    std::array<unsigned char, kWindowBytes> bytes;
  };

  std::size_t offset_in(const Window& window) const {
    return static_cast<std::size_t>(position_ - window.start);  // huge when it lies before
  }
  bool holds(const Window& window) const { return offset_in(window) < window.length; }

  int take() { return current_->bytes[static_cast<std::size_t>(position_++ - current_->start)]; }

  // The next `count` bytes where they stand, or null when the current window does not hold all.
  const unsigned char* take(std::size_t count) {
    const std::size_t offset = offset_in(*current_);
    if (offset >= current_->length || current_->length - offset < count) return nullptr;
    position_ += static_cast<std::int64_t>(count);
    return current_->bytes.data() + offset;
  }

  std::size_t copy_held(char* bytes, std::size_t count) {
    const std::size_t offset = offset_in(*current_);
    const std::size_t step = std::min(count, current_->length - offset);
    std::memcpy(bytes, current_->bytes.data() + offset, step);
    position_ += static_cast<std::int64_t>(step);
    return step;
  }

  // Makes the current window hold the position. False at and beyond the end of the file.
  bool reach() { return holds(*current_) || bring(); }

  bool bring() {
    if (position_ >= end_) return false;
    std::swap(current_, other_);
    return holds(*current_) || refill();
  }

  bool refill() {
    const std::int64_t start = position_ - position_ % kAlignment;
    if (!place_stream(start)) return false;
    Window& window = *current_;
    window.start = start;
    window.length = read_stream(window.bytes.data(), kWindowBytes);
    return holds(window);
  }

  bool place_stream(std::int64_t position) {
    if (stream_at_ == position) return true;
    if (position > LONG_MAX) return false;
    stream_at_ = std::fseek(stream_, static_cast<long>(position), SEEK_SET) == 0 ? position : -1;
    return stream_at_ == position;
  }

  std::size_t read_stream(void* bytes, std::size_t count) {
    const std::size_t got = std::fread(bytes, 1, count, stream_);
    ++refills_;
    stream_at_ += static_cast<std::int64_t>(got);
    if (got < count) end_ = std::min(end_, stream_at_);
    return got;
  }

  std::FILE* stream_;
  std::int64_t position_;
  std::int64_t stream_at_;  // where the stream stands; -1 when that is not known
  // No byte of the file stands here or beyond.
  std::int64_t end_ = std::numeric_limits<std::int64_t>::max();
  bool knows_length_ = false;
  int refills_ = 0;
  Window first_;
  Window second_;
  Window* current_ = &first_;
  Window* other_ = &second_;
};

}  // namespace celumbrant

#endif  // CELUMBRANT_FILE_WINDOW_H_
