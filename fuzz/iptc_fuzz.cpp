// SPDX-License-Identifier: MIT
//
// Keywords added to IPTC blocks from anywhere, and to a new block.

#include <string>

#include "support.h"

namespace {

using namespace fuzz;
using namespace std::string_view_literals;

std::string keyword_set(std::string_view keyword) {
  std::string set("\x1C\2\31"sv);
  set += static_cast<char>(keyword.size() >> 8);
  set += static_cast<char>(keyword.size());
  return set.append(keyword);
}

// The block with the keyword, of just its size; nothing when the keyword was refused.
Bytes add(const Bytes& block, std::string_view keyword, int& position) {
  const std::size_t head = block.empty() ? 12 : 5;
  Bytes out(block.size() + head + keyword.size(), '#');
  const auto letters = std::make_unique<char[]>(keyword.size());  // not null when it is empty
  std::ranges::copy(keyword, letters.get());
  position = add_iptc_keyword(static_cast<int>(block.size()), block.data(), size_of(keyword),
                              letters.get(), out.data());
  if (position >= 0) return out;
  EXPECT(position == -1);
  EXPECT(static_cast<std::size_t>(std::ranges::count(out, '#')) == out.size());
  return {};
}

void add_to_any(const Bytes& block, std::string_view keyword) {
  int position = 0;
  const Bytes out = add(block, keyword, position);
  if (out.empty()) return;
  const auto place = static_cast<std::size_t>(position);
  std::string expected(block.empty() ? "\x1C\2\0\0\2\0\2"sv : view(block).substr(0, place));
  EXPECT(expected.size() == place);
  expected += keyword_set(keyword);
  if (!block.empty()) expected += view(block).substr(place);
  EXPECT(view(out) == expected);
}

// Keywords one after the other, of any bytes but those that a keyword's data set begins with: a length
// of 28 and such bytes behind it look like another.
void add_to_own(std::string_view text) {
  Bytes block;
  std::string expected("\x1C\2\0\0\2\0\2"sv);
  for (int i = 0; i < 8 && !text.empty(); ++i) {
    const std::string_view keyword = text.substr(0, text.find_first_of("\x1C\2\31,"));
    text.remove_prefix(std::min(keyword.size() + 1, text.size()));
    if (keyword.empty() || keyword.size() > 32767) continue;
    int position = 0;
    block = add(block, keyword, position);
    EXPECT(position == size_of(expected));
    expected += keyword_set(keyword);
    EXPECT(view(block) == expected);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const auto length = input.take<std::uint16_t>();
  const std::string_view keyword = input.take_bytes(length);
  add_to_any(bytes_of(input.rest()), keyword);
  add_to_own(input.rest());
  return 0;
}
