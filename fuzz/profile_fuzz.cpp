// SPDX-License-Identifier: MIT
//
// Any tag looked up in files from anywhere, and their ICC profile replaced: of a file that has one
// nothing changes but its entry, and the new profile is the one that is found.

#include "support.h"

namespace {

using namespace fuzz;

constexpr int kTagIccProfile = 34675;
constexpr std::size_t kEntryBytes = 12;

void look_up(Text& bytes, int tag) {
  const Found found = find_tag(bytes, tag);
  const auto at = static_cast<std::size_t>(found.position);
  if (found.position < 0 || at + kEntryBytes > bytes.size()) return;
  EXPECT(le16(view(bytes), at) == tag);
  EXPECT(found.count == static_cast<int>(le32(view(bytes), at + 4)));
  const bool is_short = le16(view(bytes), at + 2) == 3 && found.count <= 2;
  const auto field = static_cast<int>(le32(view(bytes), at + 8));
  EXPECT(found.value == (is_short ? field & 0xFFFF : field));
}

// Whether no directory up to an entry's overlaps the header, the one before it, or that entry.
bool chain_is_plain(std::string_view bytes, std::size_t entry) {
  std::size_t end = 8;
  std::size_t link = 4;
  while (link + 4 <= bytes.size()) {
    const std::size_t directory = le32(bytes, link);
    if (directory < end || directory + 2 > bytes.size()) return false;
    link = directory + 2 + kEntryBytes * static_cast<std::size_t>(le16(bytes, directory));
    end = link + 4;
    if (entry < end) return entry > directory;
  }
  return false;
}

void replace_profile(MemoryFile& file, Text& before, int length) {
  const Found old = find_tag(before, kTagIccProfile);
  const auto at = static_cast<std::size_t>(old.position);
  Bytes profile(static_cast<std::size_t>(std::max(length, 0)));
  for (std::size_t i = 0; i < profile.size(); ++i) profile[i] = static_cast<unsigned char>(i * 7);
  file.hold(view(before));
  const int result = update_tif_profile(length, profile.data(), file.name());
  Text after = file.content();
  const bool is_whole = old.position > 0 && at + kEntryBytes <= before.size();
  if (!is_whole || length < 0) {
    EXPECT(result == (old.position > 0 ? -2 : 0));
    EXPECT(after == before);
    return;
  }
  EXPECT(result == (length > 0 ? length : -2));
  EXPECT(after.size() == before.size() + profile.size());
  EXPECT(view(after).substr(before.size()) == view(profile));
  EXPECT(le32(view(after), at + 4) == static_cast<std::uint32_t>(length));
  EXPECT(le32(view(after), at + 8) == before.size());
  EXPECT(view(after).substr(0, at + 4) == view(before).substr(0, at + 4));
  EXPECT(view(after).substr(at + 12, before.size() - at - 12) == view(before).substr(at + 12));
  if (!chain_is_plain(view(before), at)) return;
  const Found now = find_tag(after, kTagIccProfile);
  const bool is_short = le16(view(after), at + 2) == 3 && length <= 2;
  const auto offset = static_cast<int>(before.size());
  EXPECT(now.position == old.position && now.count == length);
  EXPECT(now.value == (is_short ? offset & 0xFFFF : offset));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MemoryFile file;
  Input input(data, size);
  const auto tag = input.take<std::uint16_t>();
  const auto length = input.take<std::int16_t>();
  if (input.rest().empty()) return 0;
  Text bytes(input.rest().begin(), input.rest().end());
  look_up(bytes, tag);
  replace_profile(file, bytes, length);
  return 0;
}
