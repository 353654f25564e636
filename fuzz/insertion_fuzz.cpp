// SPDX-License-Identifier: MIT
//
// Settings inserted into packets from anywhere, once or several times, each time into room of just
// the size. A packet is unchanged, or holds one set of settings more around what it held before.

#include <string>

#include "support.h"

namespace {

using namespace fuzz;

// Where what was inserted begins, none of the older bytes being lost.
std::size_t place_of_insertion(std::string_view before, std::string_view after) {
  const auto [old_end, new_end] = std::ranges::mismatch(before, after);
  const auto place = static_cast<std::size_t>(old_end - before.begin());
  EXPECT(after.substr(place + after.size() - before.size()) == before.substr(place));
  return place;
}

// Past the first place of a text, with quotes of either kind; npos when there is none.
std::size_t past(std::string_view packet, std::size_t from, std::string_view key) {
  std::string other_quotes(key);
  std::ranges::replace(other_quotes, '\'', '"');
  const std::size_t at = std::min(packet.find(key, from), packet.find(other_quotes, from));
  return at == std::string_view::npos ? at : at + key.size();
}

// Whether the packet has a frame and, within it, a place for descriptions.
bool takes_descriptions(std::string_view packet) {
  const std::size_t frame = past(packet, 0, "<x:xmpmeta xmlns:x='adobe:ns:meta/");
  if (frame == std::string_view::npos) return false;
  return past(packet, frame, "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>") !=
         std::string_view::npos;
}

int count(const Text& packet) {
  return cbsettings_occurences_in_xmp(static_cast<int>(packet.size()), packet.data());
}

bool insert(Text& packet, int method, int sequence) {
  std::vector<float> settings(CBTM_SETTINGS_COUNT);
  def_param(method, settings.data());
  const int growth = insert_xmp(CBTM_MEASURE, method, settings.data(), 0, 0, nullptr);
  const Text before = packet;
  Text grown(before.size() + static_cast<std::size_t>(growth), '#');
  std::ranges::copy(before, grown.begin());
  const int result = insert_xmp(sequence, method, settings.data(), static_cast<int>(before.size()),
                                growth, grown.data());
  if (result < 0) {
    EXPECT(takes_descriptions(view(before)) ? result == -1 : result <= -34);
    EXPECT(std::equal(before.begin(), before.end(), grown.begin()));
    return false;
  }
  EXPECT(result == growth);
  EXPECT(count(grown) == count(before) + 1);
  // The settings are the ones read, unless others are declared before the packet's descriptions.
  const Text ahead =
      terminated(view(before).substr(0, place_of_insertion(view(before), view(grown))));
  std::vector<float> read(CBTM_SETTINGS_COUNT);
  EXPECT(count(ahead) > 0 || get_settings_from_xmp(method, static_cast<int>(grown.size()),
                                                   grown.data(), nullptr, read.data()) > 0);
  packet = Text(grown.begin(), grown.end());
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const int times = input.take_within(1, 4);
  const int first = input.take_within(0, static_cast<int>(kMethods.size()) - 1);
  const int sequence = input.take_within(-1, 99);
  Text packet = terminated(input.rest());
  for (int i = 0; i < times; ++i) {
    const int method = kMethods[static_cast<std::size_t>(first + i) % kMethods.size()];
    if (!insert(packet, method, sequence == 0 ? 1 : sequence)) break;
  }
  return 0;
}
