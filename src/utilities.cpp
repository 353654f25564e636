// SPDX-License-Identifier: MIT
//
// Small services beside the metadata: the brightness range of an HDR picture, and the time that has
// passed since a photograph was taken.

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <optional>
#include <string_view>

#include "file.h"
#include "hdr_range.h"
#include "number_text.h"

namespace celumbrant {
namespace {

constexpr int kExponents = 256;

// Not for exponent 0, which has no power of two.
void fill_powers(float* lutE) {
  for (int e = 1; e < kExponents; ++e) lutE[e] = static_cast<float>(std::ldexp(1.0, e - 128));
}

// Year, month, day, hour, minute and second as they stand in the text.
using DateTimeNumbers = std::array<int, 6>;

// "%d:%d:%d %d:%d:%d" of scanf, where a blank stands for any number of blanks.
std::optional<DateTimeNumbers> scan_date_time(std::string_view text) {
  constexpr std::string_view kSeparators = ":: ::";
  DateTimeNumbers numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto number = scan_int(text);
    if (!number) return std::nullopt;
    numbers[i] = number->value;
    text = number->rest;
    if (i == kSeparators.size() || kSeparators[i] == ' ') continue;  // numbers skip blanks
    if (!text.starts_with(kSeparators[i])) return std::nullopt;
    text.remove_prefix(1);
  }
  return numbers;
}

int saturating_less(int number, int offset) {
  return std::max(number, INT_MIN + offset) - offset;
}

// Local time of this process. None for the epoch and before, and where the platform has no time for
// the numbers.
std::optional<std::time_t> local_time(const DateTimeNumbers& numbers) {
  std::tm moment{};
  moment.tm_year = saturating_less(numbers[0], 1900);
  moment.tm_mon = saturating_less(numbers[1], 1);
  moment.tm_mday = numbers[2];
  moment.tm_hour = numbers[3];
  moment.tm_min = numbers[4];
  moment.tm_sec = numbers[5];
  moment.tm_isdst = -1;  // the time zone says whether daylight saving holds
  const std::time_t time = std::mktime(&moment);
  if (time <= 0) return std::nullopt;
  return time;
}

}  // namespace
}  // namespace celumbrant

using namespace celumbrant;  // NOLINT: the exported functions below have C names

int hdrMinMax(int iMax, int jMax, const unsigned char* rgbe, float* pixDim) noexcept {
  constexpr int kNoMemory = -4;
  const Scratch table = zeroed_scratch(kExponents * sizeof(float));
  if (!table) return kNoMemory;
  auto* const lutE = reinterpret_cast<float*>(table.get());
  fill_powers(lutE);
  const HdrRange range = measure_hdr(iMax, jMax, rgbe, lutE);
  pixDim[0] = range.imMin;
  pixDim[1] = range.imMax;
  pixDim[2] = 0.0F;
  if (range.cnt > 0) {
    const auto count = static_cast<double>(static_cast<float>(range.cnt));  // rounded to a float
    pixDim[2] = static_cast<float>(range.Emoy / count);
  }
  return std::max(jMax, 0);
}

int time_from_datetime(const char* date_time, time_t time_ref, float* timeInSeconds) noexcept {
  constexpr int kConverted = 1;
  constexpr int kNoTime = -1;
  const auto numbers = scan_date_time(date_time);
  if (!numbers) return kNoTime;
  const auto captured = local_time(*numbers);
  if (!captured) return kNoTime;
  *timeInSeconds = static_cast<float>(std::difftime(time_ref, *captured));
  return kConverted;
}
