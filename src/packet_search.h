// SPDX-License-Identifier: MIT
//
// The search for fixed texts in the raw bytes of an XMP packet. A packet of some MiB, foreign from
// end to end, must cost no more than one fast pass over it: blocks are tested for two neighbouring
// bytes of the key that are rare in such text, in a loop that compilers turn into vector code, and
// only where they stand is the key compared.

#ifndef CELUMBRANT_PACKET_SEARCH_H_
#define CELUMBRANT_PACKET_SEARCH_H_

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace celumbrant {

struct SearchKey {
  std::string_view text;  // 2 bytes at least
  std::size_t rare;       // position in it of the two bytes to look for first
};

struct Hit {
  std::size_t position;  // of what was looked for; where the search stopped when it was not found
  bool found;
};

// Attribute values may stand in quotes of either kind: a text with apostrophes is also matched with
// all of them replaced by double quotes.
inline bool starts_with_key(std::string_view text, std::string_view key) {
  const std::size_t first_quote = key.find('\'');
  if (first_quote == std::string_view::npos) return text.starts_with(key);
  if (text.size() < key.size() || (text[first_quote] != '\'' && text[first_quote] != '"'))
    return false;
  const char quote = text[first_quote];
  return std::equal(key.begin(), key.end(), text.begin(),
                    [quote](char k, char t) { return t == (k == '\'' ? quote : k); });
}

// Passes over the blocks from `from` on in which `first` and `second` nowhere follow each other.
template <std::size_t kBlock>
std::size_t skip_blocks(const char* text, std::size_t from, std::size_t to, char first,
                        char second) {
  for (; to - from >= kBlock; from += kBlock) {
    unsigned char least = 0xFF;  // 0 once both bytes match somewhere in the block
    for (std::size_t i = from; i < from + kBlock; ++i) {
      const auto difference =
          static_cast<unsigned char>((text[i] ^ first) | (text[i + 1] ^ second));
      least = std::min(least, difference);
    }
    if (least == 0) break;
  }
  return from;
}

// The first position in [from, to) where `first` and `second` follow each other, or `to`. Reads the
// byte at `to` as well, unless the range is empty. Large blocks make the pass over foreign text
// fast, small ones narrow a place down.
inline std::size_t find_pair(const char* text, std::size_t from, std::size_t to, char first,
                             char second) {
  from = skip_blocks<256>(text, from, to, first, second);
  from = skip_blocks<32>(text, from, to, first, second);
  while (from < to && (text[from] != first || text[from + 1] != second)) ++from;
  return from;
}

// The first place at or after `from` where the packet holds the key with at least one byte behind
// it. Where there is none the search stops at the first position from which the key has no room, or
// at `from` when that lies further on.
inline Hit find_key(std::string_view packet, std::size_t from, SearchKey key) {
  const std::size_t room = packet.size() - std::min(packet.size(), key.text.size());
  const std::size_t stop = std::max(from, room);
  for (std::size_t at = from; at < stop; ++at) {
    at = find_pair(packet.data(), at + key.rare, stop + key.rare, key.text[key.rare],
                   key.text[key.rare + 1]) -
         key.rare;
    if (at < stop && starts_with_key(packet.substr(at), key.text)) return {at, true};
  }
  return {stop, false};
}

}  // namespace celumbrant

#endif  // CELUMBRANT_PACKET_SEARCH_H_
