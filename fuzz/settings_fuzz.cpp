// SPDX-License-Identifier: MIT
//
// Packets from anywhere: every request on them, the tag scanner in both forms, and an insertion,
// after which the packet must count one set of settings more and give back what was inserted.

#include <CelumbrantMetaLib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using Settings = std::array<float, CBTM_SETTINGS_COUNT>;

void read_all(const char* packet, int length) {
  char lens[CBTM_LENS_NAME_MAX + 1] = {};
  Settings values{};
  for (int type = -2; type <= 16; ++type) {
    get_settings_from_xmp(type, length, packet, nullptr, values.data());
  }
  get_settings_from_xmp(CBTM_QUERY_LENS, length, packet, lens, nullptr);
  if (lens[CBTM_LENS_NAME_MAX] != '\0') std::abort();
  for (const int type : {0, 1, 20, 5}) {
    for (const int form : {1, 2}) {
      std::array<int, CBTM_SETTINGS_COUNT> found{};
      searchForTag(21, "cbtm:Strength", type, packet, form, length, found.data(), values.data());
    }
  }
}

void insert(const char* packet, int length, int method) {
  Settings settings{};
  Settings read{};
  def_param(method, settings.data());
  const int growth = insert_xmp(CBTM_MEASURE, method, settings.data(), 0, 0, nullptr);
  const auto grown = std::make_unique<char[]>(static_cast<std::size_t>(length + growth));
  std::memcpy(grown.get(), packet, static_cast<std::size_t>(length));
  const int result = insert_xmp(1, method, settings.data(), length, growth, grown.get());
  if (result < 0) {
    if (std::memcmp(grown.get(), packet, static_cast<std::size_t>(length)) != 0) std::abort();
    return;
  }
  const int before = cbsettings_occurences_in_xmp(length, packet);
  const int after = cbsettings_occurences_in_xmp(length + growth, grown.get());
  if (result != growth || after < before) std::abort();
  if (before == 0 &&
      get_settings_from_xmp(method, length + growth, grown.get(), nullptr, read.data()) < 0) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0 || size > std::size_t{1} << 20) return 0;
  constexpr std::array kMethods = {1, 2, 3, 4, 10, 11, 13, 14, 15};
  const int method = kMethods[data[0] % kMethods.size()];
  // The rest of the input, with the NUL that a packet ends with, in memory of just that size.
  const auto packet = std::make_unique<char[]>(size);
  std::memcpy(packet.get(), data + 1, size - 1);
  read_all(packet.get(), static_cast<int>(size));
  insert(packet.get(), static_cast<int>(size), method);
  return 0;
}
