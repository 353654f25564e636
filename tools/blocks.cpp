// SPDX-License-Identifier: MIT

#include "blocks.h"

#include <string_view>

#include "errors.h"
#include "files.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t kKeywordBytes = 64;  // IPTC allows no more
constexpr std::size_t kDataSetBytes = 5;   // in front of a keyword

// Data sets 1:90, which says that text is UTF-8, and 2:00, the version, of a new block.
constexpr std::string_view kUtf8Mark = "\x1C\x01\x5A\0\3\x1B%G"sv;
constexpr std::string_view kVersion = "\x1C\2\0\0\2\0\4"sv;

[[noreturn]] void fail_damaged(const std::string& file) {
  throw Failure(file, "has a damaged IPTC block; no keyword can be added to it");
}

// Without the mark, texts of a block are mostly Latin-1.
std::string in_character_set(const std::string& block, const std::string& keyword) {
  if (block.find(kUtf8Mark) != std::string::npos) return keyword;
  const std::optional<std::string> latin1 = latin1_of(keyword);
  if (latin1) return *latin1;
  throw UsageError("the photograph's IPTC block has no room for the characters of \"" + keyword +
                   "\": it is not in UTF-8");
}

std::string with_keyword(const std::string& block, const std::string& keyword,
                         const std::string& file) {
  if (keyword.empty() || keyword.size() > kKeywordBytes)
    throw UsageError("a keyword has 1 to 64 bytes: \"" + keyword + "\"");
  std::string longer(block.size() + kDataSetBytes + keyword.size(), '\0');
  const int position =
      add_iptc_keyword(length_of(block), bytes_of(block), length_of(keyword), keyword.data(),
                       reinterpret_cast<unsigned char*>(longer.data()));
  if (position < 0) fail_damaged(file);
  return longer;
}

}  // namespace

const unsigned char* bytes_of(const std::string& block) {
  return reinterpret_cast<const unsigned char*>(block.data());
}

std::string read_profile(const std::string& file) {
  constexpr std::size_t kHeaderBytes = 128;
  std::string profile = read_file(file);
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
  const std::optional<std::string> own = iptc_of(photo);
  if (keywords.empty()) return own.value_or("");
  if (!own) fail_damaged(photo.file);
  std::string block = own->empty() ? std::string(kUtf8Mark) + std::string(kVersion) : *own;
  for (const std::string& keyword : keywords)
    block = with_keyword(block, in_character_set(block, utf8_of(keyword)), photo.file);
  return block;
}

}  // namespace celumbrant_meta
