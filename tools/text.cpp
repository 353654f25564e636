// SPDX-License-Identifier: MIT

#include "text.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace celumbrant_meta {
namespace {

// The bytes of the UTF-8 character at the beginning of a text; 0 when there is none.
std::size_t utf8_length(std::string_view bytes) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || bytes.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((byte(i) & 0xC0) != 0x80) return 0;
  // Forms that are too long, surrogates, and what lies beyond the last code point.
  const unsigned second = byte(1);
  const bool wrong = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                     (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
  return wrong ? 0 : length;
}

}  // namespace

std::string text_of(const char* text, std::size_t range) {
  return {text, std::find(text, text + range, '\0')};
}

std::string utf8_of(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const auto first = static_cast<unsigned char>(bytes[0]);
    const std::size_t length = utf8_length(bytes);
    if (length == 0) {
      text += static_cast<char>(0xC0 | first >> 6);
      text += static_cast<char>(0x80 | (first & 0x3F));
    } else {
      text += bytes.substr(0, length);
    }
    bytes.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return text;
}

std::string printable(std::string_view bytes) {
  const std::string utf8 = utf8_of(bytes);
  std::string text;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    // C1 characters are 0xC2 and a byte below 0xA0.
    const bool is_c1 = byte == 0xC2 && static_cast<unsigned char>(utf8[i + 1]) < 0xA0;
    text += byte < 0x20 || byte == 0x7F || is_c1 ? '?' : utf8[i];
    if (is_c1) ++i;
  }
  return text;
}

std::optional<std::string> latin1_of(std::string_view utf8) {
  std::string text;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    if (byte < 0x80) {
      text += utf8[i];
    } else if (byte == 0xC2 || byte == 0xC3) {
      text += static_cast<char>((byte & 3) << 6 | (static_cast<unsigned char>(utf8[++i]) & 0x3F));
    } else {
      return std::nullopt;
    }
  }
  return text;
}

std::string plain_number(double number) {
  return format("%.7g", number);
}

double as_written(float number) {
  std::array<char, 64> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  double value = 0.0;
  std::from_chars(digits.data(), end, value);
  return value;
}

std::string joined(const std::vector<std::string>& words, const char* between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

std::string format(const char* pattern, ...) {
  std::va_list arguments;
  va_start(arguments, pattern);
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, pattern, arguments);
  va_end(arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, pattern, again);
  va_end(again);
  return text;
}

bool is_terminal(std::FILE* stream) {
  return isatty(fileno(stream)) == 1;
}

bool shows_colour(std::FILE* stream) {
  const char* const no_colour = std::getenv("NO_COLOR");
  return is_terminal(stream) && (no_colour == nullptr || *no_colour == '\0');
}

}  // namespace celumbrant_meta
