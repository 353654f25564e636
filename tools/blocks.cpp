// SPDX-License-Identifier: MIT

#include "blocks.h"

#include "errors.h"
#include "files.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

constexpr std::size_t kKeywordBytes = 64;   // IPTC allows no more
constexpr std::size_t kNewBlockBytes = 12;  // in front of the keyword of a new block
constexpr std::size_t kDataSetBytes = 5;    // in front of one more

std::string with_keyword(const std::string& block, const std::string& keyword,
                         const std::string& file) {
  std::string longer(
      (block.empty() ? kNewBlockBytes : block.size() + kDataSetBytes) + keyword.size(), '\0');
  const int position =
      add_iptc_keyword(length_of(block), bytes_of(block), length_of(keyword), keyword.data(),
                       reinterpret_cast<unsigned char*>(longer.data()));
  if (position < 0) throw Failure(file, "has a damaged IPTC block; no keyword can be added to it");
  return longer;
}

}  // namespace

const unsigned char* bytes_of(const std::string& block) {
  return reinterpret_cast<const unsigned char*>(block.data());
}

std::string read_profile(const std::string& file) {
  constexpr std::size_t kHeaderBytes = 128;
  const std::string profile = read_file(file);
  if (profile.size() < kHeaderBytes || profile.compare(36, 4, "acsp") != 0)
    throw Failure(file, "is no ICC profile");
  // The writer leaves out others, since a result picture has none of their colours.
  if (profile.compare(16, 3, "RGB") != 0)
    throw Failure(file,
                  "is a profile for \"" + printable(profile.substr(16, 4)) + "\", not for RGB");
  return profile;
}

std::string profile_name(const std::string& profile) {
  constexpr std::size_t kNameBytes = 32;
  char name[kNameBytes];
  if (get_profile_name(length_of(profile), bytes_of(profile), name) < 0) return {};
  return text_of(name, kNameBytes);
}

std::string with_keywords(const Photo& photo, const std::vector<std::string>& keywords) {
  for (const std::string& keyword : keywords)
    if (keyword.empty() || keyword.size() > kKeywordBytes)
      throw UsageError("a keyword has 1 to 64 bytes: \"" + keyword + "\"");
  std::string block = iptc_of(photo);
  for (const std::string& keyword : keywords) block = with_keyword(block, keyword, photo.file);
  return block;
}

}  // namespace celumbrant_meta
