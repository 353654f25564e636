// SPDX-License-Identifier: MIT
//
// The small texts: a camera's description, an ICC profile's name, a date and time.

#include <climits>
#include <ctime>
#include <optional>

#include "support.h"

namespace {

using namespace fuzz;
using namespace std::string_view_literals;

void read_description(Bytes& bytes, int breed) {
  auto record = cleared_record();
  const Stream stream = stream_at(bytes, 0);
  const int result = parse_image_description(stream.get(), breed, record.get());
  const bool is_whole = breed > 0 && static_cast<std::size_t>(breed) <= bytes.size();
  EXPECT(is_whole ? std::ftell(stream.get()) == breed : result == -1);
  EXPECT(record->iso == 0 || record->iso >= 200);
  EXPECT(record->camera == 0 || (record->camera == 2 && record->exposure > 0.0F));
  // Nothing else of the record is touched.
  record->iso = 0;
  record->exposure = 0.0F;
  record->camera = 0;
  EXPECT(std::memcmp(record.get(), cleared_record().get(), sizeof *record) == 0);
}

void read_profile_name(const Bytes& profile) {
  constexpr std::array kNames = {"sRGB"sv, "Adobe RGB"sv, "ProPhoto RGB"sv};
  Text name(32, '#');
  const int result =
      get_profile_name(static_cast<int>(profile.size()), profile.data(), name.data());
  EXPECT(result > 0 || (result == -1 && std::ranges::count(name, '\0') == 32));
  if (result < 0) return;
  const std::string_view read = view(name).substr(0, static_cast<std::size_t>(result));
  EXPECT(result == 32 || std::ranges::find(kNames, read) != kNames.end());
  EXPECT(std::ranges::count(view(name).substr(read.size()), '\0') == 32 - result);
  const std::size_t description = view(profile).find("desc\0\0\0\0\0\0\0"sv, 32);
  EXPECT(description != std::string_view::npos);
  const std::string_view text = view(profile).substr(description + 12);
  EXPECT(result == 32 ? read.starts_with(text.substr(0, 32)) : text.find(read) < 255);
}

// As scanf reads it, whose larger numbers are cut to the nearest int.
std::optional<float> seconds_since(const char* date_time, std::time_t reference) {
  std::array<long long, 6> numbers{};
  if (std::sscanf(date_time, "%lld:%lld:%lld %lld:%lld:%lld", &numbers[0], &numbers[1], &numbers[2],
                  &numbers[3], &numbers[4], &numbers[5]) != 6) {
    return std::nullopt;
  }
  const auto field = [&](std::size_t i, long long less) {
    const long long nearest = std::clamp<long long>(numbers[i], INT_MIN, INT_MAX);
    return static_cast<int>(std::max<long long>(nearest - less, INT_MIN));
  };
  std::tm moment{};
  moment.tm_year = field(0, 1900);
  moment.tm_mon = field(1, 1);
  moment.tm_mday = field(2, 0);
  moment.tm_hour = field(3, 0);
  moment.tm_min = field(4, 0);
  moment.tm_sec = field(5, 0);
  moment.tm_isdst = -1;
  const std::time_t time = std::mktime(&moment);
  if (time <= 0) return std::nullopt;
  return static_cast<float>(std::difftime(reference, time));
}

void read_date_time(const Text& date_time, std::time_t reference) {
  constexpr float kUntouched = -0.25F;
  float seconds = kUntouched;
  const int result = time_from_datetime(date_time.data(), reference, &seconds);
  const auto expected = seconds_since(date_time.data(), reference);
  EXPECT(result == (expected ? 1 : -1));
  EXPECT(seconds == expected.value_or(kUntouched));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const auto breed = input.take<std::int16_t>();
  if (input.rest().empty()) return 0;
  Bytes bytes = bytes_of(input.rest());
  read_description(bytes, static_cast<int>(bytes.size()));
  read_description(bytes, breed);
  read_profile_name(bytes);
  read_date_time(terminated(input.rest()), std::time_t{breed} << 24);
  return 0;
}
