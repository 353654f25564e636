// SPDX-License-Identifier: MIT
//
// Numbers in text, in the forms of printf and scanf but with a decimal point in every locale, and
// read within the bounds of a text that no NUL needs to end.

#ifndef CELUMBRANT_NUMBER_TEXT_H_
#define CELUMBRANT_NUMBER_TEXT_H_

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>

namespace celumbrant {

// Room for any float with up to six decimals: sign, 39 digits, point, decimals.
inline constexpr std::size_t kNumberTextMax = 48;

// "%.Nf"
inline std::string_view print_fixed(float value, int decimals,
                                    std::span<char, kNumberTextMax> buffer) {
  const auto [end, error] =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), static_cast<double>(value),
                    std::chars_format::fixed, decimals);
  return error == std::errc{} ? std::string_view(buffer.data(), end) : std::string_view();
}

namespace scan {

inline bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

inline bool is_hex_digit(char c) {
  return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

inline char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool starts_with_any_case(std::string_view text, std::string_view word) {
  return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(),
                                                  [](char w, char t) { return w == lower(t); });
}

// The blanks that scanf passes over before a number.
inline std::string_view skip_space(std::string_view text) {
  const std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
  return text.substr(at == std::string_view::npos ? text.size() : at);
}

inline std::string_view skip_sign(std::string_view text) {
  return text.substr(!text.empty() && (text.front() == '-' || text.front() == '+') ? 1 : 0);
}

// An unsigned number of scanf's "%f", cut into its parts but not yet converted.
struct Digits {
  std::string_view mantissa;
  std::string_view exponent;  // after the "e" or "p", with its sign
  std::size_t length = 0;     // of all parts, the "0x" of a hexadecimal number included
  bool hexadecimal = false;
};

inline std::optional<Digits> cut_digits(std::string_view text) {
  Digits digits;
  digits.hexadecimal = starts_with_any_case(text, "0x");
  const std::string_view body = text.substr(digits.hexadecimal ? 2 : 0);
  bool has_digit = false;
  bool has_point = false;
  std::size_t at = 0;
  for (; at < body.size(); ++at) {
    if (digits.hexadecimal ? is_hex_digit(body[at]) : is_digit(body[at])) {
      has_digit = true;
    } else if (body[at] == '.' && !has_point) {
      has_point = true;
    } else {
      break;
    }
  }
  if (!has_digit) return std::nullopt;
  digits.mantissa = body.substr(0, at);
  // An exponent without digits is passed over with the number and counts as none.
  if (at < body.size() && lower(body[at]) == (digits.hexadecimal ? 'p' : 'e')) {
    const std::string_view exponent = body.substr(at + 1);
    std::size_t end = exponent.size() - skip_sign(exponent).size();
    while (end < exponent.size() && is_digit(exponent[end])) ++end;
    digits.exponent = exponent.substr(0, end);
    at += 1 + end;
  }
  digits.length = at + (digits.hexadecimal ? 2 : 0);
  return digits;
}

// The power of the number's base (10 or 2) just above it, roughly: enough to tell a number that is
// too large for a float from one that is too small.
inline long long magnitude(const Digits& digits) {
  const auto point =
      static_cast<long long>(std::min(digits.mantissa.find('.'), digits.mantissa.size()));
  const auto first = static_cast<long long>(
      std::min(digits.mantissa.find_first_not_of("0."), digits.mantissa.size()));
  long long exponent = 0;
  for (const char c : skip_sign(digits.exponent)) {
    exponent = std::min(exponent * 10 + (c - '0'), 1LL << 40);
  }
  if (digits.exponent.starts_with('-')) exponent = -exponent;
  return (point - first) * (digits.hexadecimal ? 4 : 1) + exponent;
}

inline float convert(const Digits& digits) {
  float value = 0.0F;
  const char* const end = digits.exponent.empty() ? digits.mantissa.data() + digits.mantissa.size()
                                                  : digits.exponent.data() + digits.exponent.size();
  const auto format = digits.hexadecimal ? std::chars_format::hex : std::chars_format::general;
  const auto result = std::from_chars(digits.mantissa.data(), end, value, format);
  if (result.ec == std::errc::result_out_of_range) {
    value = magnitude(digits) > 0 ? std::numeric_limits<float>::infinity() : 0.0F;
  }
  return value;
}

}  // namespace scan

struct ScannedFloat {
  float value;
  std::string_view rest;  // the text after the number
};

// "%f" of scanf: blanks, a sign, then decimals with or without an exponent, a hexadecimal number,
// "inf", "infinity" or "nan". An exponent without digits counts as none, "0x" without digits is no
// number: what the C library of Linux makes of the first and the standard says of the second.
inline std::optional<ScannedFloat> scan_float(std::string_view text) {
  const std::string_view number = scan::skip_space(text);
  const std::string_view body = scan::skip_sign(number);
  const auto signed_result = [&](float magnitude, std::size_t length) {
    return ScannedFloat{number.starts_with('-') ? -magnitude : magnitude, body.substr(length)};
  };
  if (scan::starts_with_any_case(body, "nan")) {
    return signed_result(std::numeric_limits<float>::quiet_NaN(), 3);
  }
  if (scan::starts_with_any_case(body, "inf")) {
    const bool whole_word = scan::starts_with_any_case(body, "infinity");
    if (!whole_word && scan::starts_with_any_case(body, "infi")) return std::nullopt;
    return signed_result(std::numeric_limits<float>::infinity(), whole_word ? 8 : 3);
  }
  const auto digits = scan::cut_digits(body);
  if (!digits) return std::nullopt;
  return signed_result(scan::convert(*digits), digits->length);
}

// "%d" of scanf, as far as where it ends: the text after the number, none when there is no number.
inline std::optional<std::string_view> skip_int(std::string_view text) {
  const std::string_view digits = scan::skip_sign(scan::skip_space(text));
  const auto end = std::ranges::find_if_not(digits, scan::is_digit);
  if (end == digits.begin()) return std::nullopt;
  return digits.substr(static_cast<std::size_t>(end - digits.begin()));
}

}  // namespace celumbrant

#endif  // CELUMBRANT_NUMBER_TEXT_H_
