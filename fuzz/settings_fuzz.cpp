// SPDX-License-Identifier: MIT
//
// Packets from anywhere: every request on them, the tag scanner, and the count of declarations,
// which is that of a plain search.

#include <string>

#include "support.h"

namespace {

using namespace fuzz;

constexpr std::string_view kNamespace = "xmlns:cbtm='http://ns.celumbrant.com/";

// With quotes of either kind, and the packet's NUL behind it.
int count_plainly(std::string_view packet) {
  std::string either(packet);
  std::ranges::replace(either, '"', '\'');
  int count = 0;
  std::size_t at = either.find(kNamespace);
  for (; at != std::string::npos; at = either.find(kNamespace, at + kNamespace.size())) ++count;
  return count;
}

std::vector<float> marked() {
  return std::vector<float>(CBTM_SETTINGS_COUNT, -12345.0F);
}

void read_settings(const Text& packet) {
  const int length = static_cast<int>(packet.size());
  const auto read = [&](int type, float* values) {
    return get_settings_from_xmp(type, length, packet.data(), nullptr, values);
  };
  const bool declared = count_plainly(view(packet).substr(0, packet.size() - 1)) > 0;
  const int held = read(CBTM_QUERY_METHOD, nullptr);
  EXPECT(held == 0 || held == -5 || std::ranges::find(kMethods, held) != kMethods.end());
  for (const int method : kMethods) {
    auto values = marked();
    const int position = read(method, values.data());
    EXPECT((position > 0) == (held == method));
    if (position > 0) {
      EXPECT(view(packet).substr(static_cast<std::size_t>(position)).starts_with("cbtm:Method"));
    } else {
      EXPECT(values == marked());
      EXPECT(position == (declared ? -5 : 0));
    }
  }
  // Values that all methods share are read where no method is known.
  auto values = marked();
  const int position = read(CBTM_NO_METHOD, values.data());
  EXPECT(held > 0 ? position == -5 : position >= 0);
  EXPECT((values == marked()) == (held > 0 || !declared));
}

void read_lens(const Text& packet) {
  Text lens(CBTM_LENS_NAME_MAX + 1);
  const int length = static_cast<int>(packet.size());
  const int end =
      get_settings_from_xmp(CBTM_QUERY_LENS, length, packet.data(), lens.data(), nullptr);
  EXPECT(end >= 0 && lens.back() == '\0');
  const std::string_view name = view(lens).substr(0, view(lens).find('\0'));
  if (name.empty()) return;
  EXPECT(view(packet).substr(0, static_cast<std::size_t>(end)).find(name) !=
         std::string_view::npos);
}

void scan_tag(const Text& packet, std::string_view name, int position, int type, int form) {
  auto values = marked();
  std::vector<int> found(CBTM_SETTINGS_COUNT);
  const Text tag = terminated(name.substr(0, name.find('\0')));
  const int length = static_cast<int>(packet.size());
  const auto scan = [&](int at) {
    return searchForTag(at, tag.data(), type, packet.data(), form, length, found.data(),
                        values.data());
  };
  const int result = scan(position);
  EXPECT(result >= 0 && result < length);
  const auto flags = std::ranges::count(found, 1);
  EXPECT(flags + std::ranges::count(found, 0) == CBTM_SETTINGS_COUNT && flags <= 1);
  if (flags == 0) {
    EXPECT(values == marked());
    return;
  }
  const std::string_view element = view(tag).substr(0, tag.size() - 1);
  EXPECT(view(packet).substr(static_cast<std::size_t>(result)).starts_with(element));
  EXPECT(scan(position) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const int position = input.take_within(-1, CBTM_SETTINGS_COUNT);
  const int type = input.take_within(0, CBTM_TAG_LIST_OF_EIGHT + 1);
  const int form = input.take_within(0, 3);
  const std::string_view name = input.take_bytes(16);
  const Text packet = terminated(input.rest());
  read_settings(packet);
  read_lens(packet);
  scan_tag(packet, name, position, type, form);
  const auto length = static_cast<int>(packet.size());
  EXPECT(cbsettings_occurences_in_xmp(length, packet.data()) == count_plainly(input.rest()));
  // A packet must end with a NUL.
  const bool is_terminated = length > 1 && packet[packet.size() - 2] == '\0';
  const Text cut(packet.begin(), packet.end() - 1);
  EXPECT(is_terminated || cbsettings_occurences_in_xmp(length - 1, cut.data()) == -3);
  EXPECT(is_terminated || get_settings_from_xmp(1, length - 1, cut.data(), nullptr, nullptr) == -3);
  return 0;
}
