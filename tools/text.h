// SPDX-License-Identifier: MIT
//
// Texts and numbers as people and JSON readers get them.

#ifndef CELUMBRANT_TOOLS_TEXT_H_
#define CELUMBRANT_TOOLS_TEXT_H_

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace celumbrant_meta {

// A text that may lack its NUL, as far as it goes.
std::string text_of(const char* text, std::size_t range);

// UTF-8: bytes that are not are taken as Latin-1, which is what files without a character set mostly
// hold.
std::string utf8_of(std::string_view bytes);

// The same without control characters, which would reach a terminal.
std::string printable(std::string_view bytes);

// UTF-8 as Latin-1; nothing when it has other characters.
std::optional<std::string> latin1_of(std::string_view utf8);

// A number with as many digits as it needs: 2.5, 70.
std::string plain_number(double number);

// The double that prints like a float: 0.004, not 0.004000000189989805.
double as_written(float number);

std::string joined(const std::vector<std::string>& words, const char* between);

// Formats as printf does.
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

// Colours are shown on a terminal unless NO_COLOR is set.
bool is_terminal(std::FILE* stream);
bool shows_colour(std::FILE* stream);

}  // namespace celumbrant_meta

#endif
