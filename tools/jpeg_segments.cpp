// SPDX-License-Identifier: MIT

#include "jpeg_segments.h"

#include <string_view>

namespace celumbrant_meta {
namespace {

using std::string_view_literals::operator""sv;

// A segment: 0xFF, the marker, two bytes of length that count themselves, content.
constexpr std::string_view kStartOfImage = "\xFF\xD8"sv;
constexpr std::string_view kExif = "Exif\0\0"sv;
constexpr std::size_t kHead = 4;
constexpr unsigned char kApp0 = 0xE0;
constexpr unsigned char kApp1 = 0xE1;
constexpr unsigned char kEndOfImage = 0xD9;
constexpr unsigned char kStartOfScan = 0xDA;

unsigned char byte_at(std::string_view bytes, std::size_t position) {
  return static_cast<unsigned char>(bytes[position]);
}

// The segment at the beginning of what is left of a file; empty when there is none.
std::string_view first_segment(std::string_view rest) {
  if (rest.size() < kHead || byte_at(rest, 0) != 0xFF) return {};
  const std::size_t length = static_cast<std::size_t>(byte_at(rest, 2)) << 8 | byte_at(rest, 3);
  return length < 2 || length > rest.size() - 2 ? std::string_view() : rest.substr(0, length + 2);
}

std::string exif_segment(const std::string& block) {
  const std::size_t length = 2 + kExif.size() + block.size();
  std::string segment = {'\xFF', static_cast<char>(kApp1), static_cast<char>(length >> 8),
                         static_cast<char>(length)};
  return segment.append(kExif) + block;
}

}  // namespace

std::optional<std::string> with_exif_block(const std::string& jpeg, const std::string& block) {
  std::string_view rest = jpeg;
  if (!rest.starts_with(kStartOfImage)) return std::nullopt;
  std::string copy(kStartOfImage);
  rest.remove_prefix(kStartOfImage.size());
  bool inserted = false;
  while (true) {
    // Any number of bytes 0xFF may stand in front of a marker.
    while (rest.starts_with("\xFF\xFF"sv)) rest.remove_prefix(1);
    const std::string_view segment = first_segment(rest);
    if (segment.empty()) return std::nullopt;
    const unsigned char marker = byte_at(segment, 1);
    if (marker == kEndOfImage) return std::nullopt;
    if (marker != kApp0 && !inserted) {
      copy += exif_segment(block);
      inserted = true;
    }
    if (marker == kStartOfScan) return copy.append(rest);
    const bool is_exif = marker == kApp1 && segment.substr(kHead).starts_with(kExif);
    if (!is_exif) copy.append(segment);
    rest.remove_prefix(segment.size());
  }
}

}  // namespace celumbrant_meta
