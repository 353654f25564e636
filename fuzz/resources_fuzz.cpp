// SPDX-License-Identifier: MIT
//
// Photoshop resources: what is found is what a plain search finds.

#include "support.h"

namespace {

using namespace fuzz;
using namespace std::string_view_literals;

constexpr std::size_t kHeadBytes = 12;

// The last place of a resource's first bytes; a resource begins where at least 8 bytes are searched.
std::size_t last_resource(std::string_view searched, std::string_view head) {
  if (searched.size() < 8) return std::string_view::npos;
  return searched.substr(0, searched.size() - 8 + head.size()).rfind(head);
}

void expect_iptc(const ExifInfo2& record, std::string_view searched, std::string_view rest,
                 std::size_t position) {
  const std::size_t at = last_resource(searched, "8BIM\4\4\0\0"sv);
  if (at == std::string_view::npos) {
    EXPECT(record.iptc_offset == 0 && record.iptc_len == 0);
  } else if (at + kHeadBytes <= rest.size()) {
    EXPECT(record.iptc_offset == static_cast<int>(position + at + kHeadBytes));
    EXPECT(record.iptc_len == static_cast<int>(be32(rest, at + 8)));
  }
}

void expect_thumbnail(const ExifInfo2& record, std::string_view searched, std::string_view rest,
                      std::size_t position, int result) {
  constexpr std::size_t kThumbnailHead = 40;
  const std::size_t at = last_resource(searched, "8BIM\4\14"sv);
  if (at == std::string_view::npos) {
    EXPECT(record.thumb_offset == 0 && result == 1);
    return;
  }
  EXPECT(result == record.thumb_datalen);
  if (at + kThumbnailHead > rest.size()) return;
  EXPECT(record.thumb_width == static_cast<int>(be32(rest, at + 16)));
  EXPECT(record.thumb_height == static_cast<int>(be32(rest, at + 20)));
  EXPECT(record.thumb_row == static_cast<int>(be32(rest, at + 24)));
  EXPECT(record.thumb_datalen == static_cast<int>(be32(rest, at + 32)));
  EXPECT(record.thumb_offset == static_cast<int>(position + at + kThumbnailHead));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const auto wanted = input.take<std::uint8_t>();
  const auto asked = input.take<std::int32_t>();
  if (input.rest().empty()) return 0;
  Bytes bytes = bytes_of(input.rest());
  const std::size_t position = std::min<std::size_t>(wanted, bytes.size());
  const std::string_view rest = view(bytes).substr(position);
  for (const int breed : {asked, asked & 0xFFF, size_of(rest)}) {
    const auto record = cleared_record();
    const int result = parse_photoshop_data(stream_at(bytes, position).get(), breed, record.get());
    if (breed < 0) {
      EXPECT(result == -4);
      continue;
    }
    // What the stream lacks counts as zeros.
    Text searched = terminated(rest.substr(0, static_cast<std::size_t>(breed)));
    searched.resize(std::min(static_cast<std::size_t>(breed), rest.size() + 8));
    expect_iptc(*record, view(searched), rest, position);
    expect_thumbnail(*record, view(searched), rest, position, result);
  }
  return 0;
}
